#pragma once

#include <QFlags>

#include <vector>

namespace fb {

class Database;
class Query;
struct TransactionHandle;

// What a transaction is: its access, how it meets a locked row, its isolation.
// One of each pair at most; what is left out takes the engine's default.
enum class TransactionOption : unsigned {
    Write = 0x001,
    Read = 0x002,
    NoWait = 0x004,
    Wait = 0x008,
    RecVersion = 0x010, // with ReadCommitted: read the last committed version
    NoRecVersion = 0x020,
    ReadCommitted = 0x040,
    Concurrency = 0x080, // snapshot
    Consistency = 0x100, // table stability
};
Q_DECLARE_FLAGS(TransactionOptions, TransactionOption)
Q_DECLARE_OPERATORS_FOR_FLAGS(TransactionOptions)

// An explicit transaction on one attachment; several may be open on the same
// attachment at once. Write, NoWait, RecVersion, ReadCommitted unless told otherwise.
class Transaction
{
public:
    explicit Transaction(Database *db = nullptr);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    static TransactionOptions defaultOptions();

    void setDatabase(Database *db);
    Database *database() const { return m_db; }
    // Takes effect at the next start.
    void setOptions(TransactionOptions options) { m_options = options; }
    TransactionOptions options() const { return m_options; }

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
    TransactionOptions m_options;
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
    // Ends the guard's duty without ending the transaction: what was written stays
    // pending in it, and the next commit or rollback of its owner decides its fate.
    void leaveActive() { m_done = true; }

private:
    Transaction &m_tr;
    bool m_done = false;
};

} // namespace fb
