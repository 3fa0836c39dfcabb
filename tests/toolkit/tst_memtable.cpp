// Memory tables: order, filter, bookmarks, editing, loading from Firebird, the
// grid model, display formats and the in-memory SQL.

#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/consultas.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/displayformat.h"
#include "toolkit/memgrid.h"
#include "toolkit/memsql.h"
#include "toolkit/memtable.h"
#include "toolkit/wordsearch.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

using lar::FieldType;
using lar::MemTable;

namespace {

// id, nombre, grupo, importe: rows in the order given.
void fill(MemTable &t, const QList<QVariantList> &rows)
{
    if (t.fieldCount() == 0) {
        t.addField(u"id"_s, FieldType::Integer);
        t.addField(u"nombre"_s, FieldType::String, 20);
        t.addField(u"grupo"_s, FieldType::String, 5);
        t.addField(u"importe"_s, FieldType::Currency, 2);
    }
    t.open();
    for (const QVariantList &r : rows)
        t.appendRecord(r);
}

QList<int> ids(MemTable &t)
{
    QList<int> out;
    const auto b = t.bookmark();
    for (t.first(); !t.eof(); t.next())
        out << t.fieldByName(u"id"_s).asInteger();
    t.gotoBookmark(b);
    return out;
}

const QList<QVariantList> kRows = {
    {1, u"pera"_s, u"B"_s, u"10.50"_s},
    {2, u"Manzana"_s, u"A"_s, u"3"_s},
    {3, u"uva"_s, u"B"_s, u"7.25"_s},
    {4, u"anona"_s, u"A"_s, u"-1.10"_s},
    {5, u"Zapote"_s, u"C"_s, u"0"_s},
};

} // namespace

class TestMemTable : public QObject
{
    Q_OBJECT

private slots:
    void indexOrder()
    {
        MemTable t;
        fill(t, kRows);
        QCOMPARE(ids(t), (QList<int>{1, 2, 3, 4, 5}));

        // Ties keep the order in which rows came in.
        t.setIndexFieldNames(u"GRUPO"_s);
        QCOMPARE(ids(t), (QList<int>{2, 4, 1, 3, 5}));
        t.setIndexFieldNames(u"grupo;nombre"_s);
        QCOMPARE(ids(t), (QList<int>{4, 2, 1, 3, 5}));
        // Strings sort without regard to case.
        t.setIndexFieldNames(u"nombre"_s);
        QCOMPARE(ids(t), (QList<int>{4, 2, 1, 3, 5}));
        t.addIndex(u"iImporte"_s, u"importe"_s, true);
        t.setIndexName(u"iImporte"_s);
        QCOMPARE(ids(t), (QList<int>{1, 3, 2, 5, 4}));

        // A row appended while sorted lands by its key; a tie goes after the others.
        t.setIndexFieldNames(u"grupo"_s);
        t.appendRecord({6, u"mango"_s, u"A"_s, u"1"_s});
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 6);
        QCOMPARE(t.recNo(), 2);
        QCOMPARE(ids(t), (QList<int>{2, 4, 6, 1, 3, 5}));

