// Folders with any characters in their names: a company under "Compañía" opens
// through the real start-up, embedded and on the server, and `make demo` prepares
// its environment under a home folder with accents.

#include "ayudagui.h"

#include "core/conecta.h"
#include "core/fmain.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QDir>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTest>

using namespace lar;
using lartest::alAparecer;

class TstAcentos : public QObject
{
    Q_OBJECT

private slots:
    void inicio_data()
    {
        QTest::addColumn<bool>("servidor");
        QTest::newRow("embebido") << false;
        QTest::newRow("servidor") << true;
    }

    void inicio()
    {
        QFETCH(bool, servidor);
        if (servidor && !lartest::serverAvailable())
            QSKIP("The local Firebird server isn't running (scripts/fbserver)");
        lartest::OpcionesPrueba op;
        op.servidor = servidor;
        op.carpeta = servidor ? QStringLiteral("Compañía Ñandú/señal")
                              : QStringLiteral("Compañía Ñandú/año");
        const lartest::EntornoPrueba env(op);
        QVERIFY(QFile::exists(env.carpeta() + QStringLiteral("/DEMO.fdb")));
        lartest::preparaExtension(env, {});
        lartest::usaPerfiles(env.entorno());

        lartest::GuionMensajes guion;
        TfMain m;
        m.sesion().terminaAplicacion = [] {
        };
        alAparecer<TfConecta>([](TfConecta *f) {
            f->vUsuario->setText(QStringLiteral("SYSDBA"));
            f->vPass->setText(lartest::serverPassword());
            f->bOk->click();
        });
        m.show();
        QTRY_COMPARE_WITH_TIMEOUT(
            m.windowTitle(), QStringLiteral("Empresa de demostración - SYSDBA"), 20000);
        QVERIFY(guion.cajas().isEmpty());
        QCOMPARE(m.sesion().fbDatabase().databaseName(), env.rutaEmpresa());
        QVERIFY(m.sesion().fbDatabase().databaseName().contains(QStringLiteral("Compañía Ñandú")));
    }

    // The set-up step of `make demo` (simulator and upgrade) with such a home.
    void demo()
    {
        const QString datos = lartest::tempPath(QStringLiteral("José Peña/.local/share"));
        QVERIFY(QDir().mkpath(datos));
        QProcess p;
        QProcessEnvironment entorno = QProcessEnvironment::systemEnvironment();
        entorno.insert(QStringLiteral("XDG_DATA_HOME"), datos);
        entorno.remove(QStringLiteral("LAR_FB_PASSWORD"));
        p.setProcessEnvironment(entorno);
        p.start(lartest::sourceDir() + QStringLiteral("/scripts/demo"),
                {qEnvironmentVariable("LAR_BUILD_DIR"), QStringLiteral("--prepara")});
        QVERIFY(p.waitForFinished(300000));
        QVERIFY2(p.exitCode() == 0, p.readAllStandardError().constData());
        const QString carpeta = datos + QStringLiteral("/PuntosLarvenos/demo");
        QVERIFY(QFile::exists(carpeta + QStringLiteral("/.listo")));
        QVERIFY(QFile::exists(carpeta + QStringLiteral("/DEMO.fdb")));
        QVERIFY(QString::fromUtf8(p.readAllStandardOutput()).contains(carpeta));
    }
};

LAR_TEST_MAIN(TstAcentos)
#include "tst_core_acentos.moc"
