// The stand-in Microsip environment: what `init` leaves on disk and in the
// databases, how the program finds it again, and what a failed creation leaves.

#include "microsip/sim/entorno.h"

#include "ayudasim.h"
#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;
using microsip::Entorno;

Q_DECLARE_METATYPE(microsip::OpcionesEntorno)

namespace {

// The first field of the first row, as text.
QString valor(fb::Database &db, const QString &sql)
{
    return lartest::filas(db, sql).value(0);
}

// The element at the end of a path of child names.
QDomElement ruta(QDomElement e, const QStringList &nombres)
{
    for (const QString &n : nombres)
        e = e.firstChildElement(n);
    return e;
}

// Nothing named after the folder, hidden or not, is left in its parent.
QStringList restos(const QString &carpeta)
{
    const QFileInfo info(carpeta);
    return QDir(info.absolutePath())
        .entryList({info.fileName() + u'*', u'.' + info.fileName() + u'*'},
                   QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

class TestMicrosipEntorno : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_prueba;

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.empresas = {u"DEMO"_s, u"SUCURSAL_2"_s};
        op.larSync = true;
        op.usuarios = {{u"cajera"_s, u"uno"_s, u'T', {}},
                       {u"LIMITADO"_s, u"dos"_s, u'L', {u"SUCURSAL_2"_s}}};
        m_prueba = std::make_unique<lartest::EntornoPrueba>(op);
    }

    void archivosYFilas()
    {
        const Entorno &e = m_prueba->entorno();
        for (const QString &f : {u"System/Config.fdb"_s,
                                 u"System/Metadatos.fdb"_s,
                                 u"DEMO.fdb"_s,
                                 u"SUCURSAL_2.fdb"_s})
            QVERIFY2(QFileInfo::exists(e.carpeta() + u'/' + f), qPrintable(f));
        QCOMPARE(e.empresas(), (QStringList{u"DEMO"_s, u"SUCURSAL_2"_s}));

        fb::Database config;
        m_prueba->conectaConfig(config);
        QCOMPARE(valor(config,
                       u"SELECT LIST(NOMBRE || ':' || TIPO || ACCESO_EMPRESAS, ',')"
                       " FROM (SELECT * FROM USUARIOS ORDER BY NOMBRE)"_s),
                 u"CAJERA:UT,LIMITADO:UL"_s);
        // The limited user reaches only the company he was given, by the program's query.
        QCOMPARE(valor(config,
                       u"select list(e.nombre_corto) from empresas e join"
                       " empresas_usuarios u on e.empresa_id=u.empresa_id"
                       " where u.usuario_id=(select usuario_id from usuarios"
                       " where nombre='LIMITADO')"_s),
                 u"SUCURSAL_2"_s);

        fb::Database meta;
        m_prueba->conectaMetadatos(meta);
        QCOMPARE(valor(meta,
                       u"SELECT MAX(V.VERSION_SIS) FROM VERSIONES_SIS V JOIN SISTEMAS"
                       " S ON S.SISTEMA_ID = V.SISTEMA_ID"
                       " WHERE S.NOMBRE = 'Microsip - Administración'"_s),
                 u"72201"_s);

        fb::Database demo;
        m_prueba->conectaEmpresa(demo, u"SUCURSAL_2"_s);
        // Newer Microsip and the replication queue were asked for.
        QCOMPARE(valor(demo,
                       u"SELECT COUNT(*) FROM RDB$RELATIONS WHERE RDB$RELATION_NAME"
                       " IN ('FOLIOS_CONCEPTOS', 'LAR_SYNC_ID')"_s),
                 u"2"_s);
        QCOMPARE(valor(demo, u"SELECT VALOR FROM REGISTRY WHERE NOMBRE = 'Nombre'"_s),
                 u"Empresa de demostración"_s);
    }

    // The user connects with the role and reads Microsip's tables through it; an
    // account that wasn't given the role is refused by the grants.
    void usuariosConRol()
    {
        fb::Database db;
        m_prueba->conectaEmpresa(db, u"DEMO"_s, u"CAJERA"_s, u"uno"_s);
        QCOMPARE(valor(db, u"SELECT CURRENT_ROLE FROM RDB$DATABASE"_s), u"USUARIO_MICROSIP"_s);
        QCOMPARE(valor(db, u"SELECT COUNT(*) FROM DOCTOS_PV"_s), u"0"_s);

        fb::Database extrano;
        m_prueba->conectaConfig(extrano, u"INTRUSO"_s, u"x"_s);
        const auto e = lartest::fallo([&] { valor(extrano, u"SELECT COUNT(*) FROM USUARIOS"_s); });
        QVERIFY2(e.message().contains(u"no permission"_s), qPrintable(e.message()));
    }

    // The two XML files in Microsip's layout, read back as the program reads them.
    void perfilXml()
    {
        const Entorno &e = m_prueba->entorno();
        QFile f(e.carpetaComun() + u"/Microsip/ProgramData.xml"_s);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray texto = f.readAll();
        QVERIFY(texto.contains("\n  <LocalMachine>\n    <Software>"));
        QDomDocument doc;
        QVERIFY(doc.setContent(texto));
        QCOMPARE(doc.documentElement().tagName(), u"ProgramData"_s);
        const QDomElement demo
            = ruta(doc.documentElement(),
                   {u"LocalMachine"_s, u"Software"_s, u"Microsip"_s, u"Conexiones"_s, u"Demo"_s});
        QVERIFY(!demo.isNull());
        QCOMPARE(ruta(demo, {u"Nombre_del_servidor"_s}).text(), QString());
        QCOMPARE(ruta(demo, {u"Directorio_de_datos"_s}).text(), e.carpeta() + u'/');
        QCOMPARE(ruta(demo, {u"Protocolo"_s}).text(), u"0"_s);

        QFile fu(e.carpetaLocal() + u"/Microsip/ProgramData.xml"_s);
        QVERIFY(fu.open(QIODevice::ReadOnly));
        QDomDocument du;
        QVERIFY(du.setContent(&fu));
        const QDomElement barra = ruta(du.documentElement(),
                                       {u"CurrentUser"_s,
                                        Entorno::usuarioSistema(),
                                        u"Software"_s,
                                        u"Microsip"_s,
                                        u"Barra_Microsip"_s});
        QCOMPARE(ruta(barra, {u"Usuario"_s}).text(), u"SYSDBA"_s);
        QCOMPARE(ruta(barra, {u"Conexi_n"_s}).text(), u"Demo"_s);

        const Entorno abierto = Entorno::abre(e.carpeta() + u'/');
        QCOMPARE(abierto.carpeta(), e.carpeta());
        QCOMPARE(abierto.servidor(), QString());
        QCOMPARE(abierto.nombreConexion(), u"Demo"_s);
        QCOMPARE(abierto.rutaConfig(), e.rutaConfig());
    }

    // Ids of -1 come from Microsip's sequences: catalogues from ID_CATALOGOS,
    // documents and their lines from ID_DOCTOS.
    void idsPorTrigger()
    {
        fb::Database db;
        m_prueba->conectaEmpresa(db);
        fb::Transaction tr(&db);
        fb::Query q(&db, &tr);
        q.setSql(u"SELECT GEN_ID(ID_CATALOGOS, 0), GEN_ID(ID_DOCTOS, 0)"
                 " FROM RDB$DATABASE"_s);
        q.open();
        const int catalogos = q.field(0).toInt();
        const int doctos = q.field(1).toInt();
        q.close();
        q.setSql(u"INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE) VALUES (-1, 'Ñandú Pérez')"
                 " RETURNING CLIENTE_ID"_s);
        q.execute();
        QCOMPARE(q.field(0).toInt(), catalogos + 1);
        q.setSql(u"INSERT INTO DOCTOS_PV (DOCTO_PV_ID, TIPO_DOCTO, FOLIO, CAJA_ID)"
                 " VALUES (-1, 'V', 'X00000001', 1) RETURNING DOCTO_PV_ID"_s);
        q.execute();
        const int docto = q.field(0).toInt();
        QCOMPARE(docto, doctos + 1);
        q.setSql(u"INSERT INTO DOCTOS_PV_DET (DOCTO_PV_DET_ID, DOCTO_PV_ID,"
                 " ARTICULO_ID, POSICION) VALUES (-1, :d, 1, -1)"
                 " RETURNING DOCTO_PV_DET_ID, POSICION"_s);
        q.bind(u"d"_s, docto);
        q.execute();
        QCOMPARE(q.field(0).toInt(), doctos + 2);
        QCOMPARE(q.field(1).toInt(), 1);
        q.setSql(u"SELECT NOMBRE FROM CLIENTES WHERE CLIENTE_ID = :c"_s);
        q.bind(u"c"_s, catalogos + 1);
        q.open();
        QCOMPARE(q.field(0).toString(), u"Ñandú Pérez"_s);
        q.close();
        tr.rollback();
    }

    void opcionesInvalidas_data()
    {
        QTest::addColumn<microsip::OpcionesEntorno>("opciones");
        QTest::addColumn<QString>("mensaje");
        using O = microsip::OpcionesEntorno;
        QTest::newRow("sin empresas") << O{.empresas = {}} << u"Indique al menos una empresa."_s;
        QTest::newRow("nombre con espacio")
            << O{.empresas = {u"MI EMPRESA"_s}}
            << u"El nombre corto de empresa 'MI EMPRESA' no es válido"_s;
        QTest::newRow("empresa repetida")
            << O{.empresas = {u"DEMO"_s, u"demo"_s}} << u"La empresa 'demo' está repetida."_s;
        QTest::newRow("versión") << O{.versionSis = u"7.22"_s}
                                 << u"La versión de Microsip '7.22' no es válida"_s;
        QTest::newRow("acceso a empresa ajena")
            << O{.usuarios = {{u"ANA"_s, {}, u'L', {u"OTRA"_s}}}}
            << u"El usuario 'ANA' tiene acceso a la empresa 'OTRA'"_s;
        QTest::newRow("servidor sin contraseña de usuario")
            << O{.servidor = u"127.0.0.1/3050"_s, .usuarios = {{u"ANA"_s, {}, u'T', {}}}}
            << u"El usuario 'ANA' necesita una contraseña en un servidor."_s;
        // Valid options, but nothing listens there: fails after the folder was started.
        QTest::newRow("servidor inalcanzable")
            << O{.servidor = u"127.0.0.1/1"_s}
            << u"No fue posible crear la base de datos 127.0.0.1/1:"_s;
    }

    // A refused or failed creation leaves neither the folder nor its temporary twin.
    void opcionesInvalidas()
    {
        QFETCH(microsip::OpcionesEntorno, opciones);
        QFETCH(QString, mensaje);
        const QString carpeta = lartest::tempPath(u"fallido/entorno"_s);
        const auto e = lartest::fallo([&] { Entorno::crea(carpeta, opciones); });
        QVERIFY2(e.message().startsWith(mensaje), qPrintable(e.message()));
        QCOMPARE(restos(carpeta), QStringList());
    }

    void carpetaOcupada()
    {
        const QString carpeta = lartest::tempPath(u"ocupada"_s);
        QDir().mkpath(carpeta);
        QFile f(carpeta + u"/nota.txt"_s);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.close();
        auto e = lartest::fallo([&] { Entorno::crea(carpeta, {}); });
        QCOMPARE(e.message(), u"La carpeta %1 ya existe y no está vacía."_s.arg(carpeta));
        QCOMPARE(QDir(carpeta).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
                 QStringList{u"nota.txt"_s});

        e = lartest::fallo([&] { Entorno::abre(lartest::tempPath(u"no-existe"_s)); });
        QVERIFY(e.message().startsWith(u"No existe la carpeta"_s));
        e = lartest::fallo([&] { Entorno::abre(carpeta); });
        QVERIFY(e.message().contains(u"no contiene un entorno de Microsip"_s));
    }

    // Through the server: real accounts with passwords, and the role.
    void servidor()
    {
        if (!lartest::serverAvailable())
            QSKIP("sin servidor de pruebas (LAR_FB_PORT)");
        lartest::OpcionesPrueba op;
        op.servidor = true;
        op.usuarios = {{u"VENDEDORA"_s, u"clave1"_s, u'T', {}}};
        const lartest::EntornoPrueba prueba(op);
        const Entorno &e = prueba.entorno();
        QCOMPARE(e.rutaConfig(), lartest::serverPrefix() + e.carpeta() + u"/System/Config.fdb"_s);
        QCOMPARE(Entorno::abre(e.carpeta()).servidor(), lartest::serverPrefix().chopped(1));

        fb::Database db;
        prueba.conectaEmpresa(db, u"DEMO"_s, u"VENDEDORA"_s, u"clave1"_s);
        QCOMPARE(valor(db,
                       u"SELECT CURRENT_USER || '/' || CURRENT_ROLE FROM"
                       " RDB$DATABASE"_s),
                 u"VENDEDORA/USUARIO_MICROSIP"_s);
        db.disconnect();
        const auto err = lartest::fallo(
            [&] { prueba.conectaEmpresa(db, u"DEMO"_s, u"VENDEDORA"_s, u"otra"_s); });
        QCOMPARE(err.iscCode(), fb::isc::LoginFailed);
    }

    // The command line: Spanish messages, exit codes, and nothing half-written.
    void lineaDeOrdenes_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("codigo");
        QTest::addColumn<QString>("mensaje");
        const QString nueva = lartest::tempPath(u"cli/nuevo"_s);
        QTest::newRow("orden desconocida")
            << QStringList{u"vuela"_s, nueva} << 2 << u"Orden desconocida: vuela"_s;
        QTest::newRow("opción desconocida")
            << QStringList{u"init"_s, nueva, u"--color"_s} << 2 << u"Opción desconocida: --color"_s;
        QTest::newRow("falta el valor") << QStringList{u"init"_s, nueva, u"--empresa"_s} << 2
                                        << u"Falta el valor de --empresa."_s;
        QTest::newRow("bandera con valor") << QStringList{u"init"_s, nueva, u"--sin-folios=1"_s}
                                           << 2 << u"La opción --sin-folios no lleva valor."_s;
        QTest::newRow("usuario mal escrito")
            << QStringList{u"init"_s, nueva, u"--usuario"_s, u"ANA"_s} << 2
            << u"El usuario debe escribirse NOMBRE:CONTRASEÑA"_s;
        QTest::newRow("empresa inválida") << QStringList{u"init"_s, nueva, u"--empresa=A B"_s} << 1
                                          << u"El nombre corto de empresa 'A B' no es válido"_s;
    }

