// The stand-in Microsip environment: what `init` leaves on disk and in the
// databases, how the program finds it again, and what a failed creation leaves.

#include "microsip/sim/entorno.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

using microsip::Entorno;

Q_DECLARE_METATYPE(microsip::OpcionesEntorno)

namespace {

// The first column of the first row of a query, as text.
QString valor(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setTrimChars(true);
    q.setSql(sql);
    q.open();
    const QString v = q.eof() ? QStringLiteral("<ninguno>") : q.field(0).toString();
    q.close();
    tr.commit();
    return v;
}

QDomElement hijo(const QDomElement &padre, const QString &nombre)
{
    return padre.firstChildElement(nombre);
}

QString microsipSim()
{
    return qEnvironmentVariable("LAR_BUILD_DIR") + QStringLiteral("/microsip/microsip-sim");
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
        op.empresas = {QStringLiteral("DEMO"), QStringLiteral("SUCURSAL_2")};
        op.larSync = true;
        op.usuarios = {{QStringLiteral("cajera"), QStringLiteral("uno"), u'T', {}},
                       {QStringLiteral("LIMITADO"),
                        QStringLiteral("dos"),
                        u'L',
                        {QStringLiteral("SUCURSAL_2")}}};
        m_prueba = std::make_unique<lartest::EntornoPrueba>(op);
    }

    void archivosYFilas()
    {
        const Entorno &e = m_prueba->entorno();
        for (const QString &f : {QStringLiteral("System/Config.fdb"),
                                 QStringLiteral("System/Metadatos.fdb"),
                                 QStringLiteral("DEMO.fdb"),
                                 QStringLiteral("SUCURSAL_2.fdb")})
            QVERIFY2(QFileInfo::exists(e.carpeta() + u'/' + f), qPrintable(f));
        QCOMPARE(e.path(), e.carpeta() + u'/');
        QCOMPARE(e.rutaEmpresa(QStringLiteral("DEMO")), e.carpeta() + QStringLiteral("/DEMO.fdb"));
        QCOMPARE(e.empresas(), (QStringList{QStringLiteral("DEMO"), QStringLiteral("SUCURSAL_2")}));

        fb::Database config;
        m_prueba->conectaConfig(config);
        QCOMPARE(valor(config,
                       QStringLiteral("SELECT LIST(NOMBRE || ':' || TIPO || ACCESO_EMPRESAS, ',')"
                                      " FROM (SELECT * FROM USUARIOS ORDER BY NOMBRE)")),
                 QStringLiteral("CAJERA:UT,LIMITADO:UL"));
        // The limited user reaches only the company he was given, by the program's query.
        QCOMPARE(valor(config,
                       QStringLiteral("select list(e.nombre_corto) from empresas e join"
                                      " empresas_usuarios u on e.empresa_id=u.empresa_id"
                                      " where u.usuario_id=(select usuario_id from usuarios"
                                      " where nombre='LIMITADO')")),
                 QStringLiteral("SUCURSAL_2"));

        fb::Database meta;
        m_prueba->conectaMetadatos(meta);
        QCOMPARE(valor(meta,
                       QStringLiteral("SELECT MAX(V.VERSION_SIS) FROM VERSIONES_SIS V JOIN SISTEMAS"
                                      " S ON S.SISTEMA_ID = V.SISTEMA_ID"
                                      " WHERE S.NOMBRE = 'Microsip - Administración'")),
                 QStringLiteral("72201"));

        fb::Database demo;
        m_prueba->conectaEmpresa(demo, QStringLiteral("SUCURSAL_2"));
        // Newer Microsip and the replication queue were asked for.
        QCOMPARE(valor(demo,
                       QStringLiteral("SELECT COUNT(*) FROM RDB$RELATIONS WHERE RDB$RELATION_NAME"
                                      " IN ('FOLIOS_CONCEPTOS', 'LAR_SYNC_ID')")),
                 QStringLiteral("2"));
        QCOMPARE(valor(demo, QStringLiteral("SELECT VALOR FROM REGISTRY WHERE NOMBRE = 'Nombre'")),
                 QStringLiteral("Empresa de demostración"));
    }

    // The user connects with the role and reads Microsip's tables through it; an
    // account that wasn't given the role is refused by the grants.
    void usuariosConRol()
    {
        fb::Database db;
        m_prueba->conectaEmpresa(
            db, QStringLiteral("DEMO"), QStringLiteral("CAJERA"), QStringLiteral("uno"));
        QCOMPARE(valor(db, QStringLiteral("SELECT CURRENT_ROLE FROM RDB$DATABASE")),
                 QStringLiteral("USUARIO_MICROSIP"));
        QCOMPARE(valor(db, QStringLiteral("SELECT COUNT(*) FROM DOCTOS_PV")), QStringLiteral("0"));

        fb::Database extrano;
        m_prueba->conectaConfig(extrano, QStringLiteral("INTRUSO"), QStringLiteral("x"));
        try {
            valor(extrano, QStringLiteral("SELECT COUNT(*) FROM USUARIOS"));
            QFAIL("un usuario sin el rol leyó USUARIOS");
        } catch (const fb::Error &e) {
            QVERIFY2(e.message().contains(QStringLiteral("no permission")),
                     qPrintable(e.message()));
        }
    }

