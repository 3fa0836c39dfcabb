#include "rep_porarticulo.h"

#include "core/fmain.h"
#include "core/navegacion.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"

#include <QDateEdit>
#include <QLineEdit>
#include <QPushButton>

namespace lar {

Tfrep_PorArticulo::Tfrep_PorArticulo(Sesion &sesion, QWidget *parent)
    : TfRepCliente(sesion,
                   QStringLiteral("Tfrep_PorArticulo"),
                   QStringLiteral("Artículos mas vendidos"),
                   QStringLiteral("REP_ARTICULOS"),
                   parent)
{
    m_tabla->setObjectName(QStringLiteral("mArt"));
    DefineArticulosVendidos(*m_tabla);
    m_tabla->open();
    cxGrid1 = new MemGrid(this);
    cxGrid1->setObjectName(QStringLiteral("cxGrid1"));
    cxGrid1->setAccessibleName(QStringLiteral("Artículos vendidos"));
    MemTableModel *m = cxGrid1->memModel();
    m->addColumn(QStringLiteral("CLAVE"), QStringLiteral("Clave"), 120);
    m->addColumn(QStringLiteral("NOMBRE"), QStringLiteral("Artículo"), 360);
    m->addColumn(QStringLiteral("CANTIDAD"), QStringLiteral("Unidades"), 90);
    m->addColumn(QStringLiteral("Sistema"), QStringLiteral("Sistema"), 160);
    cxGrid1->setTable(m_tabla.get());
    cxGrid1->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ponRejilla(cxGrid1);
}

void Tfrep_PorArticulo::Button1Click()
{
    // A new row of the period always gets 1: this report has no article of its own.
    if (!guardaPeriodo(1))
        return;
    const bool conCliente = !txtCliente->text().trimmed().isEmpty();
    int filas = 0;
    if (!cargaTabla(
            [&] {
                return m_datos.cargaArticulos(*m_tabla,
                                              conCliente ? std::optional<int>(ClienteId)
                                                         : std::nullopt,
                                              dtpFechaI->date(),
                                              dtpFechaF->date(),
                                              Fuentes);
            },
            filas))
        return;
    if (filas == 0)
        MensajeSistema(conCliente ? QStringLiteral("El Cliente no tiene movimientos.")
                                  : QStringLiteral("No se encontraron movimientos."),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
    ajustaImprimir();
}

void RegistraRepPorArticulo()
{
    FilaModulo m;
    m.tag = 77;
    m.clase = QStringLiteral("Tfrep_PorArticulo");
    m.creaForma = [](TfMain &principal) -> TMForm * {
        return new Tfrep_PorArticulo(principal.sesion());
    };
    RegistraModulo(m);
}

} // namespace lar
