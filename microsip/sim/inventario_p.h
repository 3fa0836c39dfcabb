#pragma once

#include <QString>

namespace fb {
class Database;
class Transaction;
} // namespace fb

// What the seed and the document commands share about Microsip's inventory:
// concepts, their folio series, warehouses and branches.
namespace microsip::detail {

// Prefix and number padded with zeros to the 9 characters of a folio.
QString folio(const QString &prefijo, qint64 numero);

// CONCEPTO_IN_ID of the concept of that name, 0 when there is none.
int conceptoPorNombre(fb::Database &db, fb::Transaction &tr, const QString &nombre);

// Creates an inventory concept with automatic folios of the series `serie`.
int creaConcepto(fb::Database &db,
                 fb::Transaction &tr,
                 const QString &nombre,
                 QChar naturaleza,
                 const QString &serie,
                 bool predefinido);

// The concept of that name, created with its series when it is missing.
int concepto(fb::Database &db,
             fb::Transaction &tr,
             const QString &nombre,
             QChar naturaleza,
             const QString &serie);

// Gives the concept a folio series (FOLIOS_CONCEPTOS or SIG_FOLIO) and FOLIO_AUTOM 'S'.
void serieConcepto(
    fb::Database &db, fb::Transaction &tr, int conceptoId, const QString &serie, int consecutivo);

// Takes `cuantos` folios of the concept's series and returns the first; the series
// moves on past them. A concept without a series numbers after its last document.
QString tomaFolios(fb::Database &db, fb::Transaction &tr, int conceptoId, int cuantos = 1);

// The default warehouse (ES_PREDET 'S', else the first); 0 when there is none.
int almacenPredeterminado(fb::Database &db, fb::Transaction &tr);

// The head office (ES_MATRIZ), else the first branch; 0 when there is none.
int sucursalMatriz(fb::Database &db, fb::Transaction &tr);

bool tieneFoliosConceptos(fb::Database &db, fb::Transaction &tr);

} // namespace microsip::detail
