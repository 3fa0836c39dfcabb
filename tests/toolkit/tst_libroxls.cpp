// The .xls writer, read back by two readers that owe it nothing: freexl (C) and
// xlrd (Python), cells, types and number formats.

#include "lectorfreexl.h"
#include "support/lectorxls.h"
#include "support/testmain.h"
#include "toolkit/libroxls.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

using lartest::LibroFreexl;

class TestLibroXls : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString ruta(const QString &nombre) const { return m_dir.filePath(nombre); }

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    // Text from ASCII to beyond the Windows-1252 range, numbers with and without a
    // format, dates and date-times, two sheets, widths: the same file through both
    // readers.
    void celdasTiposYFormatos()
    {
        const QString latino = u"Peña Ñandú, café"_s; // one byte per character
        const QString cp1252 = u"€ 5 – “oferta”"_s;   // in Windows-1252, not in Latin-1
        const QString mas = u"日本 Ω ≥"_s;
        const QDateTime dia(QDate(2026, 11, 23), QTime(0, 0));
        const QDateTime momento(QDate(2024, 2, 29), QTime(13, 45, 30));

        lar::LibroXls libro;
        const int h0 = libro.agregaHoja(u"Ventas"_s);
        const int h1 = libro.agregaHoja(u"Ventas"_s); // repeated: gets a number
        const int h2 = libro.agregaHoja(u"a/b:c?"_s); // characters Excel refuses
        QCOMPARE(libro.nombreHoja(h1), u"Ventas (2)"_s);
        QCOMPARE(libro.nombreHoja(h2), u"a_b_c_"_s);
        libro.texto(h0, 0, 0, u"Cliente"_s);
        libro.texto(h0, 0, 1, u"Importe"_s);
        libro.texto(h0, 0, 2, u"Fecha"_s);
        libro.texto(h0, 1, 0, latino);
        libro.numero(h0, 1, 1, 1234.5, u"#,0.00;-#,0.00"_s);
        libro.fecha(h0, 1, 2, dia, u"dd/mm/yyyy"_s);
        libro.texto(h0, 2, 0, cp1252);
        libro.numero(h0, 2, 1, -0.25, u"#,0.00;-#,0.00"_s);
        libro.fecha(h0, 2, 2, momento, {});
        libro.texto(h0, 3, 0, mas);
        libro.numero(h0, 3, 1, 42);
        libro.texto(h0, 3, 2, u"Cliente"_s); // shared with the caption
        libro.texto(h0, 5, 3, u"se pierde"_s);
        libro.numero(h0, 5, 3, 7, u"0"_s); // a cell written twice keeps the last value
        libro.numero(h0, 4, 1, qQNaN());   // no number: no cell
        libro.anchoColumna(h0, 0, 30);
        libro.texto(h1, 0, 0, u"Segunda"_s);
        QString error;
        QVERIFY2(libro.guarda(ruta(u"tipos.xls"_s), &error), qPrintable(error));

        {
            LibroFreexl x(ruta(u"tipos.xls"_s));
            QVERIFY2(x.h, qPrintable(QString::number(x.codigo)));
            QCOMPARE(x.info(FREEXL_BIFF_VERSION), unsigned(FREEXL_BIFF_VER_8));
            QCOMPARE(x.info(FREEXL_BIFF_SHEET_COUNT), 3u);
            QCOMPARE(x.info(FREEXL_BIFF_DATEMODE), unsigned(FREEXL_BIFF_DATEMODE_1900));
            QCOMPARE(freexl_select_active_worksheet(x.h, 0), FREEXL_OK);
            unsigned filas = 0;
            unsigned short cols = 0;
            freexl_worksheet_dimensions(x.h, &filas, &cols);
            QCOMPARE(filas, 6u);
            QCOMPARE(cols, 4);
            QCOMPARE(x.texto(0, 1), u"Importe"_s);
            QCOMPARE(x.texto(1, 0), latino);
            QCOMPARE(x.texto(2, 0), cp1252);
            QCOMPARE(x.texto(3, 0), mas);
            QCOMPARE(x.texto(3, 2), u"Cliente"_s);
            QCOMPARE(x.numero(1, 1), 1234.5);
            QCOMPARE(x.numero(2, 1), -0.25);
            QCOMPARE(x.numero(3, 1), 42.0);
            QCOMPARE(x.numero(5, 3), 7.0);
            QCOMPARE(x.celda(1, 2).type, FREEXL_CELL_DATE);
            QCOMPARE(x.texto(1, 2), u"2026-11-23"_s);
            QCOMPARE(x.celda(2, 2).type, FREEXL_CELL_DATETIME);
            QCOMPARE(x.texto(2, 2), u"2024-02-29 13:45:30"_s);
            QCOMPARE(x.celda(4, 0).type, FREEXL_CELL_NULL);
            QCOMPARE(x.celda(4, 1).type, FREEXL_CELL_NULL);
            QCOMPARE(freexl_select_active_worksheet(x.h, 1), FREEXL_OK);
            QCOMPARE(x.texto(0, 0), u"Segunda"_s);
        }

        const QJsonObject r = lartest::LeeXlsConXlrd(ruta(u"tipos.xls"_s));
        if (r.contains(u"falta"_s))
            QSKIP(qPrintable(r.value(u"falta"_s).toString()));
        QVERIFY2(!r.contains(u"error"_s), qPrintable(r.value(u"error"_s).toString()));
        QCOMPARE(r.value(u"fecha1904"_s).toInt(), 0);
        const QJsonArray hojas = r.value(u"hojas"_s).toArray();
        QCOMPARE(hojas.size(), 3);
        QCOMPARE(hojas[0][u"nombre"_s].toString(), u"Ventas"_s);
        QCOMPARE(hojas[1][u"nombre"_s].toString(), u"Ventas (2)"_s);
        QCOMPARE(hojas[0][u"anchos"_s][u"0"_s].toInt(), 30 * 256);

        QMap<QPair<int, int>, QJsonArray> celdas;
        for (const QJsonValue &c : hojas[0][u"celdas"_s].toArray())
            celdas[{c[0].toInt(), c[1].toInt()}] = c.toArray();
        QCOMPARE(celdas.size(), 13);
        auto tipo = [&](int f, int c) {
            return celdas[{f, c}][2].toInt();
        };
        auto valor = [&](int f, int c) {
            return celdas[{f, c}][3];
        };
        auto formato = [&](int f, int c) {
            return celdas[{f, c}][4].toString();
        };
        QCOMPARE(tipo(0, 0), 1);
        QCOMPARE(valor(1, 0).toString(), latino);
        QCOMPARE(valor(2, 0).toString(), cp1252);
        QCOMPARE(valor(3, 0).toString(), mas);
        QCOMPARE(tipo(1, 1), 2);
        QCOMPARE(valor(1, 1).toDouble(), 1234.5);
        QCOMPARE(formato(1, 1), u"#,0.00;-#,0.00"_s);
        QCOMPARE(valor(2, 1).toDouble(), -0.25);
        QCOMPARE(formato(3, 1), u"General"_s);
        QCOMPARE(tipo(1, 2), 3);
        QCOMPARE(valor(1, 2).toDouble(), 46349.0); // 23/11/2026 in Excel's count
        QCOMPARE(formato(1, 2), u"dd/mm/yyyy"_s);
        QCOMPARE(tipo(2, 2), 3);
        QCOMPARE(valor(2, 2).toDouble(), 45351.0 + (13 * 3600 + 45 * 60 + 30) / 86400.0);
        QCOMPARE(formato(2, 2), u"dd/mm/yyyy hh:mm:ss"_s);
        QCOMPARE(formato(5, 3), u"0"_s);
        QCOMPARE(hojas[2][u"celdas"_s].toArray().size(), 0);
    }

    // Past the first record's 8,224 bytes the string table goes on in CONTINUE
    // records, splitting strings; past 7 MB the container needs DIFAT sectors.
    void tablasGrandes()
    {
        lar::LibroXls libro;
        const int h = libro.agregaHoja(u"Grande"_s);
        // One and two bytes a character, split at odd places (freexl reads a string
        // continued once; cadenaEnVariosRegistros goes further).
        QStringList largas;
        for (int i = 0; i < 6; ++i)
            largas << (i % 2 ? QString(5000 + 700 * i, QChar(u'ü'))
                             : QString(3000 + 300 * i, QChar(u'€')))
                          + QString::number(i);
        for (int i = 0; i < largas.size(); ++i)
            libro.texto(h, 0, i, largas[i]);
        const int filas = lar::LibroXls::MaxFilas;
        for (int f = 1; f < filas; ++f) {
            libro.texto(h, f, 0, u"Artículo %1"_s.arg(f)); // 65,535 distinct strings
            for (int c = 1; c < 9; ++c)
                libro.numero(h, f, c, f * 10 + c, u"#,0"_s);
        }
        QString error;
        QVERIFY2(libro.guarda(ruta(u"grande.xls"_s), &error), qPrintable(error));
        QVERIFY(QFileInfo(ruta(u"grande.xls"_s)).size() > 109 * 128 * 512);

        LibroFreexl x(ruta(u"grande.xls"_s));
        QVERIFY2(x.h, qPrintable(QString::number(x.codigo)));
        QCOMPARE(x.info(FREEXL_BIFF_STRING_COUNT), unsigned(largas.size() + filas - 1));
        QCOMPARE(freexl_select_active_worksheet(x.h, 0), FREEXL_OK);
        for (int i = 0; i < largas.size(); ++i)
            QCOMPARE(x.texto(0, i), largas[i]);
        for (int f : {1, 2, 4095, 30000, filas - 1}) {
            QCOMPARE(x.texto(f, 0), u"Artículo %1"_s.arg(f));
            QCOMPARE(x.numero(f, 8), double(f * 10 + 8));
        }

        // One row more than a .xls holds is refused, not cut short silently.
        libro.numero(h, filas, 0, 1);
        QVERIFY(!libro.guarda(ruta(u"demasiado.xls"_s), &error));
        QVERIFY(error.contains(u"65536"_s));
        QVERIFY(!QFile::exists(ruta(u"demasiado.xls"_s)));
    }

    // A string longer than two records, and one longer than a cell holds.
    void cadenaEnVariosRegistros()
    {
        lar::LibroXls libro;
        const int h = libro.agregaHoja(u"Larga"_s);
        const QString larga = QString(20000, QChar(u'€')) + u"fin"_s;
        libro.texto(h, 0, 0, larga);
        libro.texto(h, 1, 0, QString(40000, QChar(u'x')));
        libro.texto(h, 2, 0, u"después"_s);
        QVERIFY(libro.guarda(ruta(u"larga.xls"_s)));
        const QJsonObject r = lartest::LeeXlsConXlrd(ruta(u"larga.xls"_s));
        if (r.contains(u"falta"_s))
            QSKIP(qPrintable(r.value(u"falta"_s).toString()));
        QVERIFY2(!r.contains(u"error"_s), qPrintable(r.value(u"error"_s).toString()));
        const QJsonArray celdas = r[u"hojas"_s][0][u"celdas"_s].toArray();
        QCOMPARE(celdas.size(), 3);
        QCOMPARE(celdas[0][3].toString(), larga);
        QCOMPARE(celdas[1][3].toString(), QString(32767, QChar(u'x')));
        QCOMPARE(celdas[2][3].toString(), u"después"_s);
    }

    // A failed save says why. A workbook without sheets still opens: one empty sheet;
    // sheets without a name are numbered past the names in use.
    void guardaFallidaYHojas()
    {
        lar::LibroXls libro;
        libro.texto(libro.agregaHoja(u"H"_s), 0, 0, u"nuevo"_s);
        QString error;
        QVERIFY(!libro.guarda(ruta(u"no/existe/libro.xls"_s), &error));
        QVERIFY(error.startsWith(u"No se pudo escribir el archivo "_s));

        lar::LibroXls vacio;
        QVERIFY(vacio.guarda(ruta(u"vacio.xls"_s)));
        LibroFreexl x(ruta(u"vacio.xls"_s));
        QVERIFY2(x.h, qPrintable(QString::number(x.codigo)));
        QCOMPARE(x.info(FREEXL_BIFF_SHEET_COUNT), 1u);

        lar::LibroXls sinNombres;
        QCOMPARE(sinNombres.nombreHoja(sinNombres.agregaHoja({})), u"Hoja1"_s);
        sinNombres.agregaHoja(u"Hoja3"_s);
        QCOMPARE(sinNombres.nombreHoja(sinNombres.agregaHoja({})), u"Hoja4"_s);
    }
};

LAR_TEST_GUILESS_MAIN(TestLibroXls)
#include "tst_libroxls.moc"
