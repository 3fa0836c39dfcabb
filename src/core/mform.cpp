#include "mform.h"

#include "toolkit/tag.h"

#include <QCloseEvent>
#include <QDate>
#include <QDateEdit>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>

namespace lar {

TMForm::TMForm(QWidget *parent)
    : QDialog(parent)
{
    setAttribute(Qt::WA_AlwaysShowToolTips);
}

TMForm::~TMForm() = default;

void TMForm::DoIt(const QString &) {}

void TMForm::DoFiltroChange(QComboBox *) {}

void TMForm::terminaDiseno()
{
    if (m_disenoTerminado)
        return;
    m_disenoTerminado = true;
    if (const QScreen *pantalla = screen() ? screen() : QGuiApplication::primaryScreen()) {
        const int ancho = pantalla->geometry().width();
        if (width() > ancho)
            resize(ancho, height());
    }
    const QDate hoy = QDate::currentDate();
    const QList<QDateEdit *> fechas = findChildren<QDateEdit *>();
    for (QDateEdit *f : fechas) {
        switch (Tag(f)) {
        case 1:
            f->setDate(QDate(hoy.year(), hoy.month(), 1));
            break;
        case 2:
            f->setDate(QDate(hoy.year(), hoy.month(), hoy.daysInMonth()));
            break;
        default:
            f->setDate(hoy);
            break;
        }
    }
}

QPushButton *TMForm::Boton(const QString &nombre, const QString &texto)
{
    auto *b = new QPushButton(texto, this);
    b->setObjectName(nombre);
    b->setAutoDefault(false);
    return b;
}

bool TMForm::event(QEvent *ev)
{
    if (ev->type() == QEvent::Polish)
        terminaDiseno();
    return QDialog::event(ev);
}

void TMForm::closeEvent(QCloseEvent *ev)
{
    AccionCierre accion = AccionCierre::Ocultar;
    if (OnClose)
        OnClose(this, accion);
    if (accion == AccionCierre::Ninguna) {
        ev->ignore();
        return;
    }
    QDialog::closeEvent(ev);
    if (!ev->isAccepted())
        return;
    if (accion == AccionCierre::Liberar) {
        m_cerrando = true;
        hide();
        deleteLater();
    }
}

bool TMForm::FormKeyDown(QKeyEvent *ev)
{
    const int k = ev->key();
    if (k < Qt::Key_F5 || k > Qt::Key_F12)
        return false;
    const int tag = -(k - Qt::Key_F1 + 1);
    bool usada = false;
    const QList<QPushButton *> botones = findChildren<QPushButton *>();
    for (QPushButton *b : botones) {
        if (Tag(b) == tag && b->isEnabled()) {
            b->click();
            usada = true;
        }
    }
    return usada;
}

bool TMForm::FormKeyUp(QKeyEvent *)
{
    return false;
}

void TMForm::keyPressEvent(QKeyEvent *ev)
{
    // Embedded, the main window forwards the keys and a dialog's Escape must not
    // hide the form behind its close handler.
    if (embebida()) {
        QWidget::keyPressEvent(ev);
        return;
    }
    // A dialog's Escape would reject it, hiding it without the form's closing
    // handler (its question, the release of what it holds): it closes instead,
    // unless the form's own keys use it.
    if (ev->key() == Qt::Key_Escape && ev->modifiers() == Qt::NoModifier) {
        if (!FormKeyDown(ev))
            close();
        ev->accept();
        return;
    }
    QDialog::keyPressEvent(ev);
    if (FormKeyDown(ev))
        ev->accept();
}

void TMForm::keyReleaseEvent(QKeyEvent *ev)
{
    if (!embebida() && FormKeyUp(ev))
        ev->accept();
    else
        QDialog::keyReleaseEvent(ev);
}

} // namespace lar
