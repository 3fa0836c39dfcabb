#include "accesibilidad.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextEdit>
#include <QWidget>

namespace lartest {

namespace {

// The control a user deals with: an editor inside a combo box or a spin box is
// part of it.
QWidget *control(QWidget *w)
{
    QWidget *p = w->parentWidget();
    if (p && (qobject_cast<QComboBox *>(p) || qobject_cast<QAbstractSpinBox *>(p)))
        return p;
    return w;
}

bool esInteractivo(const QWidget *w)
{
    // A table's headers and a view's scroll bars are reached through the view.
    if (qobject_cast<const QHeaderView *>(w) || qobject_cast<const QScrollBar *>(w))
        return false;
    return qobject_cast<const QAbstractButton *>(w) || qobject_cast<const QLineEdit *>(w)
           || qobject_cast<const QComboBox *>(w) || qobject_cast<const QAbstractSpinBox *>(w)
           || qobject_cast<const QAbstractItemView *>(w) || qobject_cast<const QAbstractSlider *>(w)
           || qobject_cast<const QPlainTextEdit *>(w) || qobject_cast<const QTextEdit *>(w);
}

QString nombre(const QWidget *w)
{
    return (w->objectName().isEmpty() ? QStringLiteral("(sin objectName)") : w->objectName())
           + QStringLiteral(" (") + QString::fromLatin1(w->metaObject()->className()) + u')';
}

} // namespace

QStringList problemasAccesibles(QWidget *forma)
{
    QStringList problemas;
    QList<QWidget *> widgets = forma->findChildren<QWidget *>();
    widgets.prepend(forma);
    QList<QWidget *> vistos;
    for (QWidget *w : std::as_const(widgets)) {
        if (w != forma && !w->isVisibleTo(forma))
            continue;
        if (w->objectName().startsWith(QStringLiteral("qt_")) || w->focusProxy())
            continue;
        QWidget *c = control(w);
        if (vistos.contains(c))
            continue;
        const bool enfocable = (w->focusPolicy() & Qt::TabFocus) != 0;
        if (!enfocable) {
            if (esInteractivo(c) && c->isEnabled())
                problemas << nombre(c) + QStringLiteral(": el tabulador no llega");
            continue;
        }
        vistos << c;
        QAccessibleInterface *i = QAccessible::queryAccessibleInterface(c);
        if (!i) {
            problemas << nombre(c) + QStringLiteral(": sin interfaz accesible");
            continue;
        }
        const QAccessible::Role rol = i->role();
        if (rol == QAccessible::NoRole || rol == QAccessible::Client)
            problemas << nombre(c) + QStringLiteral(": sin papel propio");
        if (i->text(QAccessible::Name).trimmed().isEmpty())
            problemas << nombre(c) + QStringLiteral(": sin nombre accesible");
    }
    return problemas;
}

} // namespace lartest
