// larvenos-demo: prepares the demo environment that `make demo` runs and takes the
// pictures of the documentation.
//
//   larvenos-demo instala CARPETA            extension schema and demo rights
//   larvenos-demo capturas CARPETA DESTINO   login dialog and main window as PNG
//                                            (login, main, main-operacion)
//   larvenos-demo articulos CARPETA DESTINO  the articles with points, searched (articulos)

#include "catalog/articulos_lista.h"
#include "core/conecta.h"
#include "core/fmain.h"
#include "db/actualizadb.h"
#include "microsip/sim/entorno.h"
#include "toolkit/mensajes.h"
#include "toolkit/ribbon.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTextStream>
#include <QTimer>

#include <cstdio>

namespace {

QTextStream &err()
{
    static QTextStream s(stderr);
    return s;
}

// The rights of the demo cashier: redemptions (all), history, manual points and
// the three reports.
void derechosDemo(lar::Sesion &s)
{
    const QList<QPair<int, int>> derechos{{73, 31}, {74, 3}, {75, 3}, {76, 7}, {77, 7}, {78, 3}};
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral(
        "update or insert into lar_permisos (modulo, usuario, acceso) values (:m, 'CAJERO', :a)"));
    for (const auto &[modulo, acceso] : derechos) {
        q.bind(QStringLiteral("m"), modulo);
        q.bind(QStringLiteral("a"), acceso);
        q.execute();
    }
    s.UpdateCommit();
}

int instala(const QString &carpeta)
{
    const microsip::Entorno e
        = microsip::Entorno::abre(carpeta, qEnvironmentVariable("LAR_FB_PASSWORD"));
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    e.conecta(s.fbMetadatos(), e.rutaMetadatos());
    lar::ActualizaDB a(s);
    a.setBitacora([](const QString &l) { QTextStream(stdout) << l << Qt::endl; });
    a.setAviso([](const QString &t) { err() << t << Qt::endl; });
    if (!a.Actualiza())
        return 1;
    derechosDemo(s);
    return 0;
}

bool guarda(QWidget *w, const QString &ruta)
{
    if (!w->grab().save(ruta)) {
        err() << "No se pudo escribir " << ruta << Qt::endl;
        return false;
    }
    QTextStream(stdout) << ruta << Qt::endl;
    return true;
}

int capturas(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e = microsip::Entorno::abre(carpeta);
    qputenv("LARVENOS_COMMON_APPDATA", e.carpetaComun().toUtf8());
    qputenv("LARVENOS_LOCAL_APPDATA", e.carpetaLocal().toUtf8());
    QDir().mkpath(destino);
    // Any box would wait for a click nobody gives: answer and report it.
    lar::ServicioMensajes::instalaRespondedor([](const lar::CajaMensaje &c) {
        err() << c.titulo << ": " << c.texto << Qt::endl;
        return lar::mb::IdOk;
    });

    int resultado = 1;
    lar::TfMain m;
    m.resize(1200, 760);
    // The login dialog as the user first sees it, then the session it opens.
    auto *sondeo = new QTimer(&m);
    QObject::connect(sondeo, &QTimer::timeout, &m, [&, sondeo] {
        for (QWidget *w : QApplication::topLevelWidgets()) {
            auto *f = qobject_cast<lar::TfConecta *>(w);
            if (!f || !f->isVisible())
                continue;
            sondeo->stop();
            guarda(f, destino + QStringLiteral("/login.png"));
            f->vUsuario->setText(QStringLiteral("SYSDBA"));
            f->vPass->setText(QStringLiteral("masterkey"));
            f->bOk->click();
            QTimer::singleShot(1500, &m, [&] {
                m.setWindowState(Qt::WindowNoState);
                m.resize(1100, 640);
                if (!guarda(&m, destino + QStringLiteral("/main.png")))
                    return QApplication::quit();
                m.dxRibbon->muestraTab(1);
                QTimer::singleShot(300, &m, [&] {
                    // The dropped-down tab is a window of its own: drawn over the main one.
                    QPixmap imagen = m.grab();
                    if (auto *panel
                        = m.dxRibbon->findChild<QWidget *>(QStringLiteral("panelGrupos"))) {
                        QPainter p(&imagen);
                        p.drawPixmap(m.mapFromGlobal(panel->mapToGlobal(QPoint(0, 0))),
                                     panel->grab());
                    }
                    const QString ruta = destino + QStringLiteral("/main-operacion.png");
                    if (imagen.save(ruta)) {
                        QTextStream(stdout) << ruta << Qt::endl;
                        resultado = 0;
                    }
                    QApplication::quit();
                });
            });
            return;
        }
    });
    sondeo->start(20);
    m.show();
    QApplication::exec();
    return resultado;
}

// The articles with points as a user with both rights sees them after a search.
int articulos(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e = microsip::Entorno::abre(carpeta);
    QDir().mkpath(destino);
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    s.UsuarioActual = QStringLiteral("SYSDBA");
    lar::Tfcat_articulos_lista f(s);
    f.Acceso = 7;
    f.resize(1100, 560);
    f.show();
    f.Button1Click();
    f.vBusca->setText(QStringLiteral("refresco cola"));
    QApplication::processEvents();
    return guarda(&f, destino + QStringLiteral("/articulos.png")) ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    try {
        if (args.size() == 3 && args[1] == u"instala")
            return instala(args[2]);
        if (args.size() == 4 && args[1] == u"capturas")
            return capturas(args[2], args[3]);
        if (args.size() == 4 && args[1] == u"articulos")
            return articulos(args[2], args[3]);
    } catch (const std::exception &ex) {
        err() << ex.what() << Qt::endl;
        return 1;
    }
    err() << "Uso: larvenos-demo instala CARPETA | capturas CARPETA DESTINO"
             " | articulos CARPETA DESTINO"
          << Qt::endl;
    return 2;
}
