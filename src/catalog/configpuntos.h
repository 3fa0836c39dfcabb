#pragma once

#include "fb/decimal.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace lar {

class MemTable;
class Sesion;

// The points rules and the settings of the configuration screen, as the settings
// tree holds them under PuntosLar / Puntos (flags are 'S' or 'N').
struct ValoresConfig
{
    bool puntosGeneral = false;      // "Puntos General Activo": point of sale
    bool puntosVentas = false;       // "Puntos Ventas": sales module
    bool puntosArticulo = false;     // "Puntos Extra Articulos Activo"
    bool puntosImporte = false;      // "Puntos Importe Activo"
    QString factorPuntos;            // "Factor Total Importe Puntos": points a step
    QString factorPesos;             // "Factor Cantidad Pesos": pesos of a step
    bool puntosLinea = false;        // "Puntos Importe Linea"
    bool tarjeta = false;            // "Tarjeta de puntos"
    QString noVentas;                // "No. de vtas": cap on sales a day, "0" none
    int concepto = 0;                // "Concepto Salida Puntos"; 0 none chosen
    int almacen = 0;                 // "Almacen Puntos"; 0 none chosen
    QString folioPuntos;             // "Folio Puntos", short form
    QString folioEmpleados;          // "Folio puntos empleados", short form
    bool listaClientes = false;      // "Lista por clientes"
    bool listaEmpleados = false;     // "Lista por empleados"
    bool artSinExistencia = false;   // "Artículos sin existencia"
    bool artAlmacenables = false;    // "ArtAlmacenables"
    bool reinicioProgramado = false; // "Reiniciar Puntos Automaticamente"
    QDate fechaReinicio;             // "Fecha establecida para el reinicio"
    int diasAviso = 0;               // "Dias antes del reinicio para enviar correo"
    QString correoRem;               // "CorreoRem": the sender of the notices
    QString password;                // "Password", clear text
    QString host;                    // "Host"
    QString puerto;                  // "Puerto"
    bool boleto = false;             // "UsarArtBoleto"
    int artBoleto = 0;               // "ArtBoleto": articulo_id, 0 none
    QString formaBoleto;             // "FormaBoleto": print form of the tickets
};

// A row of LAR_PUNTOSLINEAS: puntos points for each importe pesos of the line.
struct LineaPuntos
{
    int linea = 0;
    int puntos = 0;
    fb::Decimal importe;
};

// Why a save was refused: the step, its text and caption, and where to take the user.
struct FallaValidacion
{
    int paso = 0;
    QString texto;
    QString titulo;
    QString pagina;  // objectName of the page
    QString control; // objectName of the control
};

// What the configuration screen loads, checks and saves.
class ConfigPuntos
{
public:
    explicit ConfigPuntos(Sesion &sesion);

    // The settings, a missing key giving its default (reading creates it empty).
    ValoresConfig lee();

    // The catalogues, each into a memory table that it lays out and fills.
    void cargaConceptos(MemTable &mem);    // Id, Nombre, IdInterno: exit concepts
    void cargaLineas(MemTable &mem);       // Id, Nombre
    void cargaLineasPuntos(MemTable &mem); // ID_LINEA, PUNTOS, IMPORTE
    void cargaArticulos(MemTable &mem);    // Id, Nombre, Clave: articles not stocked
    void cargaClientes(MemTable &mem);     // Id, Clave, Nombre: active customers
    void cargaListaNegra(MemTable &mem);   // the same, those off the points
    // Print forms under LarvenosPV / Puntos / Formas of the configuration database.
    QStringList formas();
    QString nombreArticulo(int articulo);
    // 0 when no line has that name.
    int lineaPorNombre(const QString &nombre);
    bool hayEmpleados();

    // The checks of a save, in their order; nothing when all pass.
    static std::optional<FallaValidacion> valida(const ValoresConfig &v);

    // Writes everything in one transaction: the settings, the customers added to
    // the black list, and, only with by-line points on, the lines. An empty text
    // when it's done, else the engine's text (nothing is committed then).
    QString
    guarda(const ValoresConfig &v, const QList<int> &listaNegra, const QList<LineaPuntos> &lineas);

    // Takes a customer off the black list at once, committed; the engine's text on
    // failure.
    QString quitaDeListaNegra(int cliente);

    // "Factor Cantidad Pesos" as stored: plain text, at most 4 decimals, no
    // trailing zeros; the text unchanged when it isn't a number.
    static QString textoPesos(const QString &texto);

private:
    void cargaClientes(MemTable &mem, const QString &condicion);

    Sesion &m_sesion;
};

} // namespace lar
