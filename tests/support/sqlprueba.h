#pragma once
// What support/consultas.h leaves out: a statement with parameters, and the whole
// first row of a query; each call in a transaction of its own.

#include "support/consultas.h"

#include <QVariantList>

namespace lartest {

inline void ejecuta(fb::Database &db, const QString &sql, const QVariantList &params)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setSql(sql);
    for (int i = 0; i < params.size(); ++i)
        q.bind(i, params[i]);
    q.execute();
    tr.commit();
}

// The first row's values (CHAR trimmed); empty without rows.
inline QVariantList fila(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setSql(sql);
    q.setTrimChars(true);
    q.open();
    QVariantList r;
    for (int i = 0; !q.eof() && i < q.fieldCount(); ++i)
        r << q.field(i).toVariant();
    q.close();
    tr.commit();
    return r;
}

} // namespace lartest
