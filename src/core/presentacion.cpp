#include "presentacion.h"

#include "ids.h"

#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

namespace lar {

TfPresentacion::TfPresentacion(const QString &nombrePrograma, bool acercaDe, QWidget *parent)
    : QDialog(parent)
    , m_acercaDe(acercaDe)
{
    setObjectName(QStringLiteral("fPresentacion"));
    if (acercaDe) {
        setWindowFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
        setWindowTitle(QStringLiteral("Acerca de ") + nombrePrograma);
    } else {
        setWindowFlags(Qt::SplashScreen | Qt::FramelessWindowHint);
    }
    auto *nombre = new QLabel(nombrePrograma, this);
    nombre->setObjectName(QStringLiteral("lbNombre"));
    QFont f(QStringLiteral("Tahoma"), 26, QFont::Bold);
    nombre->setFont(f);
    nombre->setAlignment(Qt::AlignCenter);
    auto *sub = new QLabel(QStringLiteral("Larvenos Punto de Venta"), this);
    sub->setAlignment(Qt::AlignCenter);
    lbVersion = new QLabel(QStringLiteral("Versión ") + VersionArchivo(), this);
    lbVersion->setObjectName(QStringLiteral("lbVersion"));
    lbVersion->setAlignment(Qt::AlignCenter);
    lbVersion->setVisible(acercaDe);
    auto *v = new QVBoxLayout(this);
    v->addStretch(1);
    v->addWidget(nombre);
    v->addWidget(sub);
    v->addSpacing(12);
    v->addWidget(lbVersion);
    v->addStretch(1);
    setFixedSize(460, 240);

    tClose = new QTimer(this);
    tClose->setObjectName(QStringLiteral("tClose"));
    tClose->setSingleShot(true);
    tClose->setInterval(acercaDe ? 45000 : 1000);
    connect(tClose, &QTimer::timeout, this, &QDialog::accept);
    tClose->start();
}

void TfPresentacion::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    if (m_acercaDe)
        return;
    // The splash comes before the main window takes its place: the middle of the
    // screen, not of a window that is about to be maximised.
    const QScreen *pantalla = parentWidget() ? parentWidget()->screen() : screen();
    if (pantalla)
        move(pantalla->availableGeometry().center() - rect().center());
}

void TfPresentacion::mousePressEvent(QMouseEvent *ev)
{
    if (m_acercaDe)
        accept();
    else
        QDialog::mousePressEvent(ev);
}

void TfPresentacion::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    QLinearGradient g(0, 0, 0, height());
    g.setColorAt(0, QColor(0xF4, 0xF8, 0xFC));
    g.setColorAt(1, QColor(0xC9, 0xDA, 0xEC));
    p.fillRect(rect(), g);
    p.setPen(QColor(0x6F, 0x8F, 0xB5));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

} // namespace lar
