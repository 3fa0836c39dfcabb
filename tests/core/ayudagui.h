#pragma once

// Helpers of the GUI suites: answering the modal dialogs of a flow that runs inside
// the window's own event handlers, a stand-in Microsip prepared for it, logging in
// through the main window, and the ribbon checked against the rights.

#include "core/conecta.h"
#include "core/fmain.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "toolkit/ribbon.h"
#include "toolkit/tag.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QWidget>

#include <functional>
#include <memory>

namespace lartest {

// Runs `accion` once, on the first visible window of type T that appears within
// 20 s (a modal dialog shown by the code under test).
template<class T>
QPointer<QTimer> alAparecer(std::function<void(T *)> accion)
{
    auto *t = new QTimer;
    auto reloj = std::make_shared<QElapsedTimer>();
    reloj->start();
    QObject::connect(t, &QTimer::timeout, t, [t, reloj, accion] {
        const QWidgetList ventanas = QApplication::topLevelWidgets();
        for (QWidget *w : ventanas) {
            if (auto *v = qobject_cast<T *>(w); v && v->isVisible()) {
                t->stop();
                t->deleteLater();
                accion(v);
                return;
            }
        }
        if (reloj->elapsed() > 20000) {
            t->stop();
            t->deleteLater();
        }
    });
    t->start(10);
    return t;
}

// Every right of every module, as the administrator holds them.
constexpr quint32 kAdministrador = 1048575;

// Logs in on the connection dialog.
inline void
entra(lar::TfConecta *f, const QString &usuario, const QString &password = QStringLiteral("x"))
{
    f->vUsuario->setText(usuario);
    f->vPass->setText(password);
    f->bOk->click();
}

// A main window whose termination is only recorded.
struct Arranque
{
    lar::TfMain m;
    bool terminada = false;
    Arranque()
    {
        m.sesion().terminaAplicacion = [this] {
            terminada = true;
        };
    }
};

// Shows the main window and logs in on the connection dialog it opens; true once
// the title names the user (a single company, so no company choice).
inline bool entraAlMain(lar::TfMain &m, const QString &usuario, const QString &password)
{
    alAparecer<lar::TfConecta>([=](lar::TfConecta *f) { entra(f, usuario, password); });
    m.show();
    return QTest::qWaitFor(
        [&] { return m.windowTitle().endsWith(QStringLiteral(" - ") + usuario.toUpper()); }, 20000);
}

inline QTreeWidgetItem *nodo(QTreeWidget *t, const QString &texto)
{
    const QList<QTreeWidgetItem *> l = t->findItems(texto, Qt::MatchExactly | Qt::MatchRecursive);
    return l.isEmpty() ? nullptr : l.first();
}

// Points the profile folders at the environment, as the program reads them.
inline void usaPerfiles(const microsip::Entorno &e)
{
    qputenv("LARVENOS_COMMON_APPDATA", e.carpetaComun().toUtf8());
    qputenv("LARVENOS_LOCAL_APPDATA", e.carpetaLocal().toUtf8());
}

// The extension at the current version, with rights rows (module, user, bits).
struct Derecho
{
    int modulo;
    QString usuario;
    int acceso;
};

inline void preparaExtension(const EntornoPrueba &env,
                             const QList<Derecho> &derechos,
                             const QString &empresa = QStringLiteral("DEMO"))
{
    env.instalaExtension(empresa);
    lar::Sesion s;
    env.conectaSesion(s, empresa);
    QString version = lar::VersionEsquema();
    lar::Registro(s, {}, {}, {}, false, version, QStringLiteral("PuntosLar_DB"));
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral("update or insert into lar_permisos (modulo, usuario, acceso) "
                            "values (:m, :u, :a)"));
    for (const Derecho &d : derechos) {
        q.bind(QStringLiteral("m"), d.modulo);
        q.bind(QStringLiteral("u"), d.usuario);
        q.bind(QStringLiteral("a"), d.acceso);
        q.execute();
    }
    s.UpdateCommit();
}

// A stand-in Microsip on the local test server with the extension, the users and
// their rights, its profiles in use; null when the server isn't running.
inline std::unique_ptr<EntornoPrueba> entornoServidor(const QList<microsip::Usuario> &usuarios,
                                                      const QList<Derecho> &derechos)
{
    if (!serverAvailable())
        return nullptr;
    OpcionesPrueba op;
    op.servidor = true;
    op.usuarios = usuarios;
    auto env = std::make_unique<EntornoPrueba>(op);
    preparaExtension(*env, derechos);
    usaPerfiles(env->entorno());
    return env;
}

// The ribbon entries whose enabled state doesn't follow their action's tag being
// among `tags`.
inline QStringList entradasErradas(lar::TfMain &m, const QList<int> &tags)
{
    QStringList r;
    const QList<lar::RibbonBoton *> botones = m.findChildren<lar::RibbonBoton *>();
    for (lar::RibbonBoton *b : botones) {
        if (b->accion() && b->isEnabled() != tags.contains(lar::Tag(b->accion())))
            r << b->objectName();
    }
    return r;
}

} // namespace lartest
