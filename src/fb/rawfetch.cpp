#include "rawfetch.h"

#include "database.h"
#include "fbapi_p.h"
#include "transaction.h"

#include <cstring>
#include <vector>

using namespace Firebird;

namespace fb {

RawFetchResult rawFetchAll(Database &db, Transaction &tr, const QString &sql)
{
    tr.ensureActive();
    ThrowStatusWrapper st(detail::master()->getStatus());
    RawFetchResult r;
    try {
        const QByteArray text = sql.toLatin1();
        IStatement *stmt
            = db.handle()->att->prepare(&st, tr.handle()->tra, 0, text.constData(), 3, 0);
        IMessageMetadata *meta = stmt->getOutputMetadata(&st);
        const unsigned n = meta->getCount(&st);
        std::vector<unsigned> type(n), off(n), nullOff(n), len(n);
        for (unsigned i = 0; i < n; ++i) {
            type[i] = meta->getType(&st, i) & ~1u;
            off[i] = meta->getOffset(&st, i);
            nullOff[i] = meta->getNullOffset(&st, i);
            len[i] = meta->getLength(&st, i);
        }
        std::vector<unsigned char> buf(meta->getMessageLength(&st));
        IResultSet *rs = stmt->openCursor(&st, tr.handle()->tra, nullptr, nullptr, meta, 0);
        while (rs->fetchNext(&st, buf.data()) == IStatus::RESULT_OK) {
            ++r.rows;
            for (unsigned i = 0; i < n; ++i) {
                short isNull;
                std::memcpy(&isNull, buf.data() + nullOff[i], 2);
                if (isNull)
                    continue;
                const unsigned char *p = buf.data() + off[i];
                switch (type[i]) {
                case SQL_LONG: {
                    ISC_LONG v;
                    std::memcpy(&v, p, 4);
                    r.checksum += v;
                    break;
                }
                case SQL_INT64: {
                    ISC_INT64 v;
                    std::memcpy(&v, p, 8);
                    r.checksum += v;
                    break;
                }
                case SQL_DOUBLE: {
                    double v;
                    std::memcpy(&v, p, 8);
                    r.checksum += static_cast<std::int64_t>(v);
                    break;
                }
                case SQL_TYPE_DATE: {
                    ISC_DATE v;
                    std::memcpy(&v, p, 4);
                    r.checksum += v;
                    break;
                }
                case SQL_VARYING: {
                    unsigned short l;
                    std::memcpy(&l, p, 2);
                    r.checksum += l ? p[2] : 0;
                    break;
                }
                case SQL_TEXT:
                    r.checksum += p[0];
                    break;
                default:
                    break;
                }
            }
        }
        rs->close(&st);
        meta->release();
        stmt->free(&st);
    } catch (const FbException &e) {
        Error err = detail::makeError(e.getStatus());
        st.dispose();
        throw err;
    }
    st.dispose();
    return r;
}

} // namespace fb
