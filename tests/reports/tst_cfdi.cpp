// The CFDI reader on stamped invoices of each version written as SAT issues them,
// called from JavaScript through the report engine: original strings checked
// against values worked out by hand, the values of each function, the QR read back
// with zxing's reader, and the payment method of a document of the stand-in.
#include "ayudareportes.h"
#include "core/sesion.h"
#include "reports/cfdi.h"
#include "reports/formas.h"
#include "reports/funcionesreporte.h"
#include "scriptprueba.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"

#include <QImage>
#include <QRegularExpression>

#include <ZXing/ReadBarcode.h>

using namespace Qt::StringLiterals;
using namespace lar;

namespace {

QString doc(const char *version)
{
    return microsip::documentoCfdi(QString::fromLatin1(version));
}

QString atributo(const QString &xml, const QString &nombre)
{
    const QRegularExpression re(u"\\s%1=\"([^\"]*)\""_s.arg(nombre));
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
    return r.isValid() ? QString::fromStdWString(r.text()) : u"<sin código>"_s;
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
        return lartest::correScript(u"(function() { CfdLoadFromString("
                                    u"Parametro('XML')); return %1; })()"_s.arg(expresion),
                                    {},
                                    &m_s->fbDatabase(),
                                    {{u"XML"_s, xml}});
    }

    // The sales documents with a stamped XML.
    QStringList timbradas()
    {
        return lartest::filas(m_s->fbDatabase(),
                              u"select docto_id from usos_folios_fiscales order by docto_id"_s);
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
        QTest::newRow("barra") << u"A|B"_s << u"AB"_s;
        QTest::newRow("salto") << u"LAS\r\n  FLORES"_s << u"LAS FLORES"_s;
        QTest::newRow("tab y bordes") << u" \tA \t B\n"_s << u"A B"_s;
        QTest::newRow("blancos") << u"    "_s << QString();
        QTest::newRow("barra sola") << u" | "_s << QString();
        QTest::newRow("uno") << u"x"_s << u"x"_s;
    }

    void limpiaValor()
    {
        QFETCH(QString, valor);
        QFETCH(QString, limpio);
        QCOMPARE(cfdi::LimpiaValor(valor), limpio);
        QString destino = u"||"_s;
        cfdi::AgregaCampo(valor, destino);
        QCOMPARE(destino, limpio.isEmpty() ? u"||"_s : u"||"_s + limpio + u'|');
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
        const QString comprobante
            = u"||3.2|2016-05-10T11:32:45|ingreso|PAGO EN UNA SOLA EXHIBICION|CONTADO|1000.00|"
              u"0.00|1.00|MXN|1160.00|01|%1|1234|"_s;
        const QString partes
            = u"LPA010101AB1|LARVENOS DEL PACIFICO SA DE CV|"
              u"AV. ALVARO OBREGON|120|CENTRO|CULIACAN|SINALOA|MEXICO|80000|"
              u"BLVD. EMILIANO ZAPATA|55|LAS QUINTAS|CULIACAN|SINALOA|MEXICO|80060|"
              u"REGIMEN GENERAL DE LEY PERSONAS MORALES|"
              u"GOMP800101XY2|%1|CALLE 5 INTERIOR B|10|LAS FLORES|%2SINALOA|MEXICO|80300|"_s;
        const QString conceptos
            = u"2|PIEZA|TAL-100|TALADRO AB 1/2\" INDUSTRIAL|300.00|600.00|"
              u"1|SERVICIO|INSTALACION|400.00|400.00|16 24 3297 6001234|2016-04-01|MANZANILLO|"
              u"123456|"_s;
        const QString timbre32 = u"||6F3C1A2B-8D4E-4F5A-9B6C-7D8E9F0A1B2C|2016-05-10T11:33:02||"_s;
        const QString normal = comprobante.arg(u"CULIACAN, SINALOA"_s)
                               + partes.arg(u"PEDRO GOMEZ MEDINA"_s, u"NAVOLATO|"_s);
        QTest::newRow("3.2") << d32 << normal + conceptos + u"0.00|IVA|16.00|160.00|160.00||"_s
                             << timbre32;
        QTest::newRow("3.3") << d33 << u"||1|MXN|80000||"_s
                             << u"||1.1|A1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF|"
                                u"2019-08-21T17:05:40|%1|00001000000403258748||"_s.arg(
                                    atributo(d33, u"SelloCFD"_s));
        QTest::newRow("4.0") << d40 << u"||MXN|80000||"_s
                             << u"||1.1|5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E|"
                                u"2024-03-15T10:21:05|%1|00001000000504465028||"_s.arg(
                                    atributo(d40, u"SelloCFD"_s));

        const qsizetype c0 = d32.indexOf(u"<cfdi:Conceptos>");
        const qsizetype c1 = d32.indexOf(u"</cfdi:Conceptos>") + 17;
        QTest::newRow("sin conceptos") << QString(d32).remove(c0, c1 - c0)
                                       << normal + u"0.00|IVA|16.00|160.00|160.00||"_s << timbre32;

        // Retentions and transfers: rows, then their totals; a missing group only
        // leaves its rows out. Values of section 1 and of a node of a section are
        // read back from UTF-8 bytes taken one by one: a proper accent is dropped,
        // a broken one mended; the issuer's own attributes are taken as they are.
        QString otro = d32;
        otro.replace(u"<cfdi:Traslados>\n      <cfdi:Traslado impuesto=\"IVA\" tasa=\"16.00\" "
                     u"importe=\"160.00\"/>\n    </cfdi:Traslados>"_s,
                     u"<cfdi:Retenciones><cfdi:Retencion impuesto=\"ISR\" importe=\"100.00\"/>"
                     u"<cfdi:Retencion impuesto=\"IVA\" importe=\"106.67\"/></cfdi:Retenciones>"_s);
        otro.replace(u"totalImpuestosRetenidos=\"0.00\""_s,
                     u"totalImpuestosRetenidos=\"206.67\""_s);
        otro.replace(u"LugarExpedicion=\"CULIACAN, SINALOA\""_s,
                     u"LugarExpedicion=\"PEÃ‘A BLANCA\""_s);
        otro.replace(u"municipio=\"NAVOLATO\""_s, u"municipio=\"NAVOLATÓ\""_s);
        otro.replace(u"nombre=\"PEDRO GOMEZ MEDINA\""_s, u"nombre=\"PEDRO GÓMEZ MEDINA\""_s);
        QTest::newRow("retenciones y acentos")
            << otro
            << comprobante.arg(u"PEÑA BLANCA"_s) + partes.arg(u"PEDRO GÓMEZ MEDINA"_s, QString())
                   + conceptos + u"ISR|100.00|IVA|106.67|206.67|160.00||"_s
            << timbre32;
    }

