#pragma once

#include <QString>

namespace lar {

// The machine's common application data folder (where Microsip keeps
// "Microsip/ProgramData.xml" and we keep "LarvenosPV/Puntos.ini") and the user's
// local application data folder. On Windows the known folders; elsewhere
// LARVENOS_COMMON_APPDATA and LARVENOS_LOCAL_APPDATA choose them, so the demo and
// the tests point at an environment of their own.
QString CarpetaComun();
QString CarpetaLocal();

// The login name of the operating-system user, as Microsip names its node.
QString UsuarioWindows();

} // namespace lar