    // The two XML files in Microsip's layout, read back as the program reads them.
    void perfilXml()
    {
        const Entorno &e = m_prueba->entorno();
        QFile f(e.carpetaComun() + QStringLiteral("/Microsip/ProgramData.xml"));
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray texto = f.readAll();
        QVERIFY(texto.contains("\n  <LocalMachine>\n    <Software>"));
        QDomDocument doc;
        QVERIFY(doc.setContent(texto));
        QDomElement conexiones
            = hijo(hijo(hijo(hijo(doc.documentElement(), QStringLiteral("LocalMachine")),
                             QStringLiteral("Software")),
                        QStringLiteral("Microsip")),
                   QStringLiteral("Conexiones"));
        QCOMPARE(doc.documentElement().tagName(), QStringLiteral("ProgramData"));
        const QDomElement demo = hijo(conexiones, QStringLiteral("Demo"));
        QVERIFY(!demo.isNull());
        QCOMPARE(hijo(demo, QStringLiteral("Nombre_del_servidor")).text(), QString());
        QCOMPARE(hijo(demo, QStringLiteral("Directorio_de_datos")).text(), e.carpeta() + u'/');
        QCOMPARE(hijo(demo, QStringLiteral("Protocolo")).text(), QStringLiteral("0"));

        QFile fu(e.carpetaLocal() + QStringLiteral("/Microsip/ProgramData.xml"));
        QVERIFY(fu.open(QIODevice::ReadOnly));
        QDomDocument du;
        QVERIFY(du.setContent(&fu));
        QDomElement barra
            = hijo(hijo(hijo(hijo(hijo(du.documentElement(), QStringLiteral("CurrentUser")),
                                  Entorno::usuarioSistema()),
                             QStringLiteral("Software")),
                        QStringLiteral("Microsip")),
                   QStringLiteral("Barra_Microsip"));
        QCOMPARE(hijo(barra, QStringLiteral("Usuario")).text(), QStringLiteral("SYSDBA"));
        QCOMPARE(hijo(barra, QStringLiteral("Conexi_n")).text(), QStringLiteral("Demo"));

        const Entorno abierto = Entorno::abre(e.carpeta() + u'/');
        QCOMPARE(abierto.carpeta(), e.carpeta());
        QCOMPARE(abierto.servidor(), QString());
        QCOMPARE(abierto.nombreConexion(), QStringLiteral("Demo"));
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
        q.setSql(QStringLiteral("SELECT GEN_ID(ID_CATALOGOS, 0), GEN_ID(ID_DOCTOS, 0)"
                                " FROM RDB$DATABASE"));
        q.open();
        const int catalogos = q.field(0).toInt();
        const int doctos = q.field(1).toInt();
        q.close();
        q.setSql(
            QStringLiteral("INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE) VALUES (-1, 'Ñandú Pérez')"
                           " RETURNING CLIENTE_ID"));
        q.execute();
        QCOMPARE(q.field(0).toInt(), catalogos + 1);
        q.setSql(QStringLiteral("INSERT INTO DOCTOS_PV (DOCTO_PV_ID, TIPO_DOCTO, FOLIO, CAJA_ID)"
                                " VALUES (-1, 'V', 'X00000001', 1) RETURNING DOCTO_PV_ID"));
        q.execute();
        const int docto = q.field(0).toInt();
        QCOMPARE(docto, doctos + 1);
        q.setSql(QStringLiteral("INSERT INTO DOCTOS_PV_DET (DOCTO_PV_DET_ID, DOCTO_PV_ID,"
                                " ARTICULO_ID, POSICION) VALUES (-1, :d, 1, -1)"
                                " RETURNING DOCTO_PV_DET_ID, POSICION"));
        q.bind(QStringLiteral("d"), docto);
        q.execute();
        QCOMPARE(q.field(0).toInt(), doctos + 2);
        QCOMPARE(q.field(1).toInt(), 1);
        q.setSql(QStringLiteral("SELECT NOMBRE FROM CLIENTES WHERE CLIENTE_ID = :c"));
        q.bind(QStringLiteral("c"), catalogos + 1);
        q.open();
        QCOMPARE(q.field(0).toString(), QStringLiteral("Ñandú Pérez"));
        q.close();
        tr.rollback();
    }

