#include "preview.h"

#include "toolkit/mensajes.h"
#include "toolkit/reporte/impresion.h"
#include "toolkit/reporte/reporte.h"
#include "toolkit/reporte/visor.h"

#include <QApplication>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

using reporte::VisorReporte;

TfPreview::TfPreview(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("TfPreview"));
    setWindowTitle(QStringLiteral("Vista previa"));
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    resize(900, 700);

    tbBarra = new QToolBar(this);
    tbBarra->setObjectName(QStringLiteral("tbBarra"));
    auto boton = [&](const QString &nombre, const QString &texto, bool conmuta = false) {
        auto *b = new QToolButton(tbBarra);
        b->setObjectName(nombre);
        b->setText(texto);
        b->setToolTip(texto);
        b->setAccessibleName(texto);
        b->setCheckable(conmuta);
        b->setAutoRaise(true);
        tbBarra->addWidget(b);
        return b;
    };
    spbPreviewPrint = boton(QStringLiteral("spbPreviewPrint"), QStringLiteral("Imprimir"));
    tbBarra->addSeparator();
    spbPreviewWhole = boton(QStringLiteral("spbPreviewWhole"), QStringLiteral("Whole Page"), true);
    spbPreviewWidth = boton(QStringLiteral("spbPreviewWidth"), QStringLiteral("Page Width"), true);
    spbPreview100Percent
        = boton(QStringLiteral("spbPreview100Percent"), QStringLiteral("100 %"), true);
    mskPreviewPercentage = new QLineEdit(tbBarra);
    mskPreviewPercentage->setObjectName(QStringLiteral("mskPreviewPercentage"));
    mskPreviewPercentage->setAccessibleName(QStringLiteral("Porcentaje"));
    mskPreviewPercentage->setMaximumWidth(50);
    tbBarra->addWidget(mskPreviewPercentage);
    tbBarra->addSeparator();
    spbPreviewFirst = boton(QStringLiteral("spbPreviewFirst"), QStringLiteral("First Page"));
    spbPreviewPrior = boton(QStringLiteral("spbPreviewPrior"), QStringLiteral("Prior Page"));
    mskPreviewPage = new QLineEdit(tbBarra);
    mskPreviewPage->setObjectName(QStringLiteral("mskPreviewPage"));
    mskPreviewPage->setAccessibleName(QStringLiteral("Página"));
    mskPreviewPage->setMaximumWidth(50);
    mskPreviewPage->setValidator(new QIntValidator(1, 99999, mskPreviewPage));
    tbBarra->addWidget(mskPreviewPage);
    spbPreviewNext = boton(QStringLiteral("spbPreviewNext"), QStringLiteral("Next Page"));
    spbPreviewLast = boton(QStringLiteral("spbPreviewLast"), QStringLiteral("Last Page"));
    tbBarra->addSeparator();
    spbPreviewCancel = new QToolButton(this);
    spbPreviewCancel->setObjectName(QStringLiteral("spbPreviewCancel"));
    spbPreviewCancel->setText(QStringLiteral("Cancelar"));
    spbPreviewCancel->setEnabled(false);

    ppViewer1 = new VisorReporte(this);
    ppViewer1->setObjectName(QStringLiteral("ppViewer1"));
    stbStatusBar = new QLabel(this);
    stbStatusBar->setObjectName(QStringLiteral("stbStatusBar"));

    auto *arriba = new QHBoxLayout;
    arriba->addWidget(tbBarra, 1);
    arriba->addWidget(spbPreviewCancel);
    auto *l = new QVBoxLayout(this);
    l->setContentsMargins(4, 4, 4, 4);
    l->addLayout(arriba);
    l->addWidget(ppViewer1, 1);
    l->addWidget(stbStatusBar);

    connect(spbPreviewPrint, &QToolButton::clicked, this, &TfPreview::imprime);
    connect(spbPreviewFirst, &QToolButton::clicked, ppViewer1, &VisorReporte::primera);
    connect(spbPreviewPrior, &QToolButton::clicked, ppViewer1, &VisorReporte::anterior);
    connect(spbPreviewNext, &QToolButton::clicked, ppViewer1, &VisorReporte::siguiente);
    connect(spbPreviewLast, &QToolButton::clicked, ppViewer1, &VisorReporte::ultima);
    for (QToolButton *b : {spbPreviewWhole, spbPreviewWidth, spbPreview100Percent})
        connect(b, &QToolButton::clicked, this, [this, b] { zoomBoton(b); });
    connect(mskPreviewPage, &QLineEdit::returnPressed, this, &TfPreview::irAPagina);
    connect(mskPreviewPercentage, &QLineEdit::returnPressed, this, &TfPreview::ponPorcentaje);
    connect(spbPreviewCancel, &QToolButton::clicked, this, [this] {
        if (m_imprimiendo)
            m_cancelado = true;
    });
    connect(ppViewer1, &VisorReporte::paginaCambiada, this, &TfPreview::sigueVisor);
    connect(ppViewer1, &VisorReporte::zoomCambiado, this, &TfPreview::sigueVisor);
    spbPreview100Percent->setChecked(true);
}

