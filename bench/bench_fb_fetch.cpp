// Reading 100,000 rows of 5 columns through the client layer, against a bare
// loop over the client library's object API, in the same run. Prints the medians
// and the ratio (target: the layer costs at most 1.5 times the bare loop).

#include "fb/database.h"
#include "fb/query.h"
#include "fb/rawfetch.h"
#include "fb/transaction.h"
#include "support/benchutil.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    fb::Database db;
    db.setDatabaseName(dir.filePath(QStringLiteral("bench.fdb")));
    db.setParams({QStringLiteral("lc_ctype=None"), QStringLiteral("user_name=SYSDBA")});
    db.createDatabase();
    fb::Transaction tr(&db);
    {
        fb::Query q(&db, &tr);
        q.setSql(
            QStringLiteral("create table r (id integer not null primary key, nombre varchar(50),"
                           " importe numeric(15,2), fecha date, factor double precision)"));
        q.execute();
        tr.commit();
        q.setSql(QStringLiteral(
            "execute block as declare i integer = 0; begin while (i < 100000) do begin"
            " insert into r values (:i, 'Artículo número ' || :i, :i * 1.25,"
            " dateadd(mod(:i, 3000) day to date '2020-01-01'), :i / 7.0); i = i + 1; end end"));
        q.execute();
        tr.commit();
    }
    const QString sql = QStringLiteral("select id, nombre, importe, fecha, factor from r");

    auto layer = [&] {
        fb::Query q(&db, &tr);
        q.setSql(sql);
        qint64 sum = 0;
        for (q.open(); !q.eof(); q.next()) {
            sum += q.field(QStringLiteral("id")).toInt();
            sum += q.field(QStringLiteral("nombre")).toString().size();
            sum += q.field(QStringLiteral("importe")).toDecimal().unscaled();
            sum += q.field(QStringLiteral("fecha")).toDate().day();
            sum += qint64(q.field(QStringLiteral("factor")).toDouble());
        }
        tr.commit();
        return sum;
    };
    auto bare = [&] {
        const fb::RawFetchResult r = fb::rawFetchAll(db, tr, sql);
        tr.commit();
        return r.checksum;
    };

    layer();
    bare(); // warm the page cache
    std::vector<double> tl, tb;
    for (int i = 0; i < 9; ++i) {
        tl.push_back(larbench::timeMs(layer));
        tb.push_back(larbench::timeMs(bare));
    }
    const double ml = larbench::median(tl), mb = larbench::median(tb);
    std::printf("fb fetch, 100000 rows x 5 columns (median of 9): layer %.1f ms, bare object API "
                "%.1f ms, ratio %.2f (target <= 1.50)\n",
                ml,
                mb,
                ml / mb);
    db.dropDatabase();
    return 0;
}
