#pragma once

#include "memtable.h"

#include <QHash>
#include <QPointer>

#include <memory>

namespace lar {

// An error in a statement of the in-memory SQL: its text says what and where.
class MemSqlError : public std::exception
{
public:
    explicit MemSqlError(QString message);
    const QString &message() const { return m_message; }
    const char *what() const noexcept override { return m_what.constData(); }

private:
    QString m_message;
    QByteArray m_what;
};

// The small SQL the screens run over their memory tables, registered by name:
//
//   SELECT item [, item...] FROM table [WHERE condition] [ORDER BY col [ASC|DESC], ...]
//
// An item is *, a column, or sum / count / min / max of a column (count(*) too),
// each with an optional [AS] alias; columns and aggregates don't mix (no GROUP BY).
// Conditions compare columns, 'strings' and numbers with = <> != < > <= >=, joined
// by AND and OR, in parentheses if need be; a string compared with a number field
// is taken as a number. A comparison with NULL is false. The rows are the table's
// rows in sight. Anything else is refused with a Spanish MemSqlError.
class MemSql
{
public:
    MemSql();
    ~MemSql();
    MemSql(const MemSql &) = delete;
    MemSql &operator=(const MemSql &) = delete;

    // Names compare without case.
    void registerTable(const QString &name, MemTable *table);
    void unregisterTable(const QString &name);

    // Runs the statement; the result is a table positioned on its first row. An
    // aggregate over no rows gives one row: count 0, sum/min/max NULL.
    MemTable &open(const QString &sql);
    MemTable &result() { return *m_result; }
    MemField field(int index) { return m_result->field(index); }
    MemField fieldByName(const QString &name) { return m_result->fieldByName(name); }

private:
    QHash<QString, QPointer<MemTable>> m_tables;
    std::unique_ptr<MemTable> m_result;
};

} // namespace lar
