#pragma once

#include "configpuntos.h"

#include "core/mform.h"

#include <memory>

class QCheckBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QTabWidget;
class QWidget;

namespace lar {

// Enters the configuration screen in the dispatch: module 10, embedded.
void RegistraConfiguracion();

class LookupCombo;
class MemGrid;
class MemTable;
class Sesion;

// The configuration screen (module 10): the points rules, the folios and lists
// the operations use, the scheduled reset with its notices, the black list and
// the ticket settings; and the manual points reset. Read-only until "Modificar";
// "Guardar y cerrar" checks, saves everything in one go and closes. Closing any
// other way discards what wasn't saved, without asking.
class TfConfig : public TMForm
{
    Q_OBJECT
public:
    explicit TfConfig(Sesion &sesion, QWidget *parent = nullptr);
    ~TfConfig() override;

    bool editando() const;

    // Pages and toolbar.
    QTabWidget *pcConfig;
    QWidget *TabPuntos;
    QWidget *TabOtros;
    QPushButton *bSave;
    QPushButton *bEdit;

    // General.
    QCheckBox *vPuntosActivo;
    QCheckBox *ckPuntosVentas;
    QCheckBox *vPuntosArtActivo;
    QCheckBox *ckTarjeta;
    QLineEdit *vFolioPuntos;
    QLineEdit *tefolioPE;
    LookupCombo *vTraspConSal;
    LookupCombo *cmbAlmacen;
    // Puntos por importe.
    QCheckBox *vPuntosImpActivo;
    QLabel *lbPuntos;
    QLineEdit *vPuntos;
    QLabel *lbPesos;
    QLineEdit *vPesos;
    QCheckBox *rbPtolinea;
    MemGrid *gridLineas;
    // Listado a mostrar en asignar puntos por actividad.
    QRadioButton *RBListaClientes;
    QRadioButton *RBListaEmpleados;
    // Reinicio de puntos programado, and the manual reset.
    QCheckBox *chkReinicio;
    QDateEdit *dtpReinicio;
    QSpinBox *seDias;
    QLineEdit *vCorreoRem;
    QLineEdit *edPass;
    QLineEdit *vHost;
    QLineEdit *vPuerto;
    QCheckBox *ckReinicia;
    QPushButton *btnReiniciar;
    // Ventas al día por cliente.
    QLineEdit *vNoVentas;
    // Lista negra.
    MemGrid *gridListaNegra;
    QPushButton *bAddArt;
    QPushButton *bDelArt;
    // Otros.
    QCheckBox *chkBoleto;
    QLineEdit *vArticulo;
    QPushButton *bArticulo;
    QCheckBox *rbArtsinExt;
    QCheckBox *chkArtAlmacenables;
    QListWidget *vListaFormas;

    // Memory tables.
    MemTable *mDetalle;      // black list: Id, Clave, Nombre
    MemTable *mClientes;     // all active customers, the picker's source
    MemTable *mlineaspuntos; // ID_LINEA, PUNTOS, IMPORTE
    MemTable *mLineas;
    MemTable *mConInvSal;
    MemTable *mAlmacenes;
    MemTable *mArticulos;

    void bEditClick();
    void bSaveClick();
    void btnReiniciarClick();
    void bAddArtClick();
    void bDelArtClick();
    void vArticuloClick();
    // The line of the current row of the lines grid was chosen by name.
    void lineaElegida(const QString &nombre);
    // Enter on "Importe": a new row, back on "Linea".
    void agregaLinea();

protected:
    void showEvent(QShowEvent *ev) override;

private:
    void creaControles();
    QWidget *creaPaginaPuntos();
    QWidget *creaPaginaOtros();
    void cargaCatalogos();
    void leeConfiguracion();
    void ponSoloLectura(bool soloLectura);
    void actualizaImporte();
    ValoresConfig valores() const;
    void vPuntosImpActivoClick(bool marcado);
    void rbPtolineaClick(bool marcado);
    void RBListaEmpleadosClick(bool marcado);
    void chkReinicioClick(bool marcado);

    Sesion &m_sesion;
    std::unique_ptr<ConfigPuntos> m_config;
    int m_artBoleto = 0;
    bool m_cargando = false;
    bool m_edicion = false;
    bool m_mostrada = false;
};

} // namespace lar
