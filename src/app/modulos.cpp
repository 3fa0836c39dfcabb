#include "modulos.h"

#include "catalog/articulos_lista.h"
#include "catalog/fconfig.h"
#include "points/asignapuntos_forma.h"
#include "points/historial_forma.h"
#include "security/modulos.h"

namespace lar {

void RegistraModulos()
{
    RegistraConfiguracion();
    RegistraArticulosPuntos();
    RegistraModulosSeguridad();
    RegistraAsignaPuntos();
    RegistraHistorialPuntos();
}

} // namespace lar
