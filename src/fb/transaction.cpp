#include "transaction.h"

#include "database.h"
#include "fbapi_p.h"
#include "query.h"

#include <algorithm>

using namespace Firebird;

namespace fb {

using detail::call;

Transaction::Transaction(Database *db)
    : m_options(defaultOptions())
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

TransactionOptions Transaction::defaultOptions()
{
    return TransactionOption::Write | TransactionOption::NoWait | TransactionOption::RecVersion
           | TransactionOption::ReadCommitted;
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
    using O = TransactionOption;
    const auto ambas = [this](O a, O b) {
        return m_options.testFlag(a) && m_options.testFlag(b);
    };
    if (ambas(O::Write, O::Read) || ambas(O::NoWait, O::Wait)
        || ambas(O::RecVersion, O::NoRecVersion)
        || int(m_options.testFlag(O::ReadCommitted)) + int(m_options.testFlag(O::Concurrency))
                   + int(m_options.testFlag(O::Consistency))
               > 1)
        throw Error::usage(QStringLiteral("Opciones de transacción contradictorias"));
    static const std::pair<O, int> etiquetas[] = {{O::Write, isc_tpb_write},
                                                  {O::Read, isc_tpb_read},
                                                  {O::NoWait, isc_tpb_nowait},
                                                  {O::Wait, isc_tpb_wait},
                                                  {O::ReadCommitted, isc_tpb_read_committed},
                                                  {O::Concurrency, isc_tpb_concurrency},
                                                  {O::Consistency, isc_tpb_consistency},
                                                  {O::RecVersion, isc_tpb_rec_version},
                                                  {O::NoRecVersion, isc_tpb_no_rec_version}};
    return call([&](ThrowStatusWrapper *st) {
        IXpbBuilder *tpb = detail::util()->getXpbBuilder(st, IXpbBuilder::TPB, nullptr, 0);
        for (const auto &[opcion, tag] : etiquetas) {
            if (m_options.testFlag(opcion))
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
    // A script's own COMMIT may have ended it already: nothing is left to commit.
    if (m_tr.isActive())
        m_tr.commit();
    m_done = true;
}

} // namespace fb
