#include "sql_p.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/script.h"
#include "fb/transaction.h"
#include "fb/win1252.h"

#include <QFile>

namespace microsip::detail {

QString scriptSql(const QString &nombre)
{
    QFile f(QStringLiteral(":/microsip/sql/%1.sql").arg(nombre));
    if (!f.open(QIODevice::ReadOnly))
        throw fb::Error(QStringLiteral("No se encontró el script %1.sql").arg(nombre));
    return fb::fromWin1252(f.readAll());
}

void ejecutaScript(fb::Database &db, const QString &nombre)
{
    fb::Transaction tr(&db);
    fb::ScriptRunner runner(db, tr);
    try {
        runner.run(scriptSql(nombre));
    } catch (const fb::Error &e) {
        throw fb::Error(QStringLiteral("Falló el script %1.sql: %2").arg(nombre, e.message()),
                        e.iscCode(),
                        e.sqlCode());
    }
    if (tr.isActive())
        tr.commit();
}

void ejecuta(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setParamCheck(false);
    q.setSql(sql);
    q.execute();
    tr.commit();
}

bool existeTabla(fb::Database &db, fb::Transaction &tr, const QString &tabla)
{
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral("SELECT COUNT(*) FROM RDB$RELATIONS WHERE RDB$RELATION_NAME = :t"));
    q.bind(QStringLiteral("t"), tabla.toUpper());
    q.open();
    return q.field(0).toInt() > 0;
}

bool existeCampo(fb::Database &db, fb::Transaction &tr, const QString &tabla, const QString &campo)
{
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral("SELECT COUNT(*) FROM RDB$RELATION_FIELDS"
                            " WHERE RDB$RELATION_NAME = :t AND RDB$FIELD_NAME = :c"));
    q.bind(QStringLiteral("t"), tabla.toUpper());
    q.bind(QStringLiteral("c"), campo.toUpper());
    q.open();
    return q.field(0).toInt() > 0;
}

} // namespace microsip::detail