    void lineaDeOrdenes()
    {
        QFETCH(QStringList, args);
        QFETCH(int, codigo);
        QFETCH(QString, mensaje);
        const lartest::Salida s = lartest::corre(args);
        QCOMPARE(s.codigo, codigo);
        QVERIFY2(s.error.contains(mensaje), qPrintable(s.error));
        QCOMPARE(restos(lartest::tempPath(u"cli/nuevo"_s)), QStringList());
    }

    void lineaDeOrdenesCrea()
    {
        const QString carpeta = lartest::tempPath(u"cli/creado"_s);
        QCOMPARE(lartest::corre({u"init"_s,
                                 carpeta,
                                 u"--empresa"_s,
                                 u"TIENDA"_s,
                                 u"--sin-folios"_s,
                                 u"--version"_s,
                                 u"71000"_s,
                                 u"--conexion"_s,
                                 u"Tienda"_s})
                     .codigo,
                 0);
        const Entorno e = Entorno::abre(carpeta);
        QCOMPARE(e.nombreConexion(), u"Tienda"_s);
        QCOMPARE(e.empresas(), QStringList{u"TIENDA"_s});
        fb::Database db;
        e.conecta(db, e.rutaEmpresa(u"TIENDA"_s));
        QCOMPARE(valor(db,
                       u"SELECT COUNT(*) FROM RDB$RELATIONS WHERE RDB$RELATION_NAME"
                       " = 'FOLIOS_CONCEPTOS'"_s),
                 u"0"_s);
        fb::Database meta;
        e.conecta(meta, e.rutaMetadatos());
        QCOMPARE(valor(meta, u"SELECT MAX(VERSION_SIS) FROM VERSIONES_SIS"_s), u"71000"_s);
    }
};

LAR_TEST_GUILESS_MAIN(TestMicrosipEntorno)
#include "tst_microsip_entorno.moc"
