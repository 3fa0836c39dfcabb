// The feeding of the article list: the bulk-add dialog and its load, and the
// spreadsheet import with its dialog, against files written by openpyxl and xlwt.

#include "articulosprueba.h"
#include "catalog/addarticulos.h"
#include "catalog/articulos_lista.h"
#include "catalog/impexcel.h"
#include "core/ayudagui.h"
#include "core/registro.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/hojasprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/hojacalculo.h"
#include "toolkit/memgrid.h"
#include "toolkit/portapapeles.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

using namespace lar;
using namespace lartest;
using namespace Qt::StringLiterals;

class TstArticulosImporta : public QObject
{
    Q_OBJECT

    std::unique_ptr<EntornoPrueba> m_env;
    Sesion m_s;
    QString m_portapapeles;

private slots:
    void initTestCase()
    {
        m_env = std::make_unique<EntornoPrueba>();
        m_env->instalaExtension();
        m_env->conectaSesion(m_s);
        siembraArticulos(m_s);
        ServicioPortapapeles::instalaEscritor([this](const QString &t) { m_portapapeles = t; });
    }

    void init() { m_portapapeles.clear(); }

    void columnas()
    {
        QCOMPARE(ColumnaExcel(u"A"_s), 1);
        QCOMPARE(ColumnaExcel(u"Z"_s), 26);
        QCOMPARE(ColumnaExcel(u"AA"_s), 27);
        QCOMPARE(ColumnaExcel(u"XFD"_s), 16384);
        QCOMPARE(ColumnaExcel(QString()), 0);
        QCOMPARE(ColumnaExcel(u"a"_s), 0);
        QCOMPARE(ColumnaExcel(u"A1"_s), 0);
    }

    // The tests in their order; blanks go except in the value column; key and
    // points may not share a letter, name and points may; the choice is remembered.
    void dialogoImportacion()
    {
        GuionMensajes guion;
        TfImpExcelCP d(m_s);
        QCOMPARE(d.vExcelClave->text(), u"A"_s);
        QCOMPARE(d.vExcelNombre->text(), u"B"_s);
        QCOMPARE(d.vExcelPuntos->text(), u"C"_s);
        QVERIFY(d.vExcelValor->text().isEmpty());
        QCOMPARE(d.vExcelRenglon->value(), 2);
        d.show();

        d.bNext->click();
        QCOMPARE(guion.textos().value(0),
                 u"El nombre de la columna para el valor en puntos no es válido"_s);
        QCOMPARE(guion.cajas().value(0).titulo, u"Aviso del sistema"_s);
        QCOMPARE(d.focusWidget(), d.vExcelValor);
        d.vExcelValor->setText(u" D"_s);
        d.bNext->click();
        QCOMPARE(guion.cajas().size(), 2);

        d.vExcelValor->setText(u"D"_s);
        d.vExcelClave->setText(u" C\n"_s);
        d.bNext->click();
        QCOMPARE(guion.textos().value(2), u"Las letras de columna deben ser diferentes"_s);
        QCOMPARE(d.vExcelClave->text(), u"C"_s);

        d.vExcelClave->setText(u"A"_s);
        d.vExcelNombre->setText(u"x"_s);
        d.bNext->click();
        QCOMPARE(guion.textos().value(3), u"El nombre de la columna para el nombre no es válido"_s);

        d.vExcelNombre->setText(u"C"_s);
        d.vExcelRenglon->setValue(4);
        d.chSaveConfig->setChecked(true);
        d.bNext->click();
        QCOMPARE(guion.cajas().size(), 4);
        QCOMPARE(d.result(), 1);
        QCOMPARE(d.columnas().nombre, 3);
        QCOMPARE(d.columnas().puntos, 3);

        TfImpExcelCP otra(m_s);
        QCOMPARE(otra.vExcelNombre->text(), u"C"_s);
        QCOMPARE(otra.vExcelValor->text(), u"D"_s);
        QCOMPARE(otra.vExcelRenglon->value(), 4);
        // Back to the defaults for the other cases.
        for (const char16_t *k : {u"ImpExcelClaveStrE",
                                  u"ImpExcelNombreStrE",
                                  u"ImpExcelCostoStrE",
                                  u"ImpExcelPrefijoE",
                                  u"ImpExcelRenglonE"}) {
            QString vacio;
            Registro(m_s, {}, u"PuntosLar"_s, {}, false, vacio, QString::fromUtf16(k));
        }
    }

