// The forms store, the print dialog and the preview, offscreen on a stand-in
// Microsip with the extension installed.
#include "../toolkit/lectorfreexl.h"
#include "ayudareportes.h"
#include "core/ayudagui.h"
#include "reports/formas.h"
#include "reports/imprimirforma.h"
#include "reports/preview.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/reporte/reporte.h"
#include "toolkit/reporte/visor.h"

#include "support/accesibilidad.h"
#include <QAccessible>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPrinterInfo>
#include <QSignalSpy>
#include <QTabWidget>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace lar;
using lartest::datosTrabajo;
using lartest::esperaTrabajos;
using lartest::textoPdf;
using lartest::trabajosCola;

namespace {

// A numbered list of 150 rows (three pages) whose header carries the document id.
QByteArray listado(const QString &titulo)
{
    return QStringLiteral(R"(<reporte nombre="%1" vistaDetalle="Filas">
  <vista nombre="Doc"><sql>select cast(:DOCTO_ID as integer) as ID from rdb$database</sql></vista>
  <vista nombre="Filas"><sql>with recursive n(i) as (select 1 from rdb$database union all
    select i + 1 from n where i &lt; 150) select i as N from n where :DOCTO_ID = :DOCTO_ID</sql></vista>
  <banda tipo="titulo" alto="10">
    <texto nombre="titulo" x="0" y="0" ancho="100" alto="8">%1</texto>
    <campo nombre="id" x="120" y="0" ancho="30" alto="8">Doc.ID</campo>
  </banda>
  <banda tipo="detalle" alto="5"><campo nombre="n" x="0" y="0" ancho="30" alto="5">N</campo></banda>
</reporte>)")
        .arg(titulo)
        .toUtf8();
}

QString primeraCelda(const QString &xls)
{
    const lartest::LibroFreexl x(xls);
    return x.h && x.hoja(0) ? x.texto(0, 0) : u"<no se abre>"_s;
}

} // namespace

class TestImprimirForma : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<Sesion> m_s;
    int m_formas = 0;

    std::unique_ptr<TfImprimirForma> dialogo(int folder, int docto = 7, int copias = 0)
    {
        auto d = std::make_unique<TfImprimirForma>(*m_s);
        d->Carpeta = u"LarvenosPV"_s;
        d->Subcarpeta = u"Puntos"_s;
        d->Documento = u"Venta A42"_s;
        d->DoctoId = docto;
        d->FolderId = folder;
        d->Copias = copias;
        d->show();
        return d;
    }
    static QLineEdit *forma(TfImprimirForma &d) { return d.findChild<QLineEdit *>(u"vForma"_s); }
    static bool habilitados(TfImprimirForma &d)
    {
        return d.findChild<QPushButton *>(u"bPrint"_s)->isEnabled()
               && d.findChild<QPushButton *>(u"bPreview"_s)->isEnabled();
    }

