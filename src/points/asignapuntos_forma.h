#pragma once

#include "asignapuntos.h"

#include <QDialog>

#include <memory>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace lar {

class MemGrid;
class MemTable;
class Sesion;

// "Asignar o retirar puntos a Clientes": adds or withdraws points for the
// customers ticked in the list, one movement per save.
class TfAsignaPuntos : public QDialog
{
    Q_OBJECT

public:
    static constexpr int kTag = 75;

    explicit TfAsignaPuntos(Sesion &sesion, QWidget *parent = nullptr);
    ~TfAsignaPuntos() override;

    // Permisos[75] when the form was created; bit 2 enables the save commands.
    quint32 Acceso = 0;

    MemTable &clientes() { return *mClientes; }
    MemTable &detalle() { return *mDet; }

    // The button of txtCliente: the customers to tick, from an empty choice.
    void EligeClientes();
    // mDet from the ticked customers, with their present balances.
    void CargaSaldos();
    void LimpiaMovimiento();

    // The controls, named as designed.
    QLineEdit *txtCliente;
    QToolButton *bClientes; // the button of txtCliente
    QLabel *lblNoCtes;
    QComboBox *vMovto;
    QLineEdit *vPuntos;
    MemGrid *cxGrid;
    QPushButton *bNew;
    QPushButton *bEdit;
    QPushButton *bSavee;
    QPushButton *bSaveClose;
    QPushButton *bSaveNew;

private:
    enum class Fin { Cerrar, Recargar, Limpiar };
    void guarda(Fin fin);
    void bNewClick();

    Sesion &m_s;
    MovimientoPuntos m_movimiento;
    std::unique_ptr<MemTable> mClientes;
    std::unique_ptr<MemTable> mDet;
};

// Registers tag 75 with the main window's dispatch.
void RegistraAsignaPuntos();

} // namespace lar
