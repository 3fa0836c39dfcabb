#pragma once

#include <QString>
#include <QStringList>

namespace lar {

class Sesion;

// The next number of the generator gen_lar_<nombre>, taken in fbUpdateTrans.
// incremento 0 peeks: the current value plus 1, spending nothing. A missing
// generator (or any error) is taken as "not created yet": it is created, set to 1
// when incremento > 0, fbUpdateTrans is committed (with whatever the caller had
// pending on it) and the result is 1.
int GetNextID(Sesion &s, const QString &nombre, int incremento);

// The next (or, with incrementa false, the current) value of Microsip's ID_DOCTOS.
// Errors go to the caller.
int GetNextFolioDoc(Sesion &s, bool incrementa);

// Folder of the activity log, with its trailing separator: /var/log/LarvenosPV/, or
// "logs/" inside the LARVENOS_DATOS folder when that variable is set.
QString CarpetaLog();

// Appends "dd/MM/yyyy hh:mm AM  texto" to LarPuntos.txt in CarpetaLog(). Every
// file error is ignored: the line is lost.
void GuardaLog(const QString &texto);

// Microsip folios: a prefix of capitals A to Z, then the body ("PV000123").
// FolioNormaliza: prefix + body without leading zeros, then without any blank,
// carriage return or line feed.
QString FolioNormaliza(const QString &folio);
// The next folio: prefix, zeros, body + 1, padded to ancho characters (never cut).
QString FolioSiguiente(const QString &folio, int ancho);
// The body as a number; 0 when empty.
int FolioNumero(const QString &folio);
// Prefix, zeros, body, padded to ancho characters (never cut).
QString FolioRellena(const QString &folio, int ancho);

// A spreadsheet column by letters: "A" 1, "Z" 26, "AA" 27; 0 for anything else.
int ExcelColumna(const QString &letras);

// Clears lista and appends the pieces of texto, upper-cased (a to z only), cut at
// each separador: empty pieces between separators count, an empty last one doesn't.
void Divide(QStringList &lista, const QString &texto, const QString &separador);

// The program's version, "major.minor.release.build".
QString VersionArchivo();

} // namespace lar
