#pragma once

#include <QList>
#include <QString>
#include <QVariant>

#include <map>
#include <memory>
#include <vector>

namespace fb {
class Database;
class Query;
class Transaction;
} // namespace fb

namespace microsip::detail {

// Inserts many rows into one table with few round trips: rows are gathered and
// sent as one EXECUTE BLOCK of up to `filas` inserts, prepared once and run with
// parameters. Rows reach the table when a block is full and at termina().
class Lote
{
public:
    struct Columna
    {
        QString nombre;
        QString tipo; // as declared in the block: "INTEGER", "VARCHAR(200)", "NUMERIC(18,6)"...
    };

    Lote(fb::Database &db,
         fb::Transaction &tr,
         const QString &tabla,
         const QList<Columna> &columnas);
    ~Lote();
    Lote(const Lote &) = delete;
    Lote &operator=(const Lote &) = delete;

    // Rows of this table point at rows of `padre`: its pending rows go first.
    void despuesDe(Lote &padre) { m_padres.push_back(&padre); }

    // One value per column, in order; QVariant() is NULL.
    void agrega(const QVariantList &valores);
    void termina();
    qint64 filas() const { return m_total; }

private:
    fb::Query &bloque(int filas);
    void envia();
    void enviaFilas(int desde, int filas);

    fb::Database &m_db;
    fb::Transaction &m_tr;
    QString m_tabla;
    QList<Columna> m_columnas;
    int m_porBloque;
    QVariantList m_pendientes;
    qint64 m_total = 0;
    // Prepared blocks by number of rows: a full block and, for what is left over,
    // powers of two, so that a flush of any size reuses what is prepared.
    std::map<int, std::unique_ptr<fb::Query>> m_bloques;
    std::vector<Lote *> m_padres;
};

// Reserves `cuantos` consecutive values of a sequence and returns the first.
int reservaIds(fb::Database &db, fb::Transaction &tr, const QString &secuencia, int cuantos);

} // namespace microsip::detail
