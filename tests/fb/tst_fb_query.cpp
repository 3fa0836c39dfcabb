// The Firebird client layer against a real embedded engine (and the local test
// server for what needs real authentication).

#include "fb/database.h"
#include "fb/events.h"
#include "fb/query.h"
#include "fb/script.h"
#include "fb/sqltext.h"
#include "fb/transaction.h"
#include "fb/win1252.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

using fb::Decimal;

class TestFbQuery : public QObject
{
    Q_OBJECT

private:
    fb::Database m_db;
    fb::Transaction m_tr{&m_db};

    // The error f throws; one that no check expects when it returns.
    template<typename F>
    static fb::Error fallo(F &&f)
    {
        try {
            f();
        } catch (const fb::Error &e) {
            return e;
        }
        return fb::Error(u"(no hubo error)"_s);
    }

    void exec(const QString &sql)
    {
        fb::Query q(&m_db, &m_tr);
        q.setSql(sql);
        q.execute();
        m_tr.commit();
    }

private slots:
    void initTestCase()
    {
        lartest::createDatabase(m_db, lartest::tempPath(u"fb.fdb"_s));
        exec(u"CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY, N52 NUMERIC(15,2),"
             " N185 NUMERIC(18,5), BI BIGINT, SI SMALLINT, D DOUBLE PRECISION,"
             " F DATE, H TIME, TS TIMESTAMP, B BOOLEAN, C CHAR(9), V VARCHAR(200),"
             " L CHAR(30) CHARACTER SET ISO8859_1, TB BLOB SUB_TYPE 1, BB BLOB)"_s);
    }

    void init() { exec(u"DELETE FROM T"_s); }

