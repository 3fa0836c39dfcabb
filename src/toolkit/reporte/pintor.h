#pragma once

#include "documento.h"

#include <QImage>
#include <QString>

#include <functional>

class QPainter;
class QPagedPaintDevice;

namespace lar::reporte {

// Draws a laid-out page on any painter whose device has pxPorMm pixels per
// millimetre from the painter's origin.
void pintaHoja(QPainter &painter, const Hoja &hoja, double pxPorMm);

// The page as an image (white paper) at that scale: the preview's picture.
QImage imagenHoja(const Hoja &hoja, double pxPorMm);

// Paints every page on a paged device (PDF writer, printer) whose page size has
// been set; the painter must be active on it. sigue, when given, is asked before
// each page (1-based) and stops the painting with false; the result says whether
// every page went.
bool pintaDocumento(QPainter &painter,
                    QPagedPaintDevice &dispositivo,
                    const Documento &doc,
                    const std::function<bool(int)> &sigue = {});

// Writes the document as PDF, through a temporary file so that a failure leaves
// no half-written file; false and a Spanish message when it can't.
bool escribePdf(const Documento &doc, const QString &ruta, QString *error = nullptr);

} // namespace lar::reporte
