// The demo data: what a seeded company holds, that it reads back as written
// (accents included), that the same seed gives the same rows, and what is refused.

#include "microsip/sim/siembra.h"

#include "ayudasim.h"
#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QDate kHasta(2026, 6, 30);

using lartest::valor;

// The rows of the seeded tables, in id order.
QStringList sembrado(fb::Database &db)
{
    QStringList out;
    const QString tablas = u"CLIENTES CLAVES_CLIENTES DIRS_CLIENTES ARTICULOS CLAVES_ARTICULOS "
                           "PRECIOS_ARTICULOS SALDOS_IN DOCTOS_PV DOCTOS_PV_DET DOCTOS_VE "
                           "DOCTOS_VE_DET"_s;
    for (const QString &tabla : tablas.split(u' '))
        out << lartest::filas(db, u"SELECT * FROM %1 ORDER BY 1, 2, 3, 4"_s.arg(tabla));
    return out;
}

} // namespace

class TestMicrosipSiembra : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_nuevo;   // FOLIOS_CONCEPTOS
    std::unique_ptr<lartest::EntornoPrueba> m_antiguo; // SIG_FOLIO
    fb::Database m_db;

    static lartest::OpcionesPrueba opciones(bool folios, quint64 semilla = 1)
    {
        lartest::OpcionesPrueba op;
        op.foliosConceptos = folios;
        op.sembrado = true;
        op.siembra.hasta = kHasta;
        op.siembra.semilla = semilla;
        return op;
    }

