// The in-memory SQL over registered memory tables: the statements the screens
// run, the subset's edges, and its refusals.

#include "support/testmain.h"
#include "toolkit/memsql.h"
#include "toolkit/memtable.h"

using namespace Qt::StringLiterals;

using lar::FieldType;
using lar::MemTable;

class TestMemSql : public QObject
{
    Q_OBJECT

private:
    MemTable m_det;     // the capture lines, registered as "tabla"
    MemTable m_kardex2; // history lines, registered as "Detalle"
    lar::MemSql m_sql;

    // One value of a one-row result, NULL as an invalid variant.
    QVariant scalar(const QString &sql)
    {
        MemTable &r = m_sql.open(sql);
        if (r.recordCount() != 1)
            return u"%1 filas"_s.arg(r.recordCount());
        return r.field(0).value();
    }

private slots:
    void initTestCase()
    {
        m_det.addField(u"articulo_id"_s, FieldType::Integer);
        m_det.addField(u"clave"_s, FieldType::String, 20);
        m_det.addField(u"Unidades"_s, FieldType::Integer);
        m_det.addField(u"CostoUltimaCompra"_s, FieldType::Float);
        m_det.addField(u"Importe"_s, FieldType::Currency, 2);
        m_det.open();
        m_det.appendRecord({10, u"A10"_s, 2, 1.5, u"10.10"_s});
        m_det.appendRecord({11, u"B11"_s, 1, 2.25, u"0.20"_s});
        m_det.appendRecord({10, u"A10"_s, 3, 1.5, u"5.05"_s});
        m_det.appendRecord({12, u"O'Brien"_s, QVariant(), QVariant(), QVariant()});
        m_sql.registerTable(u"tabla"_s, &m_det);

        m_kardex2.addField(u"puntos"_s, FieldType::Integer);
        m_kardex2.addField(u"articulo"_s, FieldType::String, 50);
        m_kardex2.addField(u"partida"_s, FieldType::Integer);
        m_kardex2.addField(u"folio"_s, FieldType::String, 9);
        m_kardex2.open();
        m_kardex2.appendRecord({50, u"Taza"_s, 2, u"P1"_s});
        m_kardex2.appendRecord({30, u"Gorra"_s, 1, u"P1"_s});
        m_kardex2.appendRecord({70, u"Playera"_s, 1, u"P2"_s});
        m_sql.registerTable(u"Detalle"_s, &m_kardex2);
    }

