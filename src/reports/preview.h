#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;
class QToolBar;
class QToolButton;

namespace lar {

namespace reporte {
class Reporte;
class VisorReporte;
} // namespace reporte

// "Vista previa": the pages of a generated report, with printing, page navigation
// and zoom. Ends with 1 when the user printed.
class TfPreview : public QDialog
{
    Q_OBJECT

public:
    explicit TfPreview(QWidget *parent = nullptr);

    // The report must outlive the form; regenera lays it out and shows page 1.
    void setReporte(reporte::Reporte *reporte) { m_reporte = reporte; }
    bool regenera(QString *error = nullptr);

    reporte::VisorReporte *visor() const { return ppViewer1; }

protected:
    void showEvent(QShowEvent *event) override;

private:
    void imprime();
    void irAPagina();
    void ponPorcentaje();
    void zoomBoton(QToolButton *boton);
    void sigueVisor();

    reporte::Reporte *m_reporte = nullptr;
    bool m_activado = false;
    bool m_cancelado = false;
    bool m_imprimiendo = false;

    QToolBar *tbBarra;
    QToolButton *spbPreviewPrint;
    QToolButton *spbPreviewFirst;
    QToolButton *spbPreviewPrior;
    QToolButton *spbPreviewNext;
    QToolButton *spbPreviewLast;
    QToolButton *spbPreviewWhole;
    QToolButton *spbPreviewWidth;
    QToolButton *spbPreview100Percent;
    QLineEdit *mskPreviewPage;
    QLineEdit *mskPreviewPercentage;
    QToolButton *spbPreviewCancel;
    reporte::VisorReporte *ppViewer1;
    QLabel *stbStatusBar;
};

} // namespace lar