    void cadenas()
    {
        QFETCH(QString, xml);
        QFETCH(QString, cadena);
        QFETCH(QString, timbre);
        QCOMPARE(lee(xml, u"CfdGetCadenaOriginal()"_s), cadena);
        QCOMPARE(lee(xml, u"CfdGetCadenaOriginalTimbre()"_s), timbre);
        // Rebuilt by each call, not appended to.
        QCOMPARE(lee(xml, u"CfdGetCadenaOriginal() == CfdGetCadenaOriginal()"_s), u"true"_s);
    }

    void fallas()
    {
        const QString d32 = doc("3.2");
        const qsizetype i0 = d32.indexOf(u"<cfdi:Impuestos");
        const qsizetype i1 = d32.indexOf(u"</cfdi:Impuestos>") + 17;
        const QString sinImpuestos
            = lee(QString(d32).remove(i0, i1 - i0), u"CfdGetCadenaOriginal()"_s);
        QVERIFY2(sinImpuestos.startsWith(u"ERROR: ") && sinImpuestos.contains(u"cfdi:Impuestos"),
                 qPrintable(sinImpuestos));

        const QString raiz = lee(QString(d32).replace(u"cfdi:Comprobante"_s, u"cfdi:Retenciones"_s),
                                 u"CfdGetSello()"_s);
        QVERIFY2(raiz.endsWith(u"El XML no es un tipo de cfdi válido"), qPrintable(raiz));
        // Names keep their prefix: another prefix is another element.
        const QString prefijo
            = lee(QString(d32).replace(u"cfdi:"_s, u"cfd:"_s), u"CfdGetCfdGetVersion()"_s);
        QVERIFY2(prefijo.endsWith(u"El XML no es un tipo de cfdi válido"), qPrintable(prefijo));

        const QString mal = lee(d32.left(400), u"CfdGetSello()"_s);
        QVERIFY2(mal.startsWith(u"ERROR: ") && mal.contains(u"XML no se pudo leer"),
                 qPrintable(mal));

        cfdi::Libera();
        const QString sin = lartest::correScript(u"CfdGetSello()"_s);
        QVERIFY2(sin.startsWith(u"ERROR: "), qPrintable(sin));
    }