    void scalars_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QVariant>("expected");
        // The statements of the capture, word for word, then the subset around them:
        // AND binds before OR, NULL compares false, text compares with its case and
        // without trailing blanks.
        const QList<std::pair<const char *, QVariant>> casos
            = {{"SELECT sum(unidades) as unid FROM tabla WHERE articulo_id = 10", 5LL},
               {"SELECT sum(unidades) as unid FROM tabla WHERE articulo_id = 99", QVariant()},
               {"Select count(*)  FROM tabla where articulo_id <> '10'", 2LL},
               {"Select Sum(Unidades)  FROM tabla where articulo_id = '11'", 1LL},
               {"select count(*) from tabla where articulo_id > 100", 0LL},
               {"select count(unidades) from tabla", 3LL},
               {"select sum(CostoUltimaCompra) from TABLA", 5.25},
               {"select sum(importe) from tabla", QVariant::fromValue(fb::Decimal(1535, 2))},
               {"select min(clave) from tabla", u"A10"_s},
               {"select max(unidades) from tabla where clave <> 'A10'", 1LL},
               {"select count(*) from tabla where articulo_id = 11 or articulo_id = 10 and "
                "unidades = 3",
                2LL},
               {"select count(*) from tabla where (articulo_id = 11 or articulo_id = 10) and "
                "unidades = 3",
                1LL},
               {"select count(*) from tabla where unidades <> 2", 2LL},
               {"select count(*) from tabla where clave = 'O''Brien'", 1LL},
               {"select count(*) from tabla where clave = 'A10  '", 2LL},
               {"select count(*) from tabla where importe >= -1 and importe < 5.06", 2LL},
               {"select count(*) from tabla where unidades >= articulo_id", 0LL},
               {"select count(*) /* of ; all */ from tabla -- where clave = 'x'\n"
                "where clave = 'O''Brien' or clave = '--'",
                1LL},
               {"select count(*) from tabla where clave = 'a10'", 0LL}};
        for (const auto &[sql, esperado] : casos)
            QTest::newRow(sql) << QString::fromUtf8(sql) << esperado;
    }

    void scalars()
    {
        QFETCH(QString, sql);
        QFETCH(QVariant, expected);
        const QVariant got = scalar(sql);
        QCOMPARE(got.isNull(), expected.isNull());
        if (expected.metaType() == QMetaType::fromType<fb::Decimal>())
            QCOMPARE(got.value<fb::Decimal>(), expected.value<fb::Decimal>());
        else if (!expected.isNull())
            QCOMPARE(got.toString(), expected.toString());
    }

    // Every comparison on each kind of column, on both sides of the value and at it:
    // unidades 2, 1, 3, NULL; clave A10, B11, A10, O'Brien; importe 10.10, 0.20, 5.05,
    // NULL; CostoUltimaCompra 1.5, 2.25, 1.5, NULL.
    void operators_data()
    {
        QTest::addColumn<QString>("condicion");
        QTest::addColumn<qlonglong>("cuenta");
        const QList<std::pair<const char *, qlonglong>> casos = {
            {"unidades = 2", 1},
            {"unidades <> 2", 2},
            {"unidades != 2", 2},
            {"unidades < 2", 1},
            {"unidades <= 2", 2},
            {"unidades > 2", 1},
            {"unidades >= 2", 2},
            {"2 > unidades", 1},
            {"2 <= unidades", 2},
            {"clave < 'B11'", 2},
            {"clave <= 'B11'", 3},
            {"clave > 'B11'", 1},
            {"clave >= 'B11'", 2},
            {"'B11' > clave", 2},
            {"importe <= 5.05", 2},
            {"importe > 5.05", 1},
            {"importe < 0.2", 0},
            {"CostoUltimaCompra >= 2.25", 1},
            {"CostoUltimaCompra <= 1.5", 2},
            {"CostoUltimaCompra <> 1.5", 1},
        };
        for (const auto &[condicion, cuenta] : casos)
            QTest::newRow(condicion) << QString::fromUtf8(condicion) << cuenta;
    }

    void operators()
    {
        QFETCH(QString, condicion);
        QFETCH(qlonglong, cuenta);
        QCOMPARE(scalar(u"select count(*) from tabla where "_s + condicion).toLongLong(), cuenta);
    }

    void resultNames()
    {
        MemTable &r = m_sql.open(u"SELECT sum(unidades) as unid, count(*) FROM tabla"_s);
        QCOMPARE(r.fieldDef(0).name, u"unid"_s);
        QCOMPARE(r.fieldDef(1).name, u"COUNT"_s);
        QCOMPARE(m_sql.fieldByName(u"UNID"_s).asInteger(), 6);
    }

    void rows()
    {
        // The history export, word for word.
        const QString folio = u"P1"_s;
        MemTable &r = m_sql.open(u"SELECT puntos,articulo,partida FROM Detalle WHERE folio= '"_s
                                 + folio + u'\'');
        QCOMPARE(r.fieldCount(), 3);
        QCOMPARE(r.recordCount(), 2);
        QCOMPARE(r.fieldByName(u"articulo"_s).asString(), u"Taza"_s);
        r.next();
        QCOMPARE(r.fieldByName(u"puntos"_s).asInteger(), 30);

        m_sql.open(u"select articulo from detalle order by partida, puntos desc"_s);
        QStringList order;
        for (r.first(); !r.eof(); r.next())
            order << r.field(0).asString();
        QCOMPARE(order, (QStringList{u"Playera"_s, u"Gorra"_s, u"Taza"_s}));

        MemTable &all = m_sql.open(u"select * from detalle where puntos > 40 order by 1;"_s);
        QCOMPARE(all.fieldCount(), 4);
        QCOMPARE(all.recordCount(), 2);
        QCOMPARE(all.fieldByName(u"folio"_s).asString(), u"P1"_s);
    }

    void rowsInSightOnly()
    {
        m_kardex2.setOnFilterRecord(
            [](MemTable &t) { return t.fieldByName(u"folio"_s).asString() == u"P2"; });
        m_kardex2.setFiltered(true);
        QCOMPARE(scalar(u"select count(*) from detalle"_s).toInt(), 1);
        m_kardex2.setFiltered(false);
        QCOMPARE(scalar(u"select count(*) from detalle"_s).toInt(), 3);
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("message");
        const QList<std::pair<const char *, const char *>> casos
            = {{"select articulo_id, count(*) from tabla group by articulo_id",
                "no se pueden mezclar campos con sum, count, min o max"},
               {"select count(*) from tabla group by articulo_id",
                "no se admite 'group' (sólo SELECT"},
               {"select count(*) from mDet", "la tabla mDet no está registrada"},
               {"select sum(cantidad) from tabla", "no existe el campo cantidad en la tabla tabla"},
               {"delete from tabla", "se esperaba SELECT y se encontró 'delete'"},
               {"select avg(unidades) from tabla", "no se admite la función avg"},
               {"select count(*) from tabla where clave like 'A%'",
                "se esperaba un operador de comparación"},
               {"select count(*) from tabla where clave = 'A10",
                "falta la comilla que cierra el texto (posición 42)"},
               {"select count(*) from tabla where (articulo_id = 1",
                "se esperaba ')' y terminó la consulta"},
               {"select count(*) from tabla where articulo_id = 'x'", "'x' no es un número"},
               {"select sum(clave) from tabla", "sum necesita un campo numérico"},
               {"select count(*) from tabla, detalle", "no se admite ','"}};
        for (const auto &[sql, mensaje] : casos)
            QTest::newRow(sql) << QString::fromUtf8(sql) << QString::fromUtf8(mensaje);
    }

    void refusals()
    {
        QFETCH(QString, sql);
        QFETCH(QString, message);
        try {
            m_sql.open(sql);
            QFAIL("the statement ran");
        } catch (const lar::MemSqlError &e) {
            QVERIFY2(e.message().startsWith(u"Error en la consulta en memoria: "_s),
                     qPrintable(e.message()));
            QVERIFY2(e.message().contains(message), qPrintable(e.message()));
        }
    }
};

LAR_TEST_MAIN(TestMemSql)
#include "tst_memsql.moc"
