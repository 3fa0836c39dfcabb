#pragma once

#include <QIcon>
#include <QString>

namespace lar {

// An icon compiled into the program, by its name in the icon theme
// ("package-x-generic"), with its 16 and 32 pixel pictures and a faded grey
// picture for a disabled control. A name not compiled in gives a null icon.
QIcon Icono(const QString &nombre);

} // namespace lar