    void opcionesInvalidas_data()
    {
        QTest::addColumn<microsip::OpcionesEntorno>("opciones");
        QTest::addColumn<QString>("mensaje");
        microsip::OpcionesEntorno base;
        auto caso = [&](const char *nombre, auto cambia, const QString &mensaje) {
            microsip::OpcionesEntorno op = base;
            cambia(op);
            QTest::newRow(nombre) << op << mensaje;
        };
        caso(
            "sin empresas",
            [](auto &op) { op.empresas.clear(); },
            QStringLiteral("Indique al menos una empresa."));
        caso(
            "nombre con espacio",
            [](auto &op) { op.empresas = {QStringLiteral("MI EMPRESA")}; },
            QStringLiteral("El nombre corto de empresa 'MI EMPRESA' no es válido"));
        caso(
            "empresa repetida",
            [](auto &op) {
                op.empresas = {QStringLiteral("DEMO"), QStringLiteral("demo")};
            },
            QStringLiteral("La empresa 'demo' está repetida."));
        caso(
            "versión",
            [](auto &op) { op.versionSis = QStringLiteral("7.22"); },
            QStringLiteral("La versión de Microsip '7.22' no es válida"));
        caso(
            "acceso a empresa ajena",
            [](auto &op) {
                op.usuarios = {{QStringLiteral("ANA"), {}, u'L', {QStringLiteral("OTRA")}}};
            },
            QStringLiteral("El usuario 'ANA' tiene acceso a la empresa 'OTRA'"));
        caso(
            "servidor sin contraseña de usuario",
            [](auto &op) {
                op.servidor = QStringLiteral("127.0.0.1/3050");
                op.usuarios = {{QStringLiteral("ANA"), {}, u'T', {}}};
            },
            QStringLiteral("El usuario 'ANA' necesita una contraseña en un servidor."));
        // Valid options, but nothing listens there: fails after the folder was started.
        caso(
            "servidor inalcanzable",
            [](auto &op) { op.servidor = QStringLiteral("127.0.0.1/1"); },
            QStringLiteral("No fue posible crear la base de datos 127.0.0.1/1:"));
    }

    // A refused or failed creation leaves neither the folder nor its temporary twin.
    void opcionesInvalidas()
    {
        QFETCH(microsip::OpcionesEntorno, opciones);
        QFETCH(QString, mensaje);
        const QString carpeta = lartest::tempPath(QStringLiteral("fallido/entorno"));
        try {
            Entorno::crea(carpeta, opciones);
            QFAIL("se creó el entorno");
        } catch (const fb::Error &e) {
            QVERIFY2(e.message().startsWith(mensaje), qPrintable(e.message()));
        }
        QCOMPARE(restos(carpeta), QStringList());
    }

    void carpetaOcupada()
    {
        const QString carpeta = lartest::tempPath(QStringLiteral("ocupada"));
        QDir().mkpath(carpeta);
        QFile f(carpeta + QStringLiteral("/nota.txt"));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.close();
        try {
            Entorno::crea(carpeta, {});
            QFAIL("se creó el entorno sobre una carpeta ocupada");
        } catch (const fb::Error &e) {
            QCOMPARE(e.message(),
                     QStringLiteral("La carpeta %1 ya existe y no está vacía.").arg(carpeta));
        }
        QCOMPARE(QDir(carpeta).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
                 QStringList{QStringLiteral("nota.txt")});

        try {
            Entorno::abre(lartest::tempPath(QStringLiteral("no-existe")));
            QFAIL("se abrió una carpeta que no existe");
        } catch (const fb::Error &e) {
            QVERIFY(e.message().startsWith(QStringLiteral("No existe la carpeta")));
        }
        try {
            Entorno::abre(carpeta);
            QFAIL("se abrió una carpeta sin entorno");
        } catch (const fb::Error &e) {
            QVERIFY(e.message().contains(QStringLiteral("no contiene un entorno de Microsip")));
        }
    }

