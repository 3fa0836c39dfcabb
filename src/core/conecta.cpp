#include "conecta.h"

#include "acceso.h"
#include "carpetas.h"
#include "navegacion.h"
#include "registro.h"
#include "sesion.h"

#include "fb/database.h"
#include "toolkit/accesible.h"
#include "toolkit/mensajes.h"
#include "toolkit/teclado.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace lar {

namespace {

QString sinBlancos(QString s)
{
    s.remove(u' ');
    s.remove(u'\r');
    s.remove(u'\n');
    return s;
}

bool esEnter(QEvent *ev)
{
    if (ev->type() != QEvent::KeyPress)
        return false;
    const int k = static_cast<QKeyEvent *>(ev)->key();
    return k == Qt::Key_Return || k == Qt::Key_Enter;
}

bool puedeTomarFoco(const QWidget *w)
{
    return w->isEnabled() && w->isVisible() && w->focusPolicy() != Qt::NoFocus;
}

// The hourglass for the length of a routine, reset however it ends.
struct RelojArena
{
    RelojArena() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~RelojArena()
    {
        while (QApplication::overrideCursor())
            QApplication::restoreOverrideCursor();
    }
};

} // namespace

TfEmpresas::TfEmpresas(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("fEmpresas"));
    setWindowTitle(QStringLiteral("Seleccione una empresa"));
    auto *etiqueta
        = new QLabel(QStringLiteral("&Seleccione la empresa con la que desea trabajar:"), this);
    vEmpresas = new QListWidget(this);
    vEmpresas->setObjectName(QStringLiteral("vEmpresas"));
    vEmpresas->setSortingEnabled(true);
    EtiquetaDe(etiqueta, vEmpresas);
    bOk = new QPushButton(QStringLiteral("&Aceptar"), this);
    bOk->setObjectName(QStringLiteral("bOk"));
    Button2 = new QPushButton(QStringLiteral("&Cancelar"), this);
    Button2->setObjectName(QStringLiteral("Button2"));
    bOk->setAutoDefault(false);
    Button2->setAutoDefault(false);
    EnterPulsa(bOk);
    EnterPulsa(Button2);

    auto *botones = new QHBoxLayout;
    botones->addStretch(1);
    botones->addWidget(bOk);
    botones->addWidget(Button2);
    auto *v = new QVBoxLayout(this);
    v->addWidget(etiqueta);
    v->addWidget(vEmpresas, 1);
    v->addLayout(botones);
    resize(360, 300);

    connect(bOk, &QPushButton::clicked, this, &QDialog::accept);
    connect(Button2, &QPushButton::clicked, this, &QDialog::reject);
    connect(vEmpresas, &QListWidget::itemDoubleClicked, this, [this] {
        if (bOk->isEnabled())
            bOk->click();
    });
    vEmpresas->installEventFilter(this);
}

void TfEmpresas::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    // Opened from a key press in the login: the keyboard comes here at once.
    activateWindow();
    bOk->setEnabled(vEmpresas->count() > 0);
    if (vEmpresas->count() == 0)
        return;
    const QList<QListWidgetItem *> hallados = vEmpresas->findItems(Preseleccion, Qt::MatchExactly);
    if (!Preseleccion.isEmpty() && !hallados.isEmpty())
        vEmpresas->setCurrentItem(hallados.first());
    else if (!vEmpresas->currentItem())
        vEmpresas->setCurrentRow(0);
    vEmpresas->setFocus();
}

bool TfEmpresas::eventFilter(QObject *obj, QEvent *ev)
{
    if (obj == vEmpresas && esEnter(ev)) {
        if (puedeTomarFoco(bOk))
            EnfocaConTeclado(bOk);
        return true;
    }
    return QDialog::eventFilter(obj, ev);
}

