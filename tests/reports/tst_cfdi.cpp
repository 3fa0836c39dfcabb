// The CFDI reader on stamped invoices of each version written as SAT issues them,
// called from JavaScript through the report engine: original strings checked
// against values worked out by hand, the values of each function, the QR read back
// with zxing's reader, and the payment method of a document of the stand-in.
#include "core/sesion.h"
#include "fb/query.h"
#include "reports/cfdi.h"
#include "reports/formas.h"
#include "reports/funcionesreporte.h"
#include "scriptprueba.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"

#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <ZXing/ReadBarcode.h>

using namespace lar;

namespace {

QString doc(const char *version)
{
    return microsip::documentoCfdi(QString::fromLatin1(version));
}

QString atributo(const QString &xml, const QString &nombre)
{
    const QRegularExpression re(QStringLiteral("\\s%1=\"([^\"]*)\"").arg(nombre));
    return re.match(xml).captured(1);
}

// The text of the QR codes in a picture, read as a printed page is read: on white
// paper around it.
QString leeQR(const QImage &imagen)
{
    QImage hoja(imagen.width() + 40, imagen.height() + 40, QImage::Format_Grayscale8);
    hoja.fill(Qt::white);
    for (int y = 0; y < imagen.height(); ++y) {
        for (int x = 0; x < imagen.width(); ++x)
            hoja.setPixel(x + 20, y + 20, qGray(imagen.pixel(x, y)) < 128 ? 0 : 0xffffff);
    }
    hoja = hoja.convertToFormat(QImage::Format_Grayscale8);
    const ZXing::ImageView vista(hoja.constBits(),
                                 hoja.width(),
                                 hoja.height(),
                                 ZXing::ImageFormat::Lum,
                                 int(hoja.bytesPerLine()));
    const ZXing::Result r
        = ZXing::ReadBarcode(vista, ZXing::DecodeHints().setFormats(ZXing::BarcodeFormat::QRCode));
    return r.isValid() ? QString::fromStdWString(r.text()) : QStringLiteral("<sin código>");
}

} // namespace

