#include "asignarpa_forma.h"

#include "asignarpa.h"

#include "catalog/articulos_lista.h"
#include "core/fmain.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "reports/formas.h"
#include "reports/imprimirforma.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"

#include <QApplication>
#include <QDateTime>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTextEdit>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

TfAsignar_PA::TfAsignar_PA(Sesion &sesion, QWidget *parent)
    : CapturaPuntos(sesion, Sentido::Entrada, parent)
{
    setObjectName(QStringLiteral("TfAsignar_PA"));
    setWindowTitle(QStringLiteral("Asignar Puntos a Empleados"));
    bNew = Boton(QStringLiteral("bNew"), QStringLiteral("Nuevo"));
    bSaveClose = Boton(QStringLiteral("bSaveClose"), QStringLiteral("Guardar y cerrar (F11)"));
    bSaveNew = Boton(QStringLiteral("bSaveNew"), QStringLiteral("Guardar y nuevo (F12)"));
    bPrint = Boton(QStringLiteral("bPrint"), QStringLiteral("Imprimir"));
    connect(bNew, &QPushButton::clicked, this, &TfAsignar_PA::bNewClick);
    connect(bSaveClose, &QPushButton::clicked, this, &TfAsignar_PA::bSaveCloseClick);
    connect(bSaveNew, &QPushButton::clicked, this, &TfAsignar_PA::bSaveNewClick);
    connect(bPrint, &QPushButton::clicked, this, &TfAsignar_PA::bPrintClick);

    if (auto *g = qobject_cast<QGroupBox *>(gbCliente))
        g->setTitle(QStringLiteral("Empleado:"));
    txtCliente->setAccessibleName(QStringLiteral("Clave del empleado"));
    bCliente->setAccessibleName(QStringLiteral("Listado de empleados"));
    cxGrid->setAccessibleName(QStringLiteral("Actividades"));
    cxGrid->memModel()->column(colValor).title = QStringLiteral("Puntos");
    cxGrid->applyColumns();

    auto *raiz = new QVBoxLayout(this);
    auto *barra = new QHBoxLayout;
    for (QPushButton *b : {bNew, bSaveClose, bSaveNew, bPrint, bListaArt})
        barra->addWidget(b);
    barra->addStretch(1);
    barra->addWidget(bEdit);
    raiz->addLayout(barra);
    auto *cabeza = new QHBoxLayout;
    cabeza->addWidget(gbCliente, 3);
    auto *puntos = new QGridLayout;
    puntos->addWidget(new QLabel(QStringLiteral("Puntos disponibles"), this), 0, 0);
    puntos->addWidget(lbPuntosDisponibles, 0, 1);
    puntos->addWidget(new QLabel(QStringLiteral("Total de puntos"), this), 1, 0);
    puntos->addWidget(vTotalPuntos, 1, 1);
    cabeza->addLayout(puntos, 1);
    raiz->addLayout(cabeza);
    raiz->addWidget(MemDet, 1);
    raiz->addWidget(cxGrid, 2);
    raiz->addWidget(StatusBar1);
    resize(860, 600);

    const quint32 acceso = sesion.Permisos[kTag];
    Acceso = acceso;
    bSaveClose->setEnabled(acceso & 1);
    bSaveNew->setEnabled(acceso & 1);
    bNew->setEnabled(acceso & 2);
    bPrint->setEnabled(acceso & 4);
    bListaArt->setEnabled(acceso & 8);
    // Enter belongs to the employee box and the grid, never to a default button.
    for (QPushButton *b : findChildren<QPushButton *>()) {
        b->setAutoDefault(false);
        b->setDefault(false);
    }
    terminaDiseno();
}

TfAsignar_PA::~TfAsignar_PA() = default;

void TfAsignar_PA::showEvent(QShowEvent *ev)
{
    CapturaPuntos::showEvent(ev);
    if (!ev->spontaneous())
        FormShow();
}

