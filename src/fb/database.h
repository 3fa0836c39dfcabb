#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace fb {

class Query;
class Transaction;
struct DatabaseHandle;

// One attachment. Configured as the program always has: a list of parameters in
// text form ("lc_ctype=None", "user_name=...", "password=...",
// "sql_role_name=USUARIO_MICROSIP") and a database name. A name with "host:" in
// front goes to that server; a plain path opens the file in-process with the
// embedded engine. Tools may add "num_buffers=N" and "force_write=0|1" (the
// owner switches the database's synchronous writes).
class Database
{
public:
    Database();
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    void setDatabaseName(const QString &name) { m_name = name; }
    const QString &databaseName() const { return m_name; }
    QStringList &params() { return m_params; }
    const QStringList &params() const { return m_params; }
    void setParams(const QStringList &params) { m_params = params; }
    void setDialect(int dialect) { m_dialect = dialect; }
    int dialect() const { return m_dialect; }

    void connect();
    // Rolls back open transactions and releases the statements prepared on it.
    void disconnect();
    bool isConnected() const;

    // Creates the database named by databaseName() and leaves it connected.
    void createDatabase(int pageSize = 8192);
    // Drops the connected database.
    void dropDatabase();

    // The value of a parameter ("user_name"), empty when absent.
    QString param(const QString &key) const;

    DatabaseHandle *handle() const { return m_handle; }

private:
    friend class Transaction;
    friend class Query;
    std::vector<unsigned char> buildDpb(bool create, int pageSize) const;
    void releaseDependents();

    QString m_name;
    QStringList m_params;
    int m_dialect = 3;
    DatabaseHandle *m_handle = nullptr;
    std::vector<Transaction *> m_transactions;
    std::vector<Query *> m_queries;
};

} // namespace fb
