// Folders with any characters in their names: a company under "Compañía" opens
// through the real start-up, embedded and on the server, and `make demo` prepares
// its environment under a home folder with accents.

#include "ayudagui.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"

#include <QDir>
#include <QProcess>

using namespace Qt::StringLiterals;

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
        op.carpeta = servidor ? u"Compañía Ñandú/señal"_s : u"Compañía Ñandú/año"_s;
        const lartest::EntornoPrueba env(op);
        QVERIFY(QFile::exists(env.carpeta() + u"/DEMO.fdb"_s));
        lartest::preparaExtension(env, {});
        lartest::usaPerfiles(env.entorno());

        lartest::GuionMensajes guion;
        lartest::Arranque a;
        QVERIFY(lartest::entraAlMain(a.m, u"SYSDBA"_s, lartest::serverPassword()));
        QVERIFY(guion.cajas().isEmpty());
        QCOMPARE(a.m.sesion().fbDatabase().databaseName(), env.rutaEmpresa());
        QVERIFY(env.rutaEmpresa().contains(u"Compañía Ñandú"_s));
    }

    // The set-up step of `make demo` (simulator and upgrade) with such a home.
    void demo()
    {
        const QString datos = lartest::tempPath(u"José Peña/.local/share"_s);
        QVERIFY(QDir().mkpath(datos));
        QProcess p;
        QProcessEnvironment entorno = QProcessEnvironment::systemEnvironment();
        entorno.insert(u"XDG_DATA_HOME"_s, datos);
        entorno.remove(u"LAR_FB_PASSWORD"_s);
        p.setProcessEnvironment(entorno);
        p.start(lartest::sourceDir() + u"/scripts/demo"_s,
                {qEnvironmentVariable("LAR_BUILD_DIR"), u"--prepara"_s});
        QVERIFY(p.waitForFinished(300000));
        QVERIFY2(p.exitCode() == 0, p.readAllStandardError().constData());
        const QString carpeta = datos + u"/PuntosLarvenos/demo"_s;
        QVERIFY(QFile::exists(carpeta + u"/.listo"_s));
        QVERIFY(QFile::exists(carpeta + u"/DEMO.fdb"_s));
        QVERIFY(QString::fromUtf8(p.readAllStandardOutput()).contains(carpeta));
    }
};

LAR_TEST_MAIN(TstAcentos)
#include "tst_core_acentos.moc"
