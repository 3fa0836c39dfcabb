#pragma once

#include <QString>
#include <QStringList>

namespace lar {

class Sesion;

// The functions the program adds to the report scripts, besides the CFDI reader's
// (cfdi.h). The pure ones are here as plain functions, so they are used and tested
// without a script.

// Categories of the function list. The engine's own groups are "Cadenas" and
// "Conversión"; the program's are named after their base classes.
inline constexpr QStringView CategoriaCadenas = u"Cadenas";
inline constexpr QStringView CategoriaConversion = u"Conversión";
inline constexpr QStringView CategoriaFechaHora = u"Fecha y hora";
inline constexpr QStringView CategoriaCatalogos = u"CatalogosExtMsp";

// The SAT catalogues are text files in the program's data folder (CarpetaDatos()),
// one "clave|texto" line per entry ("clave|texto|..." for banks).
QString ArchivoCatalogoBancosSAT();
QString ArchivoCatalogoMetodosPagoSAT();
// The text of a key in a catalogue file: for banks the field after the first "|"
// (up to the next one), for payment methods all that follows the first "|"; empty
// when no line has that key. Throws fb::Error when the file can't be opened.
QString LeeCatalogoSAT(const QString &archivo, const QString &clave, bool soloSegundoCampo);

// "AB000123" -> "AB123": leading capitals kept, the zeros after them dropped, and
// blanks and line breaks removed everywhere.
QString FolioSinJustificar(const QString &folio);
// All but the last longTerminacion characters replaced by proteccion.
QString ProtegeNumTarjeta(const QString &numero, QChar proteccion, int longTerminacion);
// Rounded to decimales places (and precision significant digits), half away from
// zero, shown with "#,###0.00".
QString NumStr(double cantidad, int precision, int decimales);
// Rounds by a power of ten worked out from the text of min (0.5, 0.05 and 0.01 give
// units; 0.001 hundredths; 0.0001 thousandths; 123.5 hundredths), ties to even.
// A min without a decimal point (1 among them) throws fb::Error.
double RoundMin(double cant, double min);
// The amount as plain text, at most four decimals.
QString CurrToStr(double valor);
// A number read from text, or fb::Error with the conversion message.
double TextoANumero(const QString &texto);

// Registers every report function (these and the CFDI reader's) in their designed
// order, working on the session's company database; QuitaFuncionesReporte removes
// them by name and frees the query functions' data.
void RegistraFuncionesReporte(Sesion &s);
void QuitaFuncionesReporte();
// The registered names, in registration order.
QStringList NombresFuncionesReporte();

} // namespace lar
