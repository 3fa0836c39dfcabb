#include "fmain.h"

#include "acceso.h"
#include "conecta.h"
#include "ids.h"
#include "presentacion.h"
#include "registro.h"

#include "fb/events.h"
#include "toolkit/iconos.h"
#include "toolkit/mensajes.h"
#include "toolkit/ribbon.h"
#include "toolkit/tag.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QEventLoop>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <QThread>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

TfMain *fMain = nullptr;

namespace {

constexpr quint32 kTodosLosDerechos = 1048575; // 20 bits

// A soft tile of diagonal hatching; 96 is a multiple of the 12-pixel step, so the
// tiles meet without a seam.
QPixmap creaFondo()
{
    QPixmap p(96, 96);
    p.fill(QColor(0xE8, 0xEE, 0xF5));
    QPainter g(&p);
    g.setPen(QColor(0xDC, 0xE4, 0xEE));
    for (int i = -96; i < 96; i += 12)
        g.drawLine(i, 96, i + 96, 0);
    return p;
}

void restauraCursor()
{
    while (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
}

} // namespace

PanelFondo::PanelFondo(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("fPanelFondo"));
}

void PanelFondo::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    if (!imagen.isNull()) {
        const int pw = imagen.width();
        const int ph = imagen.height();
        for (int x = 0; x <= width() / pw + 1; ++x) {
            for (int y = 0; y <= height() / ph + 1; ++y)
                p.drawPixmap(x * pw, y * ph, imagen);
        }
    }
    p.setBrush(Qt::NoBrush);
    p.setFont(QFont(QStringLiteral("Tahoma"), 26));
    const QRect area = rect();
    p.setPen(QColor(0xC0, 0xC0, 0xC0));
    p.drawText(area.adjusted(11, 11, 0, 0), Qt::AlignLeft | Qt::AlignTop, texto);
    p.setPen(Qt::black);
    p.drawText(area.adjusted(10, 10, 0, 0), Qt::AlignLeft | Qt::AlignTop, texto);
}

void PanelFondo::resizeEvent(QResizeEvent *ev)
{
    QWidget::resizeEvent(ev);
    // Module forms are anchored to all four sides.
    const QList<TMForm *> formas = findChildren<TMForm *>(QString(), Qt::FindDirectChildrenOnly);
    for (TMForm *f : formas)
        f->setGeometry(rect());
}

std::function<void(TfMain &)> &TfMain::RutinaReinicio()
{
    static std::function<void(TfMain &)> r;
    return r;
}

std::function<QDialog *(TfMain &)> &TfMain::FabricaActualizaDB()
{
    static std::function<QDialog *(TfMain &)> f;
    return f;
}

TfMain::TfMain(QWidget *parent)
    : QMainWindow(parent)
{
    fMain = this;
    setObjectName(QStringLiteral("fMain"));
    fEmpresaNombre.clear();
    setWindowTitle(m_sesion.nombrePrograma() + QStringLiteral(" v") + VersionArchivo());
    fPrimeraActivacion = true;

    auto *central = new QWidget(this);
    auto *v = new QVBoxLayout(central);
    v->setContentsMargins(0, 0, 0, 0);
    v->setSpacing(0);
    creaRibbon();
    v->addWidget(dxRibbon);
    creaEncabezado();
    v->addWidget(Panel1);
    fPanelFondo = new PanelFondo(central);
    BackGround = creaFondo();
    fPanelFondo->imagen = BackGround;
    v->addWidget(fPanelFondo, 1);
    setCentralWidget(central);

    // The Security menu design has no entry for anyone; the administrator reaches it
    // by its keys (its action is enabled only for him, by the rights).
    bDisenoSeguridad->setVisible(false);
    aSisPermisosDes->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_D));
    addAction(aSisPermisosDes);
    dxRibbon->setColapsado(true);

    ttStart = new QTimer(this);
    ttStart->setObjectName(QStringLiteral("ttStart"));
    ttStart->setInterval(50);
    connect(ttStart, &QTimer::timeout, this, [this] {
        ttStart->stop();
        setWindowState(windowState() | Qt::WindowMaximized);
    });
    tForma = new QTimer(this);
    tForma->setObjectName(QStringLiteral("tForma"));
    tForma->setInterval(50);
    connect(tForma, &QTimer::timeout, this, &TfMain::tFormaTimer);
    tmrReinicio = new QTimer(this);
    tmrReinicio->setObjectName(QStringLiteral("tmrReinicio"));
    tmrReinicio->setInterval(5000);
    connect(tmrReinicio, &QTimer::timeout, this, &TfMain::tmrReinicioTimer);

    resize(1100, 720);
    qApp->installEventFilter(this);
}

