#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <exception>
#include <functional>
#include <memory>

class QDialog;

namespace lar {

class LookupCombo;
class MemTable;
class Sesion;
class TfMain;
class TMForm;

// One numbered module (1..79) of the dispatch: a modal dialog, or a module form
// embedded in the main window, created at most once per class and title. A screen
// registers its row when it's built; a tag without a row opens nothing.
struct FilaModulo
{
    int tag = 0;
    // Class name of the form: with the title, the key of the open forms.
    QString clase;
    bool modal = false;
    // Modal rows: the dialog, shown modally and released by the dispatch.
    std::function<QDialog *(TfMain &)> creaDialogo;
    // Embedded rows: the module form.
    std::function<TMForm *(TfMain &)> creaForma;
    // Runs right after an embedded form is opened (Tfcat_articulos_lista: SetType(1)).
    std::function<void(TMForm *)> alAbrir;
};

void RegistraModulo(const FilaModulo &modulo);
void QuitaModulo(int tag);
const FilaModulo *BuscaModulo(int tag);

// The open module forms, keyed by class name followed by the title.
struct FormasAbiertas
{
    QList<QPointer<TMForm>> formas;
    QStringList nombres;
};
FormasAbiertas &FormasAbiertasLista();
QString ClaveForma(const QString &clase, const QString &titulo);
// Removes a form from the open forms by its key.
void QuitaForma(const QString &clave);

// True when Permisos[modulo] holds every bit of mascara; otherwise offers to let
// another user authorise ("No tiene permisos para " + texto).
bool TienePermiso(Sesion &sesion, int modulo, quint32 mascara, const QString &texto);

// Rolls back fbUpdateTrans, then shows the exception's text (caption "Error").
void ErrorConRollback(Sesion &sesion, const std::exception &e);
// The text of an exception of the database layer or any other.
QString TextoExcepcion(const std::exception &e);

// VerificaDB, shown: its message (caption "Aviso del sistema"), and the end of the
// application when Microsip is refused. True when the database is ready.
bool RevisaDB(Sesion &sesion, bool silencioso);

// Shows a catalogue read by CargaCatalogo in a lookup control, which takes the
// table (releasing the one it had from here) and has its first row chosen.
void LlenaCatalogo(LookupCombo *control, std::unique_ptr<MemTable> catalogo);

} // namespace lar
