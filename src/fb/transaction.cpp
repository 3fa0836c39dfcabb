#include "transaction.h"

#include "database.h"
#include "fbapi_p.h"
#include "query.h"

#include <algorithm>

using namespace Firebird;

namespace fb {

using detail::call;

Transaction::Transaction(Database *db)
    : m_params(defaultParams())
{
    setDatabase(db);
}

Transaction::~Transaction()
{
    if (isActive()) {
        try {
            rollback();
        } catch (...) {
        }
    }
    setDatabase(nullptr);
}

QStringList Transaction::defaultParams()
{
    return {QStringLiteral("write"),
            QStringLiteral("nowait"),
            QStringLiteral("rec_version"),
            QStringLiteral("read_committed")};
}

void Transaction::setDatabase(Database *db)
{
    if (db == m_db)
        return;
    if (isActive())
        throw Error::usage(
            QStringLiteral("No se puede cambiar la base de datos de una transacción activa"));
    if (m_db)
        std::erase(m_db->m_transactions, this);
    m_db = db;
    if (m_db)
        m_db->m_transactions.push_back(this);
}

std::vector<unsigned char> Transaction::buildTpb() const
{
    return call([&](ThrowStatusWrapper *st) {
        IXpbBuilder *tpb = detail::util()->getXpbBuilder(st, IXpbBuilder::TPB, nullptr, 0);
        for (QString word : m_params) {
            word = word.trimmed().toLower();
            if (word.startsWith(u"isc_tpb_"))
                word = word.mid(8);
            int tag = 0;
            if (word == u"write")
                tag = isc_tpb_write;
            else if (word == u"read")
                tag = isc_tpb_read;
            else if (word == u"nowait")
                tag = isc_tpb_nowait;
            else if (word == u"wait")
                tag = isc_tpb_wait;
            else if (word == u"rec_version")
                tag = isc_tpb_rec_version;
            else if (word == u"no_rec_version")
                tag = isc_tpb_no_rec_version;
            else if (word == u"read_committed")
                tag = isc_tpb_read_committed;
            else if (word == u"concurrency")
                tag = isc_tpb_concurrency;
            else if (word == u"consistency")
                tag = isc_tpb_consistency;
            else if (word.isEmpty())
                continue;
            else {
                tpb->dispose();
                throw Error::usage(
                    QStringLiteral("Parámetro de transacción desconocido: %1").arg(word));
            }
            tpb->insertTag(st, tag);
        }
        const unsigned char *buf = tpb->getBuffer(st);
        std::vector<unsigned char> out(buf, buf + tpb->getBufferLength(st));
        tpb->dispose();
        return out;
    });
}

void Transaction::start()
{
    if (isActive())
        throw Error::usage(QStringLiteral("La transacción ya está activa"));
    if (!m_db || !m_db->isConnected())
        throw Error::usage(QStringLiteral("La base de datos no está conectada"));
    const std::vector<unsigned char> tpb = buildTpb();
    ITransaction *tra = call([&](ThrowStatusWrapper *st) {
        return m_db->handle()->att->startTransaction(st, unsigned(tpb.size()), tpb.data());
    });
    m_handle = new TransactionHandle{tra};
}

void Transaction::ensureActive()
{
    if (!isActive())
        start();
}

void Transaction::endTransaction(bool commit)
{
    if (!isActive())
        throw Error::usage(QStringLiteral("La transacción no está activa"));
    // Cursors die with their transaction; close them first so their queries know.
    const std::vector<Query *> open = m_openQueries;
    for (Query *q : open)
        q->close();
    call([&](ThrowStatusWrapper *st) {
        if (commit)
            m_handle->tra->commit(st);
        else
            m_handle->tra->rollback(st);
    });
    delete m_handle;
    m_handle = nullptr;
}

void Transaction::commit()
{
    endTransaction(true);
}

void Transaction::rollback()
{
    endTransaction(false);
}

void Transaction::commitRetaining()
{
    if (!isActive())
        throw Error::usage(QStringLiteral("La transacción no está activa"));
    call([&](ThrowStatusWrapper *st) { m_handle->tra->commitRetaining(st); });
}

TransactionGuard::TransactionGuard(Transaction &tr)
    : m_tr(tr)
{
    m_tr.ensureActive();
}

TransactionGuard::~TransactionGuard()
{
    if (!m_done && m_tr.isActive()) {
        try {
            m_tr.rollback();
        } catch (...) {
        }
    }
}

void TransactionGuard::commit()
{
    m_tr.commit();
    m_done = true;
}

} // namespace fb
