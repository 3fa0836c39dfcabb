#include "modulos.h"

#include "modseguridad.h"
#include "sisdiseno.h"

#include "core/fmain.h"
#include "core/navegacion.h"

namespace lar {

void RegistraModulosSeguridad()
{
    FilaModulo diseno;
    diseno.tag = Tfsis_diseno::kTag;
    diseno.clase = QStringLiteral("Tfsis_diseno");
    diseno.modal = true;
    diseno.creaDialogo = [](TfMain &m) -> QDialog * {
        return new Tfsis_diseno(m.sesion(), &m);
    };
    RegistraModulo(diseno);

    FilaModulo permisos;
    permisos.tag = TfModSeguridad::kTag;
    permisos.clase = QStringLiteral("TfModSeguridad");
    permisos.modal = true;
    permisos.creaDialogo = [](TfMain &m) -> QDialog * {
        return new TfModSeguridad(m.sesion(), &m);
    };
    RegistraModulo(permisos);
}

} // namespace lar