class TestCfdi : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<Sesion> m_s;

    // Loads xml from the script and evaluates expresion.
    QString lee(const QString &xml, const QString &expresion)
    {
        return lartest::correScript(QStringLiteral("(function() { CfdLoadFromString("
                                                   "Parametro('XML')); return %1; })()")
                                        .arg(expresion),
                                    {},
                                    &m_s->fbDatabase(),
                                    {{QStringLiteral("XML"), xml}});
    }

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.sembrado = true;
        m_e = std::make_unique<lartest::EntornoPrueba>(op);
        m_s = std::make_unique<Sesion>();
        m_e->conectaSesion(*m_s);
        RegistraFuncionesReporte(*m_s);
    }

    void cleanupTestCase() { QuitaFuncionesReporte(); }

    void limpiaValor_data()
    {
        QTest::addColumn<QString>("valor");
        QTest::addColumn<QString>("limpio");
        QTest::newRow("barra") << QStringLiteral("A|B") << QStringLiteral("AB");
        QTest::newRow("salto") << QStringLiteral("LAS\r\n  FLORES") << QStringLiteral("LAS FLORES");
        QTest::newRow("tab y bordes") << QStringLiteral(" \tA \t B\n") << QStringLiteral("A B");
        QTest::newRow("blancos") << QStringLiteral("    ") << QString();
        QTest::newRow("barra sola") << QStringLiteral(" | ") << QString();
        QTest::newRow("uno") << QStringLiteral("x") << QStringLiteral("x");
    }

    void limpiaValor()
    {
        QFETCH(QString, valor);
        QFETCH(QString, limpio);
        QCOMPARE(cfdi::LimpiaValor(valor), limpio);
        QString destino = QStringLiteral("||");
        cfdi::AgregaCampo(valor, destino);
        QCOMPARE(destino,
                 limpio.isEmpty() ? QStringLiteral("||") : QStringLiteral("||") + limpio + u'|');
    }

    // The 3.2 string on each version, and the stamp's, worked out by hand.
    void cadenas_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("cadena");
        QTest::addColumn<QString>("timbre");
        const QString d32 = doc("3.2"), d33 = doc("3.3"), d40 = doc("4.0");
        // The 3.2 document's parts: the stamp 1.0 spells version, selloCFD and
        // noCertificadoSAT in lower case, so they aren't in its string.
        const QString comprobante = QStringLiteral(
            "||3.2|2016-05-10T11:32:45|ingreso|PAGO EN UNA SOLA EXHIBICION|CONTADO|1000.00|"
            "0.00|1.00|MXN|1160.00|01|%1|1234|");
        const QString partes = QStringLiteral(
            "LPA010101AB1|LARVENOS DEL PACIFICO SA DE CV|"
            "AV. ALVARO OBREGON|120|CENTRO|CULIACAN|SINALOA|MEXICO|80000|"
            "BLVD. EMILIANO ZAPATA|55|LAS QUINTAS|CULIACAN|SINALOA|MEXICO|80060|"
            "REGIMEN GENERAL DE LEY PERSONAS MORALES|"
            "GOMP800101XY2|%1|CALLE 5 INTERIOR B|10|LAS FLORES|%2SINALOA|MEXICO|80300|");
        const QString conceptos = QStringLiteral(
            "2|PIEZA|TAL-100|TALADRO AB 1/2\" INDUSTRIAL|300.00|600.00|"
            "1|SERVICIO|INSTALACION|400.00|400.00|16 24 3297 6001234|2016-04-01|MANZANILLO|"
            "123456|");
        const QString timbre32
            = QStringLiteral("||6F3C1A2B-8D4E-4F5A-9B6C-7D8E9F0A1B2C|2016-05-10T11:33:02||");
        const QString normal
            = comprobante.arg(QStringLiteral("CULIACAN, SINALOA"))
              + partes.arg(QStringLiteral("PEDRO GOMEZ MEDINA"), QStringLiteral("NAVOLATO|"));
        QTest::newRow("3.2") << d32
                             << normal + conceptos
                                    + QStringLiteral("0.00|IVA|16.00|160.00|160.00||")
                             << timbre32;
        QTest::newRow("3.3") << d33 << QStringLiteral("||1|MXN|80000||")
                             << QStringLiteral("||1.1|A1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF|"
                                               "2019-08-21T17:05:40|%1|00001000000403258748||")
                                    .arg(atributo(d33, QStringLiteral("SelloCFD")));
        QTest::newRow("4.0") << d40 << QStringLiteral("||MXN|80000||")
                             << QStringLiteral("||1.1|5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E|"
                                               "2024-03-15T10:21:05|%1|00001000000504465028||")
                                    .arg(atributo(d40, QStringLiteral("SelloCFD")));

        const qsizetype c0 = d32.indexOf(u"<cfdi:Conceptos>");
        const qsizetype c1 = d32.indexOf(u"</cfdi:Conceptos>") + 17;
        QTest::newRow("sin conceptos")
            << QString(d32).remove(c0, c1 - c0)
            << normal + QStringLiteral("0.00|IVA|16.00|160.00|160.00||") << timbre32;

        // Retentions and transfers: rows, then their totals; a missing group only
        // leaves its rows out. Values of section 1 and of a node of a section are
        // read back from UTF-8 bytes taken one by one: a proper accent is dropped,
        // a broken one mended; the issuer's own attributes are taken as they are.
        QString otro = d32;
        otro.replace(
            QStringLiteral("<cfdi:Traslados>\n      <cfdi:Traslado impuesto=\"IVA\" tasa=\"16.00\" "
                           "importe=\"160.00\"/>\n    </cfdi:Traslados>"),
            QStringLiteral(
                "<cfdi:Retenciones><cfdi:Retencion impuesto=\"ISR\" importe=\"100.00\"/>"
                "<cfdi:Retencion impuesto=\"IVA\" importe=\"106.67\"/></cfdi:Retenciones>"));
        otro.replace(QStringLiteral("totalImpuestosRetenidos=\"0.00\""),
                     QStringLiteral("totalImpuestosRetenidos=\"206.67\""));
        otro.replace(QStringLiteral("LugarExpedicion=\"CULIACAN, SINALOA\""),
                     QStringLiteral("LugarExpedicion=\"PEÃ‘A BLANCA\""));
        otro.replace(QStringLiteral("municipio=\"NAVOLATO\""),
                     QStringLiteral("municipio=\"NAVOLATÓ\""));
        otro.replace(QStringLiteral("nombre=\"PEDRO GOMEZ MEDINA\""),
                     QStringLiteral("nombre=\"PEDRO GÓMEZ MEDINA\""));
        QTest::newRow("retenciones y acentos")
            << otro
            << comprobante.arg(QStringLiteral("PEÑA BLANCA"))
                   + partes.arg(QStringLiteral("PEDRO GÓMEZ MEDINA"), QString()) + conceptos
                   + QStringLiteral("ISR|100.00|IVA|106.67|206.67|160.00||")
            << timbre32;
    }

    void cadenas()
    {
        QFETCH(QString, xml);
        QFETCH(QString, cadena);
        QFETCH(QString, timbre);
        QCOMPARE(lee(xml, QStringLiteral("CfdGetCadenaOriginal()")), cadena);
        QCOMPARE(lee(xml, QStringLiteral("CfdGetCadenaOriginalTimbre()")), timbre);
        // Rebuilt by each call, not appended to.
        QCOMPARE(lee(xml, QStringLiteral("CfdGetCadenaOriginal() == CfdGetCadenaOriginal()")),
                 QStringLiteral("true"));
    }

    void fallas()
    {
        const QString d32 = doc("3.2");
        const qsizetype i0 = d32.indexOf(u"<cfdi:Impuestos");
        const qsizetype i1 = d32.indexOf(u"</cfdi:Impuestos>") + 17;
        const QString sinImpuestos
            = lee(QString(d32).remove(i0, i1 - i0), QStringLiteral("CfdGetCadenaOriginal()"));
        QVERIFY2(sinImpuestos.startsWith(u"ERROR: ") && sinImpuestos.contains(u"cfdi:Impuestos"),
                 qPrintable(sinImpuestos));

        const QString raiz = lee(QString(d32).replace(QStringLiteral("cfdi:Comprobante"),
                                                      QStringLiteral("cfdi:Retenciones")),
                                 QStringLiteral("CfdGetSello()"));
        QVERIFY2(raiz.endsWith(u"El XML no es un tipo de cfdi válido"), qPrintable(raiz));
        // Names keep their prefix: another prefix is another element.
        const QString prefijo
            = lee(QString(d32).replace(QStringLiteral("cfdi:"), QStringLiteral("cfd:")),
                  QStringLiteral("CfdGetCfdGetVersion()"));
        QVERIFY2(prefijo.endsWith(u"El XML no es un tipo de cfdi válido"), qPrintable(prefijo));

        const QString mal = lee(d32.left(400), QStringLiteral("CfdGetSello()"));
        QVERIFY2(mal.startsWith(u"ERROR: ") && mal.contains(u"XML no se pudo leer"),
                 qPrintable(mal));

        cfdi::Libera();
        const QString sin = lartest::correScript(QStringLiteral("CfdGetSello()"));
        QVERIFY2(sin.startsWith(u"ERROR: "), qPrintable(sin));
    }

    // Each function reads the spelling of the versions it belongs to.
    void valores()
    {
        const QString d32 = doc("3.2"), d33 = doc("3.3"), d40 = doc("4.0");
        QCOMPARE(lee(d32, QStringLiteral("CfdGetCfdGetVersion()")), QStringLiteral("3.2"));
        QCOMPARE(lee(d33, QStringLiteral("'[' + CfdGetCfdGetVersion() + ']'")),
                 QStringLiteral("[]"));
        QCOMPARE(lee(d33, QStringLiteral("CfdGetFormaDePago() + '/' + CfdGetNumParcialidad()")),
                 QStringLiteral("04/04"));
        QCOMPARE(lee(d33, QStringLiteral("CfdGetMetodoDePago()")), QStringLiteral("PUE"));
        QCOMPARE(lee(QString(d33).replace(QStringLiteral("MetodoPago=\"PUE\""),
                                          QStringLiteral("MetodoPago=\"PUE\" NumCtaPago=\"1234\"")),
                     QStringLiteral("CfdGetMetodoDePago() + ' ' + CfdGetNumCtaPago()")),
                 QStringLiteral("PUE/1234 1234"));
        QCOMPARE(lee(d40,
                     QStringLiteral("[CfdGetLugarExpedicion(), CfdGetSerieCert(), "
                                    "CfdGetSerieCertSat(), CfdGetSello() == '%1', "
                                    "CfdGetSelloSat() == '%2'].join(';')")
                         .arg(atributo(d40, QStringLiteral("Sello")),
                              atributo(d40, QStringLiteral("SelloSAT")))),
                 QStringLiteral("80000;30001000000500003416;00001000000504465028;true;true"));
        QCOMPARE(
            lee(d40,
                QStringLiteral("[CfdGetFechaHora().getMonth() + 1, CfdGetFechaHora().getHours(), "
                               "CfdGetFechaHoraTimbrado().getSeconds()].join(';')")),
            QStringLiteral("3;10;5"));
        const QString fecha32 = lee(d32, QStringLiteral("CfdGetFechaHora()"));
        QVERIFY2(fecha32.startsWith(u"ERROR: "), qPrintable(fecha32));

        // Var arguments of the complements, and the address procedures.
        QString donat = d40;
        donat.replace(
            QStringLiteral("</cfdi:Complemento>"),
            QStringLiteral("<donat:Donatarias xmlns:donat=\"http://www.sat.gob.mx/donat\" "
                           "version=\"1.1\" noAutorizacion=\"0123\" "
                           "fechaAutorizacion=\"2015-02-01T00:00:00\" leyenda=\"Este "
                           "comprobante ampara un donativo\"/></cfdi:Complemento>"));
        const QString leeDonat = QStringLiteral(
            "(function() { var n = {value: ''}, f = {value: 'igual'}, l = {value: ''};"
            " CfdGetComplementoDonat(n, f, l);"
            " return [n.value, typeof f.value == 'string' ? f.value : f.value.getFullYear(),"
            " l.value].join(';'); })()");
        QCOMPARE(lee(donat, leeDonat),
                 QStringLiteral("0123;2015;Este comprobante ampara un donativo"));
        QCOMPARE(lee(d40, leeDonat), QStringLiteral(";igual;"));

        QString parcial = d33;
        parcial.replace(QStringLiteral("MetodoPago=\"PUE\""),
                        QStringLiteral("MetodoPago=\"PUE\" FolioFiscalOrig=\"ABCD-1\" "
                                       "SerieFolioFiscalOrig=\"FA\" "
                                       "FechaFolioFiscalOrig=\"2019-07-01T09:00:00\" "
                                       "MontoFolioFiscalOrig=\"2500.50\""));
        QCOMPARE(lee(parcial,
                     QStringLiteral("(function() { var a = {}, b = {}, c = {}, d = {};"
                                    " CfdGetDatosCobroParcialidad(a, b, c, d);"
                                    " return [a.value, b.value, c.value.getDate(), d.value * 2]"
                                    ".join(';'); })()")),
                 QStringLiteral("ABCD-1;FA;1;5001"));
    }

    void qr()
    {
        const QString d40 = doc("4.0");
        cfdi::CfdLoadFromString(d40);
        const QString texto
            = QStringLiteral("?re=LPA010101AB1&rr=GOMP800101XY2&tt=0000001234.560000"
                             "&id=5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E");
        QCOMPARE(cfdi::TextoQR(), texto);
        const QImage imagen = cfdi::CfdGetQRCode();
        QCOMPARE(imagen.size(), QSize(113, 113));
        QCOMPARE(leeQR(imagen), texto);
        // Modules of three pixels from the corner, no quiet zone: the finder pattern's
        // corner is black, and the margin right of the code stays white.
        QCOMPARE(qGray(imagen.pixel(0, 0)), 0);
        QCOMPARE(qGray(imagen.pixel(20, 2)), 0);
        QCOMPARE(qGray(imagen.pixel(112, 112)), 255);

        // Through a script, as a picture element's data.
        const QString png = lee(d40, QStringLiteral("CfdGetQRCode(null)"));
        QImage deScript;
        QVERIFY(deScript.loadFromData(QByteArray::fromBase64(png.toLatin1()), "PNG"));
        QCOMPARE(leeQR(deScript), texto);

        // A 3.2 document has none of the upper-case names: no total, the designed
        // failure; with a Total the ids stay empty.
        const QString d32 = doc("3.2");
        const QString falla = lee(d32, QStringLiteral("CfdGetQRCode(null)"));
        QVERIFY2(falla.startsWith(u"ERROR: ") && falla.contains(u"valor numérico"),
                 qPrintable(falla));
        cfdi::CfdLoadFromString(QString(d32).replace(QStringLiteral("total=\"1160.00\""),
                                                     QStringLiteral("Total=\"1160.00\"")));
        const QString vacio = QStringLiteral(
            "?re=&rr=&tt=0000001160.000000&id=6F3C1A2B-8D4E-4F5A-9B6C-7D8E9F0A1B2C");
        QCOMPARE(cfdi::TextoQR(), vacio);
        QCOMPARE(leeQR(cfdi::CfdGetQRCode()), vacio);
    }

    // Sales documents' XML from USOS_FOLIOS_FISCALES, others' from CFD_RECIBIDOS.
    void metodoDePagoDeDocto()
    {
        QList<int> ventas;
        int entrada = 0;
        {
            fb::Transaction tr(&m_s->fbDatabase());
            fb::Query q(&m_s->fbDatabase(), &tr);
            q.setSql(QStringLiteral("select docto_id from usos_folios_fiscales order by docto_id"));
            for (q.open(); !q.eof(); q.next())
                ventas << q.field(0).toInt();
            q.close();
            q.setSql(QStringLiteral("select docto_id from cfd_recibidos"));
            q.open();
            entrada = q.field(0).toInt();
            q.close();
            tr.commit();
        }
        QCOMPARE(ventas.size(), 3);
        const QString script
            = QStringLiteral("(function() { var m = CfdGetMetodoDePagoFromDocto(%1, '%2', 'X');"
                             " return m + ';' + CfdGetCadenaOriginalTimbre(); })()");
        QCOMPARE(lartest::correScript(script.arg(ventas[0]).arg(u"VE"), {}, &m_s->fbDatabase()),
                 QStringLiteral("01;||6F3C1A2B-8D4E-4F5A-9B6C-7D8E9F0A1B2C|2016-05-10T11:33:02||"));
        // The 3.3 document spells it MetodoPago: the 3.2 name gives nothing.
        QCOMPARE(lartest::correScript(script.arg(ventas[1]).arg(u"PV"), {}, &m_s->fbDatabase())
                     .section(u';', 0, 0),
                 QString());
        QCOMPARE(lartest::correScript(script.arg(entrada).arg(u"CM"), {}, &m_s->fbDatabase())
                     .section(u';', 0, 0),
                 QStringLiteral("01"));
        const QString ninguno
            = lartest::correScript(script.arg(entrada).arg(u"VE"), {}, &m_s->fbDatabase());
        QVERIFY2(ninguno.endsWith(u"No se encontro documento XML."), qPrintable(ninguno));
    }

    // The sample invoice form, printed through the engine: its script reads the
    // stamped XML with the query functions and the values with the CFDI reader.
    void facturaImpresa()
    {
        const int formas = InstalaFormasMuestra(m_s->fbConfig());
        QList<int> ventas;
        int sinCfdi = 0;
        {
            fb::Transaction tr(&m_s->fbDatabase());
            fb::Query q(&m_s->fbDatabase(), &tr);
            q.setSql(QStringLiteral("select docto_id from usos_folios_fiscales order by docto_id"));
            for (q.open(); !q.eof(); q.next())
                ventas << q.field(0).toInt();
            q.close();
            q.setSql(QStringLiteral("select first 1 docto_ve_id from doctos_ve where docto_ve_id "
                                    "not in (select docto_id from usos_folios_fiscales)"));
            q.open();
            sinCfdi = q.field(0).toInt();
            q.close();
            tr.commit();
        }
        QCOMPARE(ventas.size(), 3);
        auto imprime = [&](int docto, reporte::Reporte &r) {
            QString error;
            QVERIFY2(CargaPlantilla(*m_s,
                                    r,
                                    formas,
                                    QStringLiteral("Factura CFDI"),
                                    docto,
                                    QStringLiteral("Factura"),
                                    &error)
                         && r.genera(&error),
                     qPrintable(error));
        };
        auto texto = [](const reporte::Documento &d, const QString &prefijo) {
            QString t;
            for (const reporte::Hoja &h : d.hojas) {
                for (const reporte::Primitiva &p : h.primitivas) {
                    if (p.elemento.startsWith(prefijo))
                        t += p.texto;
                }
            }
            return t;
        };
        auto imagen = [](const reporte::Documento &d) {
            for (const reporte::Hoja &h : d.hojas) {
                for (const reporte::Primitiva &p : h.primitivas) {
                    if (p.elemento == u"qr")
                        return p.imagen;
                }
            }
            return QImage();
        };

        // 4.0: both strings in pieces, the QR read back, and the PDF's text.
        reporte::Reporte r40;
        imprime(ventas[2], r40);
        cfdi::CfdLoadFromString(doc("4.0"));
        QCOMPARE(texto(r40.documento(), QStringLiteral("cadena")), cfdi::CfdGetCadenaOriginal());
        QCOMPARE(texto(r40.documento(), QStringLiteral("timbre")),
                 cfdi::CfdGetCadenaOriginalTimbre());
        QCOMPARE(texto(r40.documento(), QStringLiteral("uuid")),
                 QStringLiteral("Folio fiscal: 5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E"));
        QCOMPARE(texto(r40.documento(), QStringLiteral("metodo")),
                 QStringLiteral("Método de pago: PUE"));
        QCOMPARE(leeQR(imagen(r40.documento())), cfdi::TextoQR());
        QVERIFY(texto(r40.documento(), QStringLiteral("articulo")).size() > 0);
        const QString pdf = lartest::tempDir() + QStringLiteral("/factura.pdf");
        QString error;
        QVERIFY2(reporte::escribePdf(r40.documento(), pdf, &error), qPrintable(error));
        QProcess p;
        p.start(QStringLiteral("pdftotext"), {pdf, QStringLiteral("-")});
        QVERIFY(p.waitForFinished());
        const QString enPdf = QString::fromUtf8(p.readAllStandardOutput());
        QVERIFY2(enPdf.contains(u"5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E"), qPrintable(enPdf));
        QVERIFY(enPdf.contains(u"||MXN|80000||"));

        // 3.2: its method of payment by the 3.2 name, its long string, no QR.
        reporte::Reporte r32;
        imprime(ventas[0], r32);
        cfdi::CfdLoadFromString(doc("3.2"));
        QCOMPARE(texto(r32.documento(), QStringLiteral("cadena")), cfdi::CfdGetCadenaOriginal());
        QCOMPARE(texto(r32.documento(), QStringLiteral("metodo")),
                 QStringLiteral("Método de pago: 01"));
        QVERIFY(imagen(r32.documento()).isNull());

        // A document without a CFDI prints without that part.
        reporte::Reporte r;
        imprime(sinCfdi, r);
        QCOMPARE(texto(r.documento(), QStringLiteral("sinCfdi")),
                 QStringLiteral("Documento sin comprobante fiscal digital."));
        QCOMPARE(texto(r.documento(), QStringLiteral("uuid")), QString());
    }
};

LAR_TEST_MAIN(TestCfdi)
#include "tst_cfdi.moc"
