#include "rep_porcliente.h"

#include "exportaexcel.h"
#include "formas.h"
#include "imprimirforma.h"

#include "core/fmain.h"
#include "core/navegacion.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "shared/listas.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/tag.h"

#include <QDateEdit>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

namespace {

const QString avisoSistema()
{
    return QStringLiteral("Aviso del sistema");
}

} // namespace

TfRepCliente::TfRepCliente(Sesion &sesion,
                           const QString &nombre,
                           const QString &titulo,
                           const QString &documento,
                           QWidget *parent)
    : TMForm(parent)
    , m_s(sesion)
    , m_datos(sesion)
    , mClientes(std::make_unique<MemTable>())
    , m_tabla(std::make_unique<MemTable>())
    , m_documento(documento)
{
    setObjectName(nombre);
    setWindowTitle(titulo);
    resize(900, 560);
    mClientes->setObjectName(QStringLiteral("mClientes"));
    DefineClientes(*mClientes);
    mClientes->open();

    auto *lCliente = new QLabel(QStringLiteral("Cliente:"), this);
    txtCliente = new QLineEdit(this);
    txtCliente->setObjectName(QStringLiteral("txtCliente"));
    txtCliente->setAccessibleName(QStringLiteral("Cliente"));
    txtCliente->setToolTip(QStringLiteral("Clave del cliente y Enter, o el listado de clientes"));
    txtCliente->installEventFilter(this);
    lCliente->setBuddy(txtCliente);
    bCliente = new QToolButton(this);
    bCliente->setObjectName(QStringLiteral("bCliente"));
    bCliente->setText(QStringLiteral("..."));
    bCliente->setAccessibleName(QStringLiteral("Listado de clientes"));

    auto fecha = [this](const QString &n, int tag, const QString &accesible) {
        auto *d = new QDateEdit(this);
        d->setObjectName(n);
        d->setCalendarPopup(true);
        d->setDisplayFormat(QStringLiteral("dd/MM/yyyy"));
        d->setAccessibleName(accesible);
        SetTag(d, tag);
        return d;
    };
    dtpFechaI = fecha(QStringLiteral("dtpFechaI"), 1, QStringLiteral("Fecha inicial"));
    dtpFechaF = fecha(QStringLiteral("dtpFechaF"), 2, QStringLiteral("Fecha final"));
    auto *lDel = new QLabel(QStringLiteral("Del:"), this);
    lDel->setBuddy(dtpFechaI);
    auto *lAl = new QLabel(QStringLiteral("al:"), this);
    lAl->setBuddy(dtpFechaF);

    Button1 = Boton(QStringLiteral("Button1"), QStringLiteral("Actualizar"));
    SetTag(Button1, -5);
    btnImprimir = Boton(QStringLiteral("btnImprimir"), QStringLiteral("&Imprimir"));
    btnExportar = Boton(QStringLiteral("btnExportar"), QStringLiteral("&Exportar a Excel"));

    auto *fila = new QHBoxLayout;
    fila->addWidget(lCliente);
    fila->addWidget(txtCliente, 1);
    fila->addWidget(bCliente);
    fila->addSpacing(12);
    fila->addWidget(lDel);
    fila->addWidget(dtpFechaI);
    fila->addWidget(lAl);
    fila->addWidget(dtpFechaF);
    fila->addWidget(Button1);
    fila->addStretch();
    fila->addWidget(btnImprimir);
    fila->addWidget(btnExportar);
    auto *v = new QVBoxLayout(this);
    v->addLayout(fila);

    connect(bCliente, &QToolButton::clicked, this, &TfRepCliente::ListaClientesClick);
    connect(Button1, &QPushButton::clicked, this, [this] { Button1Click(); });
    connect(btnImprimir, &QPushButton::clicked, this, &TfRepCliente::btnImprimirClick);
    connect(btnExportar, &QPushButton::clicked, this, &TfRepCliente::btnExportarClick);

    terminaDiseno();
    Fuentes = m_datos.leeFuentes();
    m_datos.cargaClientes(*mClientes);
    mClientes->setIndexName(QStringLiteral("Nombre"));
    mClientes->first();
    FolderId = FolderFormas(m_s);
}

TfRepCliente::~TfRepCliente() = default;

void TfRepCliente::ponRejilla(MemGrid *grid)
{
    m_grid = grid;
    static_cast<QVBoxLayout *>(layout())->addWidget(grid, 1);
}

void TfRepCliente::showEvent(QShowEvent *ev)
{
    TMForm::showEvent(ev);
    if (m_mostrada)
        return;
    m_mostrada = true;
    btnImprimir->setEnabled(Acceso & 2);
    btnExportar->setEnabled(Acceso & 4);
}

bool TfRepCliente::cargaTabla(const std::function<int()> &lee, int &filas)
{
    m_tabla->disableControls();
    m_tabla->emptyTable();
    try {
        filas = lee();
    } catch (const std::exception &e) {
        m_tabla->enableControls();
        ajustaImprimir();
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
        return false;
    }
    m_tabla->first();
    m_tabla->enableControls();
    return true;
}

void TfRepCliente::ajustaImprimir()
{
    btnImprimir->setEnabled(!m_tabla->isEmpty() && (Acceso & 2));
}