void TfAsignar_PA::FormShow()
{
    GuardadaCerrar = false;
    EsNueva = true;
    FolderFormas = lar::FolderFormas(m_s);
    m_ultimaCompra = ExisteProcedimiento(m_s, QStringLiteral("GET_ULTCOM_ART"));
    Timer1->start(1000);
    pReloj->setText(QDateTime::currentDateTime().toString(QStringLiteral("dd/MM/yyyy hh:mm")));
    LiberarAlCerrar = true;

    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    if (LeeRegistro(m_s, QStringLiteral("Lista por clientes")) == u"S") {
        q.setSql(QStringLiteral(
            "SELECT c.cliente_id, (select upper(list(clave_cliente,'^')) from claves_clientes v "
            "join roles_claves_clientes r on r.rol_clave_cli_id=v.rol_clave_cli_id where "
            "v.cliente_id = c.cliente_id ) clave, nombre, limite_credito FROM clientes c JOIN "
            "LIBRES_CLIENTES L ON c.cliente_id = l.cliente_id WHERE c.estatus = 'A' and "
            "l.empleado_puntos = 'S' and l.ACTIVO_PUNTOS = 'S' "));
        llenaClientes(q);
    } else if (LeeRegistro(m_s, QStringLiteral("Lista por empleados")) == u"S") {
        // Their EMPLEADO_ID goes into the ledger's CLIENTE_ID.
        q.setSql(QStringLiteral(
            "select e.empleado_id,e.numero, e.nombre_completo from empleados e where e.estatus = "
            "'A'"));
        llenaClientes(q);
    }
    FolioEmpleados = lar::GuardaActividad::FolioEmpleados(m_s);

    bEdit->setChecked(true);
    PreparaEdicion();
    if (txtCliente->isEnabled())
        txtCliente->setFocus();
}

QString TfAsignar_PA::sqlClienteClave() const
{
    // Always among the customers, whichever list is configured.
    return QStringLiteral(
        "SELECT C.nombre, clave_cliente, limite_credito,c.cliente_id,lc.empleado_puntos FROM "
        "clientes c JOIN claves_clientes v on v.cliente_id = c.cliente_id JOIN "
        "roles_claves_clientes r on r.rol_clave_cli_id = v.rol_clave_cli_id JOIN LIBRES_CLIENTES "
        "lc ON c.cliente_id = lc.cliente_id WHERE c.estatus = 'A' and clave_cliente = "
        ":clave_cliente and lc.empleado_puntos = 'S' and lc.ACTIVO_PUNTOS = 'S' ");
}

QString TfAsignar_PA::avisoClienteClave() const
{
    return QStringLiteral("El cliente no esta activo como empleado o esta en lista negra.");
}

QString TfAsignar_PA::sqlClaveArticulo() const
{
    return QStringLiteral(
        "select cl.articulo_id from claves_articulos  cl JOIN ARTICULOS ar ON cl.articulo_id = "
        "ar.articulo_id where clave_articulo=:c and ar.es_almacenable = 'N'");
}

QString TfAsignar_PA::avisoClaveArticulo(const QString &texto) const
{
    return QStringLiteral("El artículo con clave: '") + texto
           + QStringLiteral("' no existe ó es un articulo almacenable, favor de verificar");
}

QString TfAsignar_PA::sqlArticulo() const
{
    // Activities are priced from PUNTOS, not VALOR_PUNTOS.
    return QStringLiteral("SELECT articulo_id,nombre, es_almacenable, estatus,unidad_venta, "
                          "(SELECT puntos FROM libres_articulos WHERE articulo_id=:id) as "
                          "precio_puntos,")
           + (m_ultimaCompra ? QStringLiteral("(select costo_ultima_compra from "
                                              "get_ultcom_art(articulo_id)) costo_ultima_compra,")
                             : QStringLiteral("costo_ultima_compra,"))
           + QStringLiteral("contenido_unidad_compra,unidad_compra FROM articulos WHERE "
                            "articulo_id=:id");
}