TfMain::~TfMain()
{
    qApp->removeEventFilter(this);
    tmrReinicio->stop();
    if (SIBfibEvent) {
        try {
            SIBfibEvent->unregisterEvents();
        } catch (const std::exception &) {
        }
        delete SIBfibEvent;
        SIBfibEvent = nullptr;
    }
    for (const QPointer<TMForm> &f : std::as_const(fFormas))
        delete f.data();
    fFormas.clear();
    const QList<QPointer<TMForm>> abiertas = FormasAbiertasLista().formas;
    for (const QPointer<TMForm> &f : abiertas)
        delete f.data();
    FormasAbiertasLista().formas.clear();
    FormasAbiertasLista().nombres.clear();
    UsuarioAutoriza().clear();
    m_sesion.desconecta();
    if (fMain == this)
        fMain = nullptr;
}

QAction *TfMain::accion(const QString &nombre, const QString &texto, int tag, const QString &icono)
{
    auto *a = new QAction(Icono(icono), texto, this);
    a->setObjectName(nombre);
    SetTag(a, tag);
    connect(a, &QAction::triggered, this, [this, a] { NavegaMod(a); });
    return a;
}

void TfMain::creaRibbon()
{
    accArticulos = accion(QStringLiteral("accArticulos"),
                          QStringLiteral("Artículos con puntos"),
                          72,
                          QStringLiteral("package-x-generic"));
    accVentasPuntos = accion(QStringLiteral("accVentasPuntos"),
                             QStringLiteral("Canje de puntos"),
                             73,
                             QStringLiteral("software-update-available"));
    accAsignaPuntos = accion(QStringLiteral("accAsignaPuntos"),
                             QStringLiteral("Asigna o Retira Puntos a Clientes"),
                             75,
                             QStringLiteral("contact-new"));
    AsigPxActiv = accion(QStringLiteral("AsigPxActiv"),
                         QStringLiteral("Asignar puntos por actividad a Empleados"),
                         79,
                         QStringLiteral("system-users"));
    accCompCte = accion(QStringLiteral("accCompCte"),
                        QStringLiteral("Compras por cliente"),
                        76,
                        QStringLiteral("x-office-spreadsheet"));
    accArtmas = accion(QStringLiteral("accArtmas"),
                       QStringLiteral("Artículos más vendidos"),
                       77,
                       QStringLiteral("x-office-presentation"));
    accBusqueda = accion(QStringLiteral("accBusqueda"),
                         QStringLiteral("Buscador clientes"),
                         78,
                         QStringLiteral("system-search"));
    accConsultaHistorial = accion(QStringLiteral("accConsultaHistorial"),
                                  QStringLiteral("Historial puntos"),
                                  74,
                                  QStringLiteral("appointment-new"));
    aSisPermisosDes = accion(QStringLiteral("aSisPermisosDes"),
                             QStringLiteral("Diseño"),
                             1,
                             QStringLiteral("applications-system"));
    aSisPermisos = accion(QStringLiteral("aSisPermisos"),
                          QStringLiteral("Permisos del sistema"),
                          2,
                          QStringLiteral("system-lock-screen"));
    aSisConfiguracion = accion(QStringLiteral("aSisConfiguracion"),
                               QStringLiteral("Configuración del sistema"),
                               10,
                               QStringLiteral("preferences-system"));
    // Not modules: their own handlers, tag 0 (always enabled).
    acc_AcercaDe = new QAction(
        Icono(QStringLiteral("dialog-information")), QStringLiteral("Acerca de"), this);
    acc_AcercaDe->setObjectName(QStringLiteral("acc_AcercaDe"));
    SetTag(acc_AcercaDe, 0);
    connect(acc_AcercaDe, &QAction::triggered, this, &TfMain::acercaDe);
    aSisSalir
        = new QAction(Icono(QStringLiteral("system-log-out")), QStringLiteral("&Salir"), this);
    aSisSalir->setObjectName(QStringLiteral("aSisSalir"));
    SetTag(aSisSalir, 0);
    connect(aSisSalir, &QAction::triggered, this, &QWidget::close);

    dxRibbon = new Ribbon(this);
    dxRibbon->setObjectName(QStringLiteral("dxRibbon"));
    tabCatalogos = dxRibbon->agregaTab(QStringLiteral("tabCatalogos"), QStringLiteral("Catálogos"));
    tabReportes = dxRibbon->agregaTab(QStringLiteral("tabReportes"), QStringLiteral("Operación"));
    tabConsultas = dxRibbon->agregaTab(QStringLiteral("tabConsultas"), QStringLiteral("Reportes"));
    tabSistema = dxRibbon->agregaTab(QStringLiteral("tabSistema"), QStringLiteral("Sistema"));

    RibbonGrupo *g
        = tabCatalogos->agregaGrupo(QStringLiteral("grpArticulos"), QStringLiteral("Artículos"));
    g->agregaBoton(QStringLiteral("bArticulos"), accArticulos);

    g = tabReportes->agregaGrupo(QStringLiteral("grpOperaciones"), QStringLiteral("Operaciónes"));
    g->agregaBoton(QStringLiteral("bVentasPuntos"), accVentasPuntos);
    g->agregaBoton(QStringLiteral("bAsignaPuntos"), accAsignaPuntos);
    g->agregaBoton(QStringLiteral("bAsigPxActiv"), AsigPxActiv);

    g = tabConsultas->agregaGrupo(QStringLiteral("grpReportes"), QStringLiteral("Reportes"));
    g->agregaBoton(QStringLiteral("bCompCte"), accCompCte);
    g->agregaBoton(QStringLiteral("bArtmas"), accArtmas);
    g->agregaBoton(QStringLiteral("bBusqueda"), accBusqueda);
    g->agregaBoton(QStringLiteral("bConsultaHistorial"), accConsultaHistorial);

    g = tabSistema->agregaGrupo(QStringLiteral("grpSeguridad"), QStringLiteral("Seguridad"));
    bDisenoSeguridad = g->agregaBoton(QStringLiteral("bDisenoSeguridad"), aSisPermisosDes);
    g->agregaBoton(QStringLiteral("bPermisos"), aSisPermisos);

    g = tabSistema->agregaGrupo(QStringLiteral("grpSistema"), QStringLiteral("Sistema"));
    bActualizaDB = g->agregaBoton(QStringLiteral("bActualizaDB"),
                                  QStringLiteral("Base de Datos"),
                                  Icono(QStringLiteral("drive-harddisk")));
    connect(bActualizaDB, &QAbstractButton::clicked, this, &TfMain::bActualizaDBClick);
    g->agregaBoton(QStringLiteral("bConfiguracion"), aSisConfiguracion);
    g->agregaBoton(QStringLiteral("bAcercaDe"), acc_AcercaDe);

    // Leaving the program stays in reach from every tab, beside the tabs.
    dxRibbon->agregaEsquina(QStringLiteral("bSalir"), aSisSalir);
}