TfConecta::TfConecta(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , Query(&sesion.fbConfig(), &sesion.fbConfigTrans())
    , m_sesion(sesion)
{
    setObjectName(QStringLiteral("fConecta"));
    setWindowTitle(QStringLiteral("Larvenos Punto de Venta"));

    vUsuario = new QLineEdit(this);
    vUsuario->setObjectName(QStringLiteral("vUsuario"));
    vUsuario->setMaxLength(31);
    vConexiones = new QComboBox(this);
    vConexiones->setObjectName(QStringLiteral("vConexiones"));
    vPass = new QLineEdit(this);
    vPass->setObjectName(QStringLiteral("vPass"));
    vPass->setMaxLength(31);
    CampoContrasena(vPass);
    bOk = new QPushButton(QStringLiteral("&Aceptar"), this);
    bOk->setObjectName(QStringLiteral("bOk"));
    bOk->setEnabled(false);
    bCancel = new QPushButton(QStringLiteral("Ca&ncelar"), this);
    bCancel->setObjectName(QStringLiteral("bCancel"));
    // Enter never accepts from the fields: it only moves on, and presses the
    // button that has the focus.
    bOk->setAutoDefault(false);
    bCancel->setAutoDefault(false);
    EnterPulsa(bOk);
    EnterPulsa(bCancel);

    auto *rejilla = new QGridLayout;
    const auto etiqueta = [this](const QString &texto, QWidget *buddy) {
        auto *l = new QLabel(texto, this);
        l->setBuddy(buddy);
        return l;
    };
    rejilla->addWidget(etiqueta(QStringLiteral("Nombre de usuario:"), vUsuario), 0, 0);
    rejilla->addWidget(vUsuario, 0, 1);
    rejilla->addWidget(etiqueta(QStringLiteral("Conexión:"), vConexiones), 1, 0);
    rejilla->addWidget(vConexiones, 1, 1);
    rejilla->addWidget(etiqueta(QStringLiteral("Contraseña:"), vPass), 2, 0);
    rejilla->addWidget(vPass, 2, 1);
    auto *botones = new QHBoxLayout;
    botones->addStretch(1);
    botones->addWidget(bOk);
    botones->addWidget(bCancel);
    auto *v = new QVBoxLayout(this);
    v->addLayout(rejilla);
    v->addSpacing(8);
    v->addLayout(botones);
    setMinimumWidth(380);

    connect(vUsuario, &QLineEdit::textChanged, this, &TfConecta::vUsuarioChange);
    connect(vPass, &QLineEdit::textChanged, this, &TfConecta::vUsuarioChange);
    connect(vConexiones, &QComboBox::currentIndexChanged, this, &TfConecta::vUsuarioChange);
    connect(bOk, &QPushButton::clicked, this, &TfConecta::bOkClick);
    connect(bCancel, &QPushButton::clicked, this, &QDialog::reject);
    for (QWidget *w : {static_cast<QWidget *>(vUsuario),
                       static_cast<QWidget *>(vConexiones),
                       static_cast<QWidget *>(vPass)})
        w->installEventFilter(this);
}

TfConecta::~TfConecta() = default;

void TfConecta::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    if (!m_mostrado) {
        m_mostrado = true;
        FormShow();
    }
}

void TfConecta::agregaConexion(const Conexion &c)
{
    vConexiones->addItem(c.nombre, c.tieneRuta ? QVariant(c.path) : QVariant());
}