private slots:
    void initTestCase()
    {
        m_nuevo = std::make_unique<lartest::EntornoPrueba>(opciones(true));
        m_antiguo = std::make_unique<lartest::EntornoPrueba>(opciones(false));
        m_nuevo->conectaEmpresa(m_db);
    }

    // What a seeded company holds, each as one number.
    void contenido_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<int>("esperado");
        const auto caso = [](const char *nombre, const char *sql, int n) {
            QTest::newRow(nombre) << QString::fromUtf8(sql) << n;
        };
        caso("clientes", "SELECT COUNT(*) FROM CLIENTES", 30);
        caso("artículos", "SELECT COUNT(*) FROM ARTICULOS", 60);
        caso("almacenes, uno predeterminado",
             "SELECT COUNT(*) * 10 + SUM(IIF(ES_PREDET = 'S', 1, 0))"
             " FROM ALMACENES",
             21);
        caso("cajeros", "SELECT COUNT(*) FROM CAJEROS", 2);
        caso("vendedores", "SELECT COUNT(*) FROM VENDEDORES", 2);
        caso("empleados", "SELECT COUNT(*) FROM EMPLEADOS", 5);
        caso("sucursal matriz", "SELECT COUNT(*) FROM SUCURSALES WHERE ES_MATRIZ", 1);
        caso("documentos",
             "SELECT (SELECT COUNT(*) FROM DOCTOS_PV) + (SELECT COUNT(*) FROM DOCTOS_VE)"
             " FROM RDB$DATABASE",
             100);
        caso("una dirección principal por cliente",
             "SELECT COUNT(DISTINCT CLIENTE_ID) - COUNT(*) + 30 FROM DIRS_CLIENTES"
             " WHERE NOMBRE_CONSIG = 'Dirección principal'",
             30);
        caso("una clave principal por artículo",
             "SELECT COUNT(*) FROM ARTICULOS A WHERE (SELECT COUNT(*) FROM CLAVES_ARTICULOS C JOIN"
             " ROLES_CLAVES_ARTICULOS R ON R.ROL_CLAVE_ART_ID = C.ROL_CLAVE_ART_ID"
             " WHERE C.ARTICULO_ID = A.ARTICULO_ID AND R.ES_PPAL = 'S') = 1",
             60);
        caso("claves de artículo sin repetir",
             "SELECT COUNT(*) - COUNT(DISTINCT CLAVE_ARTICULO) FROM CLAVES_ARTICULOS",
             0);
        caso("artículos en varias líneas y grupos",
             "SELECT IIF(COUNT(DISTINCT A.LINEA_ARTICULO_ID) > 5 AND COUNT(DISTINCT "
             "L.GRUPO_LINEA_ID)"
             " > 2, 1, 0) FROM ARTICULOS A JOIN LINEAS_ARTICULOS L"
             " ON L.LINEA_ARTICULO_ID = A.LINEA_ARTICULO_ID",
             1);
        caso("un precio por artículo",
             "SELECT COUNT(DISTINCT ARTICULO_ID) * 1000 + COUNT(*) FROM PRECIOS_ARTICULOS",
             60060);
        // The points card: some customers have one, nobody has two.
        caso("tarjetas de puntos",
             "SELECT IIF(COUNT(*) > 5 AND COUNT(*) = COUNT(DISTINCT C.CLIENTE_ID), 1, 0)"
             " FROM CLAVES_CLIENTES C JOIN ROLES_CLAVES_CLIENTES R"
             " ON R.ROL_CLAVE_CLI_ID = C.ROL_CLAVE_CLI_ID WHERE R.NOMBRE = 'Clave Puntos'",
             1);
        caso("correos en las direcciones",
             "SELECT IIF(COUNT(EMAIL) > 10, 1, 0) FROM DIRS_CLIENTES WHERE EMAIL LIKE '%_@_%._%'",
             1);
        caso("público en general",
             "SELECT COUNT(*) FROM CLIENTES WHERE NOMBRE = 'Público en general'",
             1);
        // The initial stock went through Microsip's own trigger: every line applied,
        // balances and costs; services aren't stocked and have no balance.
        caso("existencia: renglones sin aplicar",
             "SELECT COUNT(*) FROM DOCTOS_IN_DET WHERE APLICADO <> 'S'",
             0);
        caso("existencia: artículos sin existencia o valor",
             "EXECUTE BLOCK RETURNS (N INTEGER) AS"
             " DECLARE A INTEGER; DECLARE W INTEGER; DECLARE E NUMERIC(18,5);"
             " DECLARE V NUMERIC(15,2);"
             " BEGIN N = 0;"
             " SELECT ALMACEN_ID FROM ALMACENES WHERE ES_PREDET = 'S' INTO W;"
             " FOR SELECT ARTICULO_ID FROM ARTICULOS WHERE ES_ALMACENABLE = 'S' INTO A DO"
             " BEGIN EXECUTE PROCEDURE CALC_EXIS_ARTALM A, W, '12-31-9999'"
             " RETURNING_VALUES E, V; IF (E <= 0 OR V <= 0) THEN N = N + 1; END"
             " SUSPEND; END",
             0);
        caso("existencia: artículos sin costo",
             "SELECT COUNT(*) FROM ARTICULOS A WHERE A.ES_ALMACENABLE = 'S'"
             " AND (SELECT COSTO_ULTIMA_COMPRA FROM GET_ULTCOM_ART(A.ARTICULO_ID))"
             " <= 0",
             0);
        caso("existencia: servicios con saldo",
             "SELECT COUNT(*) FROM SALDOS_IN S JOIN ARTICULOS A"
             " ON A.ARTICULO_ID = S.ARTICULO_ID WHERE A.ES_ALMACENABLE = 'N'",
             0);
        // Historical documents: applied, in the period, and their totals agree with
        // their lines (tax included at the point of sale, added on invoices).
        caso("fuera del periodo",
             "SELECT COUNT(*) FROM (SELECT FECHA, APLICADO FROM DOCTOS_PV UNION ALL"
             " SELECT FECHA, APLICADO FROM DOCTOS_VE) WHERE APLICADO <> 'S'"
             " OR FECHA NOT BETWEEN DATE '2026-04-02' AND DATE '2026-06-30'",
             0);
        caso("total PV",
             "SELECT COUNT(*) FROM DOCTOS_PV D WHERE D.IMPORTE_NETO + D.TOTAL_IMPUESTOS"
             " <> (SELECT SUM(CAST(L.UNIDADES * L.PRECIO_UNITARIO_IMPTO AS NUMERIC(15,2)))"
             " FROM DOCTOS_PV_DET L WHERE L.DOCTO_PV_ID = D.DOCTO_PV_ID)",
             0);
        caso("neto VE",
             "SELECT COUNT(*) FROM DOCTOS_VE D WHERE D.IMPORTE_NETO"
             " <> (SELECT SUM(CAST(L.UNIDADES * L.PRECIO_UNITARIO AS NUMERIC(15,2)))"
             " FROM DOCTOS_VE_DET L WHERE L.DOCTO_VE_ID = D.DOCTO_VE_ID)"
             " OR D.TOTAL_IMPUESTOS <> CAST(D.IMPORTE_NETO * 0.16 AS NUMERIC(15,2))",
             0);
        caso("folios repetidos",
             "SELECT (SELECT COUNT(*) - COUNT(DISTINCT FOLIO) FROM DOCTOS_PV) +"
             " (SELECT COUNT(*) - COUNT(DISTINCT FOLIO) FROM DOCTOS_VE) FROM RDB$DATABASE",
             0);
        caso("series por tipo",
             "SELECT COUNT(*) FROM DOCTOS_PV WHERE NOT ((TIPO_DOCTO = 'V' AND FOLIO"
             " STARTING WITH 'A') OR (TIPO_DOCTO = 'D' AND FOLIO STARTING WITH 'DV'))",
             0);
        caso("posiciones desde 1",
             "SELECT COUNT(*) FROM DOCTOS_PV D WHERE (SELECT MIN(POSICION) ||"
             " MAX(POSICION) FROM DOCTOS_PV_DET L WHERE L.DOCTO_PV_ID = D.DOCTO_PV_ID)"
             " <> '1' || (SELECT COUNT(*) FROM DOCTOS_PV_DET L"
             " WHERE L.DOCTO_PV_ID = D.DOCTO_PV_ID)",
             0);
    }

    void contenido()
    {
        QFETCH(QString, sql);
        QFETCH(int, esperado);
        QCOMPARE(valor(m_db, sql).toInt(), esperado);
    }

    // Accented text is stored as Windows-1252 bytes and reads back as written.
    void acentos()
    {
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        q.setSql(u"SELECT FIRST 1 NOMBRE_CONSIG FROM DIRS_CLIENTES"_s);
        q.open();
        QCOMPARE(q.field(0).toString(), u"Dirección principal"_s);
        QCOMPARE(q.field(0).toBytes(), QByteArray("Direcci\xF3n principal"));
        q.close();
        q.setSql(u"SELECT COUNT(*) FROM ARTICULOS WHERE NOMBRE CONTAINING :n"_s);
        q.bind(u"n"_s, u"Ñ"_s);
        q.open();
        QVERIFY(q.field(0).toInt() > 0);
        q.close();
        q.setSql(u"SELECT FIRST 1 NOMBRE FROM ARTICULOS WHERE NOMBRE CONTAINING :n"_s);
        q.bind(u"n"_s, u"Ñandú"_s);
        q.open();
        QVERIFY2(q.field(0).toString().contains(u"El Ñandú"_s), qPrintable(q.field(0).toString()));
        q.close();
        tr.commit();
    }

    // An exit concept with automatic folios, in both places a Microsip keeps series.
    void conceptoDeSalida()
    {
        QCOMPARE(valor(m_db,
                       u"SELECT C.NATURALEZA || C.FOLIO_AUTOM || F.SERIE || F.CONSECUTIVO"
                       " FROM CONCEPTOS_IN C JOIN FOLIOS_CONCEPTOS F"
                       " ON F.CONCEPTO_ID = C.CONCEPTO_IN_ID"
                       " WHERE C.NOMBRE = 'Salida por consumo interno'"_s)
                     .toString(),
                 u"SSSCI1"_s);
        fb::Database antiguo;
        m_antiguo->conectaEmpresa(antiguo);
        QCOMPARE(valor(antiguo,
                       u"SELECT NATURALEZA || FOLIO_AUTOM || SIG_FOLIO FROM CONCEPTOS_IN"
                       " WHERE NOMBRE = 'Salida por consumo interno'"_s)
                     .toString(),
                 u"SSSCI000001"_s);
        // The initial stock took the first folio of its own series.
        QCOMPARE(valor(antiguo,
                       u"SELECT MIN(FOLIO) || '/' || MAX(SIG_FOLIO) FROM DOCTOS_IN D JOIN"
                       " CONCEPTOS_IN C ON C.CONCEPTO_IN_ID = D.CONCEPTO_IN_ID"
                       " WHERE C.NOMBRE = 'Inventario inicial'"_s)
                     .toString(),
                 u"II0000001/II0000003"_s);
    }

    void determinista()
    {
        const lartest::EntornoPrueba igual(opciones(true));
        const lartest::EntornoPrueba otra(opciones(true, 2));
        fb::Database a, b;
        igual.conectaEmpresa(a);
        otra.conectaEmpresa(b);
        const QStringList filas = sembrado(m_db);
        QCOMPARE(sembrado(a), filas);
        QVERIFY(sembrado(b) != filas);
    }

    void rechazos()
    {
        const qint64 antes = valor(m_db, u"SELECT COUNT(*) FROM DOCTOS_PV"_s).toLongLong();
        const fb::Error e = lartest::fallo(
            [&] { microsip::siembra(m_db, lartest::OpcionesPrueba::siembraChica()); });
        QVERIFY2(e.message().startsWith(u"La empresa ya tiene clientes o artículos"_s),
                 qPrintable(e.message()));
        QCOMPARE(valor(m_db, u"SELECT COUNT(*) FROM DOCTOS_PV"_s).toLongLong(), antes);

        microsip::OpcionesSiembra op;
        op.articulos = 100001;
        QCOMPARE(lartest::fallo([&] { microsip::siembra(m_db, op); }).message(),
                 u"El número de artículos debe estar entre 1 y 100000: 100001."_s);
    }

    void lineaDeOrdenes_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("codigo");
        QTest::addColumn<QString>("mensaje");
        QTest::newRow("número mal escrito")
            << QStringList{u"seed"_s, u"X"_s, u"--clientes"_s, u"20x"_s} << 2
            << u"El valor de --clientes debe ser un número entero entre 1 y 200000"_s;
        QTest::newRow("fecha mal escrita")
            << QStringList{u"seed"_s, u"X"_s, u"--hasta"_s, u"30/06/2026"_s} << 2
            << u"La fecha de --hasta no es válida (AAAA-MM-DD)"_s;
    }

    void lineaDeOrdenes()
    {
        QFETCH(QStringList, args);
        QFETCH(int, codigo);
        QFETCH(QString, mensaje);
        const lartest::Salida s = lartest::corre(args);
        QCOMPARE(s.codigo, codigo);
        QVERIFY2(s.error.contains(mensaje), qPrintable(s.error));
    }

    // Through the command line: an unknown company, then a seed that goes through.
    void lineaDeOrdenesSiembra()
    {
        const lartest::EntornoPrueba vacio;
        const lartest::Salida ninguna
            = lartest::corre({u"seed"_s, vacio.carpeta(), u"--empresa"_s, u"NINGUNA"_s});
        QCOMPARE(ninguna.codigo, 1);
        QVERIFY(ninguna.error.contains(u"La empresa 'NINGUNA' no existe"_s));
        QCOMPARE(lartest::corre({u"seed"_s,
                                 vacio.carpeta(),
                                 u"--clientes"_s,
                                 u"12"_s,
                                 u"--articulos"_s,
                                 u"20"_s,
                                 u"--documentos"_s,
                                 u"7"_s})
                     .codigo,
                 0);
        fb::Database db;
        vacio.conectaEmpresa(db);
        QCOMPARE(valor(db,
                       u"SELECT (SELECT COUNT(*) FROM CLIENTES) * 10000 + (SELECT"
                       " COUNT(*) FROM ARTICULOS) * 100 + (SELECT COUNT(*) FROM"
                       " DOCTOS_PV) + (SELECT COUNT(*) FROM DOCTOS_VE)"
                       " FROM RDB$DATABASE"_s)
                     .toInt(),
                 122007);
        db.disconnect();

        // The rest of the demo: the extension's upgrade and the demo's points settings.
        for (const QStringList &orden : {QStringList{u"upgrade"_s, vacio.carpeta()},
                                         QStringList{u"points"_s,
                                                     vacio.carpeta(),
                                                     u"--escenario"_s,
                                                     u"demo"_s,
                                                     u"--valor"_s,
                                                     u"No. de vtas=3"_s}}) {
            const lartest::Salida hecho = lartest::corre(orden);
            QVERIFY2(hecho.codigo == 0, qPrintable(hecho.error));
        }
        vacio.conectaEmpresa(db);
        QCOMPARE(valor(db,
                       u"SELECT LIST(NOMBRE || '=' || VALOR, ';') FROM (SELECT * FROM"
                       " LAR_REGISTRO WHERE NOMBRE IN ('No. de vtas',"
                       " 'Puntos General Activo') ORDER BY NOMBRE)"_s)
                     .toString(),
                 u"No. de vtas=3;Puntos General Activo=S"_s);
    }
};

LAR_TEST_GUILESS_MAIN(TestMicrosipSiembra)
#include "tst_microsip_siembra.moc"