void TfAsignar_PA::ConfiguraSelector(Tfcat_articulos_lista &lista)
{
    lista.ConfiguraActividad(PuntosDisponibles, [this](int id, const QString &clave, double) {
        const bool ok = AgregaArticulo(id, clave);
        CalculaTotales();
        return ok;
    });
}

bool TfAsignar_PA::GuardaActividad()
{
    if (!bEdit->isChecked())
        return true;
    CalculaTotales();
    Actividad a;
    a.clienteId = ClienteID;
    a.folio = FolioEmpleados;
    // A trailing empty row of the grid is no line.
    for (const LineaCanje &l : lineas()) {
        if (l.articuloId > 0 || !l.clave.isEmpty())
            a.lineas.append(l);
    }
    lar::GuardaActividad g(m_s);
    const lar::GuardaActividad::Resultado r = g.guarda(a);
    if (!r.aviso.vacio()) {
        MuestraAviso(r.aviso.texto, r.aviso.clase);
        if (r.aviso.foco == AvisoCanje::Cliente) {
            txtCliente->clear();
            txtCliente->setFocus();
        }
        return false;
    }
    if (!r.error.isEmpty()) {
        MensajeSistema(r.error, QStringLiteral("Error"), mb::IconStop);
        return false;
    }
    DoctoID = r.idGuia;
    return true;
}

void TfAsignar_PA::bPrintClick()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int fila = mDet->recNo();
    mDet->disableControls();
    // bSaveNew comes here with the capture still in edition: it is saved again.
    if (!GuardadaCerrar)
        GuardaActividad();
    {
        TfImprimirForma f(m_s, this);
        f.Carpeta = QStringLiteral("Puntos");
        f.Subcarpeta = QStringLiteral("Ventas");
        f.Documento = QStringLiteral("Venta ") + FolioEmpleados;
        f.FolderId = FolderFormas;
        f.DoctoId = DoctoID;
        QApplication::restoreOverrideCursor();
        f.exec();
        QApplication::setOverrideCursor(Qt::WaitCursor);
    }
    QApplication::restoreOverrideCursor();
    mDet->enableControls();
    if (fila >= 0 && fila < mDet->recordCount())
        mDet->setRecNo(fila);
    bEdit->setChecked(false);
    LiberaCliente();
    LiberarAlCerrar = true;
    close();
}

void TfAsignar_PA::bSaveCloseClick()
{
    if (!GuardaActividad())
        return;
    GuardadaCerrar = true;
    bPrint->click();
    bEdit->setChecked(false);
    LiberaCliente();
    LiberarAlCerrar = true;
    close();
}

void TfAsignar_PA::bSaveNewClick()
{
    if (!GuardaActividad())
        return;
    // The print saves a second time and closes the form: what follows prepares a
    // capture nobody sees.
    bPrint->click();
    bNewClick();
}

void TfAsignar_PA::bNewClick()
{
    EsNueva = true;
    bEdit->setChecked(true);
    LiberaCliente();
    LimpiaCaptura(true);
    DoctoID = 0;
    LiberarAlCerrar = true;
    PreparaEdicion();
}

bool TfAsignar_PA::FormKeyDown(QKeyEvent *ev)
{
    if (ev->modifiers() == Qt::NoModifier && ev->key() == Qt::Key_F11 && bSaveClose->isEnabled()) {
        bSaveClose->click();
        return true;
    }
    if (ev->modifiers() == Qt::NoModifier && ev->key() == Qt::Key_F12 && bSaveNew->isEnabled()) {
        bSaveNew->click();
        return true;
    }
    return CapturaPuntos::FormKeyDown(ev);
}

void RegistraAsignarPA()
{
    FilaModulo m;
    m.tag = TfAsignar_PA::kTag;
    m.clase = QStringLiteral("TfAsignar_PA");
    m.modal = true;
    m.creaDialogo = [](TfMain &principal) -> QDialog * {
        return new TfAsignar_PA(principal.sesion(), &principal);
    };
    RegistraModulo(m);
}

} // namespace lar
