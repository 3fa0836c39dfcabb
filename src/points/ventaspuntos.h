#pragma once

#include "guardaventa.h"

#include "core/mform.h"

#include <QString>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class QStatusBar;
class QTextEdit;
class QTimer;
class QToolButton;

namespace fb {
class Query;
}

namespace lar {

class LookupCombo;
class MemGrid;
class MemTable;
class Sesion;

// The points capture: a customer held by the lock LAR_DATOSCLTE, lines of articles
// priced in points in the memory table mDet, the fixed-pitch ticket MemDet, the
// totals, the keys and the closing question. One component for both directions:
//
//   Sentido::Salida   points are spent (the redemption, TfVentasPuntos): each line
//                     is measured against PuntosDisponibles, which falls as lines go in.
//   Sentido::Entrada  points are given (the points by activity): lines add to the
//                     total and to PuntosDisponibles, the balance after the save;
//                     no balance test is made.
//
// Extension points for the form built on it, all virtual:
//   ValidaArticulo      the tests of an article read by AgregaArticulo (the base tests
//                       existence, status and, in Salida, the points).
//   ValidaCantidad      a quantity typed in a line, after the points rule.
//   ConfiguraSelector   how the article chooser (mode 5) is set up.
//   AlCambiarCliente    after a customer has been taken (and locked).
//   PuedeAgregar        the capture's preconditions for a line beyond the customer.
//   CargaListaClientes  fills mClientes before the list is shown (the base reloads
//                       the active customers each time).
//   sqlClienteClave     the customer by key (nombre, clave, limite_credito and
//                       cliente_id first) and avisoClienteClave, the word for a miss.
//   sqlClaveArticulo    the article by key and avisoClaveArticulo, the word for a
//                       miss; sqlArticulo, the article as AgregaArticulo reads it.
// The derived form builds its own controls around the ones created here (txtCliente,
// lblNomCliente, lbPuntosDisponibles, vTotalPuntos, MemDet, cxGrid, bEdit, bListaArt,
// the status bar) and places them with colocaCaptura().
class CapturaPuntos : public TMForm
{
    Q_OBJECT

public:
    enum class Sentido { Salida, Entrada };

    CapturaPuntos(Sesion &sesion, Sentido sentido, QWidget *parent = nullptr);
    ~CapturaPuntos() override;

    Sentido sentido() const { return m_sentido; }
    Sesion &sesion() { return m_s; }
    MemTable &detalle() { return *mDet; }

    // State of one capture.
    int ClienteID = 0;
    int PuntosCliente = 0;
    int PuntosDisponibles = 0;
    int TotalPuntos = 0;
    int Partidas = 0;
    int SigPartida = 1;
    bool LiberarAlCerrar = true;

    // The article as AgregaArticulo reads it.
    struct DatosArticulo
    {
        int articuloId = 0;
        bool existe = false;
        QString nombre;
        QString almacenable; // 'S' / 'N'
        QString estatus;
        QString unidadVenta;
        QString unidadCompra;
        int precioPuntos = 0;
        double costoUltimaCompra = 0;
        double contenidoUC = 1;
    };

    // Customer by key (Enter in txtCliente) and from the list.
    void BuscaClienteClave();
    void bClienteClick();
    void CargarDatosCliente();
    // True when the capture may go on (asked "Se perderá la captura..." when a
    // customer is loaded, and cleared on Yes).
    bool PreguntaPerderCaptura();

    // Lines.
    void ClaveCambiada(const QString &texto);
    bool AgregaArticulo(int articuloId, const QString &clave);
    void UnidadesEnter(const QString &texto);
    void GridEnter();
    void CalculaTotales();
    void AgregarLinea(QChar tipo);
    void LimpiaLinea();
    void bListaArtClick();
    void BorraLinea();

    void PreparaEdicion();
    void LimpiaCaptura(bool recargar);
    void LiberaCliente();

    // The lines of mDet for the save.
    QList<LineaCanje> lineas();
    // The ticket as plain text, and its red lines.
    QString ticket() const;

