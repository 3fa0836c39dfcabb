#pragma once

// Reading and writing a database straight through an attachment, each call in a
// transaction of its own, beside whatever the program holds open.

#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QStringList>
#include <QVariant>

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

} // namespace lartest
