// Numbers too large for their field are refused with a message in memory tables
// and in the in-memory SQL, instead of being stored or summed as a wrapped value.

#include "fb/error.h"
#include "support/testmain.h"
#include "toolkit/memsql.h"
#include "toolkit/memtable.h"

using namespace Qt::StringLiterals;

using fb::Decimal;
using lar::FieldType;
using lar::MemTable;

class TestDesborde : public QObject
{
    Q_OBJECT

private slots:
    void tablaEnMemoria()
    {
        MemTable t;
        t.addField(u"Precio"_s, FieldType::Currency, 6);
        t.open();
        t.append();
        lar::MemField precio = t.fieldByName(u"Precio"_s);
        // The largest price that fits at 6 decimals, then one more unit.
        precio.setValue(QVariant::fromValue(Decimal(9223372036854, 0)));
        QCOMPARE(precio.asCurrency(), Decimal(9223372036854000000, 6));
        for (const QVariant &v : {QVariant::fromValue(Decimal(9999999999999999, 0)),
                                  QVariant(u"9999999999999999"_s),
                                  QVariant(qint64(9223372036855)),
                                  QVariant(-9.3e12)}) {
            try {
                precio.setValue(v);
                QFAIL(qPrintable(v.toString()));
            } catch (const fb::Error &e) {
                QVERIFY2(e.message().contains(u"es demasiado grande"_s), qPrintable(e.message()));
            }
        }
        QCOMPARE(precio.asCurrency(), Decimal(9223372036854000000, 6)); // left as it was
    }

    void sumaEnMemoria()
    {
        MemTable t;
        t.addField(u"importe"_s, FieldType::Currency, 2);
        t.open();
        t.appendRecord({u"46116860184273879.03"_s});
        t.appendRecord({u"46116860184273879.05"_s});
        lar::MemSql sql;
        sql.registerTable(u"tabla"_s, &t);
        QCOMPARE(sql.open(u"select sum(importe) from tabla where importe < 46116860184273879.05"_s)
                     .field(0)
                     .value()
                     .value<Decimal>(),
                 Decimal(4611686018427387903, 2));
        QVERIFY_THROWS_EXCEPTION(fb::Error, sql.open(u"select sum(importe) from tabla"_s));
    }
};

LAR_TEST_GUILESS_MAIN(TestDesborde)
#include "tst_desborde.moc"
