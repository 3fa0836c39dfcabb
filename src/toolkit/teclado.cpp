#include "teclado.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPointer>
#include <QProxyStyle>

namespace lar {

namespace {

class FiltroEnter : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *obj, QEvent *ev) override
    {
        if (ev->type() != QEvent::KeyPress)
            return false;
        auto *k = static_cast<QKeyEvent *>(ev);
        if (k->key() != Qt::Key_Return && k->key() != Qt::Key_Enter)
            return false;
        auto *b = qobject_cast<QAbstractButton *>(obj);
        if (!b || !b->isEnabled())
            return false;
        b->click();
        return true;
    }
};

// The mask character is the style's; this one answers '*' and leaves the rest to
// the application's style.
class EstiloAsterisco : public QProxyStyle
{
public:
    int styleHint(StyleHint hint,
                  const QStyleOption *opcion,
                  const QWidget *widget,
                  QStyleHintReturn *retorno) const override
    {
        if (hint == SH_LineEdit_PasswordCharacter)
            return u'*';
        return QProxyStyle::styleHint(hint, opcion, widget, retorno);
    }
};

} // namespace

void EnterPulsa(QAbstractButton *boton)
{
    boton->installEventFilter(new FiltroEnter(boton));
}

void EnfocaConTeclado(QWidget *w)
{
    // Qt marks a window for focus frames only on Tab itself or a shortcut.
    w->window()->setAttribute(Qt::WA_KeyboardFocusChange);
    w->setFocus(Qt::TabFocusReason);
}

void CampoContrasena(QLineEdit *campo)
{
    // One style for every password field of the process, freed with the application.
    static QPointer<EstiloAsterisco> estilo;
    if (!estilo) {
        estilo = new EstiloAsterisco;
        estilo->setParent(QCoreApplication::instance());
    }
    campo->setStyle(estilo);
    campo->setEchoMode(QLineEdit::Password);
}

} // namespace lar
