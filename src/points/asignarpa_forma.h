#pragma once

#include "ventaspuntos.h"

namespace lar {

// "Asignar Puntos a Empleados": points given to an employee for activities, the
// capture of the redemption turned round (lines add, nothing leaves a warehouse).
// The employees are the customers flagged as such ("Lista por clientes") or
// Microsip's payroll ("Lista por empleados"). Always a new capture; after a save the
// voucher is offered and the form closes.
class TfAsignar_PA : public CapturaPuntos
{
    Q_OBJECT

public:
    static constexpr int kTag = 79;

    explicit TfAsignar_PA(Sesion &sesion, QWidget *parent = nullptr);
    ~TfAsignar_PA() override;

    bool EsNueva = true;
    // Set by bSaveClose before it prints: the print doesn't save again.
    bool GuardadaCerrar = false;
    // "Folio puntos empleados" as read when the form was shown, padded to 9.
    QString FolioEmpleados;
    // IdGuia of the last save: the voucher's document.
    int DoctoID = 0;
    int FolderFormas = 0;

    bool GuardaActividad();
    void bSaveCloseClick();
    void bSaveNewClick();
    void bNewClick();
    void bPrintClick();

    QPushButton *bNew;
    QPushButton *bSaveClose;
    QPushButton *bSaveNew;
    QPushButton *bPrint;

protected:
    void CargaListaClientes() override {} // filled once, when the form is shown
    QString sqlClienteClave() const override;
    QString avisoClienteClave() const override;
    QString sqlClaveArticulo() const override;
    QString avisoClaveArticulo(const QString &texto) const override;
    QString sqlArticulo() const override;
    void ConfiguraSelector(Tfcat_articulos_lista &lista) override;
    void showEvent(QShowEvent *ev) override;
    bool FormKeyDown(QKeyEvent *ev) override;

private:
    void FormShow();
    bool m_ultimaCompra = true; // GET_ULTCOM_ART exists
};

// Registers tag 79 with the main window's dispatch.
void RegistraAsignarPA();

} // namespace lar
