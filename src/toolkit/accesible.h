#pragma once

#include <QAbstractItemView>
#include <QAccessible>
#include <QLabel>
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

// Makes `etiqueta` the caption of `control`: its buddy (Alt+letter focuses the
// control) and its accessible name; lists and tables take no name from a buddy.
inline void EtiquetaDe(QLabel *etiqueta, QWidget *control)
{
    etiqueta->setBuddy(control);
    if (qobject_cast<QAbstractItemView *>(control) && control->accessibleName().isEmpty())
        control->setAccessibleName(QString(etiqueta->text()).remove(u'&'));
}

} // namespace lar
