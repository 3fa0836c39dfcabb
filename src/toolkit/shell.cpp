#include "shell.h"

#include <QDesktopServices>
#include <QUrl>

namespace lar {

namespace {

ServicioShell::Abridor &abridor()
{
    static ServicioShell::Abridor a;
    return a;
}

} // namespace

bool ServicioShell::abre(const AperturaShell &apertura)
{
    if (abridor())
        return abridor()(apertura);
    return QDesktopServices::openUrl(QUrl::fromLocalFile(apertura.archivo));
}

void ServicioShell::instalaAbridor(Abridor a)
{
    abridor() = std::move(a);
}

bool ServicioShell::tieneAbridor()
{
    return bool(abridor());
}

} // namespace lar
