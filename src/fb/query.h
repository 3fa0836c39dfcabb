#pragma once

#include "decimal.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

namespace fb {

class Database;
class Transaction;
class Query;
struct QueryState;

// SQL with its named parameters turned into positional markers. `names` has one
// entry per marker, empty for a plain `?`. String literals, quoted identifiers and
// comments are left alone.
struct ParsedSql
{
    QString sql;
    QStringList names;
};
ParsedSql parseParams(const QString &sql);

// What a result column holds: enough to lay out a copy of the result elsewhere
// (a memory table takes type, size and scale from it).
struct FieldInfo
{
    enum class Kind { Integer, Float, Decimal, String, Date, Time, DateTime, Boolean, Text, Blob };
    Kind kind = Kind::String;
    int size = 0;  // characters of CHAR/VARCHAR
    int scale = 0; // decimals of NUMERIC/DECIMAL
};

// A view on one column of the current row of a query.
class Field
{
public:
    Field(const Query *query, int index)
        : m_query(query)
        , m_index(index)
    {}

    QString name() const;
    bool isNull() const;
    // Text as stored; CHAR columns keep their padding unless trimmed.
    QString toString() const;
    // Text with trailing blanks removed (CHAR padding).
    QString toTrimmed() const;
    int toInt() const;
    qint64 toInt64() const;
    double toDouble() const;
    Decimal toDecimal() const;
    QDate toDate() const;
    QTime toTime() const;
    QDateTime toDateTime() const;
    // The stored date and time as a wall time held in Qt::UTC: no time-zone rule applies
    // and no zone look-up is made (a local QDateTime costs one per value). For columns
    // that are shown and sorted, never compared with the clock.
    QDateTime toWallDateTime() const;
    bool toBool() const;
    // Raw bytes (binary blobs, text without conversion).
    QByteArray toBytes() const;
    // Integers as qlonglong/int, NUMERIC with a scale as fb::Decimal, text as QString,
    // dates and times as their Qt types, NULL as an invalid QVariant.
    QVariant toVariant() const;

private:
    const Query *m_query;
    int m_index;
};

// A statement on an attachment and a transaction. SQL is set as text, line by line
// if one likes; parameters go by name (`:name`, a name may repeat) or by position
// (`?`). Select statements are read with open/eof/next; others run with execute(),
// which also fills the outputs of EXECUTE PROCEDURE. Prepared once, run many times.
// The transaction is started on first use when it isn't active.
class Query
{
public:
    Query(Database *db = nullptr, Transaction *tr = nullptr);
    ~Query();
    Query(const Query &) = delete;
    Query &operator=(const Query &) = delete;

    void setDatabase(Database *db);
    void setTransaction(Transaction *tr);
    Database *database() const { return m_db; }
    Transaction *transaction() const { return m_tr; }

    void setSql(const QString &sql);
    void addSql(const QString &line);
    void clearSql();
    QString sql() const { return m_sql; }
    // With false the text goes to the engine as written (PSQL bodies use `:var`).
    void setParamCheck(bool check);
    // Commits (retaining) the transaction after each statement that execute() runs.
    void setAutoCommit(bool on) { m_autoCommit = on; }
    bool autoCommit() const { return m_autoCommit; }
    // Fields' toString() drops the trailing blanks of CHAR columns.
    void setTrimChars(bool on) { m_trimChars = on; }
    bool trimChars() const { return m_trimChars; }

    void prepare();
    bool isPrepared() const;
    void unprepare();

    int paramCount() const;
    QStringList paramNames() const;
    // Sets every marker of that name; throws when the statement has none.
    void bind(const QString &name, const QVariant &value);
    // Sets the marker at that position (0-based), named or not.
    void bind(int index, const QVariant &value);
    void clearParams();

    // Opens the cursor and fetches the first row.
    void open();
    // Fetches the next row; false at the end.
    bool next();
    bool eof() const { return m_eof; }
    bool isOpen() const;
    void close();
    // Runs a statement that returns no cursor; returns the rows it touched.
    qint64 execute();
    qint64 rowsAffected() const { return m_rowsAffected; }

    int fieldCount() const;
    QString fieldName(int index) const;
    // -1 when there's no such column; names compare case-insensitively.
    int fieldIndex(const QString &name) const;
    FieldInfo fieldInfo(int index) const;
    Field field(int index) const;
    Field field(const QString &name) const;
    Field operator[](const QString &name) const { return field(name); }

private:
    friend class Field;
    friend class Database;
    friend class Transaction;
    void ensurePrepared();
    void buildInput();
    void checkRow(int index) const;

    Database *m_db = nullptr;
    Transaction *m_tr = nullptr;
    QString m_sql;
    bool m_paramCheck = true;
    bool m_autoCommit = false;
    bool m_trimChars = false;
    bool m_eof = true;
    qint64 m_rowsAffected = 0;
    std::vector<QVariant> m_values;
    std::unique_ptr<QueryState> m_state;
};

} // namespace fb