void TfMain::creaEncabezado()
{
    Panel1 = new QWidget(this);
    Panel1->setObjectName(QStringLiteral("Panel1"));
    Panel1->setFixedHeight(34);
    Panel1->setAutoFillBackground(true);
    Modulo = new QLabel(Panel1);
    Modulo->setObjectName(QStringLiteral("Modulo"));
    QFont negrita = Modulo->font();
    negrita.setBold(true);
    negrita.setPointSize(negrita.pointSize() + 2);
    Modulo->setFont(negrita);
    Modulo->move(10, 7);
    bClose = new QToolButton(Panel1);
    bClose->setObjectName(QStringLiteral("bClose"));
    bClose->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    bClose->setAutoRaise(true);
    bClose->setToolTip(QStringLiteral("Cerrar"));
    bClose->setAccessibleName(QStringLiteral("Cerrar"));
    bClose->hide();
    connect(bClose, &QToolButton::clicked, this, &TfMain::bCloseClick);
    vFiltro = new QComboBox(Panel1);
    vFiltro->setObjectName(QStringLiteral("vFiltro"));
    vFiltro->setAccessibleName(QStringLiteral("Filtro"));
    vFiltro->hide();
    Panel1->installEventFilter(this);
}

bool TfMain::event(QEvent *ev)
{
    if (ev->type() == QEvent::WindowActivate && m_arrancado)
        FormActivate();
    return QMainWindow::event(ev);
}

