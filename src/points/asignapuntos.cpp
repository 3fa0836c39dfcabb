#include "asignapuntos.h"

#include "ledger.h"

#include "core/ids.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "toolkit/memtable.h"

#include <algorithm>
#include <stdexcept>

namespace lar {

namespace {

const QString FolioPuntos = QStringLiteral("Folio Puntos");

// A failed conversion of the typed number, as the runtime words it.
class ValorNoEntero : public std::runtime_error
{
public:
    explicit ValorNoEntero(const QString &texto)
        : std::runtime_error(
            (QLatin1Char('\'') + texto + QStringLiteral("' no es un valor entero válido"))
                .toStdString())
    {}
};

} // namespace

MovimientoPuntos::MovimientoPuntos(Sesion &sesion)
    : m_sesion(sesion)
{}

void MovimientoPuntos::CargaClientes(MemTable &clientes)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "SELECT l.cliente_id, (select upper(list(k.clave_cliente,'^')) from claves_clientes k "
        "join roles_claves_clientes r on r.rol_clave_cli_id=k.rol_clave_cli_id where "
        "k.cliente_id = l.cliente_id ) clave, l.nombre FROM clientes l where l.estatus = 'A' "
        "ORDER BY 3"));
    clientes.emptyTable();
    for (q.open(); !q.eof(); q.next()) {
        clientes.append();
        clientes[QStringLiteral("id")] = q.field(0).toInt();
        clientes[QStringLiteral("Activo")] = false;
        clientes[QStringLiteral("Clave")] = q.field(1).toTrimmed();
        clientes[QStringLiteral("Nombre")] = q.field(2).toTrimmed();
        clientes.post();
    }
    q.close();
    clientes.first();
}

QList<MovimientoPuntos::Linea> MovimientoPuntos::CargaSaldos(const QList<int> &clientes)
{
    QList<Linea> lineas;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "SELECT c.nombre,SUM(CASE WHEN naturaleza='E' THEN valor_puntos else -valor_puntos END) "
        "FROM clientes c LEFT JOIN lar_puntos e on (c.cliente_id = e.cliente_id) and "
        "(tipo_docto<>'X') WHERE c.cliente_id=:cliente GROUP BY 1"));
    for (const int cliente : clientes) {
        q.bind(QStringLiteral("cliente"), cliente);
        q.open();
        if (!q.eof())
            lineas.append({cliente, q.field(0).toTrimmed(), q.field(1).toInt()});
        q.close();
    }
    return lineas;
}

bool MovimientoPuntos::ExisteFolio(const QString &folio)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("select count(*) from lar_puntos where folio=:folio"));
    q.bind(QStringLiteral("folio"), FolioRellena(folio, ledger::AnchoFolio));
    q.open();
    const bool existe = q.field(0).toInt() > 0;
    q.close();
    return existe;
}

MovimientoPuntos::Resultado
MovimientoPuntos::GuardaMovimiento(bool agregar, const QString &puntos, const QList<Linea> &lineas)
{
    Resultado r;
    if (lineas.isEmpty())
        return r;
    try {
        fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
        QString folio = FolioRellena(LeeRegistro(m_sesion, FolioPuntos), ledger::AnchoFolio);
        // A folio stepped over stays in short form: only an untouched one is padded.
        while (ExisteFolio(folio))
            folio = FolioNormaliza(FolioSiguiente(folio, ledger::AnchoFolio));

        bool entero = false;
        const int valor = puntos.trimmed().toInt(&entero);
        if (!entero)
            throw ValorNoEntero(puntos);

        fb::Query inserta(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        inserta.setSql(QStringLiteral(
            "INSERT INTO LAR_PUNTOS (lar_puntos_id, cliente_id, docto_id, articulo_id, "
            "tipo_docto, folio, naturaleza, unidades, valor_puntos, sistema,partida) VALUES "
            "(:lar_puntos_id, :cliente_id, 0, 0, 'A', :folio, :naturaleza, 0, :valor_puntos, "
            "'AP',:partida)"));
        int partida = 1;
        for (const Linea &l : lineas) {
            inserta.bind(QStringLiteral("lar_puntos_id"),
                         GetNextID(m_sesion, QStringLiteral("PUNTOS"), 1));
            inserta.bind(QStringLiteral("cliente_id"), l.idCliente);
            inserta.bind(QStringLiteral("folio"), folio);
            inserta.bind(QStringLiteral("naturaleza"),
                         QString(QChar::fromLatin1(agregar ? ledger::Entrada : ledger::Salida)));
            // A withdrawal takes at most the balance; a negative one is brought to 0.
            inserta.bind(QStringLiteral("valor_puntos"),
                         agregar ? valor : std::min(valor, l.puntos));
            inserta.bind(QStringLiteral("partida"), partida++);
            inserta.execute();
        }
        GuardaRegistro(m_sesion, FolioPuntos, FolioSiguiente(folio, ledger::AnchoFolio));
        guardia.commit();
        r.ok = true;
        r.folio = folio;
        r.filas = int(lineas.size());
    } catch (const std::exception &e) {
        r = Resultado();
        r.error = TextoExcepcion(e);
    }
    return r;
}

} // namespace lar
