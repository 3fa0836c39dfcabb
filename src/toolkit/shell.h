#pragma once

#include <QString>

#include <functional>

namespace lar {

// Show commands of a file opened with the shell, with the values of the Windows API.
namespace sw {
constexpr int Normal = 1;
constexpr int Minimizada = 2;
constexpr int Maximizada = 3;
constexpr int MinimizadaSinFoco = 7;
} // namespace sw

// One opening of a file "with the system's shell", as the program asked for it.
struct AperturaShell
{
    QString archivo;
    QString verbo = QStringLiteral("open");
    QString parametros;
    QString carpeta;
    int mostrar = sw::Normal;
};

// Every file the program opens with the system's shell goes through here. Without
// an opener the desktop opens it (QDesktopServices: the verb, parameters, folder
// and show command are Windows matters the desktop doesn't take); tests install
// one that records the opening.
class ServicioShell
{
public:
    using Abridor = std::function<bool(const AperturaShell &)>;
    // True when the file was handed to an application.
    static bool abre(const AperturaShell &apertura);
    static void instalaAbridor(Abridor a);
    static bool tieneAbridor();
};

} // namespace lar