    // Title row, name found, key found for an unknown name, a name that wins over
    // another article's key, accents, numbers as numbers and as text, an empty
    // value column, the extra row past the used range; in .xlsx from row 1 and in
    // .xls from row 3.
    void importa_data()
    {
        QTest::addColumn<QString>("archivo");
        QTest::addColumn<int>("titulo");
        QTest::newRow("xlsx") << u"puntos.xlsx"_s << 1;
        QTest::newRow("xls desde el renglón 3") << u"puntos.xls"_s << 3;
    }
    void importa()
    {
        QFETCH(QString, archivo);
        QFETCH(int, titulo);
        const QString ruta = tempPath(archivo);
        const QString e = escribeHoja(ruta,
                                      {{u"'Clave'"_s, u"'Nombre'"_s, u"'Puntos'"_s, u"'Valor'"_s},
                                       {u"'ANI-1'"_s, u"'BANANA TABASCO'"_s, u"4"_s, u"40"_s},
                                       {u"'ANI-1'"_s, u"'NO EXISTE ESTE'"_s, u"'6'"_s, u"None"_s},
                                       {u"None"_s, u"' LÁPIZ AZUL '"_s, u"2.4"_s, u"'x'"_s},
                                       {u"'NADA'"_s, u"'TAMPOCO'"_s, u"1"_s, u"1"_s}},
                                      titulo);
        QVERIFY2(e.isEmpty(), qPrintable(e));

        GuionMensajes guion;
        Tfcat_articulos_lista f(m_s);
        f.Button1Click();
        QVERIFY(f.tabla().recordCount() > 3);
        f.importaExcel(ruta, 1, 2, 3, 4, titulo + 1);

        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(guion.cajas()[0].titulo, u"Importar de Excel"_s);
        QCOMPARE(guion.cajas()[0].icono(), mb::IconInformation);
        QCOMPARE(guion.cajas()[0].texto,
                 u"Se importaron 3 partidas de 5 renglones\r\n\r\n"
                 "No se encontraron 2 artículos\r\n\r\n"
                 "El detalle está en el portapapeles de Windows"_s);
        QCOMPARE(m_portapapeles,
                 u"----------------------------------\r\n"
                 "Artículos no encontrados: \r\n"
                 "----------------------------------\r\n"
                 "NADA\tTAMPOCO\t1\r\n"
                 "Art. sin clave\t\t1\r\n"_s);
        MemTable &t = f.tabla();
        QCOMPARE(t.recordCount(), 3);
        const int banana = fila(t, 501);
        QVERIFY(banana >= 0);
        QCOMPARE(num(t, banana, art::PUNTOS), 4.0);
        QCOMPARE(num(t, banana, art::VALOR_PUNTOS), 40.0);
        const int anillo = fila(t, 502);
        QCOMPARE(num(t, anillo, art::PUNTOS), 6.0);
        QCOMPARE(num(t, anillo, art::VALOR_PUNTOS), 0.0);
        const int lapiz = fila(t, 504);
        QCOMPARE(num(t, lapiz, art::PUNTOS), 2.0);
        QCOMPARE(num(t, lapiz, art::VALOR_PUNTOS), 0.0);
        // Nothing reached the database.
        QCOMPARE(puntosGuardados(m_s, 501), qMakePair(1, 10));
    }

    // The summary's other wordings, on a sheet made in memory.
    void resumenes()
    {
        HojaCalculo h;
        h.pon(1, 2, u"BANANA TABASCO"_s);
        auto porNombre = [](const QString &n) {
            return n == u"BANANA TABASCO" ? 501 : 0;
        };
        auto ninguno = [](const QString &) {
            return 0;
        };
        int agregados = 0;
        auto agrega = [&](const QString &, int, double, double) {
            ++agregados;
        };
        ResultadoImportacion r = ImportaHoja(h, {1, 2, 3, 4, 1}, porNombre, ninguno, agrega);
        QCOMPARE(r.resumen, u"Se importó un artículo de 1 renglón"_s);
        QVERIFY(r.detalle.isEmpty());
        QCOMPARE(agregados, 1);

        h.pon(2, 1, u"K-9"_s);
        r = ImportaHoja(h, {1, 2, 3, 4, 1}, ninguno, ninguno, agrega);
        QCOMPARE(r.resumen,
                 u"No se importaron artículos en 2 renglones\r\n\r\n"
                 "No se encontraron 2 artículos\r\n\r\n"
                 "El detalle está en el portapapeles de Windows"_s);
        QVERIFY(r.detalle.endsWith(u"K-9\t\t1\r\n"_s));
        // A first row past the used range reads nothing.
        r = ImportaHoja(HojaCalculo(), {1, 2, 3, 4, 3}, ninguno, ninguno, agrega);
        QCOMPARE(r.resumen, u"No se importaron artículos en 0 renglones"_s);
    }

