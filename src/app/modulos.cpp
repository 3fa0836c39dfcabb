#include "modulos.h"

#include "catalog/articulos_lista.h"
#include "catalog/fconfig.h"
#include "core/fmain.h"
#include "points/avisos.h"
#include "security/modulos.h"

namespace lar {

void RegistraModulos()
{
    RegistraConfiguracion();
    RegistraArticulosPuntos();
    RegistraModulosSeguridad();

    TfMain::RutinaReinicio() = RevisaReinicio;
}

} // namespace lar
