#pragma once

#include "error.h"

#include <QList>
#include <QString>

#include <functional>

namespace fb {

class Database;
class Transaction;

// One piece of a script as the splitter sees it.
struct ScriptStatement
{
    enum class Kind {
        Sql,      // sent to the engine
        Commit,   // COMMIT [WORK]
        Rollback, // ROLLBACK [WORK]
    };
    Kind kind = Kind::Sql;
    QString text; // without its terminator
    int line = 0; // 1-based line where it starts
};

// Splits a script on its current terminator, following SET TERM, and leaves
// terminators inside literals, quoted identifiers and comments alone. isql's own
// settings (SET SQL DIALECT, SET NAMES, SET AUTODDL...) are dropped; statements
// made of comments only are dropped.
QList<ScriptStatement> splitScript(const QString &script);

// Runs a script statement by statement on one transaction. A failing statement
// goes to the error handler, which says whether to skip it and go on or stop; with
// no handler the first error stops the run. Stopping throws the statement's error.
class ScriptRunner
{
public:
    enum class OnError { Skip, Stop };
    using ErrorHandler = std::function<OnError(const ScriptStatement &, const Error &)>;

    ScriptRunner(Database &db, Transaction &tr);

    void setErrorHandler(ErrorHandler handler) { m_handler = std::move(handler); }
    void run(const QString &script);

    int executed() const { return m_executed; }
    int failed() const { return m_failed; }

private:
    Database &m_db;
    Transaction &m_tr;
    ErrorHandler m_handler;
    int m_executed = 0;
    int m_failed = 0;
};

} // namespace fb