bool TfPreview::regenera(QString *error)
{
    if (!m_reporte)
        return false;
    const bool ok = m_reporte->genera(error);
    ppViewer1->setDocumento(&m_reporte->documento());
    sigueVisor();
    return ok;
}

void TfPreview::sigueVisor()
{
    mskPreviewPage->setText(QString::number(ppViewer1->pagina()));
    mskPreviewPercentage->setText(QString::number(ppViewer1->porcentaje()));
    stbStatusBar->setText(ppViewer1->estado());
}

void TfPreview::irAPagina()
{
    ppViewer1->irA(mskPreviewPage->text().toInt());
    sigueVisor();
}

void TfPreview::ponPorcentaje()
{
    bool ok = false;
    int p = mskPreviewPercentage->text().trimmed().toInt(&ok);
    if (!ok)
        p = 100;
    for (QToolButton *b : {spbPreviewWhole, spbPreviewWidth, spbPreview100Percent})
        b->setChecked(false);
    ppViewer1->setZoom(VisorReporte::Zoom::Porcentaje, p);
    sigueVisor();
}

void TfPreview::zoomBoton(QToolButton *boton)
{
    for (QToolButton *b : {spbPreviewWhole, spbPreviewWidth, spbPreview100Percent})
        b->setChecked(b == boton);
    if (boton == spbPreviewWhole)
        ppViewer1->setZoom(VisorReporte::Zoom::PaginaCompleta);
    else if (boton == spbPreviewWidth)
        ppViewer1->setZoom(VisorReporte::Zoom::AnchoPagina);
    else
        ppViewer1->setZoom(VisorReporte::Zoom::Porcentaje, 100);
}

void TfPreview::imprime()
{
    if (!m_reporte)
        return;
    tbBarra->setEnabled(false);
    spbPreviewCancel->setEnabled(true);
    m_cancelado = false;
    m_imprimiendo = true;
    m_reporte->setAvance([this](int pagina) {
        stbStatusBar->setText(QStringLiteral("Imprimiendo página %1").arg(pagina));
        QApplication::processEvents();
        return !m_cancelado;
    });
    QString error;
    const bool ok = reporte::imprimeReporte(*m_reporte, &error);
    m_reporte->setAvance({});
    m_imprimiendo = false;
    spbPreviewCancel->setEnabled(false);
    tbBarra->setEnabled(true);
    sigueVisor();
    if (!ok) {
        MensajeSistema(error, QStringLiteral("Error"), mb::Ok | mb::IconStop);
        return;
    }
    done(1);
}

void TfPreview::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (!m_activado) {
        m_activado = true;
        // Maximised once the window is up, so the window manager knows its size.
        auto *t = new QTimer(this);
        t->setObjectName(QStringLiteral("tmrMaximiza"));
        t->setInterval(50);
        connect(t, &QTimer::timeout, this, [this, t] {
            t->stop();
            showMaximized();
        });
        t->start();
    }
}

} // namespace lar
