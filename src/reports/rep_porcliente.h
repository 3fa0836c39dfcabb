#pragma once

#include "rep_porcliente_datos.h"

#include "core/mform.h"

#include <functional>
#include <memory>

class QDateEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;
class QHBoxLayout;

namespace lar {

class MemGrid;
class MemTable;
class Sesion;

// What the customer reports share: the sale sources read at opening, the
// customer list and its two roads (the picker, which moves mClientes, and a key
// typed and Enter, which doesn't), the period saved in LAR_REPORTES before each
// load, and the print and export commands.
class TfRepCliente : public TMForm
{
    Q_OBJECT

public:
    ~TfRepCliente() override;

    FuentesVenta Fuentes;
    int ClienteId = 0;
    QString ClaveCliente;
    int FolderId = 0;

    MemTable &clientes() { return *mClientes; }
    MemTable &tabla() { return *m_tabla; }
    DatosReportes &datos() { return m_datos; }

    void ListaClientesClick(); // the ellipsis
    void txtClienteEnter();
    virtual void Button1Click() = 0;
    void btnImprimirClick();
    void btnExportarClick();

    QLineEdit *txtCliente;
    QToolButton *bCliente;
    QDateEdit *dtpFechaI;
    QDateEdit *dtpFechaF;
    QPushButton *Button1;
    QPushButton *btnImprimir;
    QPushButton *btnExportar;

protected:
    TfRepCliente(Sesion &sesion,
                 const QString &nombre,
                 const QString &titulo,
                 const QString &documento,
                 QWidget *parent);
    // The grid goes below the controls; the subclass makes it over tabla().
    void ponRejilla(MemGrid *grid);
    MemGrid *rejilla() const { return m_grid; }
    // Saves the period (articuloId when the row is new); false after the error box.
    bool guardaPeriodo(int articuloId);
    // Refills the table with what lee appends; a database error is shown and
    // gives false.
    bool cargaTabla(const std::function<int()> &lee, int &filas);
    // btnImprimir: off with nothing loaded, else by the right.
    void ajustaImprimir();
    // The value the print form gets: the row of mClientes for the customer report.
    virtual int parametroImpresion() const = 0;

    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *o, QEvent *ev) override;

    Sesion &m_s;
    DatosReportes m_datos;
    std::unique_ptr<MemTable> mClientes;
    std::unique_ptr<MemTable> m_tabla;

private:
    QString m_documento;
    MemGrid *m_grid = nullptr;
    bool m_mostrada = false;
};

// "Reporte Compra por cliente": a customer's sales of the period.
class Tfrep_PorCliente : public TfRepCliente
{
    Q_OBJECT

public:
    explicit Tfrep_PorCliente(Sesion &sesion, QWidget *parent = nullptr);

    void Button1Click() override;

    MemGrid *cxGridCliente;

protected:
    int parametroImpresion() const override;
};

// Registers tag 76 with the main window's dispatch.
void RegistraRepPorCliente();

} // namespace lar
