#include "modulos.h"

#include "catalog/articulos_lista.h"
#include "catalog/fconfig.h"
#include "core/fmain.h"
#include "core/navegacion.h"
#include "points/ventaspuntoslista.h"
#include "security/modulos.h"

namespace lar {

void RegistraModulos()
{
    FilaModulo config;
    config.tag = 10;
    config.clase = QStringLiteral("TfConfig");
    config.creaForma = [](TfMain &m) -> TMForm * {
        return new TfConfig(m.sesion());
    };
    RegistraModulo(config);

    RegistraArticulosPuntos();
    RegistraCanjePuntos();
    RegistraModulosSeguridad();
}

} // namespace lar
