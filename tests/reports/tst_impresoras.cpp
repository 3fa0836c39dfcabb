// Printing for real through the private CUPS queue of scripts/cupsd: a job sent by
// QPrinter arrives with its text, and the queue's description and status texts
// follow what the scheduler says of it.

#include "ayudareportes.h"
#include "reports/impresoras.h"
#include "support/testmain.h"

#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace {

const QString Cola = u"LarPrueba"_s;
} // namespace

class TestImpresoras : public QObject
{
    Q_OBJECT

private:
    QString m_trabajos;

    // Prints a page with the text and waits for its job to arrive and end; the
    // path of its data, empty if it didn't come with the title `documento`.
    QString imprime(const QString &documento, const QString &texto, int copias = 1)
    {
        const QMap<int, QStringList> antes = lartest::trabajosCola();
        QPrinter p(QPrinter::HighResolution);
        p.setPrinterName(Cola);
        p.setDocName(documento);
        p.setCopyCount(copias);
        {
            QPainter pintor;
            if (!pintor.begin(&p))
                return {};
            pintor.setFont(QFont(u"DejaVu Sans"_s, 14));
            pintor.drawText(QRectF(0, 0, p.width(), p.height() / 4), texto);
        }
        const QList<int> nuevos = lartest::esperaTrabajos(antes, 1);
        if (nuevos.size() != 1 || lartest::trabajosCola().value(nuevos[0]).value(2) != documento)
            return {};
        return lartest::datosTrabajo(nuevos[0]);
    }

    static bool cups(const QString &programa, const QStringList &args)
    {
        return QProcess::execute(programa, args) == 0;
    }

private slots:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("CUPS_SERVER"))
            return;
        m_trabajos = qEnvironmentVariable("LAR_CUPS_TRABAJOS");
        QVERIFY2(QDir(m_trabajos).exists(), "LAR_CUPS_TRABAJOS: la carpeta de los trabajos");
        QVERIFY(QPrinterInfo::availablePrinterNames().contains(Cola));
    }

    // QPrinter's PDF reaches the queue's device with the document name, the copies
    // and the text drawn.
    void trabajoPdf()
    {
        if (m_trabajos.isEmpty())
            QSKIP(lartest::kSinCups);
        const QString texto = u"Canje A-000042 Zoila Pérez: 1,500 puntos"_s;
        const QString datos = imprime(u"Venta A-000042"_s, texto, 2);
        QVERIFY(!datos.isEmpty());
        QCOMPARE(lartest::trabajosCola().last().value(3), u"2"_s);
        QFile f(datos);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QVERIFY(f.read(5) == "%PDF-");

        const QString leido = lartest::textoPdf(datos).simplified();
        QVERIFY2(leido.contains(texto), qPrintable(leido));
    }

    // Driver, port and comment of the queue; a name nobody knows.
    void descripcion()
    {
        if (m_trabajos.isEmpty())
            QSKIP(lartest::kSinCups);
        const lar::DatosImpresora d = lar::DescribeImpresora(Cola);
        QCOMPARE(d.nombre, Cola);
        QCOMPARE(d.controlador, u"Local Raw Printer"_s);
        QCOMPARE(d.puerto, u"larfile:"_s + m_trabajos);
        QCOMPARE(d.comentario, u"Impresora de prueba"_s);

        const lar::DatosImpresora x = lar::DescribeImpresora(u"No Existe"_s);
        QCOMPARE(x.estado, lar::ei::Desconocido);
        QCOMPARE(x.textoEstado, u"Desconocido"_s);
        QVERIFY(x.controlador.isEmpty() && x.puerto.isEmpty() && x.comentario.isEmpty());
    }

    // The status texts in bit order, from the scheduler's state, the reasons a
    // backend reports (a jam is an error too) and a queue stopped or rejecting jobs.
    void estados()
    {
        if (m_trabajos.isEmpty())
            QSKIP(lartest::kSinCups);
        QVERIFY(!imprime(u"estado: none"_s, u"x"_s).isEmpty()); // whatever an earlier run left
        QCOMPARE(lar::DescribeImpresora(Cola).textoEstado, u"Inactiva"_s);
        QCOMPARE(lar::DescribeImpresora(Cola).estado, 0u);

        QVERIFY(!imprime(u"estado: + toner-low-warning media-jam-error"_s, u"x"_s).isEmpty());
        lar::DatosImpresora d = lar::DescribeImpresora(Cola);
        QCOMPARE(d.estado, lar::ei::Error | lar::ei::PapelAtorado | lar::ei::TonerBajo);
        QCOMPARE(d.textoEstado, u"Error, Papel atorado, Toner bajo"_s);
        QVERIFY(!imprime(u"estado: none"_s, u"x"_s).isEmpty());
        QCOMPARE(lar::DescribeImpresora(Cola).textoEstado, u"Inactiva"_s);

        QVERIFY(cups(u"cupsdisable"_s, {Cola}));
        QCOMPARE(lar::DescribeImpresora(Cola).textoEstado, u"Pausada"_s);
        QVERIFY(cups(u"cupsreject"_s, {Cola}));
        QCOMPARE(lar::DescribeImpresora(Cola).textoEstado, u"Pausada, No disponible"_s);
        QVERIFY(cups(u"cupsenable"_s, {Cola}));
        QVERIFY(cups(u"cupsaccept"_s, {Cola}));
        QCOMPARE(lar::DescribeImpresora(Cola).textoEstado, u"Inactiva"_s);
    }

    // Reasons no test queue reaches, mapped as a printer's driver would report them.
    void razones_data()
    {
        QTest::addColumn<QStringList>("razones");
        QTest::addColumn<QString>("texto");
        QTest::newRow("sin papel") << QStringList{u"media-empty-error"_s} << u"Error, Sin papel"_s;
        QTest::newRow("aviso y reporte")
            << QStringList{u"toner-empty-warning"_s, u"cover-open-report"_s}
            << u"Sin toner, Puerta abierta"_s;
        QTest::newRow("desconocida y none")
            << QStringList{u"none"_s, u"marker-waste-full"_s} << u"Inactiva"_s;
        QTest::newRow("desconocida con error")
            << QStringList{u"marker-waste-full-error"_s} << u"Error"_s;
    }

    void razones()
    {
        QFETCH(QStringList, razones);
        QFETCH(QString, texto);
        QCOMPARE(lar::TextoEstadoImpresora(lar::EstadoDeCups(3, razones, true)), texto);
    }

    // Every bit has its text, the last one included.
    void todosLosBits()
    {
        QCOMPARE(lar::TextoEstadoImpresora(lar::ei::Pausada | lar::ei::AhorroEnergia),
                 u"Pausada, Ahorro de energia"_s);
        QCOMPARE(lar::TextoEstadoImpresora(0x1FFFFFF).split(u", "_s).size(), 25);
    }
};

LAR_TEST_MAIN(TestImpresoras)
#include "tst_impresoras.moc"
