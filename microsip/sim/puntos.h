#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <optional>

namespace fb {
class Database;
}

namespace microsip {

// Settings of the points engine as the configuration screen leaves them: value
// rows under the folder Puntos of the root folder PuntosLar of LAR_REGISTRO.
// These need the extension's schema; without it they throw fb::Error saying so.

using ValoresPuntos = QList<QPair<QString, QString>>;

// The named sets of settings: "apagado", "articulo", "importe", "linea", "tarjeta",
// "demo".
QStringList escenariosPuntos();

// Writes a scenario: its settings, and what else it needs (rows of
// LAR_PUNTOSLINEAS for "linea", article points and a folio series for the points
// exit concept for "demo"), then `extra` over it. Commits.
void aplicaEscenario(fb::Database &empresa,
                     const QString &escenario,
                     const ValoresPuntos &extra = {});

// Writes (or overwrites) values under PuntosLar/Puntos. Commits.
void escribePuntos(fb::Database &empresa, const ValoresPuntos &valores);

// A value under PuntosLar/Puntos; empty when it isn't there.
std::optional<QString> leePuntos(fb::Database &empresa, const QString &nombre);

// The points of an article (LIBRES_ARTICULOS.PUNTOS, earned per unit sold) and its
// price in points (VALOR_PUNTOS, for redemption). A value left empty keeps what
// the article has. Commits.
void puntosArticulo(fb::Database &empresa,
                    int articuloId,
                    std::optional<int> puntos,
                    std::optional<int> valorPuntos);

// ARTICULO_ID of an article by any of its keys; throws when there is none.
int articuloPorClave(fb::Database &empresa, const QString &clave);

// Replaces LAR_PUNTOSLINEAS: points for each `importe` pesos of a product line.
struct LineaPuntos
{
    int lineaId;
    int puntos;
    int importe;
};
void lineasPuntos(fb::Database &empresa, const QList<LineaPuntos> &lineas);

} // namespace microsip
