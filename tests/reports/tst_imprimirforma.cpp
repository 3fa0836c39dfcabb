// The forms store, the print dialog and the preview, offscreen on a stand-in
// Microsip with the extension installed.
#include "core/ayudagui.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "reports/formas.h"
#include "reports/imprimirforma.h"
#include "reports/preview.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/reporte/reporte.h"
#include "toolkit/reporte/visor.h"

#include "support/accesibilidad.h"
#include <QAccessible>
#include <freexl.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPrinterInfo>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>

using namespace lar;

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

const char *const SinCups = "CUPS_SERVER no está definido: falta la cola privada de scripts/cupsd";

QString textoPdf(const QString &ruta)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), ruta, QStringLiteral("-")});
    p.waitForFinished(60000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

// The jobs of the private queue, as "id" -> the lines of their .info file (job,
// user, title, copies, options).
QMap<int, QStringList> trabajos(const QString &carpeta)
{
    QMap<int, QStringList> t;
    for (const QFileInfo &fi :
         QDir(carpeta).entryInfoList({QStringLiteral("*.info")}, QDir::Files)) {
        QFile f(fi.filePath());
        if (f.open(QIODevice::ReadOnly))
            t.insert(fi.completeBaseName().section(u'-', 1).toInt(),
                     QString::fromUtf8(f.readAll()).split(u'\n'));
    }
    return t;
}

QString primeraCelda(const QString &xls)
{
    const void *h = nullptr;
    if (freexl_open(QFile::encodeName(xls).constData(), &h) != FREEXL_OK)
        return QStringLiteral("<no se abre>");
    freexl_select_active_worksheet(h, 0);
    FreeXL_CellValue v{};
    freexl_get_cell_value(h, 0, 0, &v);
    const QString t
        = v.type == FREEXL_CELL_SST_TEXT ? QString::fromUtf8(v.value.text_value) : QString();
    freexl_close(h);
    return t;
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
        d->Carpeta = QStringLiteral("LarvenosPV");
        d->Subcarpeta = QStringLiteral("Puntos");
        d->Documento = QStringLiteral("Venta A42");
        d->DoctoId = docto;
        d->FolderId = folder;
        d->Copias = copias;
        d->show();
        return d;
    }
    static QLineEdit *forma(TfImprimirForma &d)
    {
        return d.findChild<QLineEdit *>(QStringLiteral("vForma"));
    }
    // Waits for n jobs after those in `antes` and for the queue to be idle; their
    // ids in order.
    QList<int> esperaTrabajos(const QMap<int, QStringList> &antes, int n)
    {
        const QString carpeta = qEnvironmentVariable("LAR_CUPS_TRABAJOS");
        QList<int> nuevos;
        auto llegaron = [&] {
            nuevos.clear();
            const QMap<int, QStringList> ahora = trabajos(carpeta);
            for (auto it = ahora.cbegin(); it != ahora.cend(); ++it) {
                if (!antes.contains(it.key()))
                    nuevos << it.key();
            }
            return nuevos.size() >= n;
        };
        auto inactiva = [] {
            QProcess p;
            p.start(QStringLiteral("lpstat"), {QStringLiteral("-o")});
            return p.waitForFinished() && p.readAllStandardOutput().trimmed().isEmpty();
        };
        // The caller checks how many came.
        if (QTest::qWaitFor(llegaron, 30000) && !QTest::qWaitFor(inactiva, 30000))
            qWarning("La cola de impresión no terminó sus trabajos");
        llegaron();
        return nuevos;
    }
    static QString datosDe(int trabajo)
    {
        return qEnvironmentVariable("LAR_CUPS_TRABAJOS")
               + QStringLiteral("/trabajo-%1").arg(trabajo);
    }
    static bool habilitados(TfImprimirForma &d)
    {
        return d.findChild<QPushButton *>(QStringLiteral("bPrint"))->isEnabled()
               && d.findChild<QPushButton *>(QStringLiteral("bPreview"))->isEnabled();
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
        const int raiz = AseguraFolder(*m_s, QStringLiteral("LarvenosPV"), 0);
        QVERIFY(raiz > 0);
        QCOMPARE(AseguraFolder(*m_s, QStringLiteral("LarvenosPV"), 0), raiz);
        const int puntos = AseguraFolder(*m_s, QStringLiteral("Puntos"), raiz);
        // A "Formas" elsewhere in the tree isn't the one.
        AseguraFolder(
            *m_s, QStringLiteral("Formas"), AseguraFolder(*m_s, QStringLiteral("Traspasos"), raiz));
        QCOMPARE(FolderFormas(*m_s), 0);
        m_formas = AseguraFolder(*m_s, QStringLiteral("Formas"), puntos);
        QCOMPARE(FolderFormas(*m_s), m_formas);

        GuardaForma(m_s->fbConfig(),
                    m_formas,
                    QStringLiteral("Vale"),
                    listado(QStringLiteral("Vale de canje")));
        GuardaForma(
            m_s->fbConfig(), m_formas, QStringLiteral("Boleto"), listado(QStringLiteral("Boleto")));
        GuardaForma(m_s->fbConfig(),
                    m_formas,
                    QStringLiteral("Actividad"),
                    listado(QStringLiteral("Ñandú")));
        GuardaForma(m_s->fbConfig(),
                    m_formas,
                    QStringLiteral("Vale"),
                    listado(QStringLiteral("Vale de canje")));
        QCOMPARE(ListaFormas(*m_s, m_formas),
                 (QStringList{QStringLiteral("Actividad"),
                              QStringLiteral("Boleto"),
                              QStringLiteral("Vale")}));
        QVERIFY(ListaFormas(*m_s, 0).isEmpty());

        reporte::Reporte r;
        QString error;
        QVERIFY(!CargaPlantilla(*m_s, r, m_formas, QStringLiteral("vale"), 1, {}, &error));
        QCOMPARE(error, QStringLiteral("No existe la forma \"vale\"."));
        QVERIFY2(CargaPlantilla(*m_s,
                                r,
                                m_formas,
                                QStringLiteral("Actividad"),
                                31,
                                QStringLiteral("Venta "),
                                &error),
                 qPrintable(error));
        QCOMPARE(r.nombreDocumento(), QStringLiteral("Venta "));
        QCOMPARE(r.plantilla().vistas[0].principal.sql,
                 QStringLiteral("select cast(31 as integer) as ID from rdb$database"));
        QVERIFY(r.plantilla().vistas[1].principal.sql.endsWith(QStringLiteral("where 31 = 31")));
        QVERIFY2(r.genera(&error), qPrintable(error));
        QCOMPARE(r.documento().hojas.size(), 3);
        QCOMPARE(r.documento().hojas[0].textos().mid(0, 2),
                 (QStringList{QStringLiteral("Ñandú"), QStringLiteral("31")}));
    }

    // Every parameter gets the same digits, by plain text search: a shorter name
    // eats into a longer one that begins with it when it comes first.
    void reemplazoDeParametros()
    {
        reporte::Plantilla p;
        reporte::Vista v;
        v.nombre = QStringLiteral("V");
        v.consultas << reporte::TextoSql{
            QStringLiteral("C"),
            QStringLiteral("select * from t where a = :DOCTO and b = :DOCTO_ID and c = :DOCTO")};
        v.consultas << reporte::TextoSql{
            QStringLiteral("D"),
            QStringLiteral("select * from t where b = :DOCTO_ID and a = :DOCTO")};
        v.principal = reporte::TextoSql{
            QStringLiteral("V"),
            QStringLiteral("select ':X' from t where f = :FECHA and s = :CLAVE")};
        p.vistas << v;
        reporte::Vista sin;
        sin.nombre = QStringLiteral("Sin");
        sin.principal.sql = QStringLiteral("select 1 from rdb$database");
        p.vistas << sin;
        ReemplazaParametros(p, 0);
        QCOMPARE(p.vistas[0].consultas[0].sql,
                 QStringLiteral("select * from t where a = 0 and b = 0_ID and c = 0"));
        QCOMPARE(p.vistas[0].consultas[1].sql,
                 QStringLiteral("select * from t where b = 0 and a = 0"));
        // A date or text parameter gets digits as well; a literal stays.
        QCOMPARE(p.vistas[0].principal.sql,
                 QStringLiteral("select ':X' from t where f = 0 and s = 0"));
        QCOMPARE(p.vistas[1].principal.sql, QStringLiteral("select 1 from rdb$database"));
    }

    // The remembered form is selected; a renamed one leaves the prompt, with print
    // and preview off until a form is taken from the forms tab.
    void formaRecordadaYPestanaFormas()
    {
        QVERIFY(m_formas > 0);
        RecuerdaForma(
            *m_s, QStringLiteral("LarvenosPV"), QStringLiteral("Puntos"), QStringLiteral("Vale"));
        {
            auto d = dialogo(m_formas);
            QCOMPARE(forma(*d)->text(), QStringLiteral("Vale"));
            QVERIFY(habilitados(*d));
            QCOMPARE(d->windowTitle(), QStringLiteral("Imprimir"));
            LAR_VERIFICA_ACCESIBLE(d.get());
        }
        // The memory is per user, folder and subfolder.
        QString otro = QStringLiteral("Boleto");
        Registro(*m_s,
                 QStringLiteral("Ventas"),
                 m_s->UsuarioActual,
                 QStringLiteral("Puntos"),
                 false,
                 otro,
                 QStringLiteral("Forma"));
        {
            auto ventas = std::make_unique<TfImprimirForma>(*m_s);
            ventas->Carpeta = QStringLiteral("Puntos");
            ventas->Subcarpeta = QStringLiteral("Ventas");
            ventas->FolderId = m_formas;
            ventas->show();
            QCOMPARE(forma(*ventas)->text(), QStringLiteral("Boleto"));
        }
        RecuerdaForma(*m_s,
                      QStringLiteral("LarvenosPV"),
                      QStringLiteral("Puntos"),
                      QStringLiteral("Vale viejo"));
        auto d = dialogo(m_formas);
        QLineEdit *v = forma(*d);
        QCOMPARE(v->text(), TfImprimirForma::indicacion());
        QCOMPARE(v->palette().color(QPalette::Text), QColor(Qt::gray));
        QVERIFY(!habilitados(*d));

        auto *tabs = d->findChild<QTabWidget *>(QStringLiteral("pcPaginas"));
        QCOMPARE(tabs->currentIndex(), 0);
        QTest::mouseClick(v, Qt::LeftButton);
        QCOMPARE(tabs->tabText(tabs->currentIndex()), QStringLiteral("Forma"));
        // Going there took the current row's name.
        QCOMPARE(v->text(), QStringLiteral("Actividad"));
        QVERIFY(habilitados(*d));
        QVERIFY(v->palette().color(QPalette::Text) != QColor(Qt::gray));
        auto *grid = d->findChild<MemGrid *>(QStringLiteral("cxGridFormas"));
        grid->setCurrentIndex(grid->model()->index(2, 0));
        QCOMPARE(v->text(), QStringLiteral("Vale"));
        // Row changes on the other tab don't copy.
        tabs->setCurrentIndex(0);
        grid->setCurrentIndex(grid->model()->index(1, 0));
        QCOMPARE(v->text(), QStringLiteral("Vale"));
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
        RecuerdaForma(
            *m_s, QStringLiteral("LarvenosPV"), QStringLiteral("Puntos"), QStringLiteral("Vale"));
        auto d = dialogo(m_formas, 55);
        QStringList vistos;
        bool revisado = false;
        lartest::alAparecer<TfPreview>([&](TfPreview *p) {
            LAR_VERIFICA_ACCESIBLE(p);
            auto boton = [&](const char16_t *n) {
                return p->findChild<QToolButton *>(QString::fromUtf16(n));
            };
            auto *pagina = p->findChild<QLineEdit *>(QStringLiteral("mskPreviewPage"));
            auto *zoom = p->findChild<QLineEdit *>(QStringLiteral("mskPreviewPercentage"));
            auto *estado = p->findChild<QLabel *>(QStringLiteral("stbStatusBar"));
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
            pagina->setText(QStringLiteral("3"));
            QTest::keyClick(pagina, Qt::Key_Return);
            vistos << QString::number(visor->pagina());
            // The page is a picture: assistive technology reads its number and texts.
            QAccessibleInterface *leida = QAccessible::queryAccessibleInterface(visor);
            QCOMPARE(leida->role(), QAccessible::Document);
            QVERIFY2(
                leida->text(QAccessible::Description).startsWith(QStringLiteral("Página 3 de ")),
                qPrintable(leida->text(QAccessible::Description)));
            pagina->setText(QStringLiteral("9"));
            QTest::keyClick(pagina, Qt::Key_Return);
            vistos << pagina->text();

            QVERIFY(boton(u"spbPreview100Percent")->isChecked());
            vistos << zoom->text();
            zoom->setText(QStringLiteral("50"));
            QTest::keyClick(zoom, Qt::Key_Return);
            vistos << zoom->text() << QString::number(visor->imagenActual().width());
            QVERIFY(!boton(u"spbPreview100Percent")->isChecked());
            zoom->setText(QStringLiteral("mucho"));
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
        RecuerdaForma(*m_s, QStringLiteral("LarvenosPV"), QStringLiteral("Puntos"), QString());
        QTest::mouseClick(d->findChild<QPushButton *>(QStringLiteral("bPreview")), Qt::LeftButton);
        QVERIFY(revisado);
        QCOMPARE(vistos,
                 (QStringList{QStringLiteral("Vista previa"),
                              QStringLiteral("1"),
                              QStringLiteral("Página 1 de 3"),
                              QStringLiteral("2"),
                              QStringLiteral("3"),
                              QStringLiteral("Página 3 de 3"),
                              QStringLiteral("2"),
                              QStringLiteral("1"),
                              QStringLiteral("3"),
                              QStringLiteral("3"),
                              QStringLiteral("100"),
                              QStringLiteral("50"),
                              QString::number(qRound(215.9 * 96 / 25.4 / 2)),
                              QStringLiteral("100"),
                              QStringLiteral("100")}));
        QVERIFY(d->isVisible());
        QCOMPARE(FormaRecordada(*m_s, QStringLiteral("LarvenosPV"), QStringLiteral("Puntos")),
                 QStringLiteral("Vale"));
        QCOMPARE(d->reporte()->documento().hojas[0].textos().at(1), QStringLiteral("55"));
    }
    // Print: the form to the chosen printer, then, with Copias, the voucher form
    // of the settings with that many copies; the job carries the document's name.
    void imprimeConYSinBoleto()
    {
        if (qEnvironmentVariableIsEmpty("CUPS_SERVER"))
            QSKIP(SinCups);
        GuardaRegistro(*m_s, QStringLiteral("FormaBoleto"), QStringLiteral("Boleto"));
        RecuerdaForma(
            *m_s, QStringLiteral("LarvenosPV"), QStringLiteral("Puntos"), QStringLiteral("Vale"));
        const QString carpeta = qEnvironmentVariable("LAR_CUPS_TRABAJOS");

        auto d = dialogo(m_formas, 7);
        auto *impresoras = d->findChild<QComboBox *>(QStringLiteral("vPrinters"));
        QCOMPARE(impresoras->currentText(), QStringLiteral("LarPrueba"));
        QCOMPARE(d->findChild<QLabel *>(QStringLiteral("lUbicacion"))->text(),
                 QStringLiteral("larfile:") + carpeta);
        QCOMPARE(d->findChild<QLabel *>(QStringLiteral("lComentario"))->text(),
                 QStringLiteral("Impresora de prueba"));
        QCOMPARE(d->findChild<QLabel *>(QStringLiteral("lTipo"))->text(),
                 QStringLiteral("Local Raw Printer"));
        QVERIFY(!d->findChild<QLabel *>(QStringLiteral("lEstado"))->text().isEmpty());
        QSignalSpy impresos(d.get(), &TfImprimirForma::impreso);
        QMap<int, QStringList> antes = trabajos(carpeta);
        QTest::mouseClick(d->findChild<QPushButton *>(QStringLiteral("bPrint")), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        QCOMPARE(impresos.size(), 1);
        QList<int> nuevos = esperaTrabajos(antes, 1);
        QCOMPARE(nuevos.size(), 1);
        QStringList info = trabajos(carpeta).value(nuevos[0]);
        QCOMPARE(info.value(2), QStringLiteral("Venta A42"));
        QCOMPARE(info.value(3), QStringLiteral("1"));
        QString texto = textoPdf(datosDe(nuevos[0]));
        QVERIFY2(texto.contains(QStringLiteral("Vale de canje"))
                     && texto.contains(QStringLiteral("150")),
                 qPrintable(texto));

        d = dialogo(m_formas, 8, 3);
        antes = trabajos(carpeta);
        QTest::mouseClick(d->findChild<QPushButton *>(QStringLiteral("bPrint")), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        nuevos = esperaTrabajos(antes, 2);
        QCOMPARE(nuevos.size(), 2);
        QVERIFY(textoPdf(datosDe(nuevos[0])).contains(QStringLiteral("Vale de canje")));
        info = trabajos(carpeta).value(nuevos[1]);
        QCOMPARE(info.value(2), QStringLiteral("Venta A42"));
        QCOMPARE(info.value(3), QStringLiteral("3"));
        texto = textoPdf(datosDe(nuevos[1]));
        QVERIFY2(texto.contains(QStringLiteral("Boleto")) && texto.contains(QStringLiteral("8")),
                 qPrintable(texto));
        QVERIFY(!texto.contains(QStringLiteral("Vale de canje")));
    }

    // Printing from the preview prints the form alone, whatever Copias says, and
    // closes the dialog with 1.
    void imprimeDesdeVistaPrevia()
    {
        if (qEnvironmentVariableIsEmpty("CUPS_SERVER"))
            QSKIP(SinCups);
        RecuerdaForma(*m_s,
                      QStringLiteral("LarvenosPV"),
                      QStringLiteral("Puntos"),
                      QStringLiteral("Actividad"));
        const QString carpeta = qEnvironmentVariable("LAR_CUPS_TRABAJOS");
        auto d = dialogo(m_formas, 9, 2);
        const QMap<int, QStringList> antes = trabajos(carpeta);
        lartest::alAparecer<TfPreview>([](TfPreview *p) {
            QTest::mouseClick(p->findChild<QToolButton *>(QStringLiteral("spbPreviewPrint")),
                              Qt::LeftButton);
        });
        QTest::mouseClick(d->findChild<QPushButton *>(QStringLiteral("bPreview")), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        const QList<int> nuevos = esperaTrabajos(antes, 1);
        QCOMPARE(nuevos.size(), 1);
        QVERIFY(textoPdf(datosDe(nuevos[0])).contains(QStringLiteral("Ñandú")));
    }

    // "Imprimir a un archivo": the form and its voucher become spreadsheets in the
    // documents folder instead of print jobs.
    void imprimeAArchivo()
    {
        const QString casa = lartest::tempPath(QStringLiteral("casa"));
        QDir().mkpath(casa);
        qputenv("HOME", casa.toUtf8());
        qputenv("XDG_CONFIG_HOME", (casa + QStringLiteral("/.config")).toUtf8());
        GuardaRegistro(*m_s, QStringLiteral("FormaBoleto"), QStringLiteral("Boleto"));
        RecuerdaForma(
            *m_s, QStringLiteral("LarvenosPV"), QStringLiteral("Puntos"), QStringLiteral("Vale"));
        auto d = dialogo(m_formas, 12, 2);
        d->findChild<QCheckBox *>(QStringLiteral("vPrintToFile"))->setChecked(true);
        QSignalSpy impresos(d.get(), &TfImprimirForma::impreso);
        QTest::mouseClick(d->findChild<QPushButton *>(QStringLiteral("bPrint")), Qt::LeftButton);
        QCOMPARE(d->result(), 1);
        QCOMPARE(impresos.size(), 2);
        QCOMPARE(d->reporte()->dispositivo(), reporte::Dispositivo::XLSReport);
        QCOMPARE(d->reporte()->copias(), 2);
        const QString docs = casa + QStringLiteral("/Documents/");
        QCOMPARE(primeraCelda(docs + QStringLiteral("Venta A42 - Vale de canje.xls")),
                 QStringLiteral("Vale de canje"));
        QCOMPARE(primeraCelda(docs + QStringLiteral("Venta A42 - Boleto.xls")),
                 QStringLiteral("Boleto"));
    }
    // A printer that doesn't exist surfaces as the engine's error; the dialog stays.
    void impresoraInexistente()
    {
        RecuerdaForma(
            *m_s, QStringLiteral("LarvenosPV"), QStringLiteral("Puntos"), QStringLiteral("Vale"));
        auto d = dialogo(m_formas, 5, 1);
        auto *impresoras = d->findChild<QComboBox *>(QStringLiteral("vPrinters"));
        impresoras->addItem(QStringLiteral("No Existe"));
        impresoras->setCurrentText(QStringLiteral("No Existe"));
        QCOMPARE(d->findChild<QLabel *>(QStringLiteral("lEstado"))->text(),
                 QStringLiteral("Desconocido"));
        lartest::GuionMensajes guion;
        QSignalSpy impresos(d.get(), &TfImprimirForma::impreso);
        QTest::mouseClick(d->findChild<QPushButton *>(QStringLiteral("bPrint")), Qt::LeftButton);
        QCOMPARE(guion.textos(),
                 QStringList{QStringLiteral("La impresora \"No Existe\" no existe.")});
        QCOMPARE(guion.cajas().first().titulo, QStringLiteral("Error"));
        QCOMPARE(guion.cajas().first().icono(), mb::IconStop);
        QCOMPARE(impresos.size(), 0);
        QVERIFY(d->isVisible());
    }
};

LAR_TEST_MAIN(TestImprimirForma)
#include "tst_imprimirforma.moc"
