#pragma once

#include "listas.h"

#include "toolkit/wordsearch.h"

#include <QDialog>

#include <memory>

class QAction;
class QLineEdit;
class QMenu;
class QPushButton;

namespace fb {
class Query;
}

namespace lar {

class MemGrid;
class MemTable;
class RadioGroup;

// The single-choice picker: a grid, the radio group that says which column the
// quick search works on, the search box and two buttons. Built by MuestraLista,
// MuestraListaDS (and the multi-choice variant) from ListaCols.
class TFLista : public QDialog
{
    Q_OBJECT

public:
    explicit TFLista(QWidget *parent = nullptr);
    ~TFLista() override;

    // Builders: -1 when the dialog is ready to run, else the result to return (2).
    int preparaLista(Sesion &sesion,
                     const QString &tabla,
                     const QString &titulo,
                     const QString &condicion,
                     int busqueda);
    int preparaDS(MemTable &dataSet, const QString &titulo, const QString &condicion, int busqueda);

    // The data set the grid shows: the caller's, the own memory table or the live rows.
    MemTable *dataSet() const { return m_ds; }
    MemGrid *rejilla() const { return m_rejilla; }
    HighlightDelegate *pintor() const { return m_pintor; }

    // Table or view of the FROM clause; WHERE text (live path); select list.
    QString Tabla;
    QString Condicion;
    QString Campos;
    // Search field of each column, in order; words of the box (memory path).
    QStringList CamposBusqueda;
    QStringList Palabras;
    // Search field in force and its index among the data set's fields.
    QString CampoBusca;
    int IdxBusca = -1;
    // Names of the numeric fields of the live query, sorted.
    QStringList Numericos;
    // True: the rows come live from the query. False: they lie in a memory table.
    bool EnConsulta = false;
    // Set at the end of the show step; the search is inert before it.
    bool Listo = false;
    // Forces Aceptar off.
    bool SinAceptar = false;
    // The live path's filter text, built by CondicionLike; it acts only while
    // QueryFiltrada is on (the query then runs again with it).
    QString FiltroConsulta;
    bool QueryFiltrada = false;

    // The visual parts, named as designed.
    MemGrid *Lista;
    RadioGroup *Busqueda;
    QLineEdit *Busca;
    QPushButton *Aceptar;
    QPushButton *Cancelar;

    // The show step, run when the dialog shows and on each change of the radio item.
    void FormShow();
    // The search, on each change of the box once Listo.
    void BuscaChange();
    bool esTablaMemoria() const { return !EnConsulta && m_ds; }

protected:
    void showEvent(QShowEvent *ev) override;
    void done(int r) override;
    bool eventFilter(QObject *o, QEvent *ev) override;

    // Steps 2 and 3 of a build: reset, then for each spec the select list and the
    // width, and from `desde` on the grid column, radio item and search field.
    void iniciaColumnas(int desde, bool porTitulo);
    // Steps 6 to 8 and the tail (11 to 13).
    void terminaPreparacion(const QString &titulo, int busqueda);
    // Whether the search only filters (never seeks) on this grid.
    virtual bool siempreFiltra() const { return false; }
    void adjunta(MemTable *ds);

    MemGrid *m_rejilla; // the grid in use (Lista or the check-box grid)
    HighlightDelegate *m_pintor;
    MemTable *m_ds = nullptr;
    std::unique_ptr<MemTable> m_mem;    // Mem: the memory path's own table
    std::unique_ptr<MemTable> m_vivas;  // rows of the live query
    std::unique_ptr<fb::Query> m_query; // Query
    int m_anchoTotal = 0;

private:
    void abreConsulta();
    void aceptarClick();
    void instalaFiltro();
    void quitaFiltro();
    void mueve(int cuanto);

    bool m_mostrada = false;
    WordMatcher m_buscador; // Palabras, ready for the filter
};

// The multi-choice picker: with casillas, the fixed check-box grid cxGrid over
// the caller's data set (Activo, Clave, Nombre), whose popup menu ticks, inverts
// or clears all rows in sight.
class TFListaCh : public TFLista
{
    Q_OBJECT

public:
    explicit TFListaCh(QWidget *parent = nullptr);

    int preparaCh(MemTable &dataSet,
                  const QString &titulo,
                  const QString &condicion,
                  bool conCasillas,
                  int busqueda);

    MemGrid *cxGrid;
    QMenu *PopupMenu1;
    QAction *SeleccionarTodo;
    QAction *InvertirSeleccion;
    QAction *BorrarSeleccion;

    // 1 ticks, 0 clears, -1 inverts the second field of every row in sight.
    void marcaTodos(int como);

protected:
    bool siempreFiltra() const override { return m_casillas; }

private:
    bool m_casillas = false;
};

} // namespace lar
