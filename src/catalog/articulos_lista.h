#pragma once

#include "articulos.h"

#include "core/mform.h"
#include "toolkit/memtable.h"
#include "toolkit/wordsearch.h"

#include <QStringList>

#include <functional>
#include <memory>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTimer;
class QFrame;

namespace lar {

class MemGrid;
class Sesion;

// Articles with points: the module (Tipo 1) where PUNTOS and VALOR_PUNTOS are
// edited over an in-memory copy of the catalogue, and the article chooser of the
// redemption and of the points by activity (Tipo 5), set up by its caller.
class Tfcat_articulos_lista : public TMForm
{
    Q_OBJECT

public:
    explicit Tfcat_articulos_lista(Sesion &sesion, QWidget *parent = nullptr);
    ~Tfcat_articulos_lista() override;

    // Grid columns, in order.
    enum Columna {
        colClave,
        colNombre,
        colAlmacenable,
        colJuego,
        colEstatus,
        colLinea,
        colUVenta,
        colPuntos,
        colValor,
        colExistencia
    };

    // The chooser's receiver: (article id, key, quantity); true when it took it.
    using AgregaArtFn = std::function<bool(int, const QString &, double)>;

    // State of the form.
    int FiltroIdx = 1;
    QStringList Palabras;
    int ColBusca = 1;
    int CampoBusca = art::NOMBRE;
    int Tipo = 1;
    bool SoloPorPuntos = false;
    int PuntosDisponibles = 0;
    bool SoloNoAlmacenables = false;
    bool SoloAlmacenables = false;
    int AlmacenId = 0;
    bool SoloExistentes = false;
    bool AgregaConDobleClic = false;
    AgregaArtFn OnAgregaArt;
    bool Actualizando = false;
    bool SinExistencia = false;
    bool AceptaSinExis = false;

    void SetType(int tipo) { Tipo = tipo; }
    // The chooser as the redemption capture sets it up: the document's warehouse,
    // the customer's points, stocked-only by the setting "ArtAlmacenables".
    void ConfiguraCanje(int almacenId, int puntos, AgregaArtFn receptor);
    // The chooser as the points by activity set it up.
    void ConfiguraActividad(int puntos, AgregaArtFn receptor);

    MemTable &tabla() { return *mArt; }
    ArticulosPuntos &datos() { return m_datos; }
    // Bits 2 and 4 of Acceso: points and value in points may be edited.
    bool puedePuntos() const { return Acceso & 2; }
    bool puedeValor() const { return Acceso & 4; }

    // The commands, as their buttons run them.
    void Button1Click(); // load the whole list
    void bArticulosClick();
    void btnExcelClick();
    void BitBtn5Click(); // bulk assignment
    void bGuardarClick();
    void bAddClick();
    // Appends one article; articuloId 0 seeks it by key. Shows the not-found text.
    bool AgregaArt(const QString &clave,
                   int articuloId,
                   const QVariant &valorPuntos,
                   const QVariant &puntos);
    // The import of a spreadsheet with the columns of TfImpExcelCP.
    void importaExcel(const QString &archivo,
                      int colClave,
                      int colNombre,
                      int colPuntos,
                      int colValor,
                      int primerRenglon);
    // The file the import opens; tests put their own chooser here.
    static std::function<QString(QWidget *)> &SelectorArchivo();

    // The search: status filter and words, on each change of the box.
    void vBuscaChange();
    // The text a cell of the key column draws: with joined keys, the key that
    // holds the words of a key search, or the first key; '^' is never drawn.
    QString textoClave(const QString &claves) const;
    // The key that bAdd passes on.
    QString claveElegida() const;
    void DoFiltroChange(QComboBox *sender) override;
    bool FormKeyDown(QKeyEvent *ev) override;

    // The controls, named as designed.
    QFrame *Panel2;
    QPushButton *Button1;
    QPushButton *bArticulos;
    QPushButton *btnExcel;
    QLineEdit *vAplica;
    QRadioButton *rPuntos;
    QRadioButton *rValor;
    QPushButton *BitBtn5;
    QPushButton *bGuardar;
    QPushButton *bNuevo;
    QPushButton *bAdd;
    QPushButton *bCancelar;
    QRadioButton *rClave;
    QRadioButton *rLinea;
    QRadioButton *rNombre;
    QLineEdit *vBusca;
    QCheckBox *chkExist;
    QLabel *vCant;
    QLabel *pAviso;
    QLabel *pAvisa;
    MemGrid *cxGrid;
    QTimer *tAvance;

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *o, QEvent *ev) override;

private:
    OpcionesCarga opciones() const;
    void cargaLista(const std::optional<FiltroAgregar> &agregar);
    void controles(bool activos);
    void eligeBusqueda(int colBusca, int campo);
    bool pasaRegistro(MemTable &t) const;
    void ajustaPunto(int columna, int delta);
    void actualizaCuenta();
    void muestraColumna(int columna, bool visible);

    Sesion &m_s;
    ArticulosPuntos m_datos;
    std::unique_ptr<MemTable> mArt;
    HighlightDelegate *m_pintor;
    WordMatcher m_buscador; // Palabras, ready for the filter
    bool m_clavesAlternas = false;
    bool m_avanceVisible = false;
    std::vector<int> m_anchos; // design width of each column
};

// Registers tag 72, "Artículos con puntos", with the main window's dispatch.
void RegistraArticulosPuntos();

} // namespace lar
