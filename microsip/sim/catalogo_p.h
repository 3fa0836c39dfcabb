#pragma once

#include <QString>
#include <QStringList>

#include <vector>

// Word lists of the demo data: a Mexican shop, its people and its places.
namespace microsip::detail {

struct Ciudad
{
    const char16_t *nombre;
    int estado; // index into estados()
};

struct LineaDemo
{
    const char16_t *nombre;
    const char16_t *prefijo; // of the articles' main keys
    std::vector<const char16_t *> productos;
    std::vector<const char16_t *> presentaciones;
    int precioMinimo; // whole pesos, without tax
    int precioMaximo;
    const char16_t *unidad; // UNIDAD_VENTA
};

struct GrupoDemo
{
    const char16_t *nombre;
    std::vector<LineaDemo> lineas;
};

const std::vector<const char16_t *> &nombresPila();
const std::vector<const char16_t *> &apellidos();
const std::vector<const char16_t *> &estados();
const std::vector<Ciudad> &ciudades();
const std::vector<const char16_t *> &colonias();
const std::vector<const char16_t *> &calles();
const std::vector<GrupoDemo> &grupos();
const std::vector<const char16_t *> &marcas();
const std::vector<const char16_t *> &variantes();
// Articles that aren't stocked: services, tickets.
const std::vector<const char16_t *> &servicios();
const std::vector<const char16_t *> &almacenes();

// "José Núñez" -> "jose.nunez": for e-mail addresses.
QString sinAcentos(const QString &texto);

} // namespace microsip::detail
