#pragma once

#include "historial.h"

#include "core/mform.h"

#include <memory>

class QCheckBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace lar {

class MemGrid;
class MemTable;
class Sesion;

// "Consulta historial": the ledger of one customer or of all, over a period, and
// its workbook.
class TfHistorialPuntos : public TMForm
{
    Q_OBJECT

public:
    static constexpr int kTag = 74;

    explicit TfHistorialPuntos(Sesion &sesion, QWidget *parent = nullptr);
    ~TfHistorialPuntos() override;

    // 0: no customer.
    int ClienteID = 0;

    MemTable &kardex() { return *mKardex; }
    MemTable &kardex2() { return *mKardex2; }

    // Enter in txtCliente.
    void BuscaClave();
    // The button of txtCliente: the customer list.
    void EligeCliente();
    void bAceptarClick();
    void bExcelClick();
    // The folder the workbooks are written to; empty: the system's temporary one.
    static QString &CarpetaLibros();
    // A new file in that folder, named by the moment.
    static QString ArchivoLibro();

    // The controls, named as designed.
    QLineEdit *txtCliente;
    QToolButton *bClientes; // the button of txtCliente
    QLabel *lblNomCliente;
    QLabel *lbPuntosDisponibles;
    QDateEdit *dtpFecIni;
    QDateEdit *dtpFecFin;
    QCheckBox *JvCheckBox1;
    QCheckBox *chkAll;
    QPushButton *bConsulta;
    QPushButton *bExcel;
    MemGrid *cxGrid;

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *o, QEvent *ev) override;

private:
    HistorialPuntos::Caso casoActual() const;
    void ponCliente(const HistorialPuntos::Cliente &c);

    Sesion &m_s;
    HistorialPuntos m_historial;
    std::unique_ptr<MemTable> mKardex;
    std::unique_ptr<MemTable> mKardex2;
    std::unique_ptr<MemTable> mClientes;
    QString m_nombreCliente;
    int m_saldo = 0;
};

// Registers tag 74 with the main window's dispatch.
void RegistraHistorialPuntos();

} // namespace lar