void TfMain::showEvent(QShowEvent *ev)
{
    QMainWindow::showEvent(ev);
    if (m_mostrado)
        return;
    m_mostrado = true;
    // After the window is on screen: the splash, then the first activation.
    QTimer::singleShot(0, this, [this] {
        FormShow();
        m_arrancado = true;
        FormActivate();
    });
}

void TfMain::FormShow()
{
    if (const QScreen *pantalla = screen()) {
        const int anchoPantalla = pantalla->geometry().width();
        if (anchoPantalla < width())
            resize(anchoPantalla - 50, height());
        // The width, not the height, as it always was.
        if (anchoPantalla < height())
            resize(width(), anchoPantalla - 50);
    }
    {
        TfPresentacion splash(m_sesion.nombrePrograma(), false, this);
        splash.exec();
    }
    dxRibbon->setTabActiva(tabReportes);
}

void TfMain::FormActivate()
{
    if (fPrimeraActivacion) {
        fPrimeraActivacion = false;
        ttStart->start();
        try {
            if (Acceso()) {
                setWindowTitle(fEmpresaNombre + QStringLiteral(" - ") + fUsuarioNombre);
                show();
                raise();
                activateWindow();
            }
        } catch (const std::exception &e) {
            MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
        }
        restauraCursor();
    }
    tmrReinicio->start();
}

