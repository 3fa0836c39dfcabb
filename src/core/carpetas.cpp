#include "carpetas.h"

#include <QDir>
#include <QStandardPaths>

namespace lar {

namespace {

QString limpia(const QString &carpeta)
{
    return QDir::cleanPath(QDir::fromNativeSeparators(carpeta));
}

} // namespace

QString CarpetaComun()
{
    const QString env = qEnvironmentVariable("LARVENOS_COMMON_APPDATA");
    if (!env.isEmpty())
        return limpia(env);
#ifdef Q_OS_WIN
    return limpia(qEnvironmentVariable("ProgramData", QStringLiteral("C:/ProgramData")));
#else
    // The system-wide configuration folder (/etc/xdg): one per machine, as ProgramData.
    const QStringList sistema
        = QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
    return sistema.size() > 1 ? limpia(sistema.last()) : QStringLiteral("/etc/xdg");
#endif
}

QString CarpetaLocal()
{
    const QString env = qEnvironmentVariable("LARVENOS_LOCAL_APPDATA");
    if (!env.isEmpty())
        return limpia(env);
#ifdef Q_OS_WIN
    return limpia(qEnvironmentVariable("LOCALAPPDATA"));
#else
    return limpia(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
#endif
}

QString UsuarioWindows()
{
    QString u = qEnvironmentVariable("USERNAME");
    if (u.isEmpty())
        u = qEnvironmentVariable("USER");
    return u;
}

} // namespace lar
