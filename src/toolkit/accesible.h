#pragma once

#include <QAccessible>
#include <QWidget>

namespace lar {

// For a widget class with an accessible interface of its own: registers the
// factory (once per factory) and drops any interface Qt made for `w` while its
// base class was being built (with assistive technology on, Qt asks for one at
// once), so the next query gets the class's own. Call it in the constructor.
template<class Propia>
void RenuevaAccesible(QWidget *w, QAccessible::InterfaceFactory fabrica)
{
    static const bool instalada = (QAccessible::installFactory(fabrica), true);
    Q_UNUSED(instalada);
    QAccessibleInterface *i = QAccessible::queryAccessibleInterface(w);
    if (i && !dynamic_cast<Propia *>(i))
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(i));
}

} // namespace lar
