#pragma once

#include <QString>

namespace fb {
class Query;
}

namespace lar {

// The points ledger LAR_PUNTOS: one row per movement, no stored balance.
namespace ledger {

// TIPO_DOCTO
constexpr char VentaPV = 'V';
constexpr char Factura = 'F';
constexpr char PorLinea = 'L';
constexpr char Devolucion = 'D';
constexpr char Canje = 'C';
constexpr char CanjeCancelado = 'X';
constexpr char Ajuste = 'A';
constexpr char Reinicio = 'S';

// NATURALEZA: 'E' adds; every other value takes away.
constexpr char Entrada = 'E';
constexpr char Salida = 'S';

// Width of the FOLIO column and of the points folios.
constexpr int AnchoFolio = 9;

// The balance rule: signed sum of a customer's rows, cancelled redemptions left out.
inline const char *const SqlSaldo = "SELECT SUM(CASE WHEN naturaleza='E' THEN valor_puntos else "
                                    "-valor_puntos END) FROM lar_puntos e WHERE e.tipo_docto<>'X' "
                                    "and e.cliente_id= :cliente";

} // namespace ledger

// A customer's balance on the query given (closed, set, bound, run). A customer
// without rows has NULL, read as 0.
int SaldoCliente(int cliente, fb::Query &query);

} // namespace lar