void TfRepCliente::ListaClientesClick()
{
    if (txtCliente->isReadOnly())
        return;
    if (mClientes->isEmpty()) {
        fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
        CargaListaCat(QStringLiteral("clientes"), *mClientes, q);
    }
    ListaCols.clear();
    ListaCols << QStringLiteral("clave,,&Clave,100") << QStringLiteral("nombre,,&Nombre,500");
    if (MuestraListaDS(*mClientes, QStringLiteral("Listado de clientes")) != 1)
        return;
    ClienteId = mClientes->fieldByName(QStringLiteral("ID")).asInteger();
    txtCliente->setText(mClientes->fieldByName(QStringLiteral("Nombre")).asString());
    ClaveCliente = mClientes->fieldByName(QStringLiteral("CLAVE")).asString();
}

void TfRepCliente::txtClienteEnter()
{
    if (txtCliente->isReadOnly())
        return;
    const std::optional<ClienteClave> c = m_datos.clientePorClave(txtCliente->text());
    if (!c) {
        MensajeSistema(
            QStringLiteral("La clave no existe."), QStringLiteral("Aviso"), mb::IconInformation);
        txtCliente->setFocus();
        txtCliente->selectAll();
        return;
    }
    // mClientes stays where it was: printing takes its row, as it always has.
    ClaveCliente = c->clave;
    ClienteId = c->id;
    txtCliente->setText(c->nombre);
    Button1->setFocus();
}

bool TfRepCliente::guardaPeriodo(int articuloId)
{
    const QString error = m_datos.guardaPeriodo(dtpFechaI->date(), dtpFechaF->date(), articuloId);
    if (error.isEmpty())
        return true;
    MensajeSistema(QStringLiteral("Error: \n") + error, QStringLiteral("Error"), mb::IconStop);
    return false;
}

void TfRepCliente::btnImprimirClick()
{
    if (txtCliente->text().trimmed().isEmpty()) {
        MensajeSistema(QStringLiteral("Es necesario seleccionar un cliente."),
                       avisoSistema(),
                       mb::IconInformation);
        txtCliente->setFocus();
        return;
    }
    TfImprimirForma d(m_s, this);
    d.Carpeta = QStringLiteral("LarvenosPV");
    d.Subcarpeta = QStringLiteral("Puntos");
    d.Documento = m_documento;
    d.DoctoId = parametroImpresion();
    d.FolderId = FolderId;
    d.exec();
}

void TfRepCliente::btnExportarClick()
{
    if (m_tabla->isEmpty()) {
        MensajeSistema(QStringLiteral("Debe seleccionar un cliente y actualizar."),
                       avisoSistema(),
                       mb::IconInformation);
        return;
    }
    ExportaExcel(*m_grid);
}

bool TfRepCliente::eventFilter(QObject *o, QEvent *ev)
{
    if (o == txtCliente && ev->type() == QEvent::KeyPress) {
        const int k = static_cast<QKeyEvent *>(ev)->key();
        if (k == Qt::Key_Return || k == Qt::Key_Enter) {
            txtClienteEnter();
            return true;
        }
    }
    return TMForm::eventFilter(o, ev);
}

Tfrep_PorCliente::Tfrep_PorCliente(Sesion &sesion, QWidget *parent)
    : TfRepCliente(sesion,
                   QStringLiteral("Tfrep_PorCliente"),
                   QStringLiteral("Reporte Compra por cliente"),
                   QStringLiteral("REP_COMPRA_CLIENTE"),
                   parent)
{
    m_tabla->setObjectName(QStringLiteral("mDetalle"));
    DefineDetalleCompras(*m_tabla);
    m_tabla->open();
    cxGridCliente = new MemGrid(this);
    cxGridCliente->setObjectName(QStringLiteral("cxGridCliente"));
    cxGridCliente->setAccessibleName(QStringLiteral("Compras del cliente"));
    MemTableModel *m = cxGridCliente->memModel();
    m->addColumn(QStringLiteral("Folio"), QStringLiteral("Folio "), 120);
    m->addColumn(QStringLiteral("Fecha"), QStringLiteral("Fecha"), 150);
    m->addColumn(QStringLiteral("Importe"), QStringLiteral("Importe"), 120);
    m->addColumn(QStringLiteral("Sistema"), QStringLiteral("Sistema"), 160);
    cxGridCliente->setTable(m_tabla.get());
    cxGridCliente->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ponRejilla(cxGridCliente);
}

int Tfrep_PorCliente::parametroImpresion() const
{
    return mClientes->isEmpty() ? 0 : mClientes->fieldByName(QStringLiteral("ID")).asInteger();
}

void Tfrep_PorCliente::Button1Click()
{
    if (!guardaPeriodo(ClienteId))
        return;
    if (txtCliente->text().trimmed().isEmpty()) {
        MensajeSistema(QStringLiteral("Es necesario seleccionar un cliente."),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        return;
    }
    int filas = 0;
    if (!cargaTabla(
            [&] {
                return m_datos.cargaCompras(
                    *m_tabla, ClienteId, dtpFechaI->date(), dtpFechaF->date(), Fuentes);
            },
            filas))
        return;
    if (filas == 0)
        MensajeSistema(QStringLiteral("El Cliente no tiene ventas."),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
    ajustaImprimir();
}

void RegistraRepPorCliente()
{
    FilaModulo m;
    m.tag = 76;
    m.clase = QStringLiteral("Tfrep_PorCliente");
    m.creaForma = [](TfMain &principal) -> TMForm * {
        return new Tfrep_PorCliente(principal.sesion());
    };
    RegistraModulo(m);
}

} // namespace lar
