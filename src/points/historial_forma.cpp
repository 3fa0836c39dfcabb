#include "historial_forma.h"

#include "core/fmain.h"
#include "core/navegacion.h"
#include "core/sesion.h"
#include "shared/listas.h"
#include "toolkit/displayformat.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/shell.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QDir>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

TfHistorialPuntos::TfHistorialPuntos(Sesion &sesion, QWidget *parent)
    : TMForm(parent)
    , m_s(sesion)
    , m_historial(sesion)
    , mKardex(std::make_unique<MemTable>())
    , mKardex2(std::make_unique<MemTable>())
    , mClientes(std::make_unique<MemTable>())
{
    setObjectName(QStringLiteral("TfHistorialPuntos"));
    setWindowTitle(QStringLiteral("Consulta historial"));
    HistorialPuntos::PreparaKardex(*mKardex);
    HistorialPuntos::PreparaKardex2(*mKardex2);

    txtCliente = new QLineEdit(this);
    txtCliente->setObjectName(QStringLiteral("txtCliente"));
    txtCliente->setAccessibleName(QStringLiteral("Clave del cliente"));
    txtCliente->installEventFilter(this);
    bClientes = new QToolButton(this);
    bClientes->setObjectName(QStringLiteral("bClientes"));
    bClientes->setText(QStringLiteral("..."));
    bClientes->setAccessibleName(QStringLiteral("Listado de clientes"));
    bClientes->setToolTip(QStringLiteral("Listado de clientes"));
    lblNomCliente = new QLabel(this);
    lblNomCliente->setObjectName(QStringLiteral("lblNomCliente"));
    lbPuntosDisponibles = new QLabel(this);
    lbPuntosDisponibles->setObjectName(QStringLiteral("lbPuntosDisponibles"));
    lbPuntosDisponibles->setAccessibleName(QStringLiteral("Puntos disponibles"));
    dtpFecIni = new QDateEdit(this);
    dtpFecIni->setObjectName(QStringLiteral("dtpFecIni"));
    dtpFecIni->setCalendarPopup(true);
    dtpFecIni->setDisplayFormat(QStringLiteral("dd/MM/yyyy"));
    dtpFecFin = new QDateEdit(this);
    dtpFecFin->setObjectName(QStringLiteral("dtpFecFin"));
    dtpFecFin->setCalendarPopup(true);
    dtpFecFin->setDisplayFormat(QStringLiteral("dd/MM/yyyy"));
    JvCheckBox1 = new QCheckBox(QStringLiteral("Canjes"), this);
    JvCheckBox1->setObjectName(QStringLiteral("JvCheckBox1"));
    chkAll = new QCheckBox(QStringLiteral("Todos los Clientes"), this);
    chkAll->setObjectName(QStringLiteral("chkAll"));
    bConsulta = new QPushButton(QStringLiteral("Consultar"), this);
    bConsulta->setObjectName(QStringLiteral("bConsulta"));
    bConsulta->setAutoDefault(false);
    bExcel = new QPushButton(QStringLiteral("Excel"), this);
    bExcel->setObjectName(QStringLiteral("bExcel"));
    bExcel->setAutoDefault(false);

    cxGrid = new MemGrid(this);
    cxGrid->setObjectName(QStringLiteral("cxGrid"));
    cxGrid->setAccessibleName(QStringLiteral("Historial de puntos"));
    cxGrid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    cxGrid->verticalHeader()->hide();
    cxGrid->setTable(mKardex.get());
    MemTableModel *modelo = cxGrid->memModel();
    modelo->clearColumns();
    modelo->addColumn(QStringLiteral("Fecha"), QStringLiteral("Fecha"), 150);
    modelo->addColumn(QStringLiteral("Articulo"), QStringLiteral("Artículo"), 330);
    modelo->addColumn(QStringLiteral("Puntos"), QStringLiteral("Puntos"), 70);
    modelo->addColumn(QStringLiteral("Folio"), QStringLiteral("Folio docto"), 100);
    modelo->addColumn(QStringLiteral("Documento"), QStringLiteral("Documento"), 190);
    modelo->reload();
    cxGrid->applyColumns();

    auto *datos = new QGridLayout;
    auto *lCliente = new QLabel(QStringLiteral("Cliente:"), this);
    lCliente->setBuddy(txtCliente);
    auto *filaCliente = new QHBoxLayout;
    filaCliente->addWidget(txtCliente);
    filaCliente->addWidget(bClientes);
    filaCliente->addWidget(lblNomCliente, 1);
    auto *lDisponibles = new QLabel(QStringLiteral("Puntos disponibles:"), this);
    lDisponibles->setBuddy(lbPuntosDisponibles);
    filaCliente->addWidget(lDisponibles);
    filaCliente->addWidget(lbPuntosDisponibles);
    datos->addWidget(lCliente, 0, 0);
    datos->addLayout(filaCliente, 0, 1);
    auto *filaPeriodo = new QHBoxLayout;
    auto *lIni = new QLabel(QStringLiteral("Periodo de:"), this);
    lIni->setBuddy(dtpFecIni);
    auto *lFin = new QLabel(QStringLiteral("hasta:"), this);
    lFin->setBuddy(dtpFecFin);
    filaPeriodo->addWidget(dtpFecIni);
    filaPeriodo->addWidget(lFin);
    filaPeriodo->addWidget(dtpFecFin);
    filaPeriodo->addSpacing(20);
    filaPeriodo->addWidget(JvCheckBox1);
    filaPeriodo->addWidget(chkAll);
    filaPeriodo->addStretch();
    filaPeriodo->addWidget(bConsulta);
    filaPeriodo->addWidget(bExcel);
    datos->addWidget(lIni, 1, 0);
    datos->addLayout(filaPeriodo, 1, 1);

    auto *principal = new QVBoxLayout(this);
    principal->addLayout(datos);
    principal->addWidget(cxGrid, 1);
    resize(900, 560);

    connect(bClientes, &QToolButton::clicked, this, &TfHistorialPuntos::EligeCliente);
    connect(bConsulta, &QPushButton::clicked, this, &TfHistorialPuntos::bAceptarClick);
    connect(bExcel, &QPushButton::clicked, this, &TfHistorialPuntos::bExcelClick);

    terminaDiseno();
    const QDate hoy = QDate::currentDate();
    dtpFecIni->setDate(hoy.addDays(-30));
    dtpFecFin->setDate(hoy);
}

