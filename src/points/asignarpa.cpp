#include "asignarpa.h"

#include "ledger.h"

#include "core/ids.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"

namespace lar {

namespace {

const QString FolioEmpleadosClave = QStringLiteral("Folio puntos empleados");

} // namespace

GuardaActividad::GuardaActividad(Sesion &sesion)
    : m_sesion(sesion)
{}

QString GuardaActividad::FolioEmpleados(Sesion &sesion)
{
    return FolioRellena(LeeRegistro(sesion, FolioEmpleadosClave), ledger::AnchoFolio);
}

AvisoCanje GuardaActividad::Valida(const Actividad &actividad) const
{
    if (actividad.clienteId == 0)
        return {QStringLiteral("Primero debe seleccionar un cliente."),
                QStringLiteral("Aviso"),
                AvisoCanje::Cliente};
    if (actividad.lineas.isEmpty())
        return {QStringLiteral("La venta no tiene artículos"), QStringLiteral("Error")};
    return {};
}

GuardaActividad::Resultado GuardaActividad::guarda(const Actividad &actividad)
{
    Resultado r;
    try {
        fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
        r.aviso = Valida(actividad);
        if (!r.aviso.vacio())
            return r;
        const int idGuia = GuardaPuntosActividad(actividad);
        guardia.commit();
        r.ok = true;
        r.idGuia = idGuia;
    } catch (const std::exception &e) {
        r = Resultado();
        r.error = TextoExcepcion(e);
    }
    return r;
}

int GuardaActividad::GuardaPuntosActividad(const Actividad &actividad)
{
    Sesion &s = m_sesion;
    const int idGuia = GetNextID(s, QStringLiteral("PUNTOS"), 1);
    fb::Query inserta(&s.fbDatabase(), &s.fbUpdateTrans());
    inserta.setSql(QStringLiteral(
        "INSERT INTO LAR_PUNTOS (lar_puntos_id, cliente_id, docto_id, articulo_id, tipo_docto, "
        "folio, naturaleza, unidades, valor_puntos, sistema,partida) VALUES (:lar_puntos_id, "
        ":cliente_id, :idguia, :idArt, 'A', :folio, :naturaleza, :unidades, :valor_puntos, "
        "'AP',:partida)"));
    int partida = 1;
    for (const LineaCanje &l : actividad.lineas) {
        if (l.articuloId <= 0) {
            ++partida;
            continue;
        }
        inserta.bind(QStringLiteral("lar_puntos_id"), GetNextID(s, QStringLiteral("PUNTOS"), 1));
        inserta.bind(QStringLiteral("cliente_id"), actividad.clienteId);
        inserta.bind(QStringLiteral("idguia"), idGuia);
        inserta.bind(QStringLiteral("idArt"), l.articuloId);
        inserta.bind(QStringLiteral("folio"), actividad.folio);
        inserta.bind(QStringLiteral("naturaleza"), QString(QChar::fromLatin1(ledger::Entrada)));
        inserta.bind(QStringLiteral("unidades"), l.unidades);
        inserta.bind(QStringLiteral("valor_puntos"), l.valorPuntos * l.unidades);
        inserta.bind(QStringLiteral("partida"), partida++);
        inserta.execute();
    }
    // The settings commit on their own: a failed commit below doesn't take this back.
    GuardaRegistro(s, FolioEmpleadosClave, FolioSiguiente(actividad.folio, ledger::AnchoFolio));
    return idGuia;
}

} // namespace lar
