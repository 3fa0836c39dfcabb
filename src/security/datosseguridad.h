#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <array>

namespace lar {

class Sesion;

// Rights of one user by module tag (1 to 79; 0 unused), one bit per right.
using ValoresPermisos = std::array<quint32, 80>;

// A menu of the rights catalogue.
struct MenuSeguridad
{
    int clave = 0;
    QString titulo;
    int depende = 0;
};

// A module under a menu: its tag and its title without '&'.
struct ModuloSeguridad
{
    int tag = 0;
    QString titulo;
};

// What the permission editor reads and writes: Microsip's users, the menus and
// modules of this system, the rights of a module in LUGAR order, and the rights
// of a user in the company database.
class DatosSeguridad
{
public:
    explicit DatosSeguridad(Sesion &sesion);

    // The configuration database's users of type 'U', by name.
    QStringList usuarios();
    // "Sistema" and the menus that hold modules of this system; menu 18 never.
    QList<MenuSeguridad> menus();
    // The modules of this system under a menu, in the order the database gives.
    QList<ModuloSeguridad> modulos(int clave);
    // Titles of a module's rights; the position is the bit.
    QStringList derechos(int tag);
    // The stored rights of a user; 0 where no row exists.
    ValoresPermisos permisos(const QString &usuario);
    // Writes the modules in `tags` (1 to 79 only): an update, else an insert; never
    // a delete. All or nothing; returns the engine's message on failure.
    QString guarda(const QString &usuario, const ValoresPermisos &valores, const QList<int> &tags);

private:
    Sesion &m_sesion;
};

} // namespace lar
