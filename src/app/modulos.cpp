#include "modulos.h"

#include "catalog/articulos_lista.h"
#include "catalog/fconfig.h"
#include "core/fmain.h"
#include "points/asignapuntos_forma.h"
#include "points/asignarpa_forma.h"
#include "points/avisos.h"
#include "points/historial_forma.h"
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
    RegistraAsignaPuntos();
    RegistraAsignarPA();
    RegistraHistorialPuntos();

    TfMain::RutinaReinicio() = RevisaReinicio;
}

} // namespace lar