    // Through the server: real accounts with passwords, and the role.
    void servidor()
    {
        if (!lartest::serverAvailable())
            QSKIP("sin servidor de pruebas (LAR_FB_PORT)");
        lartest::OpcionesPrueba op;
        op.servidor = true;
        op.usuarios = {{QStringLiteral("VENDEDORA"), QStringLiteral("clave1"), u'T', {}}};
        const lartest::EntornoPrueba prueba(op);
        const Entorno &e = prueba.entorno();
        QCOMPARE(e.rutaConfig(),
                 lartest::serverPrefix() + e.carpeta() + QStringLiteral("/System/Config.fdb"));
        QCOMPARE(Entorno::abre(e.carpeta()).servidor(), lartest::serverPrefix().chopped(1));

        fb::Database db;
        prueba.conectaEmpresa(
            db, QStringLiteral("DEMO"), QStringLiteral("VENDEDORA"), QStringLiteral("clave1"));
        QCOMPARE(valor(db,
                       QStringLiteral("SELECT CURRENT_USER || '/' || CURRENT_ROLE FROM"
                                      " RDB$DATABASE")),
                 QStringLiteral("VENDEDORA/USUARIO_MICROSIP"));
        db.disconnect();
        try {
            prueba.conectaEmpresa(
                db, QStringLiteral("DEMO"), QStringLiteral("VENDEDORA"), QStringLiteral("otra"));
            QFAIL("entró con una contraseña equivocada");
        } catch (const fb::Error &err) {
            QCOMPARE(err.iscCode(), fb::isc::LoginFailed);
        }
    }

    // The command line: Spanish messages, exit codes, and nothing half-written.
    void lineaDeOrdenes_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("codigo");
        QTest::addColumn<QString>("mensaje");
        const QString nueva = lartest::tempPath(QStringLiteral("cli/nuevo"));
        QTest::newRow("orden desconocida") << QStringList{QStringLiteral("vuela"), nueva} << 2
                                           << QStringLiteral("Orden desconocida: vuela");
        QTest::newRow("opción desconocida")
            << QStringList{QStringLiteral("init"), nueva, QStringLiteral("--color")} << 2
            << QStringLiteral("Opción desconocida: --color");
        QTest::newRow("falta el valor")
            << QStringList{QStringLiteral("init"), nueva, QStringLiteral("--empresa")} << 2
            << QStringLiteral("Falta el valor de --empresa.");
        QTest::newRow("bandera con valor")
            << QStringList{QStringLiteral("init"), nueva, QStringLiteral("--sin-folios=1")} << 2
            << QStringLiteral("La opción --sin-folios no lleva valor.");
        QTest::newRow("usuario mal escrito")
            << QStringList{QStringLiteral("init"),
                           nueva,
                           QStringLiteral("--usuario"),
                           QStringLiteral("ANA")}
            << 2 << QStringLiteral("El usuario debe escribirse NOMBRE:CONTRASEÑA");
        QTest::newRow("empresa inválida")
            << QStringList{QStringLiteral("init"), nueva, QStringLiteral("--empresa=A B")} << 1
            << QStringLiteral("El nombre corto de empresa 'A B' no es válido");
    }

    void lineaDeOrdenes()
    {
        QFETCH(QStringList, args);
        QFETCH(int, codigo);
        QFETCH(QString, mensaje);
        QProcess p;
        p.start(microsipSim(), args);
        QVERIFY(p.waitForFinished(60000));
        QCOMPARE(p.exitCode(), codigo);
        const QString err = QString::fromUtf8(p.readAllStandardError());
        QVERIFY2(err.contains(mensaje), qPrintable(err));
        QCOMPARE(restos(lartest::tempPath(QStringLiteral("cli/nuevo"))), QStringList());
    }

    void lineaDeOrdenesCrea()
    {
        const QString carpeta = lartest::tempPath(QStringLiteral("cli/creado"));
        QProcess p;
        p.start(microsipSim(),
                {QStringLiteral("init"),
                 carpeta,
                 QStringLiteral("--empresa"),
                 QStringLiteral("TIENDA"),
                 QStringLiteral("--sin-folios"),
                 QStringLiteral("--version"),
                 QStringLiteral("71000"),
                 QStringLiteral("--conexion"),
                 QStringLiteral("Tienda")});
        QVERIFY(p.waitForFinished(60000));
        QCOMPARE(p.exitCode(), 0);
        const Entorno e = Entorno::abre(carpeta);
        QCOMPARE(e.nombreConexion(), QStringLiteral("Tienda"));
        QCOMPARE(e.empresas(), QStringList{QStringLiteral("TIENDA")});
        fb::Database db;
        e.conecta(db, e.rutaEmpresa(QStringLiteral("TIENDA")));
        QCOMPARE(valor(db,
                       QStringLiteral("SELECT COUNT(*) FROM RDB$RELATIONS WHERE RDB$RELATION_NAME"
                                      " = 'FOLIOS_CONCEPTOS'")),
                 QStringLiteral("0"));
        fb::Database meta;
        e.conecta(meta, e.rutaMetadatos());
        QCOMPARE(valor(meta, QStringLiteral("SELECT MAX(VERSION_SIS) FROM VERSIONES_SIS")),
                 QStringLiteral("71000"));
    }
};

LAR_TEST_GUILESS_MAIN(TestMicrosipEntorno)
#include "tst_microsip_entorno.moc"
