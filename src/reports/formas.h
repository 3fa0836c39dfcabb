#pragma once

#include <QString>
#include <QStringList>

namespace fb {
class Database;
}

namespace lar {

class Sesion;

namespace reporte {
class Reporte;
struct Plantilla;
} // namespace reporte

// Print forms are report templates in Microsip's rb_folder / rb_item of the
// configuration database, under LarvenosPV / Puntos / Formas.

// The id of the folder nombre under padre (0 for a root), created when missing, in
// the configuration database (the session's fbConfig), on a transaction of its own.
int AseguraFolder(Sesion &s, const QString &nombre, int padre);
int AseguraFolder(fb::Database &config, const QString &nombre, int padre);

// The id of LarvenosPV / Puntos / Formas; 0 when the tree isn't there.
int FolderFormas(Sesion &s);

// The names of the forms of a folder, sorted.
QStringList ListaFormas(Sesion &s, int folderId);

// Puts the decimal text of doctoId in place of every parameter of every SQL text of
// the template: for each parameter name, each ":" + name found by a plain text
// search is replaced, until none is left. So every parameter gets the same value,
// and a shorter name also eats into a longer one that begins with it.
void ReemplazaParametros(reporte::Plantilla &plantilla, int doctoId);

// Loads the form nombre of folderId into the report, with its parameters replaced
// by doctoId and the job named documento. False with the error text.
bool CargaPlantilla(Sesion &s,
                    reporte::Reporte &reporte,
                    int folderId,
                    const QString &nombre,
                    int doctoId,
                    const QString &documento,
                    QString *error = nullptr);

// The form remembered for the user under carpeta / subcarpeta (key "Forma").
QString FormaRecordada(Sesion &s, const QString &carpeta, const QString &subcarpeta);
void RecuerdaForma(Sesion &s,
                   const QString &carpeta,
                   const QString &subcarpeta,
                   const QString &forma);

// Stores a template in a folder of the configuration database, replacing the one
// of the same name.
void GuardaForma(fb::Database &config,
                 int folderId,
                 const QString &nombre,
                 const QByteArray &plantilla);

// The forms of a folder with their templates, sorted by name.
QList<std::pair<QString, QByteArray>> LeeFormas(fb::Database &config, int folderId);

// The sample forms shipped with the program (name, template), and their
// installation under LarvenosPV / Puntos / Formas, which replaces forms of the
// same names and leaves the others alone. Returns the folder's id.
QList<std::pair<QString, QByteArray>> FormasMuestra();
int InstalaFormasMuestra(fb::Database &config);

} // namespace lar