    void parseParams_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("named and repeated")
            << u"select * from t where a = :id or b = :Id and c = :other"_s
            << u"select * from t where a = ? or b = ? and c = ?"_s
            << QStringList{u"ID"_s, u"ID"_s, u"OTHER"_s};
        QTest::newRow("positional")
            << u"insert into t values (?, ?)"_s << u"insert into t values (?, ?)"_s
            << QStringList{u""_s, u""_s};
        QTest::newRow("colon in literal")
            << u"select 'a:b', ':x' from t where id = :id"_s
            << u"select 'a:b', ':x' from t where id = ?"_s << QStringList{u"ID"_s};
        QTest::newRow("doubled quote")
            << u"select 'it''s :no' from t where x=:y"_s << u"select 'it''s :no' from t where x=?"_s
            << QStringList{u"Y"_s};
        QTest::newRow("quoted identifier")
            << u"select \"A:B\" from t where x=:y"_s << u"select \"A:B\" from t where x=?"_s
            << QStringList{u"Y"_s};
        QTest::newRow("doubled quote in a name")
            << u"select \"A\"\":B\" from t where x=:y"_s << u"select \"A\"\":B\" from t where x=?"_s
            << QStringList{u"Y"_s};
        QTest::newRow("comments") << u"select 1 -- :a ?\nfrom t /* :b ? */ where x = :c"_s
                                  << u"select 1 -- :a ?\nfrom t /* :b ? */ where x = ?"_s
                                  << QStringList{u"C"_s};
    }

    void parseParams()
    {
        QFETCH(QString, sql);
        QFETCH(QString, expected);
        QFETCH(QStringList, names);
        const fb::ParsedSql p = fb::parseParams(sql);
        QCOMPARE(p.sql, expected);
        QCOMPARE(p.names, names);
    }

    // The one scanner of SQL text: each piece that isn't code, as kind:text[=unquoted],
    // "!" after the kind when it runs to the end unclosed.
    void sqlPieces_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QStringList>("pieces");
        QTest::newRow("doubled quotes stay inside")
            << u"x = 'it''s' || '''' || ''"_s
            << QStringList{u"L:'it''s'=it's"_s, u"L:''''='"_s, u"L:''="_s};
        QTest::newRow("quoted names, colon and quote inside")
            << u"select \"A:\"\"B\"\"\", \"c--d\" from t"_s
            << QStringList{u"N:\"A:\"\"B\"\"\"=A:\"B\""_s, u"N:\"c--d\"=c--d"_s};
        QTest::newRow("line comment to the end of its line")
            << u"a -- it's /* :x\nb - -c"_s << QStringList{u"-:-- it's /* :x"_s};
        QTest::newRow("block comment across lines, quotes inside")
            << u"a /* it's\n-- \"x */ b /**/"_s
            << QStringList{u"/:/* it's\n-- \"x */"_s, u"/:/**/"_s};
        QTest::newRow("comment marks inside a literal")
            << u"'--' '/*' ';'"_s << QStringList{u"L:'--'=--"_s, u"L:'/*'=/*"_s, u"L:';'=;"_s};
        QTest::newRow("unclosed") << u"'abc''"_s << QStringList{u"L!:'abc''=abc'"_s};
        QTest::newRow("unclosed comment") << u"a /* b"_s << QStringList{u"/!:/* b"_s};
    }

    void sqlPieces()
    {
        QFETCH(QString, sql);
        QFETCH(QStringList, pieces);
        static const QHash<int, QString> kinds{{fb::SqlPiece::Literal, u"L"_s},
                                               {fb::SqlPiece::QuotedName, u"N"_s},
                                               {fb::SqlPiece::LineComment, u"-"_s},
                                               {fb::SqlPiece::BlockComment, u"/"_s}};
        QStringList got;
        for (qsizetype i = 0; i < sql.size();) {
            const fb::SqlPiece p = fb::sqlPieceAt(sql, i);
            QVERIFY(p.end > i);
            if (p.kind != fb::SqlPiece::Code) {
                QString s = kinds.value(p.kind) + (p.closed ? u":"_s : u"!:"_s)
                            + sql.mid(p.begin, p.end - p.begin);
                if (!p.isComment())
                    s += u'=' + p.unquoted(sql);
                got << s;
            }
            i = p.end;
        }
        QCOMPARE(got, pieces);
    }

    void parametersAgainstEngine()
    {
        fb::Query ins(&m_db, &m_tr);
        ins.setSql(u"insert into t (id, v, c) values (:id, :v, ?)"_s);
        ins.bind(u"id"_s, 1);
        ins.bind(u"V"_s, u"a:b"_s);
        ins.bind(2, u"X"_s);
        QCOMPARE(ins.execute(), 1);
        fb::Query q(&m_db, &m_tr);
        q.setSql(u"select v, ':lit' as lit from t where id = :id and (v = :v or :v is null)"_s);
        q.bind(u"id"_s, 1);
        q.bind(u":v"_s, u"a:b"_s);
        q.open();
        QVERIFY(!q.eof());
        QCOMPARE(q.field(u"V"_s).toString(), u"a:b"_s);
        QCOMPARE(q.field(u"lit"_s).toString(), u":lit"_s);
        QVERIFY(!q.next());
        QVERIFY_THROWS_EXCEPTION(fb::Error, q.bind(u"nope"_s, 1));
        QVERIFY_THROWS_EXCEPTION(fb::Error, q.field(u"nope"_s));

        // Every occurrence of a repeated name takes the value: leaving any one of them
        // NULL finds nothing.
        ins.bind(u"id"_s, 2);
        ins.bind(u"v"_s, u"Q"_s);
        ins.bind(2, u"Q"_s);
        ins.execute();
        ins.bind(u"id"_s, 3);
        ins.bind(2, u"R"_s);
        ins.execute();
        fb::Query rep(&m_db, &m_tr);
        rep.setSql(u"select list(id) from t where v = :w and c = :w and id >= :n"
                   " and id <= :n and :w = 'Q'"_s);
        rep.bind(u"n"_s, 2);
        rep.bind(u"w"_s, u"Q"_s);
        rep.open();
        QCOMPARE(rep.field(0).toString(), u"2"_s);
        rep.close();
        m_tr.commit();
    }

    void typesRoundTrip()
    {
        const QDate date(2026, 11, 21);
        const QTime time(13, 45, 12, 345);
        const QString accents = u"Catálogos Dirección principal ÑÁÉÍÓÚÜ ñ €"_s;
        QByteArray binary;
        for (int i = 0; i < 70000; ++i)
            binary.append(char(i % 256));
        const QString longText = QString(40000, u'é') + u"fin"_s;

        fb::Query ins(&m_db, &m_tr);
        ins.setSql(u"insert into t (id, n52, n185, bi, si, d, f, h, ts, b, c, v, l, tb, bb)"
                   " values (:id, :n52, :n185, :bi, :si, :d, :f, :h, :ts, :b, :c, :v,"
                   " :l, :tb, :bb)"_s);
        ins.bind(u"id"_s, 1);
        ins.bind(u"n52"_s, QVariant::fromValue(Decimal(125080, 2)));
        ins.bind(u"n185"_s, QVariant::fromValue(*Decimal::fromString(u"1234567890123.12345")));
        ins.bind(u"bi"_s, Q_INT64_C(9000000000000000001));
        ins.bind(u"si"_s, -7);
        ins.bind(u"d"_s, 0.1);
        ins.bind(u"f"_s, date);
        ins.bind(u"h"_s, time);
        ins.bind(u"ts"_s, QDateTime(date, time));
        ins.bind(u"b"_s, true);
        ins.bind(u"c"_s, u"A001"_s);
        ins.bind(u"v"_s, accents);
        ins.bind(u"l"_s, u"Ñandú"_s);
        ins.bind(u"tb"_s, longText);
        ins.bind(u"bb"_s, binary);
        ins.execute();
        // The same prepared statement again: every value NULL, and strings by text.
        ins.clearParams();
        ins.bind(u"id"_s, 2);
        ins.execute();
        ins.bind(u"id"_s, 3);
        ins.bind(u"n52"_s, u"99.99"_s);
        ins.bind(u"n185"_s, 2.5);
        ins.execute();
        m_tr.commit();

        fb::Query q(&m_db, &m_tr);
        q.setSql(u"select * from t order by id"_s);
        q.open();
        QCOMPARE(q.field(u"n52"_s).toDecimal(), Decimal(125080, 2));
        QCOMPARE(q.field(u"n52"_s).toString(), u"1250.80"_s);
        QCOMPARE(q.field(u"n185"_s).toString(), u"1234567890123.12345"_s);
        QCOMPARE(q.field(u"n185"_s).toVariant().value<Decimal>(),
                 *Decimal::fromString(u"1234567890123.12345"));
        QCOMPARE(q.field(u"bi"_s).toInt64(), Q_INT64_C(9000000000000000001));
        QCOMPARE(q.field(u"si"_s).toInt(), -7);
        QCOMPARE(q.field(u"d"_s).toDouble(), 0.1);
        QCOMPARE(q.field(u"f"_s).toDate(), date);
        QCOMPARE(q.field(u"h"_s).toTime(), time);
        QCOMPARE(q.field(u"ts"_s).toDateTime(), QDateTime(date, time));
        QCOMPARE(q.field(u"ts"_s).toDate(), date);
        QCOMPARE(q.field(u"ts"_s).toTime(), time);
        // The wall time keeps the stored date and time whatever the machine's zone.
        const QDateTime pared = q.field(u"ts"_s).toWallDateTime();
        QCOMPARE(pared.timeSpec(), Qt::UTC);
        QCOMPARE(pared.date(), date);
        QCOMPARE(pared.time(), time);
        QCOMPARE(q.field(u"f"_s).toWallDateTime(), QDateTime(date, QTime(0, 0), Qt::UTC));
        QCOMPARE(q.field(u"b"_s).toBool(), true);
        QCOMPARE(q.field(u"c"_s).toString(), u"A001     "_s);
        QCOMPARE(q.field(u"c"_s).toTrimmed(), u"A001"_s);
        QCOMPARE(q.field(u"v"_s).toString(), accents);
        QCOMPARE(q.field(u"l"_s).toTrimmed(), u"Ñandú"_s);
        QCOMPARE(q.field(u"tb"_s).toString(), longText);
        QCOMPARE(q.field(u"bb"_s).toBytes(), binary);
        QVERIFY(!q.field(u"id"_s).isNull());

        QVERIFY(q.next());
        for (int i = 1; i < q.fieldCount(); ++i) {
            QVERIFY2(q.field(i).isNull(), qPrintable(q.fieldName(i)));
            QVERIFY(!q.field(i).toVariant().isValid());
        }
        QVERIFY(q.next());
        QCOMPARE(q.field(u"n52"_s).toDecimal(), Decimal(9999, 2));
        QCOMPARE(q.field(u"n185"_s).toString(), u"2.50000"_s);
        QVERIFY(!q.next());
        QVERIFY(q.eof());
        m_tr.commit();

        // The stored bytes are Windows-1252, as Microsip writes them.
        q.setSql(u"select cast(v as varchar(200) character set octets) from t where id = 1"_s);
        q.open();
        QCOMPARE(q.field(0).toBytes().left(9), QByteArray("Cat\xe1logos"));
        m_tr.commit();
    }

    void win1252Table()
    {
        QByteArray all;
        for (int i = 1; i < 256; ++i)
            all.append(char(i));
        QCOMPARE(fb::toWin1252(fb::fromWin1252(all)), all);
        QCOMPARE(fb::fromWin1252(QByteArray("\x80\x93\xd1")), u"€“Ñ"_s);
        QCOMPARE(fb::toWin1252(u"日"), QByteArray("?"));
    }

    void decimalText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("canonical");
        QTest::newRow("plain") << u"1250.80"_s << u"1250.80"_s;
        QTest::newRow("negative fraction") << u"-0.5"_s << u"-0.5"_s;
        QTest::newRow("integer") << u"12"_s << u"12"_s;
        QTest::newRow("leading point") << u".25"_s << u"0.25"_s;
        QTest::newRow("junk") << u"1,250.80"_s << u""_s;
        QTest::newRow("two points") << u"1.2.3"_s << u""_s;
        QTest::newRow("empty") << u""_s << u""_s;
    }

    void decimalText()
    {
        QFETCH(QString, text);
        QFETCH(QString, canonical);
        const auto d = Decimal::fromString(text);
        QCOMPARE(d ? d->toString() : QString(), canonical);
    }

    void decimalRounding()
    {
        QCOMPARE(Decimal(125, 2).rescaled(1), Decimal(13, 1));
        QCOMPARE(Decimal(-125, 2).rescaled(1), Decimal(-13, 1));
        QCOMPARE(Decimal(124, 2).rescaled(0), Decimal(1, 0));
        QCOMPARE(Decimal::fromDouble(1250.8, 2), Decimal(125080, 2));
        QVERIFY(Decimal(1, 0) > Decimal(99999, 5));
    }

    // Every scaling is checked at both ends of the 64-bit range; an overflow is an
    // error that names the number, never a wrapped value.
    void decimalOverflow()
    {
        QCOMPARE(Decimal(922337203685477, 0).rescaled(4), Decimal(9223372036854770000, 4));
        QCOMPARE(Decimal(-922337203685477, 0).rescaled(4), Decimal(-9223372036854770000, 4));
        for (const qint64 v : {922337203685478LL, -922337203685478LL}) {
            QVERIFY(!Decimal(v, 0).tryRescaled(4));
            QCOMPARE(fallo([&] { Decimal(v, 0).rescaled(4); }).message(),
                     u"El número %1 es demasiado grande: no cabe con 4 decimales"_s.arg(v));
        }
        // What microsip-sim met: units and a price at the scales of their columns.
        QVERIFY_THROWS_EXCEPTION(fb::Error, Decimal(184467440737096, 0).rescaled(5));
        QVERIFY_THROWS_EXCEPTION(fb::Error, Decimal(9999999999999999, 0).rescaled(6));
        QVERIFY_THROWS_EXCEPTION(fb::Error, Decimal(1, 0).rescaled(19));

        QCOMPARE(Decimal::fromDouble(-9.2e12, 6), Decimal(-9200000000000000000, 6));
        QVERIFY_THROWS_EXCEPTION(fb::Error, Decimal::fromDouble(9.3e12, 6));
        QVERIFY_THROWS_EXCEPTION(fb::Error, Decimal::fromDouble(std::nan(""), 2));

        const Decimal max(std::numeric_limits<qint64>::max(), 0);
        QCOMPARE(max - Decimal(1, 0) + Decimal(1, 0), max);
        QCOMPARE(Decimal(15, 1) + Decimal(-25, 2), Decimal(125, 2));
        QVERIFY_THROWS_EXCEPTION(fb::Error, max + Decimal(1, 0));
        QVERIFY_THROWS_EXCEPTION(fb::Error, Decimal(-2, 0) - max - Decimal(1, 0));
        QVERIFY_THROWS_EXCEPTION(fb::Error, Decimal(1, 0) + Decimal(max.unscaled(), 1));

        // Comparing never overflows, and stays exact where a double would not.
        QVERIFY(Decimal(10, 0) > Decimal(std::numeric_limits<qint64>::max(), 18));
        QVERIFY(Decimal(-10, 0) < Decimal(-std::numeric_limits<qint64>::max(), 18));
        QVERIFY(Decimal(9223372036854775807, 2) > Decimal(92233720368547758, 0));
        QVERIFY(Decimal(-9223372036854775807, 2) < Decimal(-92233720368547758, 0));
        QCOMPARE(Decimal(92233720368547758, 0), Decimal(9223372036854775800, 2));

        // A double column beyond what a Decimal holds is refused when read as one.
        fb::Query q(&m_db, &m_tr);
        q.setSql(u"select cast(1e300 as double precision) from rdb$database"_s);
        q.open();
        QVERIFY_THROWS_EXCEPTION(fb::Error, q.field(0).toDecimal());
        q.close();
    }

    // Typed options: a read-only transaction refuses writes, a snapshot keeps its
    // view, and a contradiction is refused before reaching the engine. (The default's
    // nowait and read committed are what twoTransactions meets.)
    void transactionOptions()
    {
        using O = fb::TransactionOption;
        exec(u"insert into t (id, v) values (1, 'uno')"_s);

        fb::Transaction lectura(&m_db);
        lectura.setOptions(O::Read | O::Concurrency);
        fb::Query q(&m_db, &lectura);
        q.setSql(u"select count(*) from t"_s);
        q.open();
        QCOMPARE(q.field(0).toInt(), 1);
        q.close();
        exec(u"insert into t (id, v) values (2, 'dos')"_s);
        q.open();
        QCOMPARE(q.field(0).toInt(), 1); // its snapshot
        q.close();
        fb::Query escribe(&m_db, &lectura);
        escribe.setSql(u"delete from t"_s);
        QVERIFY_THROWS_EXCEPTION(fb::Error, escribe.execute());
        lectura.rollback();

        for (const fb::TransactionOptions malas :
             {O::Write | O::Read, O::Wait | O::NoWait, O::ReadCommitted | O::Concurrency}) {
            fb::Transaction t(&m_db);
            t.setOptions(malas);
            QVERIFY_THROWS_EXCEPTION(fb::Error, t.start());
            QVERIFY(!t.isActive());
        }
    }

    void twoTransactions()
    {
        exec(u"insert into t (id, v) values (1, 'uno')"_s);
        fb::Transaction other(&m_db);
        fb::Query upd(&m_db, &m_tr);
        upd.setSql(u"update t set v = :v where id = 1"_s);
        upd.bind(u"v"_s, u"dos"_s);
        upd.execute();
        fb::Query read(&m_db, &other);
        read.setSql(u"select v from t where id = 1"_s);
        read.open();
        QCOMPARE(read.field(0).toString(), u"uno"_s); // not committed yet
        read.close();

        // A nowait writer meets the pending update at once; Firebird 3 reports a row
        // conflict as a deadlock (the lock-conflict code is for locks on objects).
        fb::Query clash(&m_db, &other);
        clash.setSql(u"update t set v = 'tres' where id = 1"_s);
        const fb::Error conflicto = fallo([&] { clash.execute(); });
        QCOMPARE(conflicto.iscCode(), fb::isc::DeadLock);
        QVERIFY(conflicto.message().contains(u"update conflicts with concurrent update"_s));
        m_tr.commit();
        // Read committed: the same transaction now sees the other's commit.
        read.open();
        QCOMPARE(read.field(0).toString(), u"dos"_s);
        QVERIFY(other.isActive());
        other.rollback();
        QVERIFY(!other.isActive());
    }

    void guardAndErrors()
    {
        {
            fb::TransactionGuard g(m_tr);
            fb::Query q(&m_db, &m_tr);
            q.setSql(u"insert into t (id) values (7)"_s);
            q.execute();
        } // rolled back
        fb::Query q(&m_db, &m_tr);
        q.setSql(u"select count(*) from t"_s);
        q.open();
        QCOMPARE(q.field(0).toInt(), 0);
        m_tr.commit();

        exec(u"insert into t (id) values (7)"_s);
        fb::Error e = fallo([&] { exec(u"insert into t (id) values (7)"_s); });
        QCOMPARE(e.iscCode(), fb::isc::UniqueKeyViolation);
        QCOMPARE(e.sqlCode(), -803);
        m_tr.rollback();
        e = fallo([&] { exec(u"selec nothing"_s); });
        QCOMPARE(e.sqlCode(), -104);
        QVERIFY(e.message().contains(u"selec"_s));
        m_tr.rollback();
    }

    void executeProcedureOutputs()
    {
        exec(u"create or alter procedure p_suma (a integer, b numeric(15,2))"
             " returns (s numeric(15,2), t varchar(20)) as begin s = a + b;"
             " t = 'Año ' || a; end"_s);
        fb::Query q(&m_db, &m_tr);
        q.setSql(u"execute procedure p_suma :a, :b"_s);
        for (int i = 1; i <= 3; ++i) {
            q.bind(u"a"_s, i);
            q.bind(u"b"_s, QVariant::fromValue(Decimal(150, 2)));
            q.execute();
            QCOMPARE(q.field(u"S"_s).toDecimal(), Decimal(i * 100 + 150, 2));
            QCOMPARE(q.field(u"t"_s).toString(), u"Año %1"_s.arg(i));
        }
        m_tr.commit();
    }

    void scriptSplitting()
    {
        const QString script
            = u"-- header; with a semicolon\n"
              "CREATE TABLE S1 (A INTEGER);\n"
              "SET SQL DIALECT 3;\n"
              "INSERT INTO S1 VALUES (1); /* ; inside */ INSERT INTO S1 VALUES (2);\n"
              "SET TERM ^ ;\n"
              "CREATE PROCEDURE P1 AS\nDECLARE X INTEGER;\nBEGIN\n  X = 1; -- ;\nEND^\n"
              "SET TERM ; ^\n"
              "COMMIT WORK;\n"
              "INSERT INTO S1 VALUES (';');\n"
              "commit"_s;
        const QList<fb::ScriptStatement> st = fb::splitScript(script);
        QCOMPARE(st.size(), 7);
        QCOMPARE(st[0].text, u"CREATE TABLE S1 (A INTEGER)"_s);
        QCOMPARE(st[0].line, 2);
        QCOMPARE(st[2].line, 4);
        QVERIFY(st[3].text.startsWith(u"CREATE PROCEDURE P1"_s));
        QVERIFY(st[3].text.endsWith(u"END"_s));
        QCOMPARE(st[3].line, 6);
        QCOMPARE(st[4].kind, fb::ScriptStatement::Kind::Commit);
        QCOMPARE(st[5].text, u"INSERT INTO S1 VALUES (';')"_s);
        QCOMPARE(st[6].kind, fb::ScriptStatement::Kind::Commit);
    }

    void scriptRunSkipsFailures()
    {
        const QString script
            = QStringLiteral("CREATE TABLE S2 (A INTEGER NOT NULL PRIMARY KEY, B VARCHAR(20));\n"
                             "CREATE TABLE S2 (A INTEGER);\n" // exists: fails
                             "COMMIT WORK;\n"
                             "INSERT INTO S2 VALUES (1, 'Operación');\n"
                             "INSERT INTO S2 VALUES (1, 'repetido');\n" // duplicate: fails
                             "THIS IS NOT SQL;\n"
                             "SET TERM !! ;\n"
                             "CREATE OR ALTER TRIGGER S2_BI FOR S2 BEFORE INSERT AS\n"
                             "BEGIN IF (NEW.B IS NULL) THEN NEW.B = 'vacío'; END!!\n"
                             "SET TERM ; !!\n"
                             "COMMIT WORK;\n" // a new trigger works from the next transaction on
                             "INSERT INTO S2 (A) VALUES (2);\n");
        QStringList failures;
        fb::ScriptRunner runner(m_db, m_tr);
        runner.setErrorHandler([&](const fb::ScriptStatement &st, const fb::Error &) {
            failures << QString::number(st.line);
            return fb::ScriptRunner::OnError::Skip;
        });
        runner.run(script);
        m_tr.commit();
        QCOMPARE(failures, (QStringList{u"2"_s, u"5"_s, u"6"_s}));
        fb::Query q(&m_db, &m_tr);
        q.setSql(u"select list(b, '|') from (select b from s2 order by a)"_s);
        q.open();
        QCOMPARE(q.field(0).toString(), u"Operación|vacío"_s);
        m_tr.commit();

        // Without a handler the first failure stops the run.
        fb::ScriptRunner strict(m_db, m_tr);
        QVERIFY_THROWS_EXCEPTION(fb::Error,
                                 strict.run(u"INSERT INTO S2 VALUES (3, 'x');\n"
                                            "INSERT INTO S2 VALUES (3, 'y');\n"
                                            "INSERT INTO S2 VALUES (4, 'z');"_s));
        QCOMPARE(strict.executed(), 1);
        m_tr.rollback();
    }

    void eventDelivered()
    {
        exec(u"create or alter procedure p_avisa (n varchar(30)) as begin"
             " post_event n; end"_s);
        fb::EventListener listener(&m_db);
        listener.setEvents({u"LAR_UNO"_s, u"LAR_DOS"_s});
        QSignalSpy spy(&listener, &fb::EventListener::eventReceived);
        listener.registerEvents();
        QTest::qWait(200); // let the engine's first answer come and go
        QCOMPARE(spy.count(), 0);

        fb::Database other;
        other.setDatabaseName(m_db.databaseName());
        other.setParams(lartest::sysdbaParams());
        other.connect();
        fb::Transaction tr(&other);
        fb::Query q(&other, &tr);
        q.setSql(u"execute procedure p_avisa :n"_s);
        q.bind(u"n"_s, u"LAR_DOS"_s);
        q.execute();
        q.execute();
        tr.commit();
        QTRY_COMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toString(), u"LAR_DOS"_s);
        QCOMPARE(spy.at(0).at(1).toInt(), 2);

        q.bind(u"n"_s, u"LAR_UNO"_s);
        q.execute();
        tr.commit();
        QTRY_COMPARE(spy.count(), 2);
        QCOMPARE(spy.at(1).at(0).toString(), u"LAR_UNO"_s);
        listener.unregisterEvents();
    }

    void serverLogin()
    {
        if (!lartest::serverAvailable())
            QSKIP("the local test server isn't running (make test starts it)");
        const QString path = lartest::serverPrefix() + lartest::tempPath(u"srv.fdb"_s);
        fb::Database db;
        db.setDatabaseName(path);
        db.setParams(lartest::sysdbaParams(lartest::serverPassword()));
        db.createDatabase();
        QVERIFY(db.isConnected());
        db.disconnect();

        db.setParams(lartest::sysdbaParams(u"equivocada"_s));
        QCOMPARE(fallo([&] { db.connect(); }).iscCode(), fb::isc::LoginFailed);
        QVERIFY(!db.isConnected());
        db.setParams(lartest::sysdbaParams(lartest::serverPassword()));
        db.connect();
        db.dropDatabase();
    }

    void cleanupTestCase() { m_db.dropDatabase(); }
};

LAR_TEST_MAIN(TestFbQuery)
#include "tst_fb_query.moc"
