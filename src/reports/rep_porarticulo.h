#pragma once

#include "rep_porcliente.h"

namespace lar {

// "Artículos mas vendidos": the articles sold in the period, of one customer or of
// all, up to 100 from each sale source.
class Tfrep_PorArticulo : public TfRepCliente
{
    Q_OBJECT

public:
    explicit Tfrep_PorArticulo(Sesion &sesion, QWidget *parent = nullptr);

    void Button1Click() override;

    MemGrid *cxGrid1;

protected:
    int parametroImpresion() const override { return 0; }
};

// Registers tag 77 with the main window's dispatch.
void RegistraRepPorArticulo();

} // namespace lar