void TfConecta::FormShow()
{
    XmlUsuario = RutaXmlUsuario();
    XmlComun = RutaXmlComun();
    UsaXml = QFile::exists(XmlComun);
    QString ultimaConexion;
    if (UsaXml) {
        try {
            QDomDocument comun;
            CargaXml(comun, XmlComun);
            const QList<Conexion> lista = LeeConexionesXml(comun);
            for (const Conexion &c : lista)
                agregaConexion(c);
            Xml = std::make_unique<QDomDocument>();
            CargaXml(*Xml, XmlUsuario);
            NodoBarra = NodoBarraXml(*Xml, UsuarioWindows());
            if (!NodoBarra.isNull()) {
                vUsuario->setText(TextoNodo(NodoBarra, QStringLiteral("Usuario")));
                ultimaConexion = TextoNodo(NodoBarra, QStringLiteral("Conexi_n"));
            }
        } catch (const std::exception &e) {
            MensajeSistema(QStringLiteral("No fue posible cargar la configuración XML\r")
                               + QString::fromLocal8Bit(e.what()),
                           QStringLiteral("Aviso del sistema"),
                           mb::IconInformation);
        }
    } else {
#ifdef Q_OS_WIN
        QString usuario;
        LeeUltimosRegistro(usuario, ultimaConexion);
        vUsuario->setText(usuario);
        const QList<Conexion> lista = LeeConexionesRegistro();
        for (const Conexion &c : lista)
            agregaConexion(c);
#endif
    }
    const int i = vConexiones->findText(ultimaConexion, Qt::MatchExactly);
    if (!ultimaConexion.isEmpty() && i >= 0)
        vConexiones->setCurrentIndex(i);
    else if (vConexiones->count() > 0)
        vConexiones->setCurrentIndex(0);
    vUsuarioChange();
    if (!vUsuario->text().isEmpty())
        vPass->setFocus();
    else
        vUsuario->setFocus();
}

void TfConecta::vUsuarioChange()
{
    bOk->setEnabled(!vUsuario->text().trimmed().isEmpty() && !vPass->text().isEmpty()
                    && vConexiones->currentIndex() >= 0);
}

bool TfConecta::eventFilter(QObject *obj, QEvent *ev)
{
    if (esEnter(ev)) {
        if (obj == vUsuario)
            EnfocaConTeclado(vConexiones);
        else if (obj == vConexiones)
            EnfocaConTeclado(vPass);
        else if (obj == vPass && puedeTomarFoco(bOk))
            EnfocaConTeclado(bOk);
        return true;
    }
    return QDialog::eventFilter(obj, ev);
}

QString TfConecta::PathSeleccionado() const
{
    return vConexiones->currentData().toString();
}