        // An edit that changes the key moves the row, and it stays current.
        t.locate(u"id"_s, 2);
        t.edit();
        t.fieldByName(u"grupo"_s).setValue(u"C"_s);
        t.post();
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 2);
        QCOMPARE(ids(t), (QList<int>{4, 6, 1, 3, 2, 5}));

        // Back to the order of entry; insert() puts the row before the current one.
        t.setIndexFieldNames(QString());
        t.locate(u"id"_s, 3);
        t.insert();
        t.fieldByName(u"id"_s).setValue(7);
        t.post();
        QCOMPARE(ids(t), (QList<int>{1, 2, 7, 3, 4, 5, 6}));
        QVERIFY_THROWS_EXCEPTION(lar::MemTableError, t.setIndexFieldNames(u"noexiste"_s));
    }

    // A text key: nulls first, case and accents folded, ties in the order of entry,
    // and the reverse order on a descending index.
    void textOrder()
    {
        MemTable t;
        fill(t,
             {{1, u"Ñu"_s, u"A"_s, 1},
              {2, QVariant(), u"A"_s, 1},
              {3, u"ñu"_s, u"A"_s, 1},
              {4, u"ABETO"_s, u"A"_s, 1},
              {5, u"abedul"_s, u"A"_s, 1}});
        t.setIndexFieldNames(u"nombre"_s);
        QCOMPARE(ids(t), (QList<int>{2, 5, 4, 1, 3}));
        t.addIndex(u"iDesc"_s, u"nombre"_s, true);
        t.setIndexName(u"iDesc"_s);
        QCOMPARE(ids(t), (QList<int>{1, 3, 4, 5, 2}));
    }

    // A single number, date or moment key: nulls first, then invalid moments, ties
    // in the order of entry, the reverse on a descending index; moments of either
    // time spec compare as instants.
    void numberOrder()
    {
        MemTable t;
        t.addField(u"id"_s, FieldType::Integer);
        t.addField(u"momento"_s, FieldType::DateTime);
        t.addField(u"cantidad"_s, FieldType::Float);
        t.open();
        const QDateTime base(QDate(2026, 3, 1), QTime(10, 0), Qt::UTC);
        t.appendRecord({1, base.addSecs(60), 2.5});
        t.appendRecord({2, QVariant(), -1});
        t.appendRecord({3, base, QVariant()});
        t.appendRecord({4, QDateTime(), 2.5});
        t.appendRecord({5, base.addSecs(60), 0.25});
        t.appendRecord({6, base.toLocalTime().addSecs(30), 10});
        t.setIndexFieldNames(u"momento"_s);
        QCOMPARE(ids(t), (QList<int>{2, 4, 3, 6, 1, 5}));
        t.addIndex(u"iDesc"_s, u"momento"_s, true);
        t.setIndexName(u"iDesc"_s);
        QCOMPARE(ids(t), (QList<int>{1, 5, 6, 3, 4, 2}));
        t.setIndexFieldNames(u"cantidad"_s);
        QCOMPARE(ids(t), (QList<int>{3, 2, 5, 1, 4, 6}));
        t.setIndexFieldNames(u"id"_s);
        QCOMPARE(ids(t), (QList<int>{1, 2, 3, 4, 5, 6}));
    }

    void filterAndLocate()
    {
        MemTable t;
        fill(t, kRows);
        QString grupo = u"B"_s;
        t.setOnFilterRecord(
            [&](MemTable &m) { return m.fieldByName(u"grupo"_s).asString() == grupo; });
        QCOMPARE(t.recordCount(), 5); // a filter acts only while Filtered
        t.setFiltered(true);
        QCOMPARE(ids(t), (QList<int>{1, 3}));

        QVERIFY(!t.locate(u"id"_s, 2)); // hidden rows aren't found
        QVERIFY(t.locate(u"nombre"_s, u"UVA"_s, lar::LocateOptions{true, false}));
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 3);
        QVERIFY(!t.locate(u"nombre"_s, u"UVA"_s));
        QVERIFY(t.locate(
            u"grupo;nombre"_s, QVariantList{u"B"_s, u"pe"_s}, lar::LocateOptions{false, true}));
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 1);
        // A key that can't be an integer finds nothing instead of failing.
        QVERIFY(!t.locate(u"id"_s, u"x"_s));

        // Refresh: the current row stays while it is in sight, else the first one is current.
        t.locate(u"id"_s, 3);
        grupo = u"A"_s;
        t.refresh();
        QCOMPARE(ids(t), (QList<int>{2, 4}));
        QCOMPARE(t.recNo(), 0);
        grupo = u"Z"_s;
        t.refresh();
        QVERIFY(t.isEmpty());
        QVERIFY(t.eof() && t.bof());
        QCOMPARE(t.fieldByName(u"id"_s).value(), QVariant());

        // An edit that takes the row out of the filter takes it out of sight.
        grupo = u"B"_s;
        t.refresh();
        t.first();
        t.edit();
        t.fieldByName(u"grupo"_s).setValue(u"C"_s);
        t.post();
        QCOMPARE(ids(t), (QList<int>{3}));
        t.setFiltered(false);
        QCOMPARE(t.recordCount(), 5);
    }

    // Locate walks the rows in sight in the order in force: the first and the last
    // row are found, and in a descending order the first match is the first shown.
    void locateAtBothEnds()
    {
        MemTable t;
        fill(t, kRows);
        QVERIFY(t.locate(u"id"_s, 1));
        QCOMPARE(t.recNo(), 0);
        QVERIFY(t.locate(u"id"_s, 5));
        QCOMPARE(t.recNo(), 4);
        QVERIFY(t.locate(u"nombre"_s, u"zap"_s, lar::LocateOptions{true, true}));
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 5);
        QVERIFY(!t.locate(u"id"_s, 6));
        QCOMPARE(t.recNo(), 4); // a miss doesn't move

        t.addIndex(u"iGrupo"_s, u"grupo"_s, true);
        t.setIndexName(u"iGrupo"_s);
        QCOMPARE(ids(t), (QList<int>{5, 1, 3, 2, 4}));
        QVERIFY(t.locate(u"grupo"_s, u"A"_s));
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 2);
        QCOMPARE(t.recNo(), 3);
        QVERIFY(t.locate(u"grupo"_s, u"C"_s));
        QCOMPARE(t.recNo(), 0);
    }

    // The nearest match: the first row whose key reaches the value, in the order in
    // force, ascending or descending; past the end, the last row.
    void nearestMatch_data()
    {
        QTest::addColumn<QString>("campo");
        QTest::addColumn<bool>("descendente");
        QTest::addColumn<QVariant>("valor");
        QTest::addColumn<int>("id");
        // nombre ascending: anona 4, Manzana 2, pera 1, uva 3, Zapote 5.
        QTest::newRow("before the first") << u"nombre"_s << false << QVariant(u"0"_s) << 4;
        QTest::newRow("prefix of the first") << u"nombre"_s << false << QVariant(u"A"_s) << 4;
        QTest::newRow("between") << u"nombre"_s << false << QVariant(u"n"_s) << 1;
        QTest::newRow("exact, any case") << u"nombre"_s << false << QVariant(u"UVA"_s) << 3;
        QTest::newRow("the last") << u"nombre"_s << false << QVariant(u"za"_s) << 5;
        QTest::newRow("past the end") << u"nombre"_s << false << QVariant(u"zz"_s) << 5;
        // nombre descending: Zapote 5, uva 3, pera 1, Manzana 2, anona 4.
        QTest::newRow("desc, before the first") << u"nombre"_s << true << QVariant(u"zz"_s) << 5;
        QTest::newRow("desc, between") << u"nombre"_s << true << QVariant(u"o"_s) << 2;
        QTest::newRow("desc, the last") << u"nombre"_s << true << QVariant(u"a"_s) << 4;
        QTest::newRow("desc, past the end") << u"nombre"_s << true << QVariant(u"0"_s) << 4;
        // importe descending: 10.50 1, 7.25 3, 3 2, 0 5, -1.10 4.
        QTest::newRow("money desc, first") << u"importe"_s << true << QVariant(100) << 1;
        QTest::newRow("money desc, between") << u"importe"_s << true << QVariant(5) << 2;
        QTest::newRow("money desc, exact") << u"importe"_s << true << QVariant(u"0"_s) << 5;
        QTest::newRow("money desc, past the end") << u"importe"_s << true << QVariant(-5) << 4;
        QTest::newRow("id asc, first") << u"id"_s << false << QVariant(-1) << 1;
        QTest::newRow("id asc, past the end") << u"id"_s << false << QVariant(9) << 5;
    }

    void nearestMatch()
    {
        QFETCH(QString, campo);
        QFETCH(bool, descendente);
        QFETCH(QVariant, valor);
        QFETCH(int, id);
        MemTable t;
        fill(t, kRows);
        t.addIndex(u"i"_s, campo, descendente);
        t.setIndexName(u"i"_s);
        t.locate(u"id"_s, 3); // somewhere in the middle first
        t.findNearest({valor});
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), id);
    }

    void upperTextFollowsChanges()
    {
        MemTable t;
        fill(t, kRows);
        const lar::WordMatcher palabras(lar::splitWords(u"án"_s));
        t.setOnFilterRecord([&](MemTable &m) { return palabras.matches(m.upperUtf8(1)); });
        t.setFiltered(true);
        QVERIFY(t.isEmpty());

        // The cached upper-case texts follow an edit, a new row and a new order.
        t.setFiltered(false);
        t.locate(u"id"_s, 1);
        t.edit();
        t.fieldByName(u"nombre"_s).setValue(u"ánfora"_s);
        t.post();
        QCOMPARE(t.upperUtf8(1), std::string_view("ÁNFORA"));
        t.setFiltered(true);
        QCOMPARE(ids(t), (QList<int>{1}));
        t.appendRecord({8, u"Plátano ángel"_s, u"B"_s, 1});
        t.refresh();
        QCOMPARE(ids(t), (QList<int>{1, 8}));
        t.setIndexFieldNames(u"nombre"_s);
        t.refresh();
        QCOMPARE(ids(t), (QList<int>{8, 1}));
    }

    void bookmarks()
    {
        MemTable t;
        fill(t, kRows);
        t.locate(u"id"_s, 4);
        const MemTable::Bookmark b = t.bookmark();
        t.setIndexFieldNames(u"nombre"_s);
        t.last();
        QVERIFY(t.gotoBookmark(b));
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 4);
        QCOMPARE(t.recNo(), 0);

        t.setOnFilterRecord([](MemTable &m) { return m.fieldByName(u"id"_s).asInteger() != 4; });
        t.setFiltered(true);
        QVERIFY(!t.bookmarkValid(b));
        QVERIFY(!t.gotoBookmark(b));
        t.setFiltered(false);
        QVERIFY(t.bookmarkValid(b));

        QVERIFY(t.gotoBookmark(b));
        t.deleteRecord();
        QVERIFY(!t.bookmarkValid(b));
        QCOMPARE(t.recordCount(), 4);
        // The row after the deleted one becomes current.
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 2);
    }

    void editing()
    {
        MemTable t;
        fill(t, kRows);
        auto nombre = t.fieldByName(u"nombre"_s);
        QVERIFY_THROWS_EXCEPTION(lar::MemTableError, nombre.setValue(u"x"_s));

        t.first();
        t.edit();
        nombre = u"cambiado"_s;
        QCOMPARE(nombre.asString(), u"cambiado"_s); // the buffer while editing
        t.cancel();
        QCOMPARE(nombre.asString(), u"pera"_s);

        t.append();
        t.fieldByName(u"id"_s).setValue(9);
        t.cancel();
        QCOMPARE(t.recordCount(), 5);

        // Moving away posts the edit.
        t.first();
        t.edit();
        nombre = u"un nombre mucho más largo que veinte"_s;
        t.next();
        t.first();
        QCOMPARE(nombre.asString(), u"un nombre mucho más "_s); // cut to the size

        // Conversions: text to the field's type, bad text refused.
        t.edit();
        t.fieldByName(u"importe"_s).setValue(u"12.345"_s);
        QCOMPARE(t.fieldByName(u"importe"_s).asCurrency(), fb::Decimal(1235, 2));
        t.fieldByName(u"importe"_s).setValue(0.125);
        QCOMPARE(t.fieldByName(u"importe"_s).asCurrency().toString(), u"0.13"_s);
        QVERIFY_THROWS_EXCEPTION(lar::MemTableError, t.fieldByName(u"id"_s).setValue(u"doce"_s));
        t.fieldByName(u"id"_s).setValue(QString());
        QVERIFY(t.fieldByName(u"id"_s).isNull());
        t.cancel();

        // A row with a value that doesn't convert is refused whole: the table keeps its
        // rows, its current row and its state, and tells no view of a change.
        t.locate(u"id"_s, 3);
        QSignalSpy cambios(&t, &MemTable::dataChanged);
        QVERIFY_THROWS_EXCEPTION(lar::MemTableError,
                                 t.appendRecord({9, u"higo"_s, u"A"_s, u"mucho"_s}));
        QCOMPARE(t.recordCount(), 5);
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 3);
        QCOMPARE(t.state(), MemTable::State::Browse);
        QCOMPARE(cambios.count(), 0);
        QVERIFY(!t.locate(u"id"_s, 9));

        // A list given by reference stays as it was; the stored text is cut to the size.
        const QVariantList fila{9, u"higo de temporada del valle"_s, u"A"_s, 2};
        t.appendRecord(fila);
        QCOMPARE(fila.at(1).toString(), u"higo de temporada del valle"_s);
        QCOMPARE(nombre.asString(), u"higo de temporada de"_s);
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 9);
        t.deleteRecord();

        // eof/bof as a loop expects them.
        int n = 0;
        for (t.first(); !t.eof(); t.next())
            ++n;
        QCOMPARE(n, 5);
        t.last();
        QCOMPARE(t.moveBy(-14), -4);
        QVERIFY(t.bof());
        QCOMPARE(t.moveBy(14), 4);
        QVERIFY(t.eof());
    }

    void batchedLoadSignalsOnce()
    {
        MemTable t;
        fill(t, {});
        t.setIndexFieldNames(u"nombre"_s);
        QSignalSpy data(&t, &MemTable::dataChanged);
        t.disableControls();
        for (int i = 0; i < 2000; ++i)
            t.appendRecord({i, u"n%1"_s.arg(1999 - i, 4, 10, QChar(u'0')), u"A"_s, i});
        QCOMPARE(data.count(), 0);
        t.enableControls();
        QCOMPARE(data.count(), 1);
        t.first();
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 1999);
        QCOMPARE(t.recordCount(), 2000);
    }

    void loadFromFirebird()
    {
        fb::Database db;
        lartest::createDatabase(db, lartest::tempPath(u"memtable.fdb"_s));
        lartest::ejecuta(db,
                         u"create table t (id integer, clave varchar(20), limite numeric(15,2),"
                         u" factor double precision, fecha date, creado timestamp,"
                         u" activo boolean, estatus char(1))"_s);
        lartest::ejecuta(db,
                         u"insert into t values (1, 'Añejo^A1', 1500.75, 0.5, '2024-02-29',"
                         u" '2024-03-01 10:20:30', true, 'A')"_s);
        lartest::ejecuta(db, u"insert into t (id) values (2)"_s);
        fb::Transaction tr(&db);
        fb::Query q(&db, &tr);
        q.setSql(u"select * from t order by id"_s);
        q.open();
        MemTable m;
        m.copyStructure(q);
        QCOMPARE(m.fieldCount(), 8);
        using enum FieldType;
        const QList<FieldType> tipos{Integer, String, Currency, Float, Date, DateTime, Boolean};
        for (int i = 0; i < tipos.size(); ++i)
            QCOMPARE(m.fieldDef(i).type, tipos[i]);
        QCOMPARE(m.fieldDef(1).size, 20);
        QCOMPARE(m.fieldDef(2).size, 2);
        m.open();
        QCOMPARE(m.loadFromQuery(q), 2);
        q.close();
        tr.commit();

        m.first();
        QCOMPARE(m.fieldByName(u"CLAVE"_s).asString(), u"Añejo^A1"_s);
        QCOMPARE(m.fieldByName(u"limite"_s).asCurrency(), fb::Decimal(150075, 2));
        QCOMPARE(m.fieldByName(u"fecha"_s).asDate(), QDate(2024, 2, 29));
        QCOMPARE(m.fieldByName(u"creado"_s).asDateTime(),
                 QDateTime(QDate(2024, 3, 1), QTime(10, 20, 30)));
        QVERIFY(m.fieldByName(u"activo"_s).asBoolean());
        m.next();
        QVERIFY(m.fieldByName(u"limite"_s).isNull());
        QVERIFY(m.fieldByName(u"clave"_s).isNull());
        QCOMPARE(m.fieldByName(u"limite"_s).asCurrency(), fb::Decimal(0, 4));

        // A wall-time field keeps the stored date and time, shown as they are; NULL stays NULL.
        MemTable w;
        w.addField(u"id"_s, FieldType::Integer);
        lar::FieldDef creado;
        creado.name = u"creado"_s;
        creado.type = FieldType::DateTime;
        creado.wallTime = true;
        w.addField(creado);
        w.open();
        q.setSql(u"select id, creado from t order by id"_s);
        q.open();
        QCOMPARE(w.loadFromQuery(q), 2);
        q.close();
        tr.commit();
        w.first();
        const QDateTime pared = w.fieldByName(u"creado"_s).asDateTime();
        QCOMPARE(pared.timeSpec(), Qt::UTC);
        QCOMPARE(pared.toString(u"yyyy-MM-dd hh:mm:ss"_s), u"2024-03-01 10:20:30"_s);
        w.next();
        QVERIFY(w.fieldByName(u"creado"_s).isNull());
        db.dropDatabase();
    }

    void gridFollowsTable()
    {
        MemTable t;
        fill(t, kRows);
        t.fieldDef(t.fieldIndex(u"importe"_s)).displayFormat = u"#,0.00;-#,0.00"_s;
        lar::MemGrid g;
        auto *m = g.memModel();
        m->addColumn(u"nombre"_s, u"Nombre"_s, 100);
        m->addColumn(u"importe"_s, u"Importe"_s, 80);
        m->addColumn(u"id"_s, QString(), 0);
        g.setTable(&t);
        QCOMPARE(m->rowCount(), 5);
        QCOMPARE(m->index(3, 1).data().toString(), u"-1.10"_s);
        QCOMPARE(m->index(0, 1).data().toString(), u"10.50"_s);
        QCOMPARE(m->headerData(2, Qt::Horizontal).toString(), u"id"_s);
        QVERIFY(g.isColumnHidden(2));

        t.locate(u"id"_s, 3);
        QCOMPARE(g.currentIndex().row(), 2);
        g.setCurrentIndex(m->index(4, 0));
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 5);
        // Re-sorting keeps the grid on the same row of the table.
        t.setIndexFieldNames(u"nombre"_s);
        QCOMPARE(t.recNo(), 4);
        QCOMPARE(g.currentIndex().row(), 4);
        QCOMPARE(m->index(0, 0).data().toString(), u"anona"_s);

        // A check-box column writes back into the table.
        MemTable c;
        c.addField(u"id"_s, FieldType::Integer);
        c.addField(u"Activo"_s, FieldType::Boolean);
        c.open();
        c.appendRecord({1, false});
        c.appendRecord({2, false});
        lar::MemTableModel cm;
        cm.addColumn(u"Activo"_s);
        cm.column(0).checkBox = true;
        cm.column(0).editable = true;
        cm.setTable(&c);
        QVERIFY(cm.flags(cm.index(1, 0)) & Qt::ItemIsUserCheckable);
        QVERIFY(cm.setData(cm.index(1, 0), Qt::Checked, Qt::CheckStateRole));
        QCOMPARE(c.recNo(), 1);
        QVERIFY(c.fieldByName(u"activo"_s).asBoolean());
        QCOMPARE(cm.index(1, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
        QCOMPARE(cm.index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
    }

    void displayFormat_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("expected");
        const QList<std::tuple<const char *, const char *, const char *, const char *>> casos
            = {{"thousands", ",0;-,0", "1234567.4", "1,234,567"},
               {"thousands negative", ",0;-,0", "-1234.5", "-1,235"},
               {"money", "#,0.00;-#,0.00", "1234.5", "1,234.50"},
               {"money small negative", "#,0.00;-#,0.00", "-0.5", "-0.50"},
               {"money zero", "#,0.00;-#,0.00", "0", "0.00"},
               {"rounds half away", "0;-0", "-2.5", "-3"},
               {"negative without sign", "0;,0", "-5", "5"},
               {"one section negative", "0.0", "-3.25", "-3.3"},
               {"optional digits", "#.##", "0.5", ".5"},
               {"millions with decimals", ",0.00;-,0.00", "1000000", "1,000,000.00"},
               {"rounds to zero", "0;-0", "-0.4", "0"},
               {"zero section", "0.00;-0.00;cero", "0.001", "cero"},
               {"literal text", "$#,0.00 'MXN'", "1500", "$1,500.00 MXN"},
               {"no format", "", "12.50", "12.50"}};
        for (const auto &[nombre, formato, valor, esperado] : casos)
            QTest::newRow(nombre) << QString::fromUtf8(formato) << QString::fromUtf8(valor)
                                  << QString::fromUtf8(esperado);
    }

    void displayFormat()
    {
        QFETCH(QString, format);
        QFETCH(QString, value);
        QFETCH(QString, expected);
        QCOMPARE(lar::formatFloat(format, *fb::Decimal::fromString(value)), expected);
        if (!format.isEmpty())
            QCOMPARE(lar::formatFloat(format, value.toDouble()), expected);
    }

    void displayFormatDouble()
    {
        // The double nearest 2.675 is a hair below it; shown as written it rounds up.
        QCOMPARE(lar::formatFloat(u"0.00"_s, 2.675), u"2.68"_s);
        QCOMPARE(lar::formatFloat(u"0.00"_s, 1.0049999999), u"1.00"_s);
        QCOMPARE(lar::formatFloat(u",0.00"_s, 123456789012.345), u"123,456,789,012.35"_s);
        QCOMPARE(lar::formatFloat(u"0.00"_s, 1e-30), u"0.00"_s);
    }
};

LAR_TEST_MAIN(TestMemTable)
#include "tst_memtable.moc"
