// The spreadsheet readers against files written by independent tools: openpyxl
// for .xlsx, xlwt for .xls, and a hand-made .xlsx for what openpyxl doesn't write.

#include "support/hojasprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/hojacalculo.h"

#include <QFile>

using namespace Qt::StringLiterals;

using lar::HojaCalculo;

class TstHojaCalculo : public QObject
{
    Q_OBJECT

private slots:
    // Texts with accents, whole and decimal numbers, a used range that starts at
    // row 3 and column B, sheet 1 by the workbook's order though another is active.
    void lecturas_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::newRow("xlsx") << u".xlsx"_s;
        QTest::newRow("xls") << u".xls"_s;
    }
    void lecturas()
    {
        QFETCH(QString, extension);
        const QString ruta = lartest::tempPath(u"lectura"_s + extension);
        const QString e = lartest::escribeHoja(ruta,
                                               {{u"None"_s, u"'Clave'"_s, u"'Descripción'"_s},
                                                {u"None"_s, u"'ÁÉÍ-ñ'"_s, u"12"_s},
                                                {u"None"_s, u"1001"_s, u"2.5"_s},
                                                {u"None"_s, u"None"_s, u"'  7 '"_s}},
                                               3);
        QVERIFY2(e.isEmpty(), qPrintable(e));
        HojaCalculo h;
        QString error;
        QVERIFY2(h.abre(ruta, &error), qPrintable(error));
        QCOMPARE(h.primerRenglon(), 3);
        QCOMPARE(h.ultimoRenglon(), 6);
        QCOMPARE(h.renglonesUsados(), 4);
        QCOMPARE(h.texto(3, 3), u"Descripción"_s);
        QCOMPARE(h.texto(4, 2), u"ÁÉÍ-ñ"_s);
        QCOMPARE(h.numero(4, 3), 12.0);
        QCOMPARE(h.texto(5, 2), u"1001"_s);
        QCOMPARE(h.texto(5, 3), u"2.5"_s);
        bool ok = false;
        QCOMPARE(h.numero(6, 3, &ok), 7.0); // a number written as text
        QVERIFY(ok);
        QCOMPARE(h.numero(4, 2, &ok), 0.0);
        QVERIFY(!ok);
        QVERIFY(!h.valor(6, 2).isValid());
        QVERIFY(h.texto(1, 1).isEmpty());
    }

    // Inline strings, formula strings, rich-text shared strings, and a first sheet
    // that isn't sheet1.xml.
    void xlsxAMano()
    {
        const QString ruta = lartest::tempPath(u"amano.xlsx"_s);
        QFile guion(qEnvironmentVariable("LAR_TEST_DATA") + u"/xlsx_a_mano.py"_s);
        QVERIFY(guion.open(QIODevice::ReadOnly));
        const QString script = QString::fromUtf8(guion.readAll());
        const QString e = lartest::ejecutaPython(script, {ruta});
        QVERIFY2(e.isEmpty(), qPrintable(e));
        HojaCalculo h;
        QString error;
        QVERIFY2(h.abre(ruta, &error), qPrintable(error));
        QCOMPARE(h.texto(2, 1), u"En línea"_s);
        QCOMPARE(h.texto(2, 2), u"Rico"_s);
        QCOMPARE(h.texto(2, 3), u"fórmula"_s);
        QCOMPARE(h.numero(2, 4), 3.25);
        QCOMPARE(h.texto(4, 27), u"cero"_s);
        QCOMPARE(h.renglonesUsados(), 3);
    }

    // What can't be read says why, and leaves nothing behind.
    void ilegibles_data()
    {
        QTest::addColumn<QString>("nombre");
        QTest::addColumn<QByteArray>("contenido");
        QTest::newRow("xls de basura")
            << u"basura.xls"_s << QByteArray("esto no es un libro de Excel");
        QTest::newRow("zip cortado")
            << u"cortado.xlsx"_s << QByteArray("PK\x03\x04\x14\x00\x00\x00", 8);
        QTest::newRow("vacío") << u"vacio.xlsx"_s << QByteArray();
    }
    void ilegibles()
    {
        QFETCH(QString, nombre);
        QFETCH(QByteArray, contenido);
        const QString ruta = lartest::tempPath(nombre);
        QFile f(ruta);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(contenido);
        f.close();
        HojaCalculo h;
        h.pon(1, 1, u"antes"_s);
        QString error;
        QVERIFY(!h.abre(ruta, &error));
        QVERIFY(!error.isEmpty());
        QCOMPARE(h.renglonesUsados(), 0);

        QVERIFY(!h.abre(lartest::tempPath(u"no-existe.xlsx"_s), &error));
        QCOMPARE(error, u"el archivo no existe"_s);
    }
};

LAR_TEST_MAIN(TstHojaCalculo)
#include "tst_hojacalculo.moc"