    // A corrupt file says why and leaves the list as it was.
    void archivoDanado()
    {
        const QString ruta = tempPath(u"danado.xlsx"_s);
        QFile f(ruta);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("PK\x03\x04 cortado");
        f.close();
        GuionMensajes guion;
        Tfcat_articulos_lista lista(m_s);
        lista.Button1Click();
        const int antes = lista.tabla().recordCount();
        lista.importaExcel(ruta, 1, 2, 3, 4, 2);
        QCOMPARE(guion.cajas().size(), 1);
        QVERIFY(guion.cajas()[0].texto.startsWith(u"No fue posible abrir el archivo: "_s));
        QVERIFY(guion.cajas()[0].texto.size() > 40);
        QCOMPARE(guion.cajas()[0].titulo, u"Error"_s);
        QCOMPARE(guion.cajas()[0].icono(), mb::IconStop);
        QCOMPARE(lista.tabla().recordCount(), antes);
        QVERIFY(m_portapapeles.isEmpty());
    }

    // The whole road from the button: the file, the dialog, the import.
    void botonExcel()
    {
        const QString ruta = tempPath(u"boton.xlsx"_s);
        const QString e
            = escribeHoja(ruta, {{u"'Clave'"_s}, {u"'SER-1'"_s, u"None"_s, u"9"_s, u"90"_s}});
        QVERIFY2(e.isEmpty(), qPrintable(e));
        Tfcat_articulos_lista::SelectorArchivo() = [ruta](QWidget *) {
            return ruta;
        };
        GuionMensajes guion;
        Tfcat_articulos_lista f(m_s);
        alAparecer<TfImpExcelCP>([](TfImpExcelCP *d) {
            d->vExcelValor->setText(u"D"_s);
            d->bNext->click();
        });
        f.btnExcel->click();
        // The title row pushes the last row one past the used range: it reads empty.
        QCOMPARE(guion.textos(),
                 QStringList{u"Se importó un artículo de 2 renglones\r\n\r\n"
                             "No se encontró un artículo\r\n\r\n"
                             "El detalle está en el portapapeles de Windows"_s});
        QCOMPARE(f.tabla().recordCount(), 1);
        QCOMPARE(f.tabla().valueAt(0, art::ARTICULO_ID).toInt(), 503);
        QCOMPARE(num(f.tabla(), 0, art::VALOR_PUNTOS), 90.0);
    }

    // Validation in its order, with the texts as written; the choices remembered;
    // the load by line with one number of points for all.
    void agregarArticulos()
    {
        GuionMensajes guion;
        {
            TfAddArticulos d(m_s);
            d.show();
            d.rLinea->setChecked(true);
            d.rClasificadores->setChecked(true);
            d.bOk->click();
            QCOMPARE(guion.textos(),
                     (QStringList{u"Debé seleccionar un línea."_s,
                                  u"Deé seleccionar un clasificador."_s}));
            QVERIFY(!d.Valido);
            QVERIFY(d.isVisible());

            d.rTodos->click();
            QVERIFY(!d.rLinea->isChecked() && !d.rClasificadores->isChecked());
            d.rTodos->setChecked(false);
            d.rLinea->setChecked(true);
            d.cLinea->setKeyValue(412);
            d.dtpFecIni->setDate(QDate(2024, 3, 1));
            d.dtpFecFin->setDate(QDate(2024, 2, 1));
            d.bOk->click();
            QVERIFY(d.Valido);
            QCOMPARE(d.result(), 1);
        }
        {
            TfAddArticulos d(m_s);
            d.show();
            QVERIFY(d.rLinea->isChecked());
            QCOMPARE(d.cLinea->keyValue().toInt(), 412);
            // A start after the end gives way to today.
            QCOMPARE(d.dtpFecIni->date(), QDate::currentDate());
            QCOMPARE(d.dtpFecFin->date(), QDate(2024, 2, 1));
        }

        Tfcat_articulos_lista f(m_s);
        alAparecer<TfAddArticulos>([](TfAddArticulos *a) {
            a->chkpuntos->setChecked(true);
            a->edtPuntos->setText(u"8"_s);
            a->bOk->click();
        });
        f.bArticulos->click();
        QCOMPARE(nombres(f.tabla()), QStringList{u"LÁPIZ AZUL"_s});
        QCOMPARE(num(f.tabla(), 0, art::PUNTOS), 8.0);
        QCOMPARE(num(f.tabla(), 0, art::VALOR_PUNTOS), 0.0);
    }
};

LAR_TEST_MAIN(TstArticulosImporta)
#include "tst_articulos_importa.moc"
