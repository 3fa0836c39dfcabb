#pragma once

#include "mform.h"
#include "navegacion.h"
#include "sesion.h"

#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QPixmap>
#include <QPointer>

#include <functional>
#include <memory>

class QAction;
class QComboBox;
class QLabel;
class QProgressBar;
class QTimer;
class QToolButton;

namespace fb {
class EventListener;
}

namespace lar {

class Ribbon;
class RibbonBoton;
class RibbonTab;

// The main window's background: the tiled picture and the company name. Parent of
// every embedded module form, which it keeps filling its whole area.
class PanelFondo : public QWidget
{
    Q_OBJECT
public:
    explicit PanelFondo(QWidget *parent = nullptr);
    QPixmap imagen;
    QString texto;

protected:
    void paintEvent(QPaintEvent *ev) override;
    void resizeEvent(QResizeEvent *ev) override;
};

// The main window: owner of the session (connections, queries, rights), the ribbon,
// the header of the current module and the panel where module forms live. Its first
// activation runs the login (Acceso).
class TfMain : public QMainWindow
{
    Q_OBJECT
public:
    explicit TfMain(QWidget *parent = nullptr);
    ~TfMain() override;

    Sesion &sesion() { return m_sesion; }

    // Opens Base (parameters set by the caller); tells why when it can't.
    bool Conectar(fb::Database &base);
    bool ConfigConecta();
    // The login step of the start: connection dialog, rights, company title.
    bool Acceso();

    // The handler of every module action: re-checks the schema, then dispatches
    // the action's tag.
    void NavegaMod(QObject *sender);
    void AbreVentana(int tag, const QString &parametro);
    // Opens (or brings back) the module form of class `clase` and title `titulo`;
    // true when a new one was created.
    bool AbreForma(QPointer<TMForm> &forma,
                   const FilaModulo &clase,
                   bool mostrar,
                   const QString &titulo);
    void AgregaForma(TMForm *forma);
    void MuestraFiltro(TMForm *forma);
    void CierraVentana(TMForm *forma, TMForm::AccionCierre &accion);

    // Runs tmrReinicio's routine (the points reset and notices), when one is set.
    static std::function<void(TfMain &)> &RutinaReinicio();
    // Runs trabajo on a worker thread while the status bar shows texto and the
    // progress (indice of total) and the window keeps painting; the user's input
    // waits until it ends. trabajo must not touch the session or any widget.
    void EjecutaConProgreso(const QString &texto,
                            int indice,
                            int total,
                            const std::function<void()> &trabajo);
    // Hides the progress of EjecutaConProgreso.
    void TerminaProgreso();
    // Makes the schema upgrade dialog of "Base de Datos".
    static std::function<QDialog *(TfMain &)> &FabricaActualizaDB();

    // Controls.
    Ribbon *dxRibbon;
    RibbonTab *tabCatalogos;
    RibbonTab *tabReportes;  // captioned "Operación"
    RibbonTab *tabConsultas; // captioned "Reportes"
    RibbonTab *tabSistema;
    RibbonBoton *bActualizaDB;
    RibbonBoton *bDisenoSeguridad;
    QWidget *Panel1;
    QLabel *Modulo;
    QToolButton *bClose;
    QComboBox *vFiltro;
    PanelFondo *fPanelFondo;
    QTimer *ttStart;
    QTimer *tForma;
    QTimer *tmrReinicio;
    // The progress of a run of notices, in the status bar (made on first use).
    QLabel *lbProgreso = nullptr;
    QProgressBar *pbProgreso = nullptr;

    QAction *accArticulos;
    QAction *accVentasPuntos;
    QAction *accAsignaPuntos;
    QAction *AsigPxActiv;
    QAction *accCompCte;
    QAction *accArtmas;
    QAction *accBusqueda;
    QAction *accConsultaHistorial;
    QAction *aSisPermisosDes;
    QAction *aSisPermisos;
    QAction *aSisConfiguracion;
    QAction *acc_AcercaDe;
    QAction *aSisSalir;

    // State.
    bool fPrimeraActivacion = true;
    QList<QPointer<TMForm>> fFormas;
    QPointer<TMForm> fFormaActual;
    QString fEmpresaNombre;
    QString fUsuarioNombre;
    QPixmap BackGround;

protected:
    bool event(QEvent *ev) override;
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;

private:
    void FormShow();
    void FormActivate();
    void creaRibbon();
    void creaEncabezado();
    QAction *accion(const QString &nombre, const QString &texto, int tag, const QString &icono);
    bool preRevision(int tag);
    void bActualizaDBClick();
    void bCloseClick();
    void tFormaTimer();
    void llenaFiltro(TMForm *forma);
    void colocaFiltro();
    TMForm *formaSuperior() const;
    void acercaDe();
    void tmrReinicioTimer();

    Sesion m_sesion;
    QHash<int, QPointer<TMForm>> m_formas;
    QMetaObject::Connection m_cambioFiltro;
    // The "VentaLAR" listener, registered from the login on (child of the window).
    fb::EventListener *SIBfibEvent = nullptr;
    int m_tag = 0;
    QString m_parametro;
    bool m_mostrado = false;
    bool m_arrancado = false;
    // A check is running: the timer may fire again while it pumps messages.
    bool m_revisando = false;
};

// The one main window of the process.
extern TfMain *fMain;

} // namespace lar
