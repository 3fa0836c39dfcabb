// The pickers' rules that need no window: column specs, the live filter text, the
// search-column choice; and the loaders of the in-memory lists, on Firebird.

#include "core/sesion.h"
#include "fb/query.h"
#include "shared/listas.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

using namespace Qt::StringLiterals;

using lar::FieldType;
using lar::MemTable;

class TestListas : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_env;
    lar::Sesion m_sesion;

    void exec(const QString &sql) { lartest::ejecuta(m_sesion.fbDatabase(), sql); }

private slots:
    void parseColLista_data()
    {
        QTest::addColumn<QString>("spec");
        QTest::addColumn<QString>("campo");
        QTest::addColumn<QString>("busqueda");
        QTest::addColumn<QString>("titulo");
        QTest::addColumn<QString>("tituloRejilla");
        QTest::addColumn<int>("ancho");
        QTest::addColumn<bool>("porTitulo");
        struct Caso
        {
            const char *spec, *campo, *busqueda, *titulo, *rejilla;
            int ancho;
            bool porTitulo;
        };
        // "-": no search; "--": bound by its caption; every & goes from the grid's
        // caption; width -1 takes no room, 0 or none is 100.
        const char *const sql = "(select 1 from rdb$database) uno";
        const Caso casos[]
            = {{"clave,,&Clave,100", "clave", "clave", "&Clave", "Clave", 100, false},
               {"titulo,,Tit&ulo,300", "titulo", "titulo", "Tit&ulo", "Titulo", 300, false},
               {"a,,&A&&b,10", "a", "a", "&A&&b", "Ab", 10, false},
               {"nombre,nombre_busq,,200", "nombre", "nombre_busq", "nombre", "nombre", 200, false},
               {"tag,-,&Tag,70", "tag", "", "&Tag", "Tag", 70, false},
               {"(select 1 from rdb$database) uno,--,UNO,50", sql, "", "UNO", "UNO", 50, true},
               {"id,,Id,-1", "id", "id", "Id", "Id", 0, false},
               {"id,,Id,0", "id", "id", "Id", "Id", 100, false},
               {"nombre,,&Nombre", "nombre", "nombre", "&Nombre", "Nombre", 100, false},
               {"nombre", "nombre", "nombre", "nombre", "nombre", 100, false},
               {"nombre,,,", "nombre", "nombre", "nombre", "nombre", 100, false}};
        for (const Caso &c : casos)
            QTest::newRow(c.spec) << QString::fromUtf8(c.spec) << QString::fromUtf8(c.campo)
                                  << QString::fromUtf8(c.busqueda) << QString::fromUtf8(c.titulo)
                                  << QString::fromUtf8(c.rejilla) << c.ancho << c.porTitulo;
    }

    void parseColLista()
    {
        QFETCH(QString, spec);
        const lar::ColLista c = lar::ParseColLista(spec);
        QTEST(c.campo, "campo");
        QTEST(c.busqueda, "busqueda");
        QTEST(c.titulo, "titulo");
        QTEST(c.tituloRejilla(), "tituloRejilla");
        QTEST(c.ancho, "ancho");
        QTEST(c.porTitulo, "porTitulo");
    }

    void parseColListaBadWidth()
    {
        // The width is all the text after the third comma.
        QVERIFY_THROWS_EXCEPTION(lar::MemTableError, lar::ParseColLista(u"a,,A,12,5"_s));
        QVERIFY_THROWS_EXCEPTION(lar::MemTableError, lar::ParseColLista(u"a,,A,ancho"_s));
    }

    void condicionLike_data()
    {
        QTest::addColumn<QString>("texto");
        QTest::addColumn<bool>("mayusculas");
        QTest::addColumn<QString>("condicion");
        QTest::addColumn<QStringList>("partes");
        QTest::newRow("two parts, both orders")
            << u"A%B"_s << true << u"nombre LIKE '%A%B%' OR nombre LIKE '%B%A%'"_s
            << QStringList{u"A"_s, u"B"_s};
        QTest::newRow("upper-cased")
            << u"ana"_s << true << u"nombre LIKE '%ANA%'"_s << QStringList{u"ANA"_s};
        QTest::newRow("case kept")
            << u"ana"_s << false << u"nombre LIKE '%ana%'"_s << QStringList{u"ana"_s};
        QTest::newRow("three parts keep the others' order")
            << "a%b%c" << true
            << u"nombre LIKE '%A%B%C%' OR nombre LIKE '%B%A%C%' OR nombre LIKE '%C%A%B%'"_s
            << QStringList{u"A"_s, u"B"_s, u"C"_s};
        QTest::newRow("blanks are not separators")
            << u"ana per"_s << true << u"nombre LIKE '%ANA PER%'"_s << QStringList{u"ANA PER"_s};
        QTest::newRow("quotes doubled in every term")
            << u"o'b%'"_s << true << u"nombre LIKE '%O''B%''%' OR nombre LIKE '%''%O''B%'"_s
            << QStringList{u"O'B"_s, u"'"_s};
        QTest::newRow("empty text") << "" << true << "" << QStringList{};
    }

    void condicionLike()
    {
        QFETCH(QString, texto);
        QFETCH(bool, mayusculas);
        QTEST(lar::CondicionLike(u"nombre"_s, texto, u"LIKE"_s, mayusculas, u"%"_s), "condicion");
        QTEST(lar::ListaPartesLike, "partes");
    }

    void busquedaInicial_data()
    {
        QTest::addColumn<int>("items");
        QTest::addColumn<int>("busqueda");
        QTest::addColumn<int>("ini");
        QTest::addColumn<int>("expected");
        QTest::newRow("none") << 0 << -1 << -1 << -1;
        QTest::newRow("one item: the first") << 1 << -1 << -1 << 0;
        QTest::newRow("two: the second") << 2 << -1 << -1 << 1;
        QTest::newRow("three: the second") << 3 << -1 << -1 << 1;
        QTest::newRow("caller's choice") << 3 << 0 << -1 << 0;
        QTest::newRow("one-shot wins over the caller") << 3 << 2 << 0 << 0;
        QTest::newRow("one-shot on one item") << 1 << -1 << 0 << 0;
        QTest::newRow("out of range is brought in") << 2 << 5 << -1 << 1;
    }

    void busquedaInicial()
    {
        QFETCH(int, items);
        QFETCH(int, busqueda);
        QFETCH(int, ini);
        lar::ListaBusquedaIni = ini;
        QTEST(lar::BusquedaInicial(items, busqueda), "expected");
        lar::ListaBusquedaIni = -1;
    }

    // --- Loaders on the stand-in Microsip --------------------------------------------------

    void initTestCase()
    {
        m_env = std::make_unique<lartest::EntornoPrueba>();
        m_env->instalaExtension();
        m_env->conectaSesion(m_sesion);
        exec(u"INSERT INTO ROLES_CLAVES_CLIENTES (ROL_CLAVE_CLI_ID, NOMBRE, ES_PPAL)"
             u" VALUES (9001, 'Prueba principal', 'S')"_s);
        exec(u"INSERT INTO ROLES_CLAVES_CLIENTES (ROL_CLAVE_CLI_ID, NOMBRE, ES_PPAL)"
             u" VALUES (9002, 'Prueba alterna', 'N')"_s);
        const QStringList clientes{u"101, 'ANA PÉREZ', 'A', 1500.50"_s,
                                   u"102, 'JUAN ANAYA', 'A', 0"_s,
                                   u"103, 'BAJA UNO', 'B', 0"_s,
                                   u"104, 'ZACARÍAS NÚÑEZ', 'A', 10"_s};
        for (const QString &c : clientes)
            exec(u"INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE, ESTATUS, LIMITE_CREDITO) VALUES ("_s
                 + c + u')');
        const QStringList claves{u"201, 101, 'c-001', 9001"_s,
                                 u"202, 101, 'alt7', 9002"_s,
                                 u"203, 102, 'C-002', 9001"_s,
                                 u"204, 103, 'C-003', 9001"_s};
        for (const QString &c : claves)
            exec(u"INSERT INTO CLAVES_CLIENTES (CLAVE_CLIENTE_ID, CLIENTE_ID, CLAVE_CLIENTE,"
                 u" ROL_CLAVE_CLI_ID) VALUES ("_s
                 + c + u')');
        for (const QString &c : {u"101, 'S', 'S'"_s, u"102, 'S', 'N'"_s, u"104, 'N', 'S'"_s})
            exec(u"UPDATE OR INSERT INTO LIBRES_CLIENTES (CLIENTE_ID, EMPLEADO_PUNTOS,"
                 u" ACTIVO_PUNTOS) VALUES ("_s
                 + c + u')');
        exec(u"INSERT INTO EMPLEADOS (EMPLEADO_ID, NUMERO, NOMBRE_COMPLETO, ESTATUS)"
             u" VALUES (301, 17, 'PEDRO GÓMEZ', 'A')"_s);
        exec(u"INSERT INTO EMPLEADOS (EMPLEADO_ID, NUMERO, NOMBRE_COMPLETO, ESTATUS)"
             u" VALUES (302, 18, 'DADO DE BAJA', 'B')"_s);
        exec(u"DELETE FROM ALMACENES"_s);
        exec(u"INSERT INTO ALMACENES (ALMACEN_ID, NOMBRE) VALUES (401, 'ZONA NORTE')"_s);
        exec(u"INSERT INTO ALMACENES (ALMACEN_ID, NOMBRE)"
             u" VALUES (402, 'ALMACÉN GENERAL DE LA MATRIZ PRINCIPAL')"_s);
    }

    void cargaClientes()
    {
        // The redemption screen's table: id, clave, nombre, LimCredito.
        MemTable m;
        m.addField(u"id"_s, FieldType::Integer);
        m.addField(u"clave"_s, FieldType::String, 300);
        m.addField(u"nombre"_s, FieldType::String, 200);
        m.addField(u"LimCredito"_s, FieldType::Currency, 2);
        fb::Query *q = m_sesion.creaQuery(true, u"qListas"_s);
        lar::CargaListaCat(u"clientes"_s, m, *q);

        QVERIFY(!q->isOpen());
        QCOMPARE(m.recordCount(), 3); // status 'A' only
        QCOMPARE(m.indexName(), u"iNombre"_s);
        QStringList indices;
        for (const auto &d : m.indexDefs())
            indices << d.name + u':' + d.fields.join(u';');
        QCOMPARE(indices, (QStringList{u"iNombre:nombre"_s, u"iClave:clave"_s}));

        QStringList nombres;
        for (m.first(); !m.eof(); m.next())
            nombres << m.fieldByName(u"nombre"_s).asString();
        QCOMPARE(nombres, (QStringList{u"ANA PÉREZ"_s, u"JUAN ANAYA"_s, u"ZACARÍAS NÚÑEZ"_s}));

        QVERIFY(m.locate(u"id"_s, 101));
        // All the customer's keys, upper-cased, in one text.
        QStringList keys = m.fieldByName(u"clave"_s).asString().split(u'^');
        keys.sort();
        QCOMPARE(keys, (QStringList{u"ALT7"_s, u"C-001"_s}));
        QCOMPARE(m.fieldByName(u"LimCredito"_s).asCurrency(), fb::Decimal(150050, 2));
        QVERIFY(m.locate(u"id"_s, 104));
        QVERIFY(m.fieldByName(u"clave"_s).isNull()); // no keys at all

        // The report screens' table lays its fields out differently and has no limit.
        MemTable r;
        r.addField(u"ID"_s, FieldType::Integer);
        r.addField(u"Nombre"_s, FieldType::String, 200);
        r.addField(u"CLAVE"_s, FieldType::String, 20);
        lar::CargaListaCat(u"clientes"_s, r, *q);
        r.first();
        QCOMPARE(r.fieldByName(u"Nombre"_s).asString(), u"ANA PÉREZ"_s);
        QCOMPARE(r.fieldByName(u"ID"_s).asInteger(), 101);

        // Loading again replaces the rows; an unknown kind leaves the table alone.
        lar::CargaListaCat(u"clientes"_s, m, *q);
        QCOMPARE(m.recordCount(), 3);
        lar::CargaListaCat(u"Clientes"_s, m, *q);
        QCOMPARE(m.recordCount(), 3);
        MemTable vacia;
        lar::CargaListaCat(u"articulos"_s, vacia, *q);
        QVERIFY(!vacia.isActive());
    }

    void cargaEmpleadosYClientesPE()
    {
        fb::Query *q = m_sesion.creaQuery(true, u"qListas2"_s);
        MemTable pe; // with no fields of its own it gets the four
        lar::CargaListaCat(u"clientesPE"_s, pe, *q);
        QCOMPARE(pe.fieldCount(), 4);
        QCOMPARE(pe.recordCount(), 1);
        pe.first();
        QCOMPARE(pe.fieldByName(u"id"_s).asInteger(), 101);

        MemTable e;
        lar::CargaListaCat(u"empleados"_s, e, *q);
        QCOMPARE(e.recordCount(), 1);
        e.first();
        QCOMPARE(e.fieldByName(u"id"_s).asInteger(), 301);
        QCOMPARE(e.fieldByName(u"clave"_s).asString(), u"17"_s);
        QCOMPARE(e.fieldByName(u"nombre"_s).asString(), u"PEDRO GÓMEZ"_s);
        QCOMPARE(e.indexName(), u"iNombre"_s);
    }

    void llenaComboYMem()
    {
        fb::Query *q = m_sesion.creaQuery(true, u"qListas3"_s);
        MemTable m;
        lar::LookupCombo combo;
        lar::LlenaCombo(u"almacenes"_s, u"almacen_id"_s, u"nombre"_s, *q, m, &combo);
        QCOMPARE(m.fieldCount(), 2);
        QCOMPARE(m.fieldDef(1).size, 30);
        QCOMPARE(m.fieldDef(0).displayLabel, u"almacen_id"_s);
        // Ordered by name, the combo on the first row, names cut to 30 characters.
        QCOMPARE(combo.count(), 2);
        QCOMPARE(combo.currentText(), u"ALMACÉN GENERAL DE LA MATRIZ P"_s);
        QCOMPARE(combo.keyValue().toInt(), 402);
        combo.setKeyValue(401);
        QCOMPARE(combo.currentText(), u"ZONA NORTE"_s);

        MemTable a;
        lar::LlenaMem(u"almacenes"_s, u"almacen_id"_s, u"nombre"_s, *q, a);
        QCOMPARE(a.recordCount(), 2);
        QCOMPARE(a.recNo(), 0);
        QVERIFY(a.locate(u"almacen_id"_s, 401));
        QCOMPARE(a.fieldByName(u"nombre"_s).asString(), u"ZONA NORTE"_s);
    }
};

LAR_TEST_MAIN(TestListas)
#include "tst_listas.moc"
