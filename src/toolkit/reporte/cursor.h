#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace fb {
class Database;
class Query;
class Transaction;
} // namespace fb

namespace lar {
class MemTable;
}

namespace lar::reporte {

// What the report reads its rows from: a forward cursor with named columns.
class Cursor
{
public:
    virtual ~Cursor() = default;
    // Positions on the first row; may throw the data layer's error.
    virtual void abre() = 0;
    virtual bool eof() const = 0;
    virtual void siguiente() = 0;
    virtual QStringList campos() const = 0;
    // The column of the current row; an invalid QVariant for NULL.
    virtual QVariant valor(int campo) const = 0;
};

// The rows of a statement, on its own query object. Parameters still present in the
// text are bound by name from parametros.
class CursorQuery : public Cursor
{
public:
    CursorQuery(fb::Database *db,
                fb::Transaction *tr,
                const QString &sql,
                const QVariantHash &parametros = {});
    ~CursorQuery() override;
    void abre() override;
    bool eof() const override;
    void siguiente() override;
    QStringList campos() const override;
    QVariant valor(int campo) const override;

private:
    std::unique_ptr<fb::Query> m_query;
    QVariantHash m_parametros;
    QStringList m_campos;
};

// The rows of a memory table in its current order and filter; the table must
// outlive the cursor.
class CursorMemTable : public Cursor
{
public:
    explicit CursorMemTable(MemTable *tabla);
    void abre() override;
    bool eof() const override;
    void siguiente() override;
    QStringList campos() const override;
    QVariant valor(int campo) const override;

private:
    MemTable *m_tabla;
};

} // namespace lar::reporte
