#include "database.h"

#include "fbapi_p.h"
#include "query.h"
#include "transaction.h"
#include "win1252.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Firebird;

namespace fb {

namespace detail {

IMaster *master()
{
    static IMaster *m = fb_get_master_interface();
    return m;
}

IUtil *util()
{
    static IUtil *u = master()->getUtilInterface();
    return u;
}

IProvider *provider()
{
    static IProvider *p = master()->getDispatcher();
    return p;
}

Error makeError(const IStatus *status)
{
    const intptr_t *vector = status->getErrors();
    long code = 0;
    if (vector[0] == isc_arg_gds && vector[1] != 0)
        code = long(vector[1]);
    char buf[4096];
    util()->formatStatus(buf, sizeof buf - 1, const_cast<IStatus *>(status));
    buf[sizeof buf - 1] = 0;
    const int sqlcode = int(isc_sqlcode(vector));
    // File names come back as they went (UTF-8); other text may be Windows-1252.
    const QByteArray texto(buf, qsizetype(strlen(buf)));
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString mensaje = utf8.decode(texto);
    if (utf8.hasError())
        mensaje = fromWin1252(texto.constData(), texto.size());
    return Error(mensaje, code, sqlcode);
}

} // namespace detail

using detail::call;

Database::Database() = default;

Database::~Database()
{
    try {
        disconnect();
    } catch (...) {
    }
    for (Transaction *t : m_transactions)
        t->m_db = nullptr;
    for (Query *q : m_queries)
        q->m_db = nullptr;
}

QString Database::param(const QString &key) const
{
    for (const QString &p : m_params) {
        const qsizetype eq = p.indexOf(u'=');
        if (eq > 0 && p.left(eq).trimmed().compare(key, Qt::CaseInsensitive) == 0)
            return p.mid(eq + 1);
    }
    return {};
}

std::vector<unsigned char> Database::buildDpb(bool create, int pageSize) const
{
    return call([&](ThrowStatusWrapper *st) {
        IXpbBuilder *dpb = detail::util()->getXpbBuilder(st, IXpbBuilder::DPB, nullptr, 0);
        // The file name and every other string of the block go as UTF-8, so a folder
        // such as "Compañía" or a home with accents opens on any platform, embedded
        // or on a server; the data itself still travels as Windows-1252 (lc_ctype).
        dpb->insertTag(st, isc_dpb_utf8_filename);
        dpb->insertInt(st, isc_dpb_sql_dialect, m_dialect);
        if (create)
            dpb->insertInt(st, isc_dpb_page_size, pageSize);
        for (const QString &p : m_params) {
            const qsizetype eq = p.indexOf(u'=');
            const QString key = (eq < 0 ? p : p.left(eq)).trimmed().toLower();
            const QByteArray value = (eq < 0 ? QString() : p.mid(eq + 1)).toUtf8();
            if (key.isEmpty())
                continue;
            if (key == u"lc_ctype")
                dpb->insertString(st, isc_dpb_lc_ctype, value.constData());
            else if (key == u"user_name" || key == u"user")
                dpb->insertString(st, isc_dpb_user_name, value.constData());
            else if (key == u"password")
                dpb->insertString(st, isc_dpb_password, value.constData());
            else if (key == u"sql_role_name")
                dpb->insertString(st, isc_dpb_sql_role_name, value.constData());
            else if (key == u"num_buffers")
                dpb->insertInt(st, isc_dpb_num_buffers, value.toInt());
            else if (key == u"force_write")
                dpb->insertInt(st, isc_dpb_force_write, value.toInt());
            else {
                dpb->dispose();
                throw Error::usage(QStringLiteral("Parámetro de conexión desconocido: %1").arg(p));
            }
        }
        const unsigned char *buf = dpb->getBuffer(st);
        std::vector<unsigned char> out(buf, buf + dpb->getBufferLength(st));
        dpb->dispose();
        return out;
    });
}

void Database::connect()
{
    if (isConnected())
        return;
    const std::vector<unsigned char> dpb = buildDpb(false, 0);
    const QByteArray path = m_name.toUtf8();
    IAttachment *att = call([&](ThrowStatusWrapper *st) {
        return detail::provider()->attachDatabase(
            st, path.constData(), unsigned(dpb.size()), dpb.data());
    });
    m_handle = new DatabaseHandle{att};
}

void Database::createDatabase(int pageSize)
{
    if (isConnected())
        throw Error::usage(QStringLiteral("La base de datos ya está conectada"));
    const std::vector<unsigned char> dpb = buildDpb(true, pageSize);
    const QByteArray path = m_name.toUtf8();
    IAttachment *att = call([&](ThrowStatusWrapper *st) {
        return detail::provider()->createDatabase(
            st, path.constData(), unsigned(dpb.size()), dpb.data());
    });
    m_handle = new DatabaseHandle{att};
}

void Database::releaseDependents()
{
    for (Transaction *t : m_transactions) {
        if (t->isActive()) {
            try {
                t->rollback();
            } catch (const Error &) {
            }
        }
    }
    for (Query *q : m_queries)
        q->unprepare();
}

void Database::dropDatabase()
{
    if (!isConnected())
        throw Error::usage(QStringLiteral("La base de datos no está conectada"));
    releaseDependents();
    call([&](ThrowStatusWrapper *st) { m_handle->att->dropDatabase(st); });
    delete m_handle;
    m_handle = nullptr;
}

void Database::disconnect()
{
    if (!isConnected())
        return;
    releaseDependents();
    try {
        call([&](ThrowStatusWrapper *st) { m_handle->att->detach(st); });
    } catch (const Error &) {
        // A broken connection can't be detached cleanly; drop our side anyway.
        m_handle->att->release();
    }
    delete m_handle;
    m_handle = nullptr;
}

bool Database::isConnected() const
{
    return m_handle != nullptr;
}

} // namespace fb