    // Each function reads the spelling of the versions it belongs to.
    void valores()
    {
        const QString d32 = doc("3.2"), d33 = doc("3.3"), d40 = doc("4.0");
        QCOMPARE(lee(d32, u"CfdGetCfdGetVersion()"_s), u"3.2"_s);
        QCOMPARE(lee(d33, u"'[' + CfdGetCfdGetVersion() + ']'"_s), u"[]"_s);
        QCOMPARE(lee(d33, u"CfdGetFormaDePago() + '/' + CfdGetNumParcialidad()"_s), u"04/04"_s);
        QCOMPARE(lee(d33, u"CfdGetMetodoDePago()"_s), u"PUE"_s);
        QCOMPARE(lee(QString(d33).replace(u"MetodoPago=\"PUE\""_s,
                                          u"MetodoPago=\"PUE\" NumCtaPago=\"1234\""_s),
                     u"CfdGetMetodoDePago() + ' ' + CfdGetNumCtaPago()"_s),
                 u"PUE/1234 1234"_s);
        QCOMPARE(lee(d40,
                     u"[CfdGetLugarExpedicion(), CfdGetSerieCert(), "
                     u"CfdGetSerieCertSat(), CfdGetSello() == '%1', "
                     u"CfdGetSelloSat() == '%2'].join(';')"_s.arg(atributo(d40, u"Sello"_s),
                                                                  atributo(d40, u"SelloSAT"_s))),
                 u"80000;30001000000500003416;00001000000504465028;true;true"_s);
        QCOMPARE(lee(d40,
                     u"[CfdGetFechaHora().getMonth() + 1, CfdGetFechaHora().getHours(), "
                     u"CfdGetFechaHoraTimbrado().getSeconds()].join(';')"_s),
                 u"3;10;5"_s);
        const QString fecha32 = lee(d32, u"CfdGetFechaHora()"_s);
        QVERIFY2(fecha32.startsWith(u"ERROR: "), qPrintable(fecha32));

        // Var arguments of the complements, and the address procedures.
        QString donat = d40;
        donat.replace(u"</cfdi:Complemento>"_s,
                      u"<donat:Donatarias xmlns:donat=\"http://www.sat.gob.mx/donat\" "
                      u"version=\"1.1\" noAutorizacion=\"0123\" "
                      u"fechaAutorizacion=\"2015-02-01T00:00:00\" leyenda=\"Este "
                      u"comprobante ampara un donativo\"/></cfdi:Complemento>"_s);
        const QString leeDonat
            = u"(function() { var n = {value: ''}, f = {value: 'igual'}, l = {value: ''};"
              u" CfdGetComplementoDonat(n, f, l);"
              u" return [n.value, typeof f.value == 'string' ? f.value : f.value.getFullYear(),"
              u" l.value].join(';'); })()"_s;
        QCOMPARE(lee(donat, leeDonat), u"0123;2015;Este comprobante ampara un donativo"_s);
        QCOMPARE(lee(d40, leeDonat), u";igual;"_s);

        QString parcial = d33;
        parcial.replace(u"MetodoPago=\"PUE\""_s,
                        u"MetodoPago=\"PUE\" FolioFiscalOrig=\"ABCD-1\" "
                        u"SerieFolioFiscalOrig=\"FA\" "
                        u"FechaFolioFiscalOrig=\"2019-07-01T09:00:00\" "
                        u"MontoFolioFiscalOrig=\"2500.50\""_s);
        QCOMPARE(lee(parcial,
                     u"(function() { var a = {}, b = {}, c = {}, d = {};"
                     u" CfdGetDatosCobroParcialidad(a, b, c, d);"
                     u" return [a.value, b.value, c.value.getDate(), d.value * 2]"
                     u".join(';'); })()"_s),
                 u"ABCD-1;FA;1;5001"_s);
    }

    void qr()
    {
        const QString d40 = doc("4.0");
        cfdi::CfdLoadFromString(d40);
        const QString texto = u"?re=LPA010101AB1&rr=GOMP800101XY2&tt=0000001234.560000"
                              u"&id=5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E"_s;
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
        const QString png = lee(d40, u"CfdGetQRCode(null)"_s);
        QImage deScript;
        QVERIFY(deScript.loadFromData(QByteArray::fromBase64(png.toLatin1()), "PNG"));
        QCOMPARE(leeQR(deScript), texto);

        // A 3.2 document has none of the upper-case names: no total, the designed
        // failure; with a Total the ids stay empty.
        const QString d32 = doc("3.2");
        const QString falla = lee(d32, u"CfdGetQRCode(null)"_s);
        QVERIFY2(falla.startsWith(u"ERROR: ") && falla.contains(u"valor numérico"),
                 qPrintable(falla));
        cfdi::CfdLoadFromString(
            QString(d32).replace(u"total=\"1160.00\""_s, u"Total=\"1160.00\""_s));
        const QString vacio
            = u"?re=&rr=&tt=0000001160.000000&id=6F3C1A2B-8D4E-4F5A-9B6C-7D8E9F0A1B2C"_s;
        QCOMPARE(cfdi::TextoQR(), vacio);
        QCOMPARE(leeQR(cfdi::CfdGetQRCode()), vacio);
    }

