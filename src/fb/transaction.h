#pragma once

#include <QStringList>

#include <vector>

namespace fb {

class Database;
class Query;
struct TransactionHandle;

// An explicit transaction on one attachment; several may be open on the same
// attachment at once. Configured by the parameter words "write", "nowait",
// "rec_version", "read_committed" (the default) and their opposites "read",
// "wait", "no_rec_version", "concurrency", "consistency".
class Transaction
{
public:
    explicit Transaction(Database *db = nullptr);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    static QStringList defaultParams();

    void setDatabase(Database *db);
    Database *database() const { return m_db; }
    void setParams(const QStringList &words) { m_params = words; }
    const QStringList &params() const { return m_params; }

    bool isActive() const { return m_handle != nullptr; }
    void start();
    void commit();
    // Commits and keeps the transaction context (and open cursors) alive.
    void commitRetaining();
    void rollback();
    // Starts it when it isn't active; used by queries before they run.
    void ensureActive();

    TransactionHandle *handle() const { return m_handle; }

private:
    friend class Query;
    friend class Database;
    void endTransaction(bool commit);
    std::vector<unsigned char> buildTpb() const;

    Database *m_db = nullptr;
    QStringList m_params;
    TransactionHandle *m_handle = nullptr;
    std::vector<Query *> m_openQueries;
};

// Starts the transaction if needed; rolls it back on destruction unless commit()
// was called. The one shape of every write.
class TransactionGuard
{
public:
    explicit TransactionGuard(Transaction &tr);
    ~TransactionGuard();
    TransactionGuard(const TransactionGuard &) = delete;
    TransactionGuard &operator=(const TransactionGuard &) = delete;
    void commit();

private:
    Transaction &m_tr;
    bool m_done = false;
};

} // namespace fb
