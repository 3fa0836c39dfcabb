#pragma once

#include <QDate>
#include <QString>
#include <QStringList>

#include <functional>

namespace fb {
class Database;
}

namespace microsip {

// Demo data of a Mexican shop. The same options give the same rows, ids
// included, on a freshly created company.
struct OpcionesSiembra
{
    quint64 semilla = 1;
    int clientes = 250;    // up to 200,000
    int articulos = 600;   // up to 100,000
    int documentos = 3000; // historical sale documents, about 4 at the point of sale for
                           // 1 of the sales module; up to 1,000,000
    int almacenes = 3;
    int cajeros = 4;
    int vendedores = 5;
    int empleados = 25;
    // The documents fall in the `dias` days that end on `hasta` (today when empty).
    QDate hasta;
    int dias = 365;
    // Receives a line per step ("Artículos: 600").
    std::function<void(const QString &)> avance;
};

// Fills a company that has no customers yet, in one transaction: places,
// branches, warehouses, cashiers, sellers, employees, customers with their keys
// (the points card under the role 'Clave Puntos'), addresses and e-mails, article
// groups and lines, articles with several keys, prices and classifiers, the
// inventory concepts with their folio series, the initial stock (applied through
// Microsip's own trigger) and historical POS and sales documents (inserted applied,
// so they move no stock and fire nothing). Throws fb::Error with a Spanish message.
void siembra(fb::Database &empresa, const OpcionesSiembra &opciones);

// The sample stamped invoices (CFDI) of the demo data, as SAT issues them: one of
// each version ("3.2", "3.3", "4.0"). The first sales documents carry them in
// USOS_FOLIOS_FISCALES in this order, and the first inventory document the 3.2 one
// in CFD_RECIBIDOS.
QStringList versionesCfdi();
QString documentoCfdi(const QString &version);

// Checks the sizes of the options; throws fb::Error with a Spanish message.
void validaSiembra(const OpcionesSiembra &opciones);

// Gives an inventory concept a folio series: a row of FOLIOS_CONCEPTOS where the
// table exists, SIG_FOLIO otherwise, and FOLIO_AUTOM 'S'. Commits.
void asignaSerie(fb::Database &empresa, int conceptoId, const QString &serie, int consecutivo = 1);

} // namespace microsip