    // Sales documents' XML from USOS_FOLIOS_FISCALES, others' from CFD_RECIBIDOS.
    void metodoDePagoDeDocto()
    {
        const QStringList ventas = timbradas();
        QCOMPARE(ventas.size(), 3);
        const QString entrada
            = lartest::filas(m_s->fbDatabase(), u"select docto_id from cfd_recibidos"_s).value(0);
        // The method of payment, then the stamp's string of the document read.
        auto metodo = [&](const QString &docto, const QString &sistema) {
            return lartest::correScript(
                u"(function() { var m = CfdGetMetodoDePagoFromDocto(%1, '%2', 'X');"
                u" return m + ';' + CfdGetCadenaOriginalTimbre(); })()"_s.arg(docto, sistema),
                {},
                &m_s->fbDatabase());
        };
        QCOMPARE(metodo(ventas[0], u"VE"_s),
                 u"01;||6F3C1A2B-8D4E-4F5A-9B6C-7D8E9F0A1B2C|2016-05-10T11:33:02||"_s);
        // The 3.3 document spells it MetodoPago: the 3.2 name gives nothing.
        QCOMPARE(metodo(ventas[1], u"PV"_s).section(u';', 0, 0), QString());
        QCOMPARE(metodo(entrada, u"CM"_s).section(u';', 0, 0), u"01"_s);
        const QString ninguno = metodo(entrada, u"VE"_s);
        QVERIFY2(ninguno.endsWith(u"No se encontro documento XML."), qPrintable(ninguno));
    }

    // The sample invoice form, printed through the engine: its script reads the
    // stamped XML with the query functions and the values with the CFDI reader.
    void facturaImpresa()
    {
        const int formas = InstalaFormasMuestra(m_s->fbConfig());
        const QStringList ventas = timbradas();
        QCOMPARE(ventas.size(), 3);
        const int sinCfdi = lartest::valor(m_s->fbDatabase(),
                                           u"select first 1 docto_ve_id from doctos_ve where "
                                           u"docto_ve_id not in (select docto_id from "
                                           u"usos_folios_fiscales)"_s)
                                .toInt();
        auto imprime = [&](int docto, reporte::Reporte &r) {
            QString error;
            QVERIFY2(CargaPlantilla(*m_s, r, formas, u"Factura CFDI"_s, docto, u"Factura"_s, &error)
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
        imprime(ventas[2].toInt(), r40);
        cfdi::CfdLoadFromString(doc("4.0"));
        QCOMPARE(texto(r40.documento(), u"cadena"_s), cfdi::CfdGetCadenaOriginal());
        QCOMPARE(texto(r40.documento(), u"timbre"_s), cfdi::CfdGetCadenaOriginalTimbre());
        QCOMPARE(texto(r40.documento(), u"uuid"_s),
                 u"Folio fiscal: 5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E"_s);
        QCOMPARE(texto(r40.documento(), u"metodo"_s), u"Método de pago: PUE"_s);
        QCOMPARE(leeQR(imagen(r40.documento())), cfdi::TextoQR());
        QVERIFY(texto(r40.documento(), u"articulo"_s).size() > 0);
        const QString pdf = lartest::tempDir() + u"/factura.pdf"_s;
        QString error;
        QVERIFY2(reporte::escribePdf(r40.documento(), pdf, &error), qPrintable(error));
        const QString enPdf = lartest::textoPdf(pdf);
        QVERIFY2(enPdf.contains(u"5E2D1C0B-3A49-4B8C-9D7E-6F5A4B3C2D1E"), qPrintable(enPdf));
        QVERIFY(enPdf.contains(u"||MXN|80000||"));

        // 3.2: its method of payment by the 3.2 name, its long string, no QR.
        reporte::Reporte r32;
        imprime(ventas[0].toInt(), r32);
        cfdi::CfdLoadFromString(doc("3.2"));
        QCOMPARE(texto(r32.documento(), u"cadena"_s), cfdi::CfdGetCadenaOriginal());
        QCOMPARE(texto(r32.documento(), u"metodo"_s), u"Método de pago: 01"_s);
        QVERIFY(imagen(r32.documento()).isNull());

        // A document without a CFDI prints without that part.
        reporte::Reporte r;
        imprime(sinCfdi, r);
        QCOMPARE(texto(r.documento(), u"sinCfdi"_s),
                 u"Documento sin comprobante fiscal digital."_s);
        QCOMPARE(texto(r.documento(), u"uuid"_s), QString());
    }
};

LAR_TEST_MAIN(TestCfdi)
#include "tst_cfdi.moc"
