#pragma once

#include <QDialog>

#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabWidget;

namespace lar {

class MemGrid;
class MemTable;
class Sesion;

namespace reporte {
class Reporte;
}

// "Imprimir": the print dialog of every printed form. The caller sets the fields
// below and runs it modally; 1 when something was printed, 2 on cancel.
class TfImprimirForma : public QDialog
{
    Q_OBJECT

public:
    explicit TfImprimirForma(Sesion &sesion, QWidget *parent = nullptr);
    ~TfImprimirForma() override;

    // First and second level of the per-user memory of the chosen form.
    QString Carpeta;
    QString Subcarpeta;
    // The print job's name.
    QString Documento;
    // The value every parameter of the template's queries gets.
    int DoctoId = 0;
    // The id of the Formas folder.
    int FolderId = 0;
    // Above 0: after the form, the voucher form "FormaBoleto" with these copies.
    int Copias = 0;

    // The report of the last load (for whoever wants to look at what was printed).
    reporte::Reporte *reporte() const { return m_reporte.get(); }

    // The prompt vForma shows while no form is chosen.
    static QString indicacion() { return QStringLiteral(" < Seleccione una forma >"); }

signals:
    // After each job sent to its device: the form, then the voucher.
    void impreso(const reporte::Reporte &reporte);

protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void llenaImpresoras();
    void impresoraElegida();
    void llenaFormas();
    void formaCambiada();
    void cambioPestana(int indice);
    void copiaFilaAForma();
    bool cargaPlantilla(const QString &nombre, QString *error);
    bool imprimeUno(int copias);
    void imprime();
    void previsualiza();
    void propiedades();

    Sesion &m_sesion;
    std::unique_ptr<reporte::Reporte> m_reporte;
    bool m_mostrado = false;

    QTabWidget *pcPaginas;
    QWidget *tsImpresora;
    QWidget *tsForma;
    QComboBox *vPrinters;
    QPushButton *bPropiedades;
    QLabel *lTipo;
    QLabel *lUbicacion;
    QLabel *lComentario;
    QLabel *lEstado;
    QLineEdit *vForma;
    QCheckBox *vPrintToFile;
    MemTable *mForma;
    MemGrid *cxGridFormas;
    QPushButton *bPrint;
    QPushButton *bPreview;
    QPushButton *bCancel;
};

} // namespace lar
