#pragma once

namespace lar {

// Enters the security screens in the dispatch: tag 1 (the menu design, reached
// only through aSisPermisosDes) and tag 2 (the permission editor), both modal.
void RegistraModulosSeguridad();

} // namespace lar
