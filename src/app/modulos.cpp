#include "modulos.h"

#include "catalog/articulos_lista.h"
#include "catalog/fconfig.h"
#include "security/modulos.h"

namespace lar {

void RegistraModulos()
{
    RegistraConfiguracion();
    RegistraArticulosPuntos();
    RegistraModulosSeguridad();
}

} // namespace lar
