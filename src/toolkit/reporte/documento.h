#pragma once

#include "plantilla.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <QVariant>

namespace lar::reporte {

// A drawing instruction of a laid-out page, in millimetres from the page's corner.
struct Primitiva
{
    enum class Tipo { Texto, Linea, Rectangulo, Imagen };
    Tipo tipo = Tipo::Texto;
    QRectF rect; // a line goes from topLeft to bottomRight
    QString texto;
    QString fuente;
    double puntos = 9;
    bool negrita = false;
    bool cursiva = false;
    int alineacion = 0;
    double grosor = 0.2;
    bool relleno = false;
    QColor color = Qt::black;
    QColor fondo;
    QImage imagen;
    QString elemento; // the name of the template's element, for whoever reads the page
    // Data, totals and expressions: the value behind the text and its display
    // format, so a spreadsheet device can write a typed cell.
    QVariant valor;
    QString formato;
};

// Where a band landed: its name, type and vertical span on the page, in millimetres.
struct BandaColocada
{
    QString nombre;
    TipoBanda tipo;
    double y = 0;
    double alto = 0;
};

struct Hoja
{
    QSizeF tamano; // millimetres
    QList<BandaColocada> bandas;
    QList<Primitiva> primitivas;

    // The texts of the page in drawing order (for tests and text devices).
    QStringList textos() const;
};

struct Documento
{
    QString nombre;
    QList<Hoja> hojas;
};

} // namespace lar::reporte