void TfMain::tmrReinicioTimer()
{
    // First of all, so that the activations of these 5 seconds make one check.
    tmrReinicio->stop();
    if (m_revisando || !RutinaReinicio())
        return;
    m_revisando = true;
    try {
        RutinaReinicio()(*this);
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
    TerminaProgreso();
    m_revisando = false;
}

void TfMain::EjecutaConProgreso(const QString &texto,
                                int indice,
                                int total,
                                const std::function<void()> &trabajo)
{
    if (!pbProgreso) {
        lbProgreso = new QLabel(this);
        lbProgreso->setObjectName(QStringLiteral("lbProgreso"));
        pbProgreso = new QProgressBar(this);
        pbProgreso->setObjectName(QStringLiteral("pbProgreso"));
        pbProgreso->setAccessibleName(QStringLiteral("Progreso"));
        pbProgreso->setMaximumWidth(240);
        statusBar()->addWidget(lbProgreso, 1);
        statusBar()->addPermanentWidget(pbProgreso);
    }
    lbProgreso->setText(texto);
    pbProgreso->setRange(0, total);
    pbProgreso->setValue(indice);
    statusBar()->show();
    lbProgreso->show();
    pbProgreso->show();

    QEventLoop espera;
    QThread *hilo = QThread::create(trabajo);
    connect(hilo, &QThread::finished, &espera, &QEventLoop::quit);
    hilo->start();
    // Paints and timers go on; clicks and keys wait for the end of the run.
    espera.exec(QEventLoop::ExcludeUserInputEvents);
    hilo->wait();
    delete hilo;
    pbProgreso->setValue(indice + 1);
}

void TfMain::TerminaProgreso()
{
    if (!pbProgreso)
        return;
    lbProgreso->clear();
    pbProgreso->hide();
    lbProgreso->hide();
    statusBar()->hide();
}

bool TfMain::Conectar(fb::Database &base)
{
    return lar::Conectar(m_sesion, base);
}

bool TfMain::ConfigConecta()
{
    const bool ok = Conectar(m_sesion.fbConfig());
    m_sesion.ConfigInicia();
    return ok;
}

bool TfMain::Acceso()
{
    auto conecta = std::make_unique<TfConecta>(m_sesion, this);
    if (conecta->exec() != QDialog::Accepted) {
        if (m_sesion.terminaAplicacion)
            m_sesion.terminaAplicacion();
        return false;
    }
    m_sesion.UsuarioActual = conecta->Usuario.toUpper();
    if (m_sesion.UsuarioActual == m_sesion.usuarioAdministrador()) {
        m_sesion.Permisos.fill(kTodosLosDerechos);
        bActualizaDB->setEnabled(true);
        if (!RevisaDB(m_sesion, false))
            bActualizaDB->click();
    } else {
        bActualizaDB->setEnabled(false);
        m_sesion.Permisos.fill(0);
        m_sesion.TransInicia();
        if (!RevisaDB(m_sesion, true)) {
            MensajeSistema(
                QStringLiteral("Es necesario actualizar la base de datos, para eso necesita "
                               "entrar al sistema con el usuario SYSDBA"),
                QStringLiteral("Aviso del sistema"),
                mb::IconInformation);
            return false;
        }
        fb::Query &q = m_sesion.Query();
        q.setSql(QStringLiteral("select modulo,acceso from lar_permisos where usuario=:u"));
        q.bind(QStringLiteral("u"), m_sesion.UsuarioActual);
        for (q.open(); !q.eof(); q.next()) {
            const int modulo = q.field(0).toInt();
            // The editor never writes a module outside 0..79.
            if (modulo >= 0 && modulo < int(m_sesion.Permisos.size()))
                m_sesion.Permisos[modulo] = quint32(q.field(1).toInt64());
        }
        q.close();
    }

    fb::Query &q = m_sesion.Query();
    q.setSql(QStringLiteral(
        "select Valor from registry where padre_id=(select elemento_id from registry where "
        "padre_id=0 and nombre='DatosEmpresa') and nombre='Nombre'"));
    q.open();
    fEmpresaNombre = q.eof() ? QString() : q.field(0).toTrimmed();
    q.close();
    if (fEmpresaNombre.isEmpty())
        fEmpresaNombre = m_sesion.nombrePrograma();
    fPanelFondo->texto = fEmpresaNombre;
    fPanelFondo->update();

    m_sesion.Permisos[0] = 1;
    const QList<RibbonBoton *> botones = findChildren<RibbonBoton *>();
    for (RibbonBoton *b : botones) {
        QAction *a = b->accion();
        if (Tag(b) < 0 || !a)
            continue;
        const int tag = Tag(a);
        const bool habilitado
            = tag >= 0 && tag < int(m_sesion.Permisos.size()) && m_sesion.Permisos[tag] > 0;
        a->setEnabled(habilitado);
        b->setEnabled(habilitado);
    }
    fUsuarioNombre = m_sesion.UsuarioActual;

    try {
        delete SIBfibEvent;
        SIBfibEvent = new fb::EventListener(&m_sesion.fbDatabase(), this);
        SIBfibEvent->setObjectName(QStringLiteral("SIBfibEvent"));
        SIBfibEvent->setEvents({QStringLiteral("VentaLAR")});
        SIBfibEvent->registerEvents();
    } catch (const std::exception &) {
        // Nothing listens to it; a failure here changes nothing.
        delete SIBfibEvent;
        SIBfibEvent = nullptr;
    }
    return true;
}

void TfMain::bActualizaDBClick()
{
    try {
        m_sesion.UpdateCommit();
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
    if (!FabricaActualizaDB())
        return;
    std::unique_ptr<QDialog> d(FabricaActualizaDB()(*this));
    if (d)
        d->exec();
}

void TfMain::acercaDe()
{
    TfPresentacion acerca(m_sesion.nombrePrograma(), true, this);
    acerca.exec();
}

void TfMain::NavegaMod(QObject *sender)
{
    try {
        if (!RevisaDB(m_sesion, false))
            return;
        const int tag = Tag(sender);
        if (!BuscaModulo(tag)) {
            // An entry whose screen this version doesn't have yet says so.
            const auto *a = qobject_cast<QAction *>(sender);
            const QString nombre = a ? QString(a->text()).remove(u'&') : QString();
            MensajeSistema(QStringLiteral("La pantalla \u201C") + nombre
                               + QStringLiteral("\u201D aún no está disponible en esta versión de ")
                               + m_sesion.nombrePrograma() + u'.',
                           QStringLiteral("Aviso del sistema"),
                           mb::IconInformation);
            return;
        }
        AbreVentana(tag, QString());
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
}

bool TfMain::preRevision(int tag)
{
    const QString aviso = QStringLiteral("Aviso del sistema");
    if (tag == 73) {
        const QString valor
            = LeeRegistro(m_sesion, QStringLiteral("Concepto Salida Puntos")).trimmed();
        bool ok = false;
        const int concepto = valor.toInt(&ok);
        if (!ok || concepto <= 0) {
            MensajeSistema(QStringLiteral("Indique un concepto de salida de inventarios en la "
                                          "configuración del sistema."),
                           aviso,
                           mb::IconInformation);
            return false;
        }
        m_sesion.TransInicia();
        fb::Query &q = m_sesion.Query();
        if (ExisteTabla(m_sesion, QStringLiteral("FOLIOS_CONCEPTOS")))
            q.setSql(QStringLiteral(
                "SELECT consecutivo FROM FOLIOS_CONCEPTOS WHERE concepto_id = :cons"));
        else
            q.setSql(
                QStringLiteral("SELECT sig_folio FROM conceptos_in WHERE concepto_in_id = :cons"));
        q.bind(QStringLiteral("cons"), concepto);
        q.open();
        const QString folio = (q.eof() || q.field(0).isNull()) ? QString() : q.field(0).toTrimmed();
        q.close();
        if (folio.trimmed().isEmpty()) {
            MensajeSistema(
                QStringLiteral("Es necesario asignar una serie y consecutivo al concepto de "
                               "salida de inventarios en Microsip."),
                aviso,
                mb::IconInformation);
            return false;
        }
    }
    if (tag == 75 || tag == 79) {
        m_sesion.TransInicia();
        fb::Query &q = m_sesion.Query();
        // A plain select: unlike Registro it creates nothing.
        q.setSql(QStringLiteral(
            "select v.valor from lar_registro v where v.nombre='Folio Puntos' and v.tipo='V' and "
            "v.padre_id=(select p.registro_id from lar_registro p where p.nombre='Puntos' and "
            "p.tipo='F' and p.padre_id=(select r.registro_id from lar_registro r where "
            "r.nombre='PuntosLar' and r.padre_id=0))"));
        q.open();
        const QString folio = (q.eof() || q.field(0).isNull()) ? QString() : q.field(0).toTrimmed();
        q.close();
        if (folio.trimmed().isEmpty()) {
            MensajeSistema(QStringLiteral("Es necesario realizar la configuración del sistema para "
                                          "poder asignar o quitar puntos"),
                           QStringLiteral("Realizar configuración"),
                           mb::IconInformation);
            return false;
        }
    }
    if (tag == 79) {
        if (LeeRegistro(m_sesion, QStringLiteral("Lista por clientes")).isEmpty()
            || LeeRegistro(m_sesion, QStringLiteral("Lista por empleados")).isEmpty()) {
            MensajeSistema(
                QStringLiteral("No ha configurado el listado a utilizar, Revisar configuración."),
                aviso,
                mb::IconInformation);
            return false;
        }
    }
    return true;
}

void TfMain::AbreVentana(int tag, const QString &parametro)
{
    const FilaModulo *m = BuscaModulo(tag);
    if (!m)
        return;
    if (!preRevision(tag))
        return;
    m_tag = tag;
    m_parametro = parametro;
    if (m->modal) {
        // No rights test here: the disabled ribbon entry is the guard.
        std::unique_ptr<QDialog> d(m->creaDialogo(*this));
        if (!d)
            return;
        SetTag(d.get(), tag);
        d->exec();
        return;
    }
    QPointer<TMForm> &forma = m_formas[tag];
    AbreForma(forma, *m, true, QString());
    if (forma && m->alAbrir)
        m->alAbrir(forma);
}

bool TfMain::AbreForma(QPointer<TMForm> &forma,
                       const FilaModulo &clase,
                       bool mostrar,
                       const QString &titulo)
{
    FormasAbiertas &abiertas = FormasAbiertasLista();
    const QString clave = ClaveForma(clase.clase, titulo);
    const int i = int(abiertas.nombres.indexOf(clave));
    if (i >= 0 && abiertas.formas.value(i)) {
        forma = abiertas.formas.at(i);
        if (!m_parametro.isEmpty())
            forma->DoIt(m_parametro);
        if (mostrar) {
            forma->show();
            forma->raise();
            Modulo->setText(forma->windowTitle());
            Modulo->adjustSize();
            fFormaActual = forma;
            MuestraFiltro(forma);
        }
        return false;
    }
    if (m_sesion.Permisos[m_tag] == 0) {
        MensajeSistema(QStringLiteral("No tiene permisos para acceder a esta ventana"),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        return false;
    }
    bool registrada = false;
    TMForm *f = nullptr;
    try {
        f = clase.creaForma(*this);
        if (!f)
            return false;
        forma = f;
        f->setProperty("_claveForma", clave);
        abiertas.nombres.append(clave);
        abiertas.formas.append(f);
        registrada = true;
        if (!titulo.isEmpty()) {
            f->setWindowTitle(titulo);
            f->Titulo = titulo;
        }
        const bool embebida = Tag(f) != -1;
        if (embebida) {
            if (mostrar)
                AgregaForma(f);
            f->setParent(fPanelFondo, Qt::Widget);
        }
        if (!m_parametro.isEmpty())
            f->DoIt(m_parametro);
        f->Acceso = m_sesion.Permisos[m_tag];
        f->OnClose = [this](TMForm *forma, TMForm::AccionCierre &accion) {
            CierraVentana(forma, accion);
        };
        if (!f->isVisible())
            f->show();
        if (embebida) {
            f->setGeometry(fPanelFondo->rect());
            f->raise();
        }
        SetTag(f, m_tag);
        if (mostrar)
            MuestraFiltro(f);
        else
            f->hide();
        return true;
    } catch (const std::exception &e) {
        MensajeSistema(QStringLiteral("Ocurrio un error al crear la ventana\r") + TextoExcepcion(e),
                       QStringLiteral("Error"),
                       mb::IconStop);
        if (registrada)
            QuitaForma(clave);
        if (f) {
            if (fFormaActual == f)
                fFormaActual = nullptr;
            f->deleteLater();
        }
        forma = nullptr;
        return false;
    }
}

void TfMain::AgregaForma(TMForm *forma)
{
    fFormas.prepend(forma);
    fFormaActual = forma;
    bClose->show();
    Modulo->setText(forma->windowTitle());
    Modulo->adjustSize();
}

void TfMain::llenaFiltro(TMForm *forma)
{
    disconnect(m_cambioFiltro);
    vFiltro->clear();
    vFiltro->addItems(forma->Filtros);
    vFiltro->setCurrentIndex(forma->FiltroIndice);
    QPointer<TMForm> destino(forma);
    m_cambioFiltro
        = connect(vFiltro, &QComboBox::currentIndexChanged, this, [this, destino](int i) {
              if (!destino)
                  return;
              destino->FiltroIndice = i;
              destino->DoFiltroChange(vFiltro);
          });
}

void TfMain::colocaFiltro()
{
    vFiltro->move(Modulo->x() + Modulo->width() + 15, (Panel1->height() - vFiltro->height()) / 2);
}

void TfMain::MuestraFiltro(TMForm *forma)
{
    vFiltro->setVisible(!forma->Filtros.isEmpty());
    if (forma->Filtros.isEmpty())
        return;
    llenaFiltro(forma);
    const QFontMetrics fm(vFiltro->font());
    int ancho = 0;
    for (const QString &s : std::as_const(forma->Filtros))
        ancho = qMax(ancho, fm.horizontalAdvance(s));
    vFiltro->resize(ancho + 25, vFiltro->sizeHint().height());
    colocaFiltro();
}

void TfMain::CierraVentana(TMForm *forma, TMForm::AccionCierre &accion)
{
    accion = TMForm::AccionCierre::Liberar;
    QuitaForma(forma->property("_claveForma").toString());
    tForma->start();
}

void TfMain::bCloseClick()
{
    if (fFormaActual)
        fFormaActual->close();
}

TMForm *TfMain::formaSuperior() const
{
    // Children are stacked in order: the last one is on top.
    const QObjectList &hijos = fPanelFondo->children();
    for (auto it = hijos.crbegin(); it != hijos.crend(); ++it) {
        auto *f = qobject_cast<TMForm *>(*it);
        if (f && !f->cerrando())
            return f;
    }
    return nullptr;
}

void TfMain::tFormaTimer()
{
    tForma->stop();
    if (TMForm *f = formaSuperior()) {
        fFormaActual = f;
        Modulo->setText(f->windowTitle());
        Modulo->adjustSize();
        f->raise();
        f->show();
        llenaFiltro(f);
        colocaFiltro();
    } else {
        bClose->hide();
        vFiltro->hide();
        Modulo->clear();
        fFormaActual = nullptr;
    }
}

bool TfMain::eventFilter(QObject *obj, QEvent *ev)
{
    if (obj == Panel1 && ev->type() == QEvent::Resize) {
        bClose->move(Panel1->width() - bClose->sizeHint().width() - 6,
                     (Panel1->height() - bClose->sizeHint().height()) / 2);
        return false;
    }
    // The window previews every key and hands it to the module form on top.
    const QEvent::Type t = ev->type();
    if ((t == QEvent::KeyPress || t == QEvent::KeyRelease) && fFormaActual && obj->isWidgetType()) {
        auto *w = static_cast<QWidget *>(obj);
        const bool destino
            = w == QApplication::focusWidget() || (!QApplication::focusWidget() && w == this);
        if (destino && w->window() == this) {
            auto *k = static_cast<QKeyEvent *>(ev);
            const bool usada
                = t == QEvent::KeyPress ? fFormaActual->FormKeyDown(k) : fFormaActual->FormKeyUp(k);
            if (usada)
                return true;
        }
    }
    return QMainWindow::eventFilter(obj, ev);
}

} // namespace lar