private slots:
    void initTestCase()
    {
        m_e = std::make_unique<lartest::EntornoPrueba>();
        m_e->instalaExtension();
        m_s = std::make_unique<Sesion>();
        m_e->conectaSesion(*m_s);
    }

    // The folder tree, the list of forms and the loading of a template with its
    // parameters replaced.
    void almacenDeFormas()
    {
        QCOMPARE(FolderFormas(*m_s), 0);
        const int raiz = AseguraFolder(*m_s, u"LarvenosPV"_s, 0);
        QVERIFY(raiz > 0);
        QCOMPARE(AseguraFolder(*m_s, u"LarvenosPV"_s, 0), raiz);
        const int puntos = AseguraFolder(*m_s, u"Puntos"_s, raiz);
        // A "Formas" elsewhere in the tree isn't the one.
        AseguraFolder(*m_s, u"Formas"_s, AseguraFolder(*m_s, u"Traspasos"_s, raiz));
        QCOMPARE(FolderFormas(*m_s), 0);
        m_formas = AseguraFolder(*m_s, u"Formas"_s, puntos);
        QCOMPARE(FolderFormas(*m_s), m_formas);

        GuardaForma(m_s->fbConfig(), m_formas, u"Vale"_s, listado(u"Vale de canje"_s));
        GuardaForma(m_s->fbConfig(), m_formas, u"Boleto"_s, listado(u"Boleto"_s));
        GuardaForma(m_s->fbConfig(), m_formas, u"Actividad"_s, listado(u"Ñandú"_s));
        GuardaForma(m_s->fbConfig(), m_formas, u"Vale"_s, listado(u"Vale de canje"_s));
        QCOMPARE(ListaFormas(*m_s, m_formas),
                 (QStringList{u"Actividad"_s, u"Boleto"_s, u"Vale"_s}));
        QVERIFY(ListaFormas(*m_s, 0).isEmpty());

        reporte::Reporte r;
        QString error;
        QVERIFY(!CargaPlantilla(*m_s, r, m_formas, u"vale"_s, 1, {}, &error));
        QCOMPARE(error, u"No existe la forma \"vale\"."_s);
        QVERIFY2(CargaPlantilla(*m_s, r, m_formas, u"Actividad"_s, 31, u"Venta "_s, &error),
                 qPrintable(error));
        QCOMPARE(r.nombreDocumento(), u"Venta "_s);
        QCOMPARE(r.plantilla().vistas[0].principal.sql,
                 u"select cast(31 as integer) as ID from rdb$database"_s);
        QVERIFY(r.plantilla().vistas[1].principal.sql.endsWith(u"where 31 = 31"_s));
        QVERIFY2(r.genera(&error), qPrintable(error));
        QCOMPARE(r.documento().hojas.size(), 3);
        QCOMPARE(r.documento().hojas[0].textos().mid(0, 2), (QStringList{u"Ñandú"_s, u"31"_s}));
    }

    // Every parameter gets the same digits, by plain text search: a shorter name
    // eats into a longer one that begins with it when it comes first.
    void reemplazoDeParametros()
    {
        reporte::Plantilla p;
        reporte::Vista v;
        v.nombre = u"V"_s;
        v.consultas << reporte::TextoSql{
            u"C"_s, u"select * from t where a = :DOCTO and b = :DOCTO_ID and c = :DOCTO"_s};
        v.consultas << reporte::TextoSql{u"D"_s,
                                         u"select * from t where b = :DOCTO_ID and a = :DOCTO"_s};
        v.principal
            = reporte::TextoSql{u"V"_s, u"select ':X' from t where f = :FECHA and s = :CLAVE"_s};
        p.vistas << v;
        reporte::Vista sin;
        sin.nombre = u"Sin"_s;
        sin.principal.sql = u"select 1 from rdb$database"_s;
        p.vistas << sin;
        ReemplazaParametros(p, 0);
        QCOMPARE(p.vistas[0].consultas[0].sql,
                 u"select * from t where a = 0 and b = 0_ID and c = 0"_s);
        QCOMPARE(p.vistas[0].consultas[1].sql, u"select * from t where b = 0 and a = 0"_s);
        // A date or text parameter gets digits as well; a literal stays.
        QCOMPARE(p.vistas[0].principal.sql, u"select ':X' from t where f = 0 and s = 0"_s);
        QCOMPARE(p.vistas[1].principal.sql, u"select 1 from rdb$database"_s);
    }

    // The remembered form is selected; a renamed one leaves the prompt, with print
    // and preview off until a form is taken from the forms tab.
    void formaRecordadaYPestanaFormas()
    {
        QVERIFY(m_formas > 0);
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"Vale"_s);
        {
            auto d = dialogo(m_formas);
            QCOMPARE(forma(*d)->text(), u"Vale"_s);
            QVERIFY(habilitados(*d));
            LAR_VERIFICA_ACCESIBLE(d.get());
        }
        // The memory is per user, folder and subfolder.
        QString otro = u"Boleto"_s;
        Registro(*m_s, u"Ventas"_s, m_s->UsuarioActual, u"Puntos"_s, false, otro, u"Forma"_s);
        {
            auto ventas = std::make_unique<TfImprimirForma>(*m_s);
            ventas->Carpeta = u"Puntos"_s;
            ventas->Subcarpeta = u"Ventas"_s;
            ventas->FolderId = m_formas;
            ventas->show();
            QCOMPARE(forma(*ventas)->text(), u"Boleto"_s);
        }
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"Vale viejo"_s);
        auto d = dialogo(m_formas);
        QLineEdit *v = forma(*d);
        QCOMPARE(v->text(), TfImprimirForma::indicacion());
        QCOMPARE(v->palette().color(QPalette::Text), QColor(Qt::gray));
        QVERIFY(!habilitados(*d));

        auto *tabs = d->findChild<QTabWidget *>(u"pcPaginas"_s);
        QCOMPARE(tabs->currentIndex(), 0);
        QTest::mouseClick(v, Qt::LeftButton);
        QCOMPARE(tabs->tabText(tabs->currentIndex()), u"Forma"_s);
        // Going there took the current row's name.
        QCOMPARE(v->text(), u"Actividad"_s);
        QVERIFY(habilitados(*d));
        QVERIFY(v->palette().color(QPalette::Text) != QColor(Qt::gray));
        auto *grid = d->findChild<MemGrid *>(u"cxGridFormas"_s);
        grid->setCurrentIndex(grid->model()->index(2, 0));
        QCOMPARE(v->text(), u"Vale"_s);
        // Row changes on the other tab don't copy.
        tabs->setCurrentIndex(0);
        grid->setCurrentIndex(grid->model()->index(1, 0));
        QCOMPARE(v->text(), u"Vale"_s);
        QTest::mouseClick(v, Qt::LeftButton);
        QCOMPARE(tabs->currentIndex(), 0);

        // No folder: no forms, nothing to print or preview.
        auto sinCarpeta = dialogo(0);
        QCOMPARE(forma(*sinCarpeta)->text(), TfImprimirForma::indicacion());
        QVERIFY(!habilitados(*sinCarpeta));
        QTest::mouseClick(forma(*sinCarpeta), Qt::LeftButton);
        QCOMPARE(forma(*sinCarpeta)->text(), TfImprimirForma::indicacion());
        QVERIFY(!habilitados(*sinCarpeta));
    }

    // The preview from the dialog: navigation, page box, zoom box and buttons;
    // closing it without printing leaves the dialog open, and remembers the form.
    void vistaPrevia()
    {
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"Vale"_s);
        auto d = dialogo(m_formas, 55);
        QStringList vistos;
        bool revisado = false;
        lartest::alAparecer<TfPreview>([&](TfPreview *p) {
            LAR_VERIFICA_ACCESIBLE(p);
            auto boton = [&](const char16_t *n) {
                return p->findChild<QToolButton *>(QString::fromUtf16(n));
            };
            auto *pagina = p->findChild<QLineEdit *>(u"mskPreviewPage"_s);
            auto *zoom = p->findChild<QLineEdit *>(u"mskPreviewPercentage"_s);
            auto *estado = p->findChild<QLabel *>(u"stbStatusBar"_s);
            reporte::VisorReporte *visor = p->visor();
            vistos << p->windowTitle() << pagina->text() << estado->text();
            QTest::mouseClick(boton(u"spbPreviewNext"), Qt::LeftButton);
            vistos << pagina->text();
            QTest::mouseClick(boton(u"spbPreviewLast"), Qt::LeftButton);
            QTest::mouseClick(boton(u"spbPreviewNext"), Qt::LeftButton);
            vistos << pagina->text() << estado->text();
            QTest::mouseClick(boton(u"spbPreviewPrior"), Qt::LeftButton);
            vistos << pagina->text();
            QTest::mouseClick(boton(u"spbPreviewFirst"), Qt::LeftButton);
            vistos << pagina->text();
            pagina->setText(u"3"_s);
            QTest::keyClick(pagina, Qt::Key_Return);
            vistos << QString::number(visor->pagina());
            // The page is a picture: assistive technology reads its number and texts.
            QAccessibleInterface *leida = QAccessible::queryAccessibleInterface(visor);
            QCOMPARE(leida->role(), QAccessible::Document);
            QVERIFY2(leida->text(QAccessible::Description).startsWith(u"Página 3 de "_s),
                     qPrintable(leida->text(QAccessible::Description)));
            pagina->setText(u"9"_s);
            QTest::keyClick(pagina, Qt::Key_Return);
            vistos << pagina->text();

            QVERIFY(boton(u"spbPreview100Percent")->isChecked());
            vistos << zoom->text();
            zoom->setText(u"50"_s);
            QTest::keyClick(zoom, Qt::Key_Return);
            vistos << zoom->text() << QString::number(visor->imagenActual().width());
            QVERIFY(!boton(u"spbPreview100Percent")->isChecked());
            zoom->setText(u"mucho"_s);
            QTest::keyClick(zoom, Qt::Key_Return);
            vistos << zoom->text();
            p->resize(800, 600);
            QTest::mouseClick(boton(u"spbPreviewWhole"), Qt::LeftButton);
            QVERIFY(boton(u"spbPreviewWhole")->isChecked());
            // The whole page fits the viewer.
            const QSize hoja = visor->imagenActual().size();
            QVERIFY(hoja.height() <= visor->viewport()->height());
            QCOMPARE(zoom->text(), QString::number(visor->porcentaje()));
            QTest::mouseClick(boton(u"spbPreviewWidth"), Qt::LeftButton);
            QVERIFY(!boton(u"spbPreviewWhole")->isChecked());
            QVERIFY(visor->imagenActual().width() <= visor->viewport()->width());
            QVERIFY(visor->imagenActual().width() > hoja.width());
            QTest::mouseClick(boton(u"spbPreview100Percent"), Qt::LeftButton);
            vistos << zoom->text();
            revisado = true;
            p->reject();
        });
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, QString());
        QTest::mouseClick(d->findChild<QPushButton *>(u"bPreview"_s), Qt::LeftButton);
        QVERIFY(revisado);
        // Title, page and status; next, last and past it, prior, first, typed 3 and
        // 9; zoom 100, typed 50 (half the page's pixels), a bad value, back to 100.
        QCOMPARE(vistos.join(u'|'),
                 u"Vista previa|1|Página 1 de 3|2|3|Página 3 de 3|2|1|3|3|100|50|%1|100|100"_s.arg(
                     qRound(215.9 * 96 / 25.4 / 2)));
        QVERIFY(d->isVisible());
        QCOMPARE(FormaRecordada(*m_s, u"LarvenosPV"_s, u"Puntos"_s), u"Vale"_s);
        QCOMPARE(d->reporte()->documento().hojas[0].textos().at(1), u"55"_s);
    }
    // Print: the form to the chosen printer, then, with Copias, the voucher form
    // of the settings with that many copies; the job carries the document's name.
    void imprimeConYSinBoleto()
    {
        if (qEnvironmentVariableIsEmpty("CUPS_SERVER"))
            QSKIP(lartest::kSinCups);
        GuardaRegistro(*m_s, u"FormaBoleto"_s, u"Boleto"_s);
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"Vale"_s);
        const QString carpeta = qEnvironmentVariable("LAR_CUPS_TRABAJOS");

        auto d = dialogo(m_formas, 7);
        auto *impresoras = d->findChild<QComboBox *>(u"vPrinters"_s);
        QCOMPARE(impresoras->currentText(), u"LarPrueba"_s);
        QCOMPARE(d->findChild<QLabel *>(u"lUbicacion"_s)->text(), u"larfile:"_s + carpeta);
        QCOMPARE(d->findChild<QLabel *>(u"lComentario"_s)->text(), u"Impresora de prueba"_s);
        QCOMPARE(d->findChild<QLabel *>(u"lTipo"_s)->text(), u"Local Raw Printer"_s);
        QVERIFY(!d->findChild<QLabel *>(u"lEstado"_s)->text().isEmpty());
        QSignalSpy impresos(d.get(), &TfImprimirForma::impreso);
        QMap<int, QStringList> antes = trabajosCola();
        QTest::mouseClick(d->findChild<QPushButton *>(u"bPrint"_s), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        QCOMPARE(impresos.size(), 1);
        QList<int> nuevos = esperaTrabajos(antes, 1);
        QCOMPARE(nuevos.size(), 1);
        QStringList info = trabajosCola().value(nuevos[0]);
        QCOMPARE(info.value(2), u"Venta A42"_s);
        QCOMPARE(info.value(3), u"1"_s);
        QString texto = textoPdf(datosTrabajo(nuevos[0]));
        QVERIFY2(texto.contains(u"Vale de canje"_s) && texto.contains(u"150"_s), qPrintable(texto));

        d = dialogo(m_formas, 8, 3);
        antes = trabajosCola();
        QTest::mouseClick(d->findChild<QPushButton *>(u"bPrint"_s), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        nuevos = esperaTrabajos(antes, 2);
        QCOMPARE(nuevos.size(), 2);
        QVERIFY(textoPdf(datosTrabajo(nuevos[0])).contains(u"Vale de canje"_s));
        info = trabajosCola().value(nuevos[1]);
        QCOMPARE(info.value(2), u"Venta A42"_s);
        QCOMPARE(info.value(3), u"3"_s);
        texto = textoPdf(datosTrabajo(nuevos[1]));
        QVERIFY2(texto.contains(u"Boleto"_s) && texto.contains(u"8"_s), qPrintable(texto));
        QVERIFY(!texto.contains(u"Vale de canje"_s));
    }

    // Printing from the preview prints the form alone, whatever Copias says, and
    // closes the dialog with 1.
    void imprimeDesdeVistaPrevia()
    {
        if (qEnvironmentVariableIsEmpty("CUPS_SERVER"))
            QSKIP(lartest::kSinCups);
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"Actividad"_s);
        auto d = dialogo(m_formas, 9, 2);
        const QMap<int, QStringList> antes = trabajosCola();
        lartest::alAparecer<TfPreview>([](TfPreview *p) {
            QTest::mouseClick(p->findChild<QToolButton *>(u"spbPreviewPrint"_s), Qt::LeftButton);
        });
        QTest::mouseClick(d->findChild<QPushButton *>(u"bPreview"_s), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        const QList<int> nuevos = esperaTrabajos(antes, 1);
        QCOMPARE(nuevos.size(), 1);
        QVERIFY(textoPdf(datosTrabajo(nuevos[0])).contains(u"Ñandú"_s));
    }

    // "Imprimir a un archivo": the form and its voucher become spreadsheets in the
    // documents folder instead of print jobs.
    void imprimeAArchivo()
    {
        const QString casa = lartest::tempPath(u"casa"_s);
        QDir().mkpath(casa);
        qputenv("HOME", casa.toUtf8());
        qputenv("XDG_CONFIG_HOME", (casa + u"/.config"_s).toUtf8());
        GuardaRegistro(*m_s, u"FormaBoleto"_s, u"Boleto"_s);
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"Vale"_s);
        auto d = dialogo(m_formas, 12, 2);
        d->findChild<QCheckBox *>(u"vPrintToFile"_s)->setChecked(true);
        QSignalSpy impresos(d.get(), &TfImprimirForma::impreso);
        QTest::mouseClick(d->findChild<QPushButton *>(u"bPrint"_s), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        QCOMPARE(impresos.size(), 2);
        QCOMPARE(d->reporte()->dispositivo(), reporte::Dispositivo::XLSReport);
        QCOMPARE(d->reporte()->copias(), 2);
        const QString docs = casa + u"/Documents/"_s;
        QCOMPARE(primeraCelda(docs + u"Venta A42 - Vale de canje.xls"_s), u"Vale de canje"_s);
        QCOMPARE(primeraCelda(docs + u"Venta A42 - Boleto.xls"_s), u"Boleto"_s);
    }
    // A printer that doesn't exist surfaces as the engine's error; the dialog stays.
    void impresoraInexistente()
    {
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"Vale"_s);
        auto d = dialogo(m_formas, 5, 1);
        auto *impresoras = d->findChild<QComboBox *>(u"vPrinters"_s);
        impresoras->addItem(u"No Existe"_s);
        impresoras->setCurrentText(u"No Existe"_s);
        QCOMPARE(d->findChild<QLabel *>(u"lEstado"_s)->text(), u"Desconocido"_s);
        lartest::GuionMensajes guion;
        QSignalSpy impresos(d.get(), &TfImprimirForma::impreso);
        QTest::mouseClick(d->findChild<QPushButton *>(u"bPrint"_s), Qt::LeftButton);
        QCOMPARE(guion.textos(), QStringList{u"La impresora \"No Existe\" no existe."_s});
        QCOMPARE(guion.cajas().first().titulo, u"Error"_s);
        QCOMPARE(guion.cajas().first().icono(), mb::IconStop);
        QCOMPARE(impresos.size(), 0);
        QVERIFY(d->isVisible());
    }
};

LAR_TEST_MAIN(TestImprimirForma)
#include "tst_imprimirforma.moc"
