#pragma once

#include "toolkit/reporte/funciones.h"

#include <QDateTime>
#include <QImage>
#include <QString>

namespace lar {
class Sesion;
}

// The CFDI reader: loads one SAT electronic invoice and reads its values, its two
// original strings and its QR code for the report scripts. It only reads; the seal
// is not checked. Names are matched as written, prefix included and case counting
// ("version" of 3.2 is not "Version" of 3.3 and 4.0), and a child is looked for
// only among the direct children of a node, the first of that name.
namespace lar::cfdi {

inline constexpr QStringView CategoriaCfdMsg = u"CfdMsg";

// Parses the document into CfdXml, replacing the one loaded before. Throws fb::Error
// with the parser's message on a malformed text.
void CfdLoadFromString(const QString &xml);
// Forgets the loaded document and the strings built.
void Libera();

// A value of the loaded document, or an empty text. seccion: 1 cfdi:Comprobante;
// 2 cfdi:Emisor; 3 cfdi:Receptor; 5 cfdi:Impuestos; 6 cfdi:Complemento (with nodo:
// of that child of the section). 8 and 9 append the concepts and the taxes to the
// original string being built and give nothing. Throws fb::Error when nothing is
// loaded or the root isn't cfdi:Comprobante.
QString LeeAtributo(const QString &atributo, int seccion, const QString &nodo = {});

// A value as it goes into an original string: no "|", line breaks and tabs as
// blanks, runs of blanks as one, trimmed.
QString LimpiaValor(const QString &valor);
// Appends the cleaned value and one "|" to destino; an empty value adds nothing.
void AgregaCampo(const QString &valor, QString &destino);

// The original string of CFDI 3.2 (whatever the document's version) and the
// stamp's, "||...||".
QString CfdGetCadenaOriginal();
QString CfdGetCadenaOriginalTimbre();

// "?re=<issuer>&rr=<receiver>&tt=<total 0000000000.000000>&id=<UUID>"; an empty or
// unreadable Total throws fb::Error.
QString TextoQR();
// The code of TextoQR() at three pixels per module in a white 113 x 113 picture.
QImage CfdGetQRCode();

// Loads the XML of a document of Microsip's (USOS_FOLIOS_FISCALES for the systems
// "VE", "PV" and "CC", CFD_RECIBIDOS otherwise) on the session's shared Query and
// gives its 3.2 metodoDePago. Throws "No se encontro documento XML." without one.
QString CfdGetMetodoDePagoFromDocto(Sesion &s, int doctoId, const QString &claveSistema);

// The report functions of this reader, in registration order.
QList<reporte::FuncionScript> FuncionesCfd(Sesion &s);

} // namespace lar::cfdi