    // Controls, named as designed.
    QLineEdit *txtCliente;
    QToolButton *bCliente;
    QLabel *lblNomCliente;
    QLabel *lbPuntosDisponibles;
    QLabel *vTotalPuntos;
    QTextEdit *MemDet;
    MemGrid *cxGrid;
    MemTable *mDet;
    MemTable *mClientes;
    QPushButton *bEdit;
    QPushButton *bListaArt;
    QStatusBar *StatusBar1;
    QLabel *pPartidas;
    QLabel *pUnidades;
    QLabel *pReloj;
    QTimer *Timer1;
    QWidget *gbCliente;

    // Grid columns.
    enum Columna { colClave, colNombre, colUnidades, colValor };

protected:
    virtual bool ValidaArticulo(const DatosArticulo &a);
    virtual bool ValidaCantidad(int unidades);
    virtual void ConfiguraSelector(class Tfcat_articulos_lista &lista);
    virtual void AlCambiarCliente() {}
    virtual bool PuedeAgregar() { return true; }
    virtual void CargaListaClientes();
    virtual QString sqlClienteClave() const;
    virtual QString avisoClienteClave() const;
    virtual QString sqlClaveArticulo() const;
    virtual QString avisoClaveArticulo(const QString &texto) const;
    virtual QString sqlArticulo() const;
    // mClientes from a query of id, clave, nombre and, when it has one, the credit limit.
    void llenaClientes(fb::Query &q);
    // The caption of the closing question.
    QString tituloCaptura() const { return windowTitle(); }

    void closeEvent(QCloseEvent *ev) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;
    bool FormKeyDown(QKeyEvent *ev) override;

    void muestraSaldo();
    QString numero(int n) const;
    Sesion &m_s;

private:
    void tomaCliente(int id, const QString &clave, const QString &nombre, bool porLista);
    Sentido m_sentido;
};

// "Canje de puntos": the redemption of a customer's points for goods, opened modally
// from the redemption list; a new capture (EsNueva) or a saved one read-only (DoctoID).
class TfVentasPuntos : public CapturaPuntos
{
    Q_OBJECT

public:
    explicit TfVentasPuntos(Sesion &sesion, QWidget *parent = nullptr);
    ~TfVentasPuntos() override;

    int DoctoID = 0;
    bool EsNueva = false;
    QChar MetodoCosteo = QLatin1Char('C');
    bool Guardada = false;
    int ConceptoID = 0;
    int ArtBoletoID = 0;
    bool UsarBoleto = false;
    bool AceptaSinExistencia = false;
    bool ArticulosSinExistencia = false;
    int FolderFormas = 0;
    // bUp and bDown: moves the list's grid by one record and returns the DoctoID
    // found there (0 at either end). The list sets it.
    std::function<int(int distancia)> MueveLista;

    // The commands.
    bool GuardaVenta();
    void bSaveCloseClick();
    void bSaveNewClick();
    void bNewClick();
    void bPrintClick();
    void bCancelarClick();
    void bUpClick();
    void bDownClick();
    void CargaVenta();
    // Available stock of the article in the selected warehouse less the grid's lines.
    double ExistenciaArticulo(int articulo, int cantidad);
    int almacen() const;

    QPushButton *bNew;
    QPushButton *bSave;
    QPushButton *bSaveClose;
    QPushButton *bSaveNew;
    QPushButton *bPrint;
    QPushButton *bCancelar;
    QPushButton *bUp;
    QPushButton *bDown;
    LookupCombo *cmbAlmacen;
    MemTable *mAlmacenes;
    QLabel *imgCancelado;
    QLineEdit *vFolio;
    QLineEdit *vFolioEntrada;

protected:
    bool ValidaArticulo(const DatosArticulo &a) override;
    bool ValidaCantidad(int unidades) override;
    void ConfiguraSelector(Tfcat_articulos_lista &lista) override;
    bool PuedeAgregar() override;
    void AlCambiarCliente() override;
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;
    bool FormKeyDown(QKeyEvent *ev) override;

private:
    void FormShow();
    void LlenaAlmacenes();
    void almacenCambiado();
    void mueve(int distancia);
    bool m_mostrada = false;
    int m_almacenAnterior = -1;
};

} // namespace lar
