#pragma once

#include <QDate>
#include <QString>

#include <functional>

namespace fb {
class Database;
}

namespace microsip {

// A stretch of a shop's days played through Microsip's own steps: sales at the
// point of sale and invoices, each created and applied in its own transaction
// (so the points triggers earn on them), some cancelled, some returned.
// Deterministic by the seed for a given company state.
struct OpcionesSimulacion
{
    quint64 semilla = 1;
    int ventas = 50;
    // The sales fall in the `dias` days that end on `hasta` (today when empty).
    QDate hasta;
    int dias = 7;
    std::function<void(const QString &)> avance;
};

struct ResumenSimulacion
{
    int ventas = 0; // created and applied
    int canceladas = 0;
    int devoluciones = 0;
    int rechazadas = 0; // refused by Microsip (no stock) or by a trigger
};

ResumenSimulacion simula(fb::Database &empresa, const OpcionesSimulacion &opciones);

} // namespace microsip
