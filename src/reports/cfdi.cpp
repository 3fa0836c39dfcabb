#include "cfdi.h"

#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/win1252.h"
#include "funcionesreporte.h"
#include "toolkit/displayformat.h"

#include <QBuffer>
#include <QDomDocument>
#include <QPainter>
#include <QStringDecoder>

#include <ZXing/BarcodeFormat.h>
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

#include <memory>

namespace lar::cfdi {

using reporte::FuncionScript;

namespace {

// The process-wide state of the reader, shared by every report.
std::shared_ptr<QDomDocument> CfdXml;
QString CadenaCfd;
QString CadenaTimbre;

const QStringList &atributosDomicilio()
{
    static const QStringList a{QStringLiteral("calle"),
                               QStringLiteral("noExterior"),
                               QStringLiteral("noInterior"),
                               QStringLiteral("colonia"),
                               QStringLiteral("localidad"),
                               QStringLiteral("referencia"),
                               QStringLiteral("municipio"),
                               QStringLiteral("estado"),
                               QStringLiteral("pais"),
                               QStringLiteral("codigoPostal")};
    return a;
}

// The first direct child element of that exact name.
QDomElement hijo(const QDomNode &padre, const QString &nombre)
{
    for (QDomNode n = padre.firstChild(); !n.isNull(); n = n.nextSibling()) {
        if (n.isElement() && n.nodeName() == nombre)
            return n.toElement();
    }
    return {};
}

QDomElement comprobante()
{
    if (!CfdXml)
        throw fb::Error(QStringLiteral("No se ha cargado un documento XML."));
    const QDomElement c = hijo(*CfdXml, QStringLiteral("cfdi:Comprobante"));
    if (c.isNull())
        throw fb::Error(QStringLiteral("El XML no es un tipo de cfdi válido"));
    return c;
}

// Undoes a document whose UTF-8 bytes arrived as single characters: the text is
// narrowed to Windows-1252 and read as UTF-8. Bytes that aren't UTF-8 give nothing.
QString comoUtf8(const QString &valor)
{
    if (valor.isEmpty())
        return valor;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString r = utf8(fb::toWin1252(valor));
    return utf8.hasError() ? QString() : r;
}

void agregaConceptos(const QDomElement &c)
{
    const QDomElement conceptos = hijo(c, QStringLiteral("cfdi:Conceptos"));
    for (QDomNode n = conceptos.firstChild(); !n.isNull(); n = n.nextSibling()) {
        if (!n.isElement())
            continue;
        const QDomElement concepto = n.toElement();
        for (const char16_t *a : {u"cantidad",
                                  u"unidad",
                                  u"noIdentificacion",
                                  u"descripcion",
                                  u"valorUnitario",
                                  u"importe"})
            AgregaCampo(concepto.attribute(QString::fromUtf16(a)), CadenaCfd);
        for (QDomNode m = concepto.firstChild(); !m.isNull(); m = m.nextSibling()) {
            if (!m.isElement() || m.nodeName() != u"cfdi:InformacionAduanera")
                continue;
            const QDomElement ad = m.toElement();
            AgregaCampo(ad.attribute(QStringLiteral("numero")), CadenaCfd);
            AgregaCampo(ad.attribute(QStringLiteral("fecha")), CadenaCfd);
            AgregaCampo(ad.attribute(QStringLiteral("aduana")), CadenaCfd);
        }
        AgregaCampo(hijo(concepto, QStringLiteral("cfdi:CuentaPredial"))
                        .attribute(QStringLiteral("numero")),
                    CadenaCfd);
    }
}

void agregaImpuestos(const QDomElement &c)
{
    const QDomElement impuestos = hijo(c, QStringLiteral("cfdi:Impuestos"));
    if (impuestos.isNull()) {
        throw fb::Error(
            QStringLiteral("El CFDI no tiene el nodo cfdi:Impuestos que pide su cadena original."));
    }
    auto filas = [&](const QString &grupo, const QStringList &atributos) {
        const QDomElement g = hijo(impuestos, grupo);
        for (QDomNode n = g.firstChild(); !n.isNull(); n = n.nextSibling()) {
            if (!n.isElement())
                continue;
            for (const QString &a : atributos)
                AgregaCampo(n.toElement().attribute(a), CadenaCfd);
        }
    };
    filas(QStringLiteral("cfdi:Retenciones"),
          {QStringLiteral("impuesto"), QStringLiteral("importe")});
    AgregaCampo(impuestos.attribute(QStringLiteral("totalImpuestosRetenidos")), CadenaCfd);
    filas(QStringLiteral("cfdi:Traslados"),
          {QStringLiteral("impuesto"), QStringLiteral("tasa"), QStringLiteral("importe")});
    AgregaCampo(impuestos.attribute(QStringLiteral("totalImpuestosTrasladados")), CadenaCfd);
}

QDateTime fechaIso(const QString &texto)
{
    const QDateTime d = QDateTime::fromString(texto.trimmed(), Qt::ISODate);
    if (!d.isValid())
        throw fb::Error(QStringLiteral("'%1' no es una fecha y hora ISO 8601 válida.").arg(texto));
    return d;
}

QVariant &arg(QVariantList &a, int i)
{
    while (a.size() <= i)
        a.append(QVariant());
    return a[i];
}

QString textoFuncion(const QString &atributo, int seccion, const QString &nodo = {})
{
    return LeeAtributo(atributo, seccion, nodo);
}

} // namespace

void CfdLoadFromString(const QString &xml)
{
    auto doc = std::make_shared<QDomDocument>();
    QString mensaje;
    int linea = 0, columna = 0;
    // No namespace processing: names keep their prefixes, as the lookups expect.
    if (!doc->setContent(xml, false, &mensaje, &linea, &columna)) {
        throw fb::Error(QStringLiteral("El XML no se pudo leer (línea %1, columna %2): %3")
                            .arg(linea)
                            .arg(columna)
                            .arg(mensaje));
    }
    CfdXml = std::move(doc);
}

void Libera()
{
    CfdXml.reset();
    CadenaCfd.clear();
    CadenaTimbre.clear();
}

QString LeeAtributo(const QString &atributo, int seccion, const QString &nodo)
{
    const QDomElement c = comprobante();
    auto deSeccion = [&](const QString &nombre) {
        const QDomElement e = hijo(c, nombre);
        if (nodo.isEmpty())
            return e.attribute(atributo);
        return comoUtf8(hijo(e, nodo).attribute(atributo));
    };
    switch (seccion) {
    case 1:
        return comoUtf8(c.attribute(atributo));
    case 2:
        return deSeccion(QStringLiteral("cfdi:Emisor"));
    case 3:
        return deSeccion(QStringLiteral("cfdi:Receptor"));
    case 5:
        return deSeccion(QStringLiteral("cfdi:Impuestos"));
    case 6:
        return deSeccion(QStringLiteral("cfdi:Complemento"));
    case 8:
        agregaConceptos(c);
        return {};
    case 9:
        agregaImpuestos(c);
        return {};
    default:
        return {};
    }
}

QString LimpiaValor(const QString &valor)
{
    QString v = valor;
    v.remove(u'|');
    v.replace(u'\r', u' ').replace(u'\n', u' ').replace(u'\t', u' ');
    v = v.trimmed();
    QString r;
    r.reserve(v.size());
    for (const QChar ch : std::as_const(v)) {
        if (ch == u'\n' || ch == u'\r' || ch == u' ') {
            if (!r.endsWith(u' '))
                r += u' ';
        } else {
            r += ch;
        }
    }
    while (r.size() > 1 && r.endsWith(u' '))
        r.chop(1);
    return r.trimmed();
}

void AgregaCampo(const QString &valor, QString &destino)
{
    const QString v = LimpiaValor(valor);
    if (v.isEmpty())
        return;
    destino += v;
    destino += u'|';
}

QString CfdGetCadenaOriginal()
{
    CadenaCfd = QStringLiteral("||");
    for (const char16_t *a : {u"version",
                              u"fecha",
                              u"tipoDeComprobante",
                              u"formaDePago",
                              u"condicionesDePago",
                              u"subTotal",
                              u"descuento",
                              u"TipoCambio",
                              u"Moneda",
                              u"total",
                              u"metodoDePago",
                              u"LugarExpedicion",
                              u"NumCtaPago",
                              u"FolioFiscalOrig",
                              u"SerieFolioFiscalOrig",
                              u"FechaFolioFiscalOrig",
                              u"MontoFolioFiscalOrig"})
        AgregaCampo(LeeAtributo(QString::fromUtf16(a), 1), CadenaCfd);

    AgregaCampo(LeeAtributo(QStringLiteral("rfc"), 2), CadenaCfd);
    AgregaCampo(LeeAtributo(QStringLiteral("nombre"), 2), CadenaCfd);
    for (const QString &a : atributosDomicilio())
        AgregaCampo(LeeAtributo(a, 2, QStringLiteral("cfdi:DomicilioFiscal")), CadenaCfd);
    for (const QString &a : atributosDomicilio())
        AgregaCampo(LeeAtributo(a, 2, QStringLiteral("cfdi:ExpedidoEn")), CadenaCfd);
    AgregaCampo(LeeAtributo(QStringLiteral("Regimen"), 2, QStringLiteral("cfdi:RegimenFiscal")),
                CadenaCfd);

    AgregaCampo(LeeAtributo(QStringLiteral("rfc"), 3), CadenaCfd);
    AgregaCampo(LeeAtributo(QStringLiteral("nombre"), 3), CadenaCfd);
    for (const QString &a : atributosDomicilio())
        AgregaCampo(LeeAtributo(a, 3, QStringLiteral("cfdi:Domicilio")), CadenaCfd);

    LeeAtributo(QString(), 8);
    LeeAtributo(QString(), 9);
    CadenaCfd += u'|';
    return CadenaCfd;
}

QString CfdGetCadenaOriginalTimbre()
{
    CadenaTimbre = QStringLiteral("||");
    for (const char16_t *a :
         {u"Version", u"UUID", u"FechaTimbrado", u"SelloCFD", u"NoCertificadoSAT"}) {
        AgregaCampo(
            LeeAtributo(QString::fromUtf16(a), 6, QStringLiteral("tfd:TimbreFiscalDigital")),
            CadenaTimbre);
    }
    CadenaTimbre += u'|';
    return CadenaTimbre;
}

QString TextoQR()
{
    const QString total = LeeAtributo(QStringLiteral("Total"), 1);
    return QStringLiteral("?re=") + LeeAtributo(QStringLiteral("Rfc"), 2) + QStringLiteral("&rr=")
           + LeeAtributo(QStringLiteral("Rfc"), 3) + QStringLiteral("&tt=")
           + formatFloat(QStringLiteral("0000000000.000000"), TextoANumero(total))
           + QStringLiteral("&id=")
           + LeeAtributo(QStringLiteral("UUID"), 6, QStringLiteral("tfd:TimbreFiscalDigital"));
}

QImage CfdGetQRCode()
{
    const QString texto = TextoQR();
    ZXing::MultiFormatWriter escritor(ZXing::BarcodeFormat::QRCode);
    escritor.setMargin(0);
    const ZXing::BitMatrix m = escritor.encode(texto.toStdWString(), 0, 0);

    QImage modulos(m.width(), m.height(), QImage::Format_RGB32);
    for (int y = 0; y < m.height(); ++y) {
        for (int x = 0; x < m.width(); ++x)
            modulos.setPixel(x, y, m.get(x, y) ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
    }
    QImage imagen(113, 113, QImage::Format_RGB32);
    imagen.fill(Qt::white);
    QPainter p(&imagen);
    p.drawImage(QRect(0, 0, modulos.width() * 3, modulos.height() * 3), modulos);
    p.end();
    return imagen;
}

QString CfdGetMetodoDePagoFromDocto(Sesion &s, int doctoId, const QString &claveSistema)
{
    const bool propio = claveSistema == u"VE" || claveSistema == u"PV" || claveSistema == u"CC";
    fb::Query &q = s.Query();
    s.TransInicia();
    q.close();
    q.setSql((propio ? QStringLiteral("SELECT XML FROM USOS_FOLIOS_FISCALES WHERE docto_id=")
                     : QStringLiteral("SELECT XML FROM cfd_recibidos WHERE docto_id="))
             + QString::number(doctoId));
    q.open();
    const bool sinXml = q.eof() || q.field(0).isNull();
    const QString xml = sinXml ? QString() : q.field(0).toString();
    q.close();
    if (sinXml)
        throw fb::Error(QStringLiteral("No se encontro documento XML."));
    CfdLoadFromString(xml);
    return LeeAtributo(QStringLiteral("metodoDePago"), 1);
}

QList<FuncionScript> FuncionesCfd(Sesion &s)
{
    Sesion *sesion = &s;
    const QString cadenas = CategoriaCadenas.toString();
    const QString fechas = CategoriaFechaHora.toString();
    const QString msg = CategoriaCfdMsg.toString();
    auto texto = [](const QString &atributo, int seccion, const QString &nodo = {}) {
        return [=](QVariantList &, QVariant &r) {
            r = textoFuncion(atributo, seccion, nodo);
        };
    };
    auto domicilio = [](const QString &nodo) {
        return [=](QVariantList &a, QVariant &) {
            for (int i = 0; i < atributosDomicilio().size(); ++i)
                arg(a, i) = LeeAtributo(atributosDomicilio().at(i), 2, nodo);
        };
    };
    const QString tfd = QStringLiteral("tfd:TimbreFiscalDigital");
    const QString firmaDomicilio = QStringLiteral(
        "(Calle, NoExterior, NoInterior, Colonia, Localidad, Referencia, Municipio, Estado, "
        "Pais, CodigoPostal: string);");

    return {
        {QStringLiteral("CfdLoadFromString"),
         cadenas,
         QStringLiteral("procedure CfdLoadFromString(XmlString: string);"),
         [](QVariantList &a, QVariant &) {
             CfdLoadFromString(arg(a, 0).toString());
         }},
        {QStringLiteral("CfdGetCadenaOriginal"),
         cadenas,
         QStringLiteral("function CfdGetCadenaOriginal: string;"),
         [](QVariantList &, QVariant &r) {
             r = CfdGetCadenaOriginal();
         }},
        {QStringLiteral("CfdGetCadenaOriginalTimbre"),
         cadenas,
         QStringLiteral("function CfdGetCadenaOriginalTimbre: string;"),
         [](QVariantList &, QVariant &r) {
             r = CfdGetCadenaOriginalTimbre();
         }},
        {QStringLiteral("CfdGetCfdGetVersion"),
         cadenas,
         QStringLiteral("function CfdGetCfdGetVersion: string;"),
         texto(QStringLiteral("version"), 1)},
        {QStringLiteral("CfdGetFechaHora"),
         fechas,
         QStringLiteral("function CfdGetFechaHora: TDateTime;"),
         [](QVariantList &, QVariant &r) {
             r = fechaIso(LeeAtributo(QStringLiteral("Fecha"), 1));
         }},
        {QStringLiteral("CfdGetFormaDePago"),
         cadenas,
         QStringLiteral("function CfdGetFormaDePago: string;"),
         texto(QStringLiteral("FormaPago"), 1)},
        // Registered to the payment form's function, as the design has it.
        {QStringLiteral("CfdGetNumParcialidad"),
         cadenas,
         QStringLiteral("function CfdGetFormaDePago: string;"),
         texto(QStringLiteral("FormaPago"), 1)},
        {QStringLiteral("CfdGetLugarExpedicion"),
         cadenas,
         QStringLiteral("function CfdGetLugarExpedicion: string;"),
         texto(QStringLiteral("LugarExpedicion"), 1)},
        {QStringLiteral("CfdGetMetodoDePago"),
         cadenas,
         QStringLiteral("function CfdGetMetodoDePago: string;"),
         [](QVariantList &, QVariant &r) {
             QString m = LeeAtributo(QStringLiteral("MetodoPago"), 1);
             const QString cuenta = LeeAtributo(QStringLiteral("NumCtaPago"), 1);
             if (!cuenta.isEmpty())
                 m += u'/' + cuenta;
             r = m;
         }},
        {QStringLiteral("CfdGetNumCtaPago"),
         cadenas,
         QStringLiteral("function CfdGetNumCtaPago: string;"),
         texto(QStringLiteral("NumCtaPago"), 1)},
        {QStringLiteral("CfdGetSello"),
         cadenas,
         QStringLiteral("function CfdGetSello: string;"),
         texto(QStringLiteral("Sello"), 1)},
        {QStringLiteral("CfdGetSerieCert"),
         cadenas,
         QStringLiteral("function CfdGetSerieCert: string;"),
         texto(QStringLiteral("NoCertificado"), 1)},
        {QStringLiteral("CfdGetSelloSat"),
         cadenas,
         QStringLiteral("function CfdGetSelloSat: string;"),
         texto(QStringLiteral("SelloSAT"), 6, tfd)},
        {QStringLiteral("CfdGetSerieCertSat"),
         cadenas,
         QStringLiteral("function CfdGetSerieCertSat: string;"),
         texto(QStringLiteral("NoCertificadoSAT"), 6, tfd)},
        {QStringLiteral("CfdGetFechaHoraTimbrado"),
         msg,
         QStringLiteral("function CfdGetFechaHoraTimbrado: TDateTime;"),
         [tfd](QVariantList &, QVariant &r) {
             r = fechaIso(LeeAtributo(QStringLiteral("FechaTimbrado"), 6, tfd));
         }},
        {QStringLiteral("CfdGetDomicilioFiscal"),
         cadenas,
         QStringLiteral("procedure CfdGetDomicilioFiscal") + firmaDomicilio,
         domicilio(QStringLiteral("cfdi:DomicilioFiscal"))},
        {QStringLiteral("CfdGetExpedidoEn"),
         cadenas,
         QStringLiteral("procedure CfdGetExpedidoEn") + firmaDomicilio,
         domicilio(QStringLiteral("cfdi:ExpedidoEn"))},
        {QStringLiteral("CfdGetComplementoDonat"),
         msg,
         QStringLiteral("procedure CfdGetComplementoDonat(var NoAutorizacion: string;var "
                        "FechaAutorizacion: TDateTime;var LeyendaFiscalDonat:string);"),
         [](QVariantList &a, QVariant &) {
             const QString donat = QStringLiteral("donat:Donatarias");
             arg(a, 0) = LeeAtributo(QStringLiteral("noAutorizacion"), 6, donat);
             const QString fecha = LeeAtributo(QStringLiteral("fechaAutorizacion"), 6, donat);
             if (!fecha.isEmpty())
                 arg(a, 1) = fechaIso(fecha);
             arg(a, 2) = LeeAtributo(QStringLiteral("leyenda"), 6, donat);
         }},
        {QStringLiteral("CfdGetDatosCobroParcialidad"),
         msg,
         QStringLiteral("procedure CfdGetDatosCobroParcialidad(var FolioFiscalOrig: string;var "
                        "SerieFolioFiscalOrig: string;var FechaFolioFiscalOrig: TDateTime;var "
                        "MontoFolioFiscalOrig: Double);"),
         [](QVariantList &a, QVariant &) {
             arg(a, 0) = LeeAtributo(QStringLiteral("FolioFiscalOrig"), 1);
             arg(a, 1) = LeeAtributo(QStringLiteral("SerieFolioFiscalOrig"), 1);
             arg(a, 2) = fechaIso(LeeAtributo(QStringLiteral("FechaFolioFiscalOrig"), 1));
             arg(a, 3) = TextoANumero(LeeAtributo(QStringLiteral("MontoFolioFiscalOrig"), 1));
         }},
        {QStringLiteral("CfdGetMetodoDePagoFromDocto"),
         cadenas,
         QStringLiteral("function CfdGetMetodoDePagoFromDocto(aDoctoId: Integer; aClaveSistema, "
                        "aNomTablaSistema: string): string;"),
         [sesion](QVariantList &a, QVariant &r) {
             r = CfdGetMetodoDePagoFromDocto(*sesion, arg(a, 0).toInt(), arg(a, 1).toString());
         }},
        // Scripts take the picture as base64 PNG data for an image element:
        // function qr(e) { e.imagen = CfdGetQRCode(e); }
        {QStringLiteral("CfdGetQRCode"),
         msg,
         QStringLiteral("procedure CfdGetQRCode(aPicture: TPicture);"),
         [](QVariantList &, QVariant &r) {
             QByteArray png;
             QBuffer b(&png);
             b.open(QIODevice::WriteOnly);
             CfdGetQRCode().save(&b, "PNG");
             r = QString::fromLatin1(png.toBase64());
         }},
    };
}

} // namespace lar::cfdi
