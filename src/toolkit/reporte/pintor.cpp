#include "pintor.h"

#include <QFile>
#include <QFileInfo>
#include <QPageSize>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

namespace lar::reporte {

void pintaHoja(QPainter &painter, const Hoja &hoja, double pxPorMm)
{
    // Fonts are sized in points of the device: scale them from the device's own
    // resolution to the pixels per millimetre asked for.
    const double dpi = painter.device() ? painter.device()->logicalDpiY() : 96.0;
    const double factorFuente = pxPorMm / (dpi / 25.4);
    auto r = [&](const QRectF &mm) {
        return QRectF(
            mm.x() * pxPorMm, mm.y() * pxPorMm, mm.width() * pxPorMm, mm.height() * pxPorMm);
    };
    QFont fuente;
    for (const Primitiva &p : hoja.primitivas) {
        switch (p.tipo) {
        case Primitiva::Tipo::Texto: {
            if (p.fondo.isValid())
                painter.fillRect(r(p.rect), p.fondo);
            if (p.texto.isEmpty())
                break;
            fuente.setFamily(p.fuente);
            fuente.setPointSizeF(std::max(0.5, p.puntos * factorFuente));
            fuente.setBold(p.negrita);
            fuente.setItalic(p.cursiva);
            painter.setFont(fuente);
            painter.setPen(p.color);
            painter.drawText(r(p.rect),
                             p.alineacion ? p.alineacion : int(Qt::AlignLeft | Qt::AlignVCenter),
                             p.texto);
            break;
        }
        case Primitiva::Tipo::Linea:
            painter.setPen(QPen(p.color, std::max(1.0, p.grosor * pxPorMm)));
            painter.drawLine(QPointF(p.rect.left() * pxPorMm, p.rect.top() * pxPorMm),
                             QPointF(p.rect.right() * pxPorMm, p.rect.bottom() * pxPorMm));
            break;
        case Primitiva::Tipo::Rectangulo:
            painter.setPen(QPen(p.color, std::max(1.0, p.grosor * pxPorMm)));
            painter.setBrush(p.fondo.isValid() ? QBrush(p.fondo)
                             : p.relleno       ? QBrush(p.color)
                                               : QBrush(Qt::NoBrush));
            painter.drawRect(r(p.rect));
            painter.setBrush(Qt::NoBrush);
            break;
        case Primitiva::Tipo::Imagen:
            if (!p.imagen.isNull()) {
                const QRectF destino = r(p.rect);
                const QSizeF ajustado
                    = QSizeF(p.imagen.size()).scaled(destino.size(), Qt::KeepAspectRatio);
                painter.drawImage(QRectF(destino.topLeft(), ajustado), p.imagen);
            }
            break;
        }
    }
}

QImage imagenHoja(const Hoja &hoja, double pxPorMm)
{
    QImage img(QSize(qRound(hoja.tamano.width() * pxPorMm), qRound(hoja.tamano.height() * pxPorMm)),
               QImage::Format_RGB32);
    img.fill(Qt::white);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    pintaHoja(p, hoja, pxPorMm);
    return img;
}

bool pintaDocumento(QPainter &painter,
                    QPagedPaintDevice &dispositivo,
                    const Documento &doc,
                    const std::function<bool(int)> &sigue)
{
    const double pxPorMm = dispositivo.logicalDpiX() / 25.4;
    for (int i = 0; i < doc.hojas.size(); ++i) {
        if (sigue && !sigue(i + 1))
            return false;
        if (i > 0) {
            dispositivo.setPageSize(
                QPageSize(doc.hojas[i].tamano, QPageSize::Millimeter, {}, QPageSize::ExactMatch));
            dispositivo.newPage();
        }
        pintaHoja(painter, doc.hojas[i], pxPorMm);
    }
    return true;
}

bool escribePdf(const Documento &doc, const QString &ruta, QString *error)
{
    QSaveFile archivo(ruta);
    if (!archivo.open(QIODevice::WriteOnly)) {
        if (error)
            *error = QStringLiteral("No fue posible crear el archivo \"%1\": %2")
                         .arg(ruta, archivo.errorString());
        return false;
    }
    {
        QPdfWriter pdf(&archivo);
        pdf.setTitle(doc.nombre);
        pdf.setCreator(QStringLiteral("Puntos Larvenos"));
        pdf.setResolution(600);
        const QSizeF tamano
            = doc.hojas.isEmpty() ? QSizeF(215.9, 279.401) : doc.hojas.constFirst().tamano;
        pdf.setPageSize(QPageSize(tamano, QPageSize::Millimeter, {}, QPageSize::ExactMatch));
        pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
        QPainter painter(&pdf);
        pintaDocumento(painter, pdf, doc);
    }
    if (!archivo.commit()) {
        if (error)
            *error = QStringLiteral("No fue posible escribir el archivo \"%1\": %2")
                         .arg(ruta, archivo.errorString());
        return false;
    }
    return true;
}

} // namespace lar::reporte
