#include "simulacion.h"

#include "documentos.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <vector>

namespace microsip {

namespace {

// splitmix64, as the seed uses.
class Azar
{
public:
    explicit Azar(quint64 semilla)
        : m_s(semilla)
    {}
    int entre(int a, int b)
    {
        quint64 z = (m_s += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        z ^= z >> 31;
        return a + int(z % quint64(b - a + 1));
    }
    bool porCiento(int p) { return entre(1, 100) <= p; }

private:
    quint64 m_s;
};

std::vector<int> ids(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setSql(sql);
    std::vector<int> v;
    for (q.open(); !q.eof(); q.next())
        v.push_back(q.field(0).toInt());
    q.close();
    tr.commit();
    return v;
}

} // namespace

ResumenSimulacion simula(fb::Database &empresa, const OpcionesSimulacion &op)
{
    if (op.ventas < 0 || op.ventas > 100000)
        throw fb::Error(
            QStringLiteral("El número de ventas debe estar entre 0 y 100000: %1.").arg(op.ventas));
    if (op.dias < 1 || op.dias > 3650)
        throw fb::Error(
            QStringLiteral("El número de días debe estar entre 1 y 3650: %1.").arg(op.dias));
    const std::vector<int> clientes = ids(empresa,
                                          QStringLiteral("SELECT CLIENTE_ID FROM CLIENTES"
                                                         " WHERE ESTATUS = 'A' ORDER BY 1"));
    // Articles on sale with a list price; the stocked ones with stock in the default
    // warehouse, as a cashier would find them on the shelf.
    const std::vector<int> articulos = ids(
        empresa,
        QStringLiteral(
            "SELECT A.ARTICULO_ID FROM ARTICULOS A WHERE A.ESTATUS = 'A' AND A.ES_JUEGO = 'N'"
            " AND EXISTS (SELECT 1 FROM PRECIOS_ARTICULOS P WHERE P.ARTICULO_ID = A.ARTICULO_ID)"
            " AND (A.ES_ALMACENABLE = 'N' OR EXISTS (SELECT 1 FROM SALDOS_IN S"
            "   WHERE S.ARTICULO_ID = A.ARTICULO_ID AND S.ENTRADAS_UNIDADES > S.SALIDAS_UNIDADES))"
            " ORDER BY 1"));
    if (clientes.empty() || articulos.empty())
        throw fb::Error(
            QStringLiteral("La empresa no tiene clientes activos o artículos a la venta: "
                           "siémbrela primero."));
    const std::vector<int> cajeros
        = ids(empresa, QStringLiteral("SELECT CAJERO_ID FROM CAJEROS ORDER BY 1"));

    Azar a(op.semilla * 77 + 3);
    Documentos docs(empresa);
    ResumenSimulacion r;
    const QDate hasta = op.hasta.isValid() ? op.hasta : QDate::currentDate();
    std::vector<std::pair<Sistema, int>> hechas;
    for (int i = 0; i < op.ventas; ++i) {
        Documento d;
        d.sistema = a.porCiento(80) ? Sistema::PV : Sistema::VE;
        d.fecha
            = hasta.addDays(-qint64(op.dias - 1) + qint64(i) * op.dias / std::max(1, op.ventas));
        d.clienteId = clientes[size_t(a.entre(0, int(clientes.size()) - 1))];
        if (!cajeros.empty())
            d.cajeroId = cajeros[size_t(a.entre(0, int(cajeros.size()) - 1))];
        d.cajaId = a.entre(1, 3);
        const int lineas = a.entre(1, 4);
        for (int k = 0; k < lineas; ++k) {
            Renglon ren;
            ren.articuloId = articulos[size_t(a.entre(0, int(articulos.size()) - 1))];
            ren.unidades = fb::Decimal::fromInt(a.porCiento(75) ? 1 : a.entre(2, 4));
            d.renglones << ren;
        }
        try {
            hechas.emplace_back(d.sistema, docs.vende(d));
            ++r.ventas;
        } catch (const fb::Error &e) {
            ++r.rechazadas;
            if (op.avance)
                op.avance(QStringLiteral("Venta rechazada: %1").arg(e.message()));
            continue;
        }
        // Now and then an earlier sale is cancelled or returned.
        if (hechas.size() > 3 && a.porCiento(5)) {
            const auto [s, id] = hechas[size_t(a.entre(0, int(hechas.size()) - 2))];
            try {
                if (a.porCiento(50)) {
                    docs.cancela(s, id);
                    ++r.canceladas;
                } else {
                    docs.devuelve(s, id, {}, d.fecha);
                    ++r.devoluciones;
                }
            } catch (const fb::Error &) {
                // Already cancelled or returned whole: Microsip refuses it as well.
            }
        }
    }
    if (op.avance)
        op.avance(QStringLiteral("Ventas: %1, canceladas: %2, devoluciones: %3, rechazadas: %4")
                      .arg(r.ventas)
                      .arg(r.canceladas)
                      .arg(r.devoluciones)
                      .arg(r.rechazadas));
    return r;
}

} // namespace microsip