TfHistorialPuntos::~TfHistorialPuntos() = default;

void TfHistorialPuntos::showEvent(QShowEvent *ev)
{
    bConsulta->setEnabled(Acceso & 1);
    bExcel->setEnabled(Acceso & 2);
    TMForm::showEvent(ev);
}

bool TfHistorialPuntos::eventFilter(QObject *o, QEvent *ev)
{
    if (o == txtCliente && ev->type() == QEvent::KeyPress) {
        const int k = static_cast<QKeyEvent *>(ev)->key();
        if (k == Qt::Key_Return || k == Qt::Key_Enter) {
            BuscaClave();
            return true;
        }
    }
    return TMForm::eventFilter(o, ev);
}

void TfHistorialPuntos::ponCliente(const HistorialPuntos::Cliente &c)
{
    mKardex->emptyTable();
    ClienteID = c.id;
    m_nombreCliente = c.nombre;
    lblNomCliente->setText(c.nombre);
    m_saldo = m_historial.Saldo(c.id);
    lbPuntosDisponibles->setText(formatFloat(QStringLiteral("#,##0"), double(m_saldo)));
}

void TfHistorialPuntos::BuscaClave()
{
    try {
        const auto c = m_historial.BuscaCliente(txtCliente->text().trimmed());
        if (!c) {
            MuestraAviso(QStringLiteral("La clave no existe."), QStringLiteral("Aviso"));
            txtCliente->setFocus();
            txtCliente->selectAll();
            return;
        }
        ponCliente(*c);
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
}

void TfHistorialPuntos::EligeCliente()
{
    try {
        if (mClientes->recordCount() == 0) {
            fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
            CargaListaCat(QStringLiteral("clientes"), *mClientes, q);
        }
        ListaCols.clear();
        ListaCols << QStringLiteral("clave,,&Clave,100") << QStringLiteral("nombre,,&Nombre,500");
        if (MuestraListaDS(*mClientes, QStringLiteral("Listado de clientes")) != 1)
            return;
        HistorialPuntos::Cliente c;
        c.id = (*mClientes)[QStringLiteral("id")].asInteger();
        c.clave = (*mClientes)[QStringLiteral("clave")].asString();
        c.nombre = (*mClientes)[QStringLiteral("nombre")].asString();
        txtCliente->setText(c.clave.section(QLatin1Char('^'), 0, 0));
        ponCliente(c);
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
}

HistorialPuntos::Caso TfHistorialPuntos::casoActual() const
{
    return HistorialPuntos::CasoDe(ClienteID != 0, JvCheckBox1->isChecked(), chkAll->isChecked());
}

void TfHistorialPuntos::bAceptarClick()
{
    lbPuntosDisponibles->clear();
    const HistorialPuntos::Caso caso = casoActual();
    if (caso == HistorialPuntos::Ninguno)
        return;
    try {
        cxGrid->memModel()->column(1).title = HistorialPuntos::TituloColumna(caso);
        m_historial.Consulta(
            caso, ClienteID, dtpFecIni->date(), dtpFecFin->date(), *mKardex, *mKardex2);
        cxGrid->memModel()->reload();
        cxGrid->applyColumns();
        if (caso == HistorialPuntos::Kardex || caso == HistorialPuntos::CanjesCliente) {
            m_saldo = m_historial.Saldo(ClienteID);
            lbPuntosDisponibles->setText(formatFloat(QStringLiteral("#,##0"), double(m_saldo)));
        }
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
}

QString &TfHistorialPuntos::CarpetaLibros()
{
    static QString carpeta;
    return carpeta;
}

QString TfHistorialPuntos::ArchivoLibro()
{
    const QString carpeta = CarpetaLibros().isEmpty() ? QDir::tempPath() : CarpetaLibros();
    return QDir(carpeta).filePath(
        QStringLiteral("Historial de puntos %1.xlsx")
            .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"))));
}

void TfHistorialPuntos::bExcelClick()
{
    if (!TienePermiso(m_s, kTag, 2, QStringLiteral("exportar el reporte a excel")))
        return;
    if (MensajeSistema(QStringLiteral("¿Desea exportar el reporte?"),
                       QStringLiteral("Reporte"),
                       mb::YesNo | mb::IconQuestion | mb::DefButton2)
        != mb::IdYes)
        return;
    HistorialPuntos::Libro libro;
    libro.caso = casoActual();
    // With neither a customer nor all customers the sheet takes the last layout.
    if (libro.caso == HistorialPuntos::Ninguno)
        libro.caso = HistorialPuntos::MovimientosTodos;
    libro.desde = dtpFecIni->date();
    libro.hasta = dtpFecFin->date();
    libro.cliente = m_nombreCliente;
    libro.saldo = m_saldo;
    const QString archivo = ArchivoLibro();
    if (!HistorialPuntos::EscribeLibro(archivo, libro, *mKardex, *mKardex2)) {
        MensajeSistema(QStringLiteral("Por favor cierre todas las sesiones de Excel"),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        return;
    }
    AperturaShell a;
    a.archivo = archivo;
    a.mostrar = sw::Maximizada;
    ServicioShell::abre(a);
}

void RegistraHistorialPuntos()
{
    FilaModulo m;
    m.tag = TfHistorialPuntos::kTag;
    m.clase = QStringLiteral("TfHistorialPuntos");
    m.creaForma = [](TfMain &principal) -> TMForm * {
        return new TfHistorialPuntos(principal.sesion());
    };
    RegistraModulo(m);
}

} // namespace lar
