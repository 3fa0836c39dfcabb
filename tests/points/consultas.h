#pragma once

// Reading and writing a company straight through an attachment, each call in a
// transaction of its own, for the points suites.

#include "points/ledger.h"

#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QStringList>

namespace lartest {

// One statement, committed.
inline void ejecuta(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setSql(sql);
    q.execute();
    tr.commit();
}

// Every row of a query, its fields trimmed and joined by '|', NULL as "null".
inline QStringList filas(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setTrimChars(true);
    q.setSql(sql);
    QStringList out;
    for (q.open(); !q.eof(); q.next()) {
        QStringList c;
        for (int i = 0; i < q.fieldCount(); ++i)
            c << (q.field(i).isNull() ? QStringLiteral("null") : q.field(i).toTrimmed());
        out << c.join(u'|');
    }
    tr.commit();
    return out;
}

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

// The first field of the first row, trimmed; null without rows.
inline QVariant valor(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setTrimChars(true);
    q.setSql(sql);
    q.open();
    const QVariant v = q.eof() ? QVariant() : q.field(0).toVariant();
    q.close();
    tr.commit();
    return v;
}

inline int saldo(fb::Database &db, int cliente)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    const int s = lar::SaldoCliente(cliente, q);
    tr.commit();
    return s;
}

} // namespace lartest
