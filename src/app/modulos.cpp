#include "modulos.h"

#include "catalog/articulos_lista.h"
#include "catalog/fconfig.h"
#include "core/fmain.h"
#include "points/avisos.h"
#include "points/ventaspuntoslista.h"
#include "reports/rep_porarticulo.h"
#include "reports/rep_porbusqueda.h"
#include "security/modulos.h"

namespace lar {

void RegistraModulos()
{
    RegistraConfiguracion();
    RegistraArticulosPuntos();
    RegistraCanjePuntos();
    RegistraModulosSeguridad();
    RegistraRepPorCliente();
    RegistraRepPorArticulo();
    RegistraRepPorBusqueda();

    TfMain::RutinaReinicio() = RevisaReinicio;
}

} // namespace lar
