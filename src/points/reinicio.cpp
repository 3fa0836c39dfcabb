#include "reinicio.h"

#include "ledger.h"

#include "core/ids.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <vector>

namespace lar {

namespace {

const QString FormatoFecha = QStringLiteral("dd/MM/yyyy");

} // namespace

QString FechaReinicioTexto(const QDate &fecha)
{
    return fecha.toString(FormatoFecha);
}

QDate FechaReinicioDeTexto(const QString &texto)
{
    return QDate::fromString(texto.trimmed(), FormatoFecha);
}

ReinicioPuntos::ReinicioPuntos(Sesion &sesion)
    : m_sesion(sesion)
{}

ReinicioPuntos::Resultado ReinicioPuntos::ejecuta(const Opciones &opciones)
{
    Resultado r;
    const bool programado = opciones.fechaProgramada.has_value();
    const QDateTime limite = programado ? opciones.fechaProgramada->startOfDay() : QDateTime();
    try {
        fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
        const QString folio = FolioRellena(LeeRegistro(m_sesion, QStringLiteral("Folio Puntos")),
                                           ledger::AnchoFolio);
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());

        // The whole list first: the inserts below touch the same tables.
        q.setSql(QStringLiteral("SELECT  distinct c.cliente_id FROM clientes c JOIN lar_puntos e "
                                "on c.cliente_id = e.cliente_id"));
        std::vector<int> clientes;
        for (q.open(); !q.eof(); q.next())
            clientes.push_back(q.field(0).toInt());
        q.close();

        fb::Query saldo(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        saldo.setSql(QStringLiteral("SELECT SUM(CASE WHEN naturaleza='E' THEN valor_puntos else "
                                    "-valor_puntos END) FROM lar_puntos WHERE tipo_docto<>'X' and "
                                    "cliente_id=:cliente")
                     + (programado ? QStringLiteral(" and fecha<=:fecha") : QString()));
        fb::Query inserta(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        inserta.setSql(
            programado
                ? QStringLiteral(
                    "INSERT INTO lar_puntos (lar_puntos_id, cliente_id, tipo_docto, "
                    "folio, naturaleza, unidades, valor_puntos, sistema,partida,Fecha) "
                    "VALUES (:lar_puntos_id, :cliente_id, :tipo_docto, :folio, "
                    ":naturaleza, :unidades, :valor_puntos, 'P',:partida,:Fecha);")
                : QStringLiteral("INSERT INTO lar_puntos (lar_puntos_id, cliente_id, tipo_docto, "
                                 "folio, naturaleza, unidades, valor_puntos, sistema,partida) "
                                 "VALUES (:lar_puntos_id, :cliente_id, :tipo_docto, :folio, "
                                 ":naturaleza, :unidades, :valor_puntos, 'P',:partida);"));
        fb::Query marca(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        marca.setSql(QStringLiteral("INSERT INTO LAR_REINICIO_PUNTOS "
                                    "(ID_REINICIO_PUNTOS,FECHA_PROGRAMADA,FECHA_REINICIO) VALUES "
                                    "(-1,:FECHA_PROGRAMADA,Current_Date);"));

        // The ids of the whole run in one call of the generator; only when it had
        // to be created (it gives 1, nothing reserved) do they go one by one.
        const int cuantos = int(clientes.size());
        int siguienteId = 0;
        if (cuantos > 0) {
            const int ultimo = GetNextID(m_sesion, QStringLiteral("PUNTOS"), cuantos);
            siguienteId = ultimo - cuantos + 1;
        }
        const bool idsReservados = siguienteId >= 1;

        int partida = 1;
        for (const int cliente : clientes) {
            saldo.bind(QStringLiteral("cliente"), cliente);
            if (programado)
                saldo.bind(QStringLiteral("fecha"), limite);
            saldo.open();
            // No row counts (only cancelled redemptions): the row says 0.
            const int valor = saldo.eof() ? 0 : saldo.field(0).toInt();
            saldo.close();

            inserta.bind(QStringLiteral("lar_puntos_id"),
                         idsReservados ? siguienteId++
                                       : GetNextID(m_sesion, QStringLiteral("PUNTOS"), 1));
            inserta.bind(QStringLiteral("cliente_id"), cliente);
            inserta.bind(QStringLiteral("tipo_docto"),
                         QString(QChar::fromLatin1(ledger::Reinicio)));
            inserta.bind(QStringLiteral("folio"), folio);
            inserta.bind(QStringLiteral("naturaleza"), QString(QChar::fromLatin1(ledger::Salida)));
            inserta.bind(QStringLiteral("unidades"), 1);
            inserta.bind(QStringLiteral("valor_puntos"), valor);
            inserta.bind(QStringLiteral("partida"), partida);
            if (programado)
                inserta.bind(QStringLiteral("Fecha"), limite);
            inserta.execute();
            if (programado) {
                marca.bind(QStringLiteral("FECHA_PROGRAMADA"), *opciones.fechaProgramada);
                marca.execute();
            }
            ++partida;
        }

        GuardaRegistro(
            m_sesion, QStringLiteral("Folio Puntos"), FolioSiguiente(folio, ledger::AnchoFolio));
        r.siguienteFolio = FolioNormaliza(LeeRegistro(m_sesion, QStringLiteral("Folio Puntos")));
        guardia.commit();
        r.ok = true;
        r.clientes = partida - 1;
        r.folio = folio;
    } catch (const std::exception &e) {
        r = Resultado();
        r.error = programado ? QStringLiteral("Error al inicializar puntos\n") + TextoExcepcion(e)
                             : TextoExcepcion(e);
    }
    return r;
}

} // namespace lar
