// Not a suite of its own: tst_soporte runs it to see a throwing case fail alone.

#include "support/testmain.h"

#include "fb/error.h"

#include <stdexcept>

class Lanza : public QObject
{
    Q_OBJECT

private slots:
    void antes() { QVERIFY(true); }
    void lanzaEstandar() { throw std::runtime_error("se rompió"); }
    void lanzaFb_data()
    {
        QTest::addColumn<int>("n");
        QTest::newRow("uno") << 1;
        QTest::newRow("dos") << 2;
    }
    void lanzaFb()
    {
        QFETCH(int, n);
        if (n == 1)
            throw fb::Error(QStringLiteral("sin conexión"));
    }
    void despues() { QVERIFY(true); }
};

LAR_TEST_GUILESS_MAIN(Lanza)
#include "tst_soporte_lanza.moc"
