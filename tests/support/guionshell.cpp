#include "guionshell.h"

namespace lartest {

GuionShell::GuionShell()
{
    lar::ServicioShell::instalaAbridor([this](const lar::AperturaShell &a) {
        m_aperturas.append(a);
        return true;
    });
}

GuionShell::~GuionShell()
{
    lar::ServicioShell::instalaAbridor({});
}

} // namespace lartest
