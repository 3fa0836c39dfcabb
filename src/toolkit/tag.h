#pragma once

#include <QObject>
#include <QVariant>

namespace lar {

// The integer every control and action carries as design data: a module's number
// on an action, -5..-12 on a button for F5..F12, 1 or 2 on a date picker for the
// first or last day of the month. Kept as the dynamic property "Tag"; 0 when unset.
inline int Tag(const QObject *o)
{
    return o ? o->property("Tag").toInt() : 0;
}

inline void SetTag(QObject *o, int tag)
{
    o->setProperty("Tag", tag);
}

} // namespace lar
