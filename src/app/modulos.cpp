#include "modulos.h"

#include "catalog/articulos_lista.h"
#include "catalog/fconfig.h"
#include "points/ventaspuntoslista.h"
#include "security/modulos.h"

namespace lar {

void RegistraModulos()
{
    RegistraConfiguracion();
    RegistraArticulosPuntos();
    RegistraCanjePuntos();
    RegistraModulosSeguridad();
}

} // namespace lar