void TfConecta::bOkClick()
{
    RelojArena reloj;
    try {
        if (!ConectaBase(m_sesion.fbConfig(), false))
            return;
        GuardaUltimos();
        ConectaBase(m_sesion.fbMetadatos(), true);
        if (sinBlancos(vUsuario->text()).toUpper() == u"SYSDBA") {
            accept();
            return;
        }
        if (RevisaDB(m_sesion, true)) {
            accept();
            return;
        }
        vUsuario->setText(QStringLiteral("SYSDBA"));
        MensajeSistema(QStringLiteral("Es necesario actualizar la base de datos, para hacerlo debe "
                                      "entrar con el usuario SYSDBA"),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        vPass->clear();
        vPass->setFocus();
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
}

bool TfConecta::ConectaBase(fb::Database &base, bool esMetadatos)
{
    Usuario = sinBlancos(vUsuario->text());
    base.disconnect();
    base.params().clear();
    base.params() << QStringLiteral("lc_ctype=None") << QStringLiteral("user_name=") + Usuario
                  << QStringLiteral("password=") + vPass->text()
                  << QStringLiteral("sql_role_name=USUARIO_MICROSIP");
    const QString path = PathSeleccionado();
    const QString sep = path.contains(u'\\') ? QStringLiteral("\\") : QStringLiteral("/");
    base.setDatabaseName(
        path + QStringLiteral("System") + sep
        + (esMetadatos ? QStringLiteral("Metadatos.fdb") : QStringLiteral("Config.fdb")));
    if (esMetadatos)
        return Conectar(m_sesion, base);
    if (!Conectar(m_sesion, base))
        return false;
    m_sesion.ConfigInicia();

    const QString usr = Usuario.toUpper();
    Query.setSql(QStringLiteral(
        "select usuario_id,acceso_empresas from usuarios where nombre=:usr and tipo='U'"));
    Query.bind(QStringLiteral("usr"), usr);
    Query.open();
    int usuarioId = 0;
    QString accesoEmpresas;
    if (!Query.eof()) {
        usuarioId = Query.field(0).toInt();
        accesoEmpresas = Query.field(1).toTrimmed();
    }
    Query.close();
    if (accesoEmpresas == u"L") {
        Query.setSql(
            QStringLiteral("select e.nombre_corto from empresas e join empresas_usuarios u "
                           "on e.empresa_id=u.empresa_id where u.usuario_id=:id"));
        Query.bind(QStringLiteral("id"), usuarioId);
    } else {
        Query.setSql(QStringLiteral("select nombre_corto from empresas"));
    }
    Query.open();

    while (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
    TfEmpresas empresas(this);
    for (; !Query.eof(); Query.next())
        empresas.vEmpresas->addItem(Query.field(0).toTrimmed());
    Query.close();

    Query.setSql(QStringLiteral(
        "select valor from registry where nombre='Empresa' and padre_id= (select elemento_id from "
        "registry where nombre='Microsip' and padre_id= (select elemento_id from registry where "
        "nombre=:usr and padre_id=0))"));
    Query.bind(QStringLiteral("usr"), usr);
    Query.open();
    const int ultima = Query.eof() ? 0 : Query.field(0).toTrimmed().toInt();
    Query.close();
    EmpresaNombre.clear();
    if (ultima >= 1) {
        Query.setSql(QStringLiteral("select nombre_corto from empresas where empresa_id=:id"));
        Query.bind(QStringLiteral("id"), ultima);
        Query.open();
        if (!Query.eof())
            EmpresaNombre = Query.field(0).toTrimmed();
        Query.close();
    }
    empresas.Preseleccion = EmpresaNombre;

    fb::Database &db = m_sesion.fbDatabase();
    db.disconnect();
    db.setParams(base.params());
    if (empresas.vEmpresas->count() == 1) {
        EmpresaNombre = empresas.vEmpresas->item(0)->text();
    } else {
        if (empresas.exec() != QDialog::Accepted)
            return false;
        QListWidgetItem *actual = empresas.vEmpresas->currentItem();
        EmpresaNombre = actual ? actual->text() : QString();
    }
    db.setDatabaseName(path + EmpresaNombre + QStringLiteral(".fdb"));
    const bool ok = Conectar(m_sesion, db);
    if (ok) {
        Query.setSql(QStringLiteral("select empresa_id from empresas where nombre_corto=:n"));
        Query.bind(QStringLiteral("n"), EmpresaNombre);
        Query.open();
        EmpresaId = Query.eof() ? 0 : Query.field(0).toInt();
        Query.close();
    }
    return ok;
}

void TfConecta::GuardaUltimos()
{
    if (!UsaXml) {
#ifdef Q_OS_WIN
        GuardaUltimosRegistro(Usuario, vConexiones->currentText());
#endif
    } else if (Xml && !NodoBarra.isNull()) {
        // A failed save goes up to bOkClick: the dialog stays.
        FijaNodo(NodoBarra, QStringLiteral("Usuario"), Usuario);
        FijaNodo(NodoBarra, QStringLiteral("Conexi_n"), vConexiones->currentText());
        GuardaXml(*Xml, XmlUsuario);
    }
    if (EmpresaId > 0) {
        try {
            fb::TransactionGuard guardia(m_sesion.fbConfigTrans());
            const int usuario = RegistroMicrosip(
                m_sesion, Usuario.toUpper(), 0, QStringLiteral("L"), false, QString());
            const int microsip = RegistroMicrosip(m_sesion,
                                                  QStringLiteral("Microsip"),
                                                  usuario,
                                                  QStringLiteral("L"),
                                                  false,
                                                  QString());
            RegistroMicrosip(m_sesion,
                             QStringLiteral("Empresa"),
                             microsip,
                             QStringLiteral("V"),
                             true,
                             QString::number(EmpresaId));
            guardia.commit();
        } catch (const std::exception &) {
            // Only a convenience for the next login: the guard rolled it back.
        }
    }
}

} // namespace lar
