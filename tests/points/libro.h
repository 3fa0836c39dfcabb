#pragma once

// A company's points ledger for the points suites: a customer's balance and rows
// written as the program writes them.

#include "support/consultas.h"

#include "points/ledger.h"

namespace lartest {

// A ledger row of a customer: TIPO_DOCTO and NATURALEZA given as "VE", its points,
// its moment ("2026-01-31 18:00:00", now by default), on system AP and folio Z00000001.
inline void asiento(fb::Database &db,
                    int cliente,
                    const QString &tipoNaturaleza,
                    int puntos,
                    const QString &fecha = {})
{
    ejecuta(
        db,
        QStringLiteral("INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, "
                       "NATURALEZA, VALOR_PUNTOS, SISTEMA, FOLIO, FECHA) VALUES "
                       "(GEN_ID(GEN_LAR_PUNTOS, 1), %1, '%2', '%3', %4, 'AP', 'Z00000001', %5)")
            .arg(cliente)
            .arg(tipoNaturaleza.at(0))
            .arg(tipoNaturaleza.at(1))
            .arg(puntos)
            .arg(fecha.isEmpty() ? QStringLiteral("CURRENT_TIMESTAMP") : u'\'' + fecha + u'\''));
}

// A customer's balance, as the program sums it.
inline int saldo(fb::Database &db, int cliente)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    const int s = lar::SaldoCliente(cliente, q);
    tr.commit();
    return s;
}

} // namespace lartest
