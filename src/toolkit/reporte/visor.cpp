#include "visor.h"

#include "pintor.h"

#include "toolkit/accesible.h"

#include <QAccessibleWidget>
#include <QLabel>
#include <QResizeEvent>
#include <QScrollBar>

namespace lar::reporte {

namespace {
// A millimetre at 100 % on a screen of 96 dots per inch.
constexpr double kPxPorMm100 = 96.0 / 25.4;
constexpr int kBorde = 12;

// The page is a picture: assistive technology gets a document whose description
// is the page number and the page's texts in drawing order.
class AccesibleVisor : public QAccessibleWidget
{
public:
    explicit AccesibleVisor(VisorReporte *v)
        : QAccessibleWidget(v, QAccessible::Document)
    {}
    QString text(QAccessible::Text t) const override
    {
        const auto *v = static_cast<const VisorReporte *>(object());
        if (t == QAccessible::Description && v->paginas() > 0) {
            const QStringList textos = v->documento()->hojas.value(v->pagina() - 1).textos();
            return QStringLiteral("Página %1 de %2. ").arg(v->pagina()).arg(v->paginas())
                   + textos.join(u' ');
        }
        return QAccessibleWidget::text(t);
    }
};

QAccessibleInterface *fabricaAccesible(const QString &, QObject *o)
{
    if (auto *v = qobject_cast<VisorReporte *>(o))
        return new AccesibleVisor(v);
    return nullptr;
}

} // namespace

VisorReporte::VisorReporte(QWidget *parent)
    : QScrollArea(parent)
    , m_hoja(new QLabel)
{
    setAlignment(Qt::AlignCenter);
    setBackgroundRole(QPalette::Dark);
    m_hoja->setAccessibleName(QStringLiteral("Página del reporte"));
    setWidget(m_hoja);
    setAccessibleName(QStringLiteral("Vista previa del reporte"));
    RenuevaAccesible<AccesibleVisor>(this, fabricaAccesible);
}

void VisorReporte::setDocumento(const Documento *doc)
{
    m_doc = doc;
    m_pagina = 0;
    irA(1);
}

int VisorReporte::paginas() const
{
    return m_doc ? int(m_doc->hojas.size()) : 0;
}

double VisorReporte::escala() const
{
    if (!m_doc || m_pagina < 1)
        return kPxPorMm100 * m_porcentaje / 100.0;
    const QSizeF mm = m_doc->hojas[m_pagina - 1].tamano;
    const QSize area = viewport()->size() - QSize(2 * kBorde, 2 * kBorde);
    switch (m_modo) {
    case Zoom::PaginaCompleta:
        return std::max(0.1, std::min(area.width() / mm.width(), area.height() / mm.height()));
    case Zoom::AnchoPagina:
        // Leaves room for the vertical scroll bar the tall page will need.
        return std::max(0.1, (area.width() - verticalScrollBar()->sizeHint().width()) / mm.width());
    case Zoom::Porcentaje:
        break;
    }
    return kPxPorMm100 * m_porcentaje / 100.0;
}

int VisorReporte::porcentaje() const
{
    return qRound(escala() / kPxPorMm100 * 100.0);
}

QString VisorReporte::estado() const
{
    if (paginas() == 0)
        return QStringLiteral("Sin páginas");
    return QStringLiteral("Página %1 de %2").arg(m_pagina).arg(paginas());
}

QImage VisorReporte::imagenActual() const
{
    return m_hoja->pixmap().toImage();
}

void VisorReporte::irA(int pagina)
{
    const int n = std::clamp(pagina, paginas() > 0 ? 1 : 0, paginas());
    const bool cambia = n != m_pagina;
    m_pagina = n;
    pinta();
    if (cambia) {
        emit paginaCambiada(m_pagina);
        emit estadoCambiado(estado());
    }
}

void VisorReporte::setZoom(Zoom modo, int porcentaje)
{
    m_modo = modo;
    m_porcentaje = std::clamp(porcentaje, 10, 800);
    pinta();
    emit zoomCambiado(this->porcentaje());
}

void VisorReporte::resizeEvent(QResizeEvent *event)
{
    QScrollArea::resizeEvent(event);
    if (m_modo != Zoom::Porcentaje)
        pinta();
}

void VisorReporte::pinta()
{
    if (!m_doc || m_pagina < 1) {
        m_hoja->clear();
        m_hoja->resize(0, 0);
        return;
    }
    const QImage img = imagenHoja(m_doc->hojas[m_pagina - 1], escala());
    m_hoja->setPixmap(QPixmap::fromImage(img));
    m_hoja->resize(img.size());
}

} // namespace lar::reporte
