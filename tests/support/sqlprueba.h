#pragma once
// Statements and reads of a test outside the session's transactions: each call
// commits a transaction of its own, so it sees what others committed.

#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QStringList>
#include <QVariantList>

namespace lartest {

inline void ejecutaSql(fb::Database &db, const QString &sql, const QVariantList &params = {})
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setSql(sql);
    for (int i = 0; i < params.size(); ++i)
        q.bind(i, params[i]);
    q.execute();
    tr.commit();
}

// Each row as its fields, trimmed, joined by '|'; NULL as "<null>".
inline QStringList filasSql(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setSql(sql);
    QStringList r;
    for (q.open(); !q.eof(); q.next()) {
        QStringList campos;
        for (int i = 0; i < q.fieldCount(); ++i)
            campos << (q.field(i).isNull() ? QStringLiteral("<null>") : q.field(i).toTrimmed());
        r << campos.join(u'|');
    }
    q.close();
    tr.commit();
    return r;
}

// The first row's values (CHAR trimmed); empty without rows.
inline QVariantList filaSql(fb::Database &db, const QString &sql)
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
