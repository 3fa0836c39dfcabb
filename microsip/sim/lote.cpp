#include "lote.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

namespace microsip::detail {

Lote::Lote(fb::Database &db,
           fb::Transaction &tr,
           const QString &tabla,
           const QList<Columna> &columnas)
    : m_db(db)
    , m_tr(tr)
    , m_tabla(tabla)
    , m_columnas(columnas)
    // Keeps a block's text and its parameter message well below the engine's limits.
    , m_porBloque(int(std::clamp<qsizetype>(1200 / columnas.size(), 1, 200)))
{
    m_pendientes.reserve(m_porBloque * columnas.size());
}

Lote::~Lote() = default;

fb::Query &Lote::bloque(int filas)
{
    std::unique_ptr<fb::Query> &q = m_bloques[filas];
    if (q)
        return *q;
    QString parametros;
    QString cuerpo;
    QString nombres;
    for (const Columna &c : std::as_const(m_columnas))
        nombres += (nombres.isEmpty() ? QString() : QStringLiteral(", ")) + c.nombre;
    for (int f = 0; f < filas; ++f) {
        QString valores;
        for (qsizetype c = 0; c < m_columnas.size(); ++c) {
            const QString p = QStringLiteral("P%1_%2").arg(f).arg(c);
            parametros += (parametros.isEmpty() ? QString() : QStringLiteral(", ")) + p + u' '
                          + m_columnas[c].tipo + QStringLiteral(" = ?");
            valores += (c == 0 ? QString() : QStringLiteral(", ")) + u':' + p;
        }
        cuerpo
            += QStringLiteral("INSERT INTO %1 (%2) VALUES (%3);\n").arg(m_tabla, nombres, valores);
    }
    q = std::make_unique<fb::Query>(&m_db, &m_tr);
    q->setParamCheck(false);
    q->setSql(QStringLiteral("EXECUTE BLOCK (%1) AS BEGIN\n%2END").arg(parametros, cuerpo));
    return *q;
}

void Lote::agrega(const QVariantList &valores)
{
    if (valores.size() != m_columnas.size())
        throw fb::Error::usage(QStringLiteral("%1: se esperaban %2 valores y llegaron %3")
                                   .arg(m_tabla)
                                   .arg(m_columnas.size())
                                   .arg(valores.size()));
    m_pendientes += valores;
    if (m_pendientes.size() == m_porBloque * m_columnas.size())
        envia();
}

void Lote::envia()
{
    const int pendientes = int(m_pendientes.size() / m_columnas.size());
    if (pendientes == 0)
        return;
    for (Lote *p : m_padres)
        p->envia();
    int hecho = 0;
    while (hecho < pendientes) {
        int filas = m_porBloque;
        if (pendientes - hecho < m_porBloque) {
            filas = 1;
            while (filas * 2 <= pendientes - hecho)
                filas *= 2;
        }
        enviaFilas(hecho, filas);
        hecho += filas;
    }
    m_total += pendientes;
    m_pendientes.clear();
}

void Lote::enviaFilas(int desde, int filas)
{
    fb::Query &q = bloque(filas);
    const qsizetype base = desde * m_columnas.size();
    for (qsizetype i = 0; i < filas * m_columnas.size(); ++i)
        q.bind(int(i), m_pendientes[base + i]);
    q.execute();
}

void Lote::termina()
{
    envia();
}

int reservaIds(fb::Database &db, fb::Transaction &tr, const QString &secuencia, int cuantos)
{
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral("SELECT GEN_ID(%1, %2) FROM RDB$DATABASE").arg(secuencia).arg(cuantos));
    q.open();
    const qint64 ultimo = q.field(0).toInt64();
    q.close();
    return int(ultimo - cuantos + 1);
}

} // namespace microsip::detail
