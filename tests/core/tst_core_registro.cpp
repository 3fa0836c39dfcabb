// The settings tree, the object tests, the version checks, Microsip's registry and
// the catalogue loader, on an upgraded stand-in company.

#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "db/actualizadb.h"
#include "fb/query.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/sqlprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

#include <QDir>

using namespace Qt::StringLiterals;
using lartest::ejecuta;
using lartest::filas;

class TestRegistro : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<lar::Sesion> m_s;

    lar::Sesion &nuevaSesion()
    {
        m_s.reset();
        m_s = std::make_unique<lar::Sesion>();
        m_e->conectaSesion(*m_s);
        return *m_s;
    }

    void ponVersion(const QString &v)
    {
        QString valor = v;
        lar::Registro(*m_s, {}, {}, {}, false, valor, u"PuntosLar_DB"_s);
    }

private slots:
    void initTestCase()
    {
        m_e = std::make_unique<lartest::EntornoPrueba>();
        lar::ActualizaEmpresa(m_e->rutaEmpresa(), m_e->entorno().rutaConfig(), m_e->parametros());
    }

    void init()
    {
        nuevaSesion();
        ejecuta(m_s->fbDatabase(), u"delete from lar_registro"_s);
    }

    void cleanupTestCase() { m_s.reset(); }

    void primeraLecturaCreaLaRuta()
    {
        QString v = u"basura"_s;
        const int id = lar::Registro(*m_s, {}, u"PuntosLar"_s, u"Puntos"_s, true, v, u"Clave"_s);
        QVERIFY(v.isEmpty());
        // Created in path order, each under the one before; the value empty, not NULL.
        const QString arbol
            = u"select r.nombre, r.tipo, coalesce(p.nombre, '-'), r.valor from lar_registro r left "
              u"join lar_registro p on p.registro_id = r.padre_id order by r.registro_id"_s;
        const QStringList rows = filas(m_s->fbDatabase(), arbol);
        QCOMPARE(
            rows,
            QStringList(
                {u"PuntosLar|F|-|null"_s, u"Puntos|F|PuntosLar|null"_s, u"Clave|V|Puntos|"_s}));
        QCOMPARE(QString::number(m_s->RegistroCache.value(u"PuntosLar*Puntos*"_s)),
                 filas(m_s->fbDatabase(),
                       u"select registro_id from lar_registro where nombre='Puntos'"_s)[0]);

        // A new session finds the same rows and adds none.
        lar::Sesion &s2 = nuevaSesion();
        QCOMPARE(lar::Registro(s2, {}, u"PuntosLar"_s, u"Puntos"_s, true, v, u"Clave"_s), id);
        QCOMPARE(filas(s2.fbDatabase(), arbol), rows);
        lar::GuardaRegistro(s2, u"Clave"_s, u"Sí, 5"_s);
        QCOMPARE(lar::LeeRegistro(s2, u"Clave"_s), u"Sí, 5"_s);
    }

    // Settings reads (which create keys) and writes are committed on the tree's own
    // transaction: other stations see them at once, while a screen's pending write
    // on fbUpdateTrans stays pending and can still be rolled back.
    void ajenoALaTransaccionDeLaPantalla()
    {
        lar::Sesion &s = *m_s;
        s.TransInicia();
        fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
        q.setSql(u"insert into lar_permisos (modulo, usuario, acceso) values (5, "
                 u"'PENDIENTE', 1)"_s);
        q.execute();
        QCOMPARE(lar::LeeRegistro(s, u"Nueva"_s), QString());
        lar::GuardaRegistro(s, u"Otra"_s, u"x"_s);
        QString version;
        lar::Registro(s, {}, {}, {}, true, version, u"PuntosLar_DB"_s);
        QVERIFY(s.fbUpdateTrans().isActive());

        fb::Database otra;
        m_e->conectaEmpresa(otra);
        const QString claves
            = u"select nombre, valor from lar_registro where nombre in ('Nueva', 'Otra', "
              u"'PuntosLar_DB') order by nombre"_s;
        const QStringList esperadas{u"Nueva|"_s, u"Otra|x"_s, u"PuntosLar_DB|"_s};
        QCOMPARE(filas(otra, claves), esperadas);
        const QString pendiente
            = u"select count(*) from lar_permisos where usuario = 'PENDIENTE'"_s;
        QCOMPARE(filas(otra, pendiente), QStringList{u"0"_s});

        s.UpdateRollback();
        QCOMPARE(filas(otra, pendiente), QStringList{u"0"_s});
        QCOMPARE(filas(otra, claves), esperadas);
    }

    // Folder ids stay cached for the whole session, even when the rows go away.
    void cacheDeCarpetas()
    {
        lar::GuardaRegistro(*m_s, u"Clave"_s, u"7"_s);
        ejecuta(m_s->fbDatabase(), u"delete from lar_registro where tipo = 'F'"_s);
        QCOMPARE(lar::LeeRegistro(*m_s, u"Clave"_s), u"7"_s);
        QVERIFY(filas(m_s->fbDatabase(), u"select 1 from lar_registro where tipo='F'"_s).isEmpty());

        nuevaSesion();
        QCOMPARE(lar::LeeRegistro(*m_s, u"Clave"_s), QString());
        QCOMPARE(filas(m_s->fbDatabase(), u"select count(*) from lar_registro where tipo='F'"_s),
                 QStringList{u"2"_s});
    }

    // A write through folders not yet cached stores its text in their VALOR too,
    // and a write over an existing row overwrites its TIPO.
    void valorEnCarpetasYTipo()
    {
        QCOMPARE(lar::LeeRegistro(*m_s, u"Clave"_s), QString());
        nuevaSesion();
        lar::GuardaRegistro(*m_s, u"Clave"_s, u"abc"_s);
        lar::GuardaRegistro(*m_s, u"Clave"_s, u"def"_s);
        QCOMPARE(
            filas(m_s->fbDatabase(),
                  u"select nombre, valor from lar_registro where tipo='F' order by registro_id"_s),
            QStringList({u"PuntosLar|abc"_s, u"Puntos|abc"_s}));
        QCOMPARE(lar::LeeRegistro(*m_s, u"Clave"_s), u"def"_s);

        QString uno = u"1"_s;
        lar::Registro(*m_s, {}, {}, {}, false, uno, u"PuntosLar"_s);
        QCOMPARE(filas(m_s->fbDatabase(),
                       u"select tipo, valor from lar_registro where nombre='PuntosLar'"_s),
                 QStringList{u"V|1"_s});
        QVERIFY(!m_s->RegistroCache.contains(u"**"_s));
    }

    // A path of three folders: each level under the one before, and the cache keeps
    // paths that differ in their third folder apart, in the session that made them
    // and in a new one.
    void rutaDeTresNiveles()
    {
        nuevaSesion();
        const QStringList ruta{u"Sub"_s, u"Otra"_s, QString()};
        auto valor = [](const QString &c3) {
            return c3.isEmpty() ? u"dos"_s : u"tres "_s + c3;
        };
        for (const QString &c3 : ruta) {
            QString v = valor(c3);
            lar::Registro(*m_s, c3, u"PuntosLar"_s, u"Puntos"_s, false, v, u"Clave"_s);
        }
        QCOMPARE(
            filas(m_s->fbDatabase(),
                  u"select p.nombre || '/' || h.nombre, r.valor from lar_registro r join "
                  "lar_registro h on h.registro_id = r.padre_id join lar_registro p on "
                  "p.registro_id = h.padre_id where r.nombre = 'Clave' order by 2"_s),
            QStringList(
                {u"PuntosLar/Puntos|dos"_s, u"Puntos/Otra|tres Otra"_s, u"Puntos/Sub|tres Sub"_s}));
        for (int vez = 0; vez < 2; ++vez) {
            for (const QString &c3 : ruta) {
                QString v;
                lar::Registro(*m_s, c3, u"PuntosLar"_s, u"Puntos"_s, true, v, u"Clave"_s);
                QCOMPARE(v, valor(c3));
            }
            QCOMPARE(QString::number(m_s->RegistroCache.value(u"PuntosLar*Puntos*Sub"_s)),
                     filas(m_s->fbDatabase(),
                           u"select h.registro_id from lar_registro h join lar_registro p on "
                           "p.registro_id = h.padre_id where h.nombre = 'Sub' and p.nombre = "
                           "'Puntos'"_s)
                         .value(0));
            nuevaSesion();
        }
    }

    void verificaDB_data()
    {
        QTest::addColumn<QString>("valor"); // "-": no key at all
        QTest::addColumn<bool>("silencioso");
        QTest::addColumn<bool>("esperado");
        QTest::addColumn<QString>("mensaje");
        const QString viejo = u"Es necesario actualizar la base de datos para continuar"_s;
        const QString nuevo
            = u"La base de datos no es compatible, debe actualizar el sistema Larvenos"_s;
        QTest::newRow("igual") << "000040" << false << true << QString();
        QTest::newRow("con blancos") << "000040  " << false << false << nuevo;
        QTest::newRow("vieja") << "000039" << false << false << viejo;
        QTest::newRow("nueva") << "000041" << false << false << nuevo;
        QTest::newRow("sin clave") << "-" << false << false << viejo;
        QTest::newRow("silencioso") << "000041" << true << false << QString();
    }

    void verificaDB()
    {
        QFETCH(QString, valor);
        QFETCH(bool, silencioso);
        QFETCH(bool, esperado);
        QFETCH(QString, mensaje);
        if (valor != u"-")
            ponVersion(valor);
        lartest::GuionMensajes guion;
        bool terminada = false;
        m_s->terminaAplicacion = [&] {
            terminada = true;
        };
        // The check itself only answers; the screens' RevisaDB shows what it found.
        const lar::VerificacionDB r = lar::VerificaDB(*m_s, silencioso);
        QCOMPARE(r.ok, esperado);
        QCOMPARE(r.aviso, mensaje);
        QVERIFY(!r.terminar);
        QVERIFY(guion.cajas().isEmpty());
        QCOMPARE(lar::RevisaDB(*m_s, silencioso), esperado);
        QCOMPARE(guion.textos(), mensaje.isEmpty() ? QStringList() : QStringList{mensaje});
        for (const lar::CajaMensaje &c : guion.cajas())
            QCOMPARE(c.titulo, u"Aviso del sistema"_s);
        QVERIFY(!terminada);
        // The read of a missing key leaves it, empty.
        QCOMPARE(filas(m_s->fbDatabase(),
                       u"select valor from lar_registro where nombre='PuntosLar_DB'"_s),
                 QStringList{valor == u"-" ? QString() : valor.trimmed()});
        QCOMPARE(m_s->VersionMicrosip, u"7.22.1"_s);
    }

    void verificaDBSinEsquema()
    {
        const lartest::EntornoPrueba limpio;
        lar::Sesion s;
        limpio.conectaSesion(s);
        lartest::GuionMensajes guion;
        QVERIFY(!lar::RevisaDB(s, true));
        QVERIFY(guion.cajas().isEmpty());
        QVERIFY(!lar::RevisaDB(s, false));
        QCOMPARE(guion.textos(),
                 QStringList{u"Es necesario actualizar la base de datos para continuar"_s});
    }

    void versionMicrosip_data()
    {
        QTest::addColumn<QString>("versionSis");
        QTest::addColumn<bool>("aceptada");
        QTest::addColumn<QString>("texto");
        QTest::newRow("7.22.1") << "72201" << true << "7.22.1";
        QTest::newRow("7.22.99") << "72299" << true << "7.22.99";
        QTest::newRow("7.10.5") << "71005" << true << "7.10.5";
        QTest::newRow("7.30.0") << "73000" << false << "7.30.0";
    }

    void versionMicrosip()
    {
        QFETCH(QString, versionSis);
        QFETCH(bool, aceptada);
        QFETCH(QString, texto);
        ponVersion(u"000040"_s);
        ejecuta(m_s->fbMetadatos(), u"update versiones_sis set version_sis = ?"_s, {versionSis});
        lartest::GuionMensajes guion;
        int terminada = 0;
        m_s->terminaAplicacion = [&] {
            ++terminada;
        };
        // Quiet or not, a refused Microsip is told and ends the program.
        QCOMPARE(lar::RevisaDB(*m_s, true), aceptada);
        QCOMPARE(m_s->VersionMicrosip, texto);
        QCOMPARE(terminada, aceptada ? 0 : 1);
        QCOMPARE(guion.textos(),
                 aceptada
                     ? QStringList()
                     : QStringList{u"Puntos Larvenos 2026 no es compatible con la versión de "_s
                                   u"Microsip "_s
                                   + texto});
        ejecuta(m_s->fbMetadatos(), u"update versiones_sis set version_sis = '72201'"_s);
    }

    void existenObjetos()
    {
        lar::Sesion &s = *m_s;
        QVERIFY(lar::ExisteTabla(s, u" lar_ registro\r\n"_s));
        QVERIFY(!lar::ExisteTabla(s, u"LAR_NADA"_s));
        QVERIFY(lar::ExisteCampo(s, u"LAR_REGISTRO"_s, u"VALOR"_s));
        QVERIFY(!lar::ExisteCampo(s, u"lar_registro"_s, u"valor"_s));
        QVERIFY(lar::ExisteProcedimiento(s, u"lar_calc_artalm1 "_s));

        // The answer is kept for the session, also a negative one.
        QVERIFY(!lar::ExisteProcedimiento(s, u"LAR_NUEVO"_s));
        ejecuta(s.fbDatabase(),
                u"create procedure LAR_NUEVO returns (n integer) as begin n = 1; end"_s);
        QVERIFY(!lar::ExisteProcedimiento(s, u"LAR_NUEVO"_s));
        QVERIFY(lar::ExisteProcedimiento(nuevaSesion(), u"LAR_NUEVO"_s));
        ejecuta(m_s->fbDatabase(), u"drop procedure LAR_NUEVO"_s);
    }

    void registroMicrosip()
    {
        lar::Sesion &s = *m_s;
        s.ConfigInicia();
        const int usuario = lar::RegistroMicrosip(s, u"PEPE"_s, 0, u"L"_s, false, QString());
        QVERIFY(usuario > 0);
        QCOMPARE(lar::RegistroMicrosip(s, u"PEPE"_s, 0, u"L"_s, false, QString()), usuario);
        const int microsip
            = lar::RegistroMicrosip(s, u"Microsip"_s, usuario, u"L"_s, false, QString());
        const int empresa = lar::RegistroMicrosip(s, u"Empresa"_s, microsip, u"V"_s, true, u"5"_s);
        QCOMPARE(lar::RegistroMicrosip(s, u"Empresa"_s, microsip, u"V"_s, true, u"7"_s), empresa);
        QCOMPARE(lar::RegistroMicrosip(s, u"Empresa"_s, microsip, u"V"_s, false, u"9"_s), empresa);
        s.ConfigCommit();
        // What TfConecta reads back as the user's last company.
        QCOMPARE(filas(s.fbConfig(),
                       u"select valor from registry where nombre='Empresa' and padre_id= (select "_s
                       u"elemento_id from registry where nombre='Microsip' and padre_id= (select "_s
                       u"elemento_id from registry where nombre='PEPE' and padre_id=0))"_s),
                 QStringList{u"7"_s});
    }

    void cargaCatalogo()
    {
        lar::Sesion &s = *m_s;
        const QString largo = u"Bodega de materiales de construcción pesada"_s;
        for (const QString &n : {u"Zona sur"_s, u"Almacén central"_s, largo})
            ejecuta(s.fbDatabase(),
                    u"insert into almacenes (almacen_id, nombre) values (-1, ?)"_s,
                    {n});
        const auto catalogo = [&s] {
            return lar::CargaCatalogo(s, u"ALMACENES"_s, u"ALMACEN_ID"_s, u"NOMBRE"_s);
        };
        lar::LookupCombo combo;
        for (int vez = 0; vez < 2; ++vez) {
            lar::LlenaCatalogo(&combo, catalogo());
            QCOMPARE(combo.count(), 3);
        }
        QCOMPARE(combo.findChildren<lar::MemTable *>().size(), 1);
        QCOMPARE(combo.currentIndex(), 0);
        QCOMPARE(combo.itemText(0), u"Almacén central"_s);
        QCOMPARE(combo.itemText(1), largo.left(30));
        QCOMPARE(combo.itemText(2), u"Zona sur"_s);
        combo.setCurrentIndex(2);
        QCOMPARE(
            filas(s.fbDatabase(), u"select almacen_id from almacenes where nombre='Zona sur'"_s),
            QStringList{combo.keyValue().toString()});
        ejecuta(s.fbDatabase(), u"delete from almacenes"_s);
        lar::LlenaCatalogo(&combo, catalogo());
        QCOMPARE(combo.count(), 0);
        QCOMPARE(combo.currentIndex(), -1);
    }

    void rutaIni()
    {
        const QString dir = lartest::tempPath(u"datos/LarvenosPV"_s);
        qputenv("LARVENOS_DATOS", dir.toLocal8Bit());
        QCOMPARE(lar::RutaIni(*m_s), dir + u"/Puntos.ini"_s);
        QCOMPARE(m_s->IniPuntos, dir + u"/Puntos.ini"_s);
        QVERIFY(QDir(dir).exists());
        qunsetenv("LARVENOS_DATOS");
    }
};

LAR_TEST_MAIN(TestRegistro)
#include "tst_core_registro.moc"
