#pragma once

#include <QString>
#include <QStringList>

namespace fb {
class Query;
}

namespace lar {

class LookupCombo;
class MemTable;
class Sesion;

// Process-wide state of the pickers. The caller clears ListaCols and adds one
// column spec per column before each call; the picker only reads it.
inline QStringList ListaCols;
// Result pair: on "Aceptar" the first field of the chosen row as text and, when
// the data set has more, the second. Cancelling leaves them as they were.
inline QString ListaValor1;
inline QString ListaValor2;
// MuestraLista copies the pair here after the dialog closed, whatever the result.
inline QString ListaClave;
inline QString ListaNombre;
// One-shot initial search column; every picker call puts -1 back.
inline int ListaBusquedaIni = -1;
// The parts of the last text CondicionLike split.
inline QStringList ListaPartesLike;

// One column spec "field,search,caption,width" taken apart.
struct ColLista
{
    QString campo;          // field shown (and item of the select list)
    QString busqueda;       // field searched when this column is chosen; empty: no search
    QString titulo;         // caption with its '&' (the radio item keeps it)
    int ancho = 100;        // pixels; 0 takes no room
    bool porTitulo = false; // "--": MuestraLista binds the column to the caption's name

    QString tituloRejilla() const { return QString(titulo).remove(u'&'); }
};

// Search empty: the field; "-": no search; "--": no search, bound by caption.
// Caption empty: the field. Width missing or 0: 100; -1: 0. A width that is no
// integer throws MemTableError.
ColLista ParseColLista(const QString &spec);

// The filter condition of the live picker: the text (upper-cased with mayusculas)
// is split on the wildcard, and one term per part, that part first and the others
// after it in their order, is joined by " OR ", so the parts may come in any
// order: "A%B" on nombre gives "nombre LIKE '%A%B%' OR nombre LIKE '%B%A%'". Quotes
// in the text are doubled. An empty text gives no condition.
QString CondicionLike(const QString &campo,
                      const QString &texto,
                      const QString &operador,
                      bool mayusculas,
                      const QString &comodin);

// The radio item a picker starts on: ListaBusquedaIni when set, else busqueda
// when not negative, else 0 for one item, 1 for more, -1 for none (clamped to the
// items). Does not reset ListaBusquedaIni.
int BusquedaInicial(int items, int busqueda);

// The modal pickers; each returns 1 (accepted) or 2 (cancelled). An empty
// ListaCols returns 2 at once.
// Rows of a table or view of the company database: loaded into the picker's own
// memory table when condicion is empty, otherwise a live query with that WHERE.
int MuestraLista(Sesion &sesion,
                 const QString &tabla,
                 const QString &titulo,
                 const QString &condicion = QString(),
                 int busqueda = -1);
// Rows of the caller's data set; the chosen row is its current record at the end,
// and it keeps the index that the picker set.
int MuestraListaDS(MemTable &dataSet,
                   const QString &titulo,
                   const QString &condicion = QString(),
                   int busqueda = -1);
// Many rows: with conCasillas the check-box grid over the caller's Filtered table
// with the fields Activo (second), Clave and Nombre; the ticks are the result.
int MuestraListaCh(MemTable &dataSet,
                   const QString &titulo,
                   const QString &condicion,
                   bool conCasillas,
                   int busqueda = -1);

// Loaders of the in-memory lists. tipo: "clientes", "empleados", "clientesPE"
// (any other does nothing). The rows go into the fields id, clave, nombre and,
// for customers, limite_credito or LimCredito when the table has one; a table
// with no fields gets those four. Ends with the index iNombre in force.
void CargaListaCat(const QString &tipo, MemTable &mem, fb::Query &query);
// A two-field list (integer idCampo, 30-character nombreCampo) ordered by name,
// bound to the combo, which is set to the first row's id.
void LlenaCombo(const QString &tabla,
                const QString &idCampo,
                const QString &nombreCampo,
                fb::Query &query,
                MemTable &mem,
                LookupCombo *combo);
// The same without a combo and without an order; the table is left on its first row.
void LlenaMem(const QString &tabla,
              const QString &idCampo,
              const QString &nombreCampo,
              fb::Query &query,
              MemTable &mem);

} // namespace lar
