// The test and build tooling itself: a throwing case fails alone, and the
// format check fails on a badly formatted file.

#include "support/testenv.h"
#include "support/testmain.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace {

struct Salida
{
    int codigo = -1;
    QString texto;
};

Salida ejecuta(const QString &programa, const QStringList &args)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(programa, args);
    Salida s;
    if (p.waitForFinished(60000) && p.exitStatus() == QProcess::NormalExit)
        s.codigo = p.exitCode();
    s.texto = QString::fromUtf8(p.readAll());
    return s;
}

void escribe(const QString &ruta, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(ruta).path());
    QFile f(ruta);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

} // namespace

class TestSoporte : public QObject
{
    Q_OBJECT

private slots:
    void casoQueLanzaFallaSolo()
    {
        const Salida s = ejecuta(
            qEnvironmentVariable("LAR_BUILD_DIR") + QStringLiteral("/tests/tst_soporte_lanza"), {});
        QVERIFY2(s.codigo == 2, qPrintable(s.texto));
        for (const char *linea : {"PASS   : Lanza::antes()",
                                  "FAIL!  : Lanza::lanzaEstandar() excepción: se rompió",
                                  "FAIL!  : Lanza::lanzaFb(uno) fb::Error: sin conexión",
                                  "PASS   : Lanza::lanzaFb(dos)",
                                  "PASS   : Lanza::despues()",
                                  "PASS   : Lanza::cleanupTestCase()",
                                  "Totals: 5 passed, 2 failed"})
            QVERIFY2(s.texto.contains(QString::fromUtf8(linea)), qPrintable(s.texto));
    }

    void formatoMalFallaLaRevision()
    {
        const QString arbol = lartest::tempPath(QStringLiteral("formato"));
        const QString revisa = lartest::sourceDir() + QStringLiteral("/scripts/check-format");
        QVERIFY(QDir().mkpath(arbol));
        QVERIFY(QFile::copy(lartest::sourceDir() + QStringLiteral("/.clang-format"),
                            arbol + QStringLiteral("/.clang-format")));
        escribe(arbol + QStringLiteral("/src/bien.cpp"), "int f()\n{\n    return 1;\n}\n");
        Salida s = ejecuta(revisa, {arbol});
        QVERIFY2(s.codigo == 0, qPrintable(s.texto));

        escribe(arbol + QStringLiteral("/tests/mal.h"), "int  g( ){return 2;}\n");
        s = ejecuta(revisa, {arbol});
        QVERIFY2(s.codigo == 1, qPrintable(s.texto));
        QVERIFY2(s.texto.contains(QStringLiteral("tests/mal.h is not formatted")),
                 qPrintable(s.texto));
        QVERIFY2(!s.texto.contains(QStringLiteral("bien.cpp")), qPrintable(s.texto));
    }
};

LAR_TEST_GUILESS_MAIN(TestSoporte)
#include "tst_soporte.moc"
