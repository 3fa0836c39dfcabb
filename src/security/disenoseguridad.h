#pragma once

#include "datosseguridad.h"

#include <QList>
#include <QString>

namespace lar {

class Sesion;

// A right of a module: its title and its place (the order; the position is the bit).
struct DerechoSeguridad
{
    QString titulo;
    int lugar = 0;
};

// The title of a module of this system by tag (1 to 79), empty for a tag without one.
QString TituloModuloSistema(int tag);

// Doubles the single quotes of a text that goes into a statement between quotes.
QString ComillasSql(const QString &texto);

// The catalogue behind the permission editor: menus, the modules under a menu and
// the rights of a module. Every write runs in its own transaction on fbUpdateTrans
// and returns the engine's message on failure (empty on success).
class DisenoSeguridad
{
public:
    explicit DisenoSeguridad(Sesion &sesion);

    // Every row of lar_menusistema.
    QList<MenuSeguridad> menus();
    // The number a new menu would take, spending nothing: a promise to no one, as
    // another station may take it first.
    int siguienteClave();
    QString nuevoMenu(const QString &titulo, int depende, int *clave);
    QString editaMenu(int clave, const QString &titulo);
    // One menu row; the modules under it are left as they are.
    QString borraMenu(int clave);

    // Every module under a menu, whatever its product mark.
    QList<ModuloSeguridad> modulos(int clave);
    QString agregaModulo(int clave, int tag, const QString &titulo);
    QString borraModulo(int clave, int tag);

    QList<DerechoSeguridad> derechos(int tag);
    // A new right after the last one (LUGAR 1 for the first).
    QString agregaDerecho(int tag, const QString &titulo);
    // Rights behind it move one bit down; stored rights aren't rewritten.
    QString borraDerecho(int tag, int lugar);
    QString renombraDerecho(int tag, int lugar, const QString &titulo);

private:
    bool existeMenu(int clave);
    // Runs `escribe` in a transaction of its own: committed, or rolled back with the message.
    QString enTransaccion(const std::function<void()> &escribe);

    Sesion &m_sesion;
};

} // namespace lar
