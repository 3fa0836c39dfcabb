#include "acceso.h"

#include "navegacion.h"
#include "sesion.h"

#include "fb/error.h"
#include "toolkit/mensajes.h"
#include "toolkit/teclado.h"

#include <QCloseEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QValidator>

namespace lar {

bool Conectar(Sesion &sesion, fb::Database &base)
{
    try {
        base.connect();
        return true;
    } catch (const fb::Error &e) {
        if (e.iscCode() == 0) {
            // Not from the engine: a fault of the client layer.
            MensajeSistema(QStringLiteral("Ocurrió un error al conectarse a la base de datos:\r")
                               + e.message(),
                           QStringLiteral("Aviso del sistema"),
                           mb::IconInformation);
            return false;
        }
        try {
            sesion.UpdateRollback();
        } catch (const std::exception &) {
        }
        const QString texto
            = e.iscCode() == fb::isc::LoginFailed
                  ? QStringLiteral("El nombre de usuario o contraseña no es válido")
                  : QStringLiteral("Error ") + QString::number(e.iscCode()) + u'\r' + e.message();
        MensajeSistema(texto, QStringLiteral("Error de datos"), mb::IconStop);
        return false;
    } catch (const std::exception &e) {
        MensajeSistema(QStringLiteral("Ocurrió un error al conectarse a la base de datos:\r")
                           + QString::fromLocal8Bit(e.what()),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        return false;
    }
}

QString &UsuarioAutoriza()
{
    static QString u;
    return u;
}

namespace {

// Forces what is typed to upper case.
class Mayusculas : public QValidator
{
public:
    using QValidator::QValidator;
    State validate(QString &texto, int &) const override
    {
        texto = texto.toUpper();
        return Acceptable;
    }
};

QString sinBlancos(QString s)
{
    s.remove(u' ');
    s.remove(u'\r');
    s.remove(u'\n');
    return s;
}

} // namespace

TfAcceso::TfAcceso(Sesion &sesion, QWidget *parent)
    : TMForm(parent)
    , m_sesion(sesion)
{
    setObjectName(QStringLiteral("fAcceso"));
    setWindowTitle(QStringLiteral("Acceso al sistema"));
    setWindowFlags(Qt::Tool | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    IBLocal.setDialect(1);

    vUser = new QLineEdit(this);
    vUser->setObjectName(QStringLiteral("vUser"));
    vUser->setValidator(new Mayusculas(vUser));
    vPass = new QLineEdit(this);
    vPass->setObjectName(QStringLiteral("vPass"));
    CampoContrasena(vPass);
    bOk = new QPushButton(QStringLiteral("&Aceptar"), this);
    bOk->setObjectName(QStringLiteral("bOk"));
    bCancel = new QPushButton(QStringLiteral("&Cancelar"), this);
    bCancel->setObjectName(QStringLiteral("bCancel"));
    tDontUse = new QTimer(this);
    tDontUse->setObjectName(QStringLiteral("tDontUse"));
    tDontUse->setInterval(3000);

    auto *campos = new QFormLayout;
    campos->addRow(QStringLiteral("Usuario:"), vUser);
    campos->addRow(QStringLiteral("Contraseña:"), vPass);
    auto *botones = new QHBoxLayout;
    botones->addStretch(1);
    botones->addWidget(bOk);
    botones->addWidget(bCancel);
    auto *v = new QVBoxLayout(this);
    v->addLayout(campos);
    v->addLayout(botones);

    bOk->setAutoDefault(false);
    bCancel->setAutoDefault(false);
    EnterPulsa(bOk);
    EnterPulsa(bCancel);
    vUser->installEventFilter(this);
    vPass->installEventFilter(this);
    connect(bOk, &QPushButton::clicked, this, &TfAcceso::bOkClick);
    connect(bCancel, &QPushButton::clicked, this, &TfAcceso::reject);
    connect(tDontUse, &QTimer::timeout, this, &TfAcceso::tDontUseTimer);
    terminaDiseno();
}

TfAcceso::~TfAcceso()
{
    try {
        IBLocal.disconnect();
    } catch (const std::exception &) {
    }
}

void TfAcceso::bOkClick()
{
    IBLocal.setDatabaseName(m_sesion.fbDatabase().databaseName());
    Usuario = sinBlancos(vUser->text());
    try {
        IBLocal.disconnect();
    } catch (const std::exception &) {
    }
    IBLocal.params().clear();
    IBLocal.params() << QStringLiteral("lc_ctype=None") << QStringLiteral("user_name=") + Usuario
                     << QStringLiteral("password=") + vPass->text()
                     << QStringLiteral("sql_role_name=USUARIO_MICROSIP");
    if (Conectar(m_sesion, IBLocal))
        accept();
    else
        vUser->setFocus();
}

bool TfAcceso::eventFilter(QObject *obj, QEvent *ev)
{
    if (ev->type() == QEvent::KeyPress) {
        const int k = static_cast<QKeyEvent *>(ev)->key();
        if (k == Qt::Key_Return || k == Qt::Key_Enter) {
            if (obj == vUser)
                EnfocaConTeclado(vPass);
            else if (obj == vPass)
                EnfocaConTeclado(bOk);
            return true;
        }
    }
    return TMForm::eventFilter(obj, ev);
}

void TfAcceso::closeEvent(QCloseEvent *ev)
{
    if (tDontUse->isActive()) {
        ev->ignore();
        return;
    }
    TMForm::closeEvent(ev);
}

void TfAcceso::reject()
{
    if (tDontUse->isActive())
        return;
    TMForm::reject();
}

void TfAcceso::showEvent(QShowEvent *ev)
{
    TMForm::showEvent(ev);
    vUser->setFocus();
}

void TfAcceso::tDontUseTimer()
{
    tDontUse->stop();
    for (QWidget *w : {static_cast<QWidget *>(vUser),
                       static_cast<QWidget *>(vPass),
                       static_cast<QWidget *>(bOk),
                       static_cast<QWidget *>(bCancel)})
        w->setEnabled(true);
    vPass->setFocus();
    MensajeSistema(QStringLiteral("La contraseña no es correcta"),
                   QStringLiteral("Aviso del sistema"),
                   mb::IconInformation);
}

bool AutorizaUsuario(Sesion &sesion, int modulo, quint32 mascara, bool soloAdministrador)
{
    TfAcceso f(sesion);
    if (soloAdministrador) {
        f.vUser->setText(QStringLiteral("SYSDBA"));
        f.vUser->setReadOnly(true);
    }
    if (f.exec() != QDialog::Accepted)
        return false;
    if (f.Usuario == u"SYSDBA") {
        UsuarioAutoriza() = f.Usuario;
        return true;
    }
    quint32 acceso = 0;
    try {
        f.Query.setSql(QStringLiteral(
            "select p.acceso from lar_permisos p where p.usuario=:u and p.modulo=:m"));
        f.Query.bind(QStringLiteral("u"), f.Usuario);
        f.Query.bind(QStringLiteral("m"), modulo);
        f.Query.open();
        if (!f.Query.eof())
            acceso = quint32(f.Query.field(0).toInt64());
        f.Query.close();
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
        return false;
    }
    if ((acceso & mascara) != 0) {
        UsuarioAutoriza() = f.Usuario;
        return true;
    }
    MensajeSistema(QStringLiteral("El usuario seleccionado no tiene acceso"),
                   QStringLiteral("Aviso del sistema"),
                   mb::IconInformation);
    return false;
}

} // namespace lar
