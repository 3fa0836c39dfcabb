// The schema upgrade on real stand-in Microsip databases: a new company, a repeat
// run, a newer schema refused (headless and through the dialog), a configuration
// database without the report store, broken statements and steps, and the same
// scripts run by isql-fb.

#include "core/registro.h"
#include "core/sesion.h"
#include "db/actualizadb.h"
#include "db/dbscript.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList kLineas = {u"Inicia"_s,
                             u" - Se crearon las tablas"_s,
                             u" - Se insertaron los datos"_s,
                             u" - Se crearon los índices"_s,
                             u" - Se crearon los procedimientos"_s,
                             u" - Se dieron permisos"_s,
                             QString(),
                             u"* Terminado *"_s};

// Log lines without their time ("10:42: ").
QStringList sinHora(const QStringList &lineas)
{
    QStringList out;
    for (const QString &l : lineas) {
        const qsizetype i = l.indexOf(u": "_s);
        out << (l.isEmpty() ? l : l.mid(i + 2));
    }
    return out;
}

using lartest::ejecuta;
using lartest::filas;

// What the upgrade leaves in a company database: objects, columns, grants and the
// seed rows (ids left out: they come from Microsip's sequence).
QStringList estado(fb::Database &db)
{
    QStringList out;
    const QStringList consultas = {
        u"select 'R', rdb$relation_name from rdb$relations where coalesce(rdb$system_flag,0)=0"_s,
        u"select 'P', rdb$procedure_name from rdb$procedures where coalesce(rdb$system_flag,0)=0"_s,
        u"select 'T', rdb$trigger_name, rdb$relation_name, rdb$trigger_type, rdb$trigger_sequence "_s
        u"from rdb$triggers where coalesce(rdb$system_flag,0)=0"_s,
        u"select 'G', rdb$generator_name from rdb$generators where coalesce(rdb$system_flag,0)=0"_s,
        u"select 'I', i.rdb$relation_name, iif(i.rdb$index_name starting 'RDB$', '', "_s
        u"i.rdb$index_name), i.rdb$unique_flag, (select list(trim(x.rdb$field_name)) from (select "_s
        u"s.rdb$field_name from rdb$index_segments s where s.rdb$index_name = i.rdb$index_name "_s
        u"order by s.rdb$field_position) x) from rdb$indices i where "_s
        u"coalesce(i.rdb$system_flag,0)=0"_s,
        u"select 'C', r.rdb$relation_name, r.rdb$field_name, f.rdb$field_type, "_s
        u"f.rdb$field_length, f.rdb$field_scale from rdb$relation_fields r join rdb$fields f on "_s
        u"f.rdb$field_name = r.rdb$field_source where coalesce(r.rdb$system_flag,0)=0"_s,
        u"select 'U', rdb$user, rdb$user_type, rdb$privilege, rdb$relation_name from "_s
        u"rdb$user_privileges where rdb$relation_name starting 'LAR_' or rdb$relation_name = "_s
        u"'CALC_ACUMS_ARTALM'"_s,
        u"select 'MS', clave, titulo, depende from lar_menusistema"_s,
        u"select 'MB', clave, tag, titulo, sistema from lar_menubotones"_s,
        u"select 'MD', tag, lugar, titulo from lar_menubotondef"_s,
        u"select 'CI', nombre, nombre_abrev, naturaleza, folio_autom, tipo from conceptos_in"_s,
        u"select 'RC', nombre, es_ppal, es_gln from roles_claves_clientes"_s,
        u"select 'AT', nombre, nombre_columna, clave_objeto, posicion, tipo, longitud, escala, "_s
        u"valor_minimo, valor_maximo, valor_default_numerico, valor_default_caracter, requerido "_s
        u"from atributos"_s};
    for (const QString &c : consultas)
        out << filas(db, c);
    out.sort();
    return out;
}

} // namespace

class TestActualiza : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<lar::Sesion> m_s;

    // A fresh stand-in Microsip, with the replication queue so that every trigger of
    // the scripts has its table, and a session on its first company.
    lar::Sesion &entorno(const QStringList &empresas = {u"DEMO"_s})
    {
        lartest::OpcionesPrueba op;
        op.larSync = true;
        op.empresas = empresas;
        m_e = std::make_unique<lartest::EntornoPrueba>(op);
        m_s = std::make_unique<lar::Sesion>();
        m_e->conectaSesion(*m_s, empresas.first());
        return *m_s;
    }

    // Upgrades (headless) and returns the log.
    QStringList actualiza(lar::Sesion &s, lar::ActualizaDB *a = nullptr, bool *hecho = nullptr)
    {
        QStringList log;
        lar::ActualizaDB propio(s);
        lar::ActualizaDB &act = a ? *a : propio;
        act.setBitacora([&log](const QString &l) { log << l; });
        const bool ok = act.Actualiza();
        if (hecho)
            *hecho = ok;
        return log;
    }

    QString version(lar::Sesion &s)
    {
        QString v;
        lar::Registro(s, {}, {}, {}, true, v, u"PuntosLar_DB"_s);
        return v;
    }

private slots:
    void cleanup()
    {
        m_s.reset();
        m_e.reset();
    }

    void nuevaEmpresa()
    {
        lar::Sesion &s = entorno();
        QVERIFY(!lar::ExisteTabla(s, u"LAR_REGISTRO"_s));
        bool hecho = false;
        const QStringList log = actualiza(s, nullptr, &hecho);
        QVERIFY(hecho);
        QCOMPARE(sinHora(log), kLineas);
        // The short form: hours and minutes, whatever the machine's locale.
        QVERIFY2(QRegularExpression(u"^\\d{1,2}:\\d\\d: Inicia$"_s).match(log.first()).hasMatch(),
                 qPrintable(log.first()));
        QCOMPARE(version(s), u"000040"_s);

        // Key objects (the isql case compares everything); grants go to the role that
        // Microsip's users hold (user type 13), none on the reset records.
        const QStringList objetos = estado(s.fbDatabase());
        const QString esperados
            = u"R|LAR_MENUBOTONDEF R|LAR_MENUBOTONES R|LAR_MENUSISTEMA R|LAR_PERMISOS "
              u"R|LAR_REGISTRO "
              "R|LAR_PUNTOS R|LAR_REPORTE_CLIENTE R|LAR_REPORTES R|LAR_DATOSCLTE "
              "R|LAR_AVISO_REINICIO R|LAR_REINICIO_PUNTOS R|LAR_PUNTOSLINEAS "
              "P|LAR_CALC_DISP_ARTALM P|LAR_CALC_ARTALM P|LAR_CALC_ARTALM1 P|LAR_EXISTARTS "
              "P|LAR_EXIS_TOTAVTA P|LAR_GET_MOVTOS_VENTA_VEN_VE G|GEN_LAR_PUNTOS "
              "G|GEN_LAR_REGISTRO "
              "T|TR_LAR_REGISTRO|LAR_REGISTRO|1|0 T|TR_LAR_AVISO_REINICIO|LAR_AVISO_REINICIO|1|0 "
              "T|TR_LAR_REINICIO_PUNTOS|LAR_REINICIO_PUNTOS|1|0 "
              "I|LAR_REGISTRO|LAR_REGISTRO_K1|1|PADRE_ID,NOMBRE "
              "I|LAR_PUNTOS|LAR_PUNTOS_IDX1|0|CLIENTE_ID "
              "I|LAR_PUNTOS|LAR_PUNTOS_IDX2|0|DOCTO_ID C|LAR_DATOSCLTE|NOMBRE|37|200|0 "
              "C|LIBRES_ARTICULOS|PUNTOS|16|8|0 C|LIBRES_ARTICULOS|VALOR_PUNTOS|16|8|0 "
              "C|LIBRES_CLIENTES|ACTIVO_PUNTOS|14|1|0 C|LIBRES_CLIENTES|EMPLEADO_PUNTOS|14|1|0 "
              "C|LAR_PUNTOS|FECHA|35|8|0 C|LAR_PUNTOS|PARTIDA|8|4|0 "
              "C|LAR_MENUBOTONES|SISTEMA|37|5|0 "
              "C|LAR_DATOSCLTE|USUARIO|37|50|0 U|USUARIO_MICROSIP|13|I|LAR_PUNTOS "
              "U|USUARIO_MICROSIP|13|X|LAR_CALC_DISP_ARTALM "
              "U|USUARIO_MICROSIP|13|X|CALC_ACUMS_ARTALM"_s;
        for (const QString &o : esperados.split(u' '))
            QVERIFY2(objetos.contains(o), qPrintable(o));
        for (const QString &o : objetos)
            QVERIFY2(!o.contains(u"USUARIO_MICROSIP|13|I|LAR_AVISO"_s)
                         && !o.contains(u"USUARIO_MICROSIP|13|I|LAR_REINICIO"_s)
                         && !o.contains(u"LAR_FACART"_s),
                     qPrintable(o));

        // Seed rows, accents included, read back through the client layer.
        QCOMPARE(filas(s.fbDatabase(), u"select titulo from lar_menusistema order by clave"_s),
                 QStringList({u"Sistema"_s, u"Reportes"_s, u"Catálogos"_s, u"Operación"_s}));
        QCOMPARE(filas(s.fbDatabase(),
                       u"select titulo from lar_menubotones where tag in (10, 72) order by tag"_s),
                 QStringList({u"Configuración del sistema"_s, u"Artículos con puntos"_s}));
        QCOMPARE(
            filas(s.fbDatabase(),
                  u"select (select count(*) from lar_menubotones where sistema='LVN'), "_s
                  u"(select count(*) from lar_menubotondef), (select count(*) from atributos "_s
                  u"where nombre_columna in ('PUNTOS','VALOR_PUNTOS','ACTIVO_PUNTOS',"_s
                  u"'EMPLEADO_PUNTOS')), (select count(*) from conceptos_in where "_s
                  u"nombre='Salida por puntos') from rdb$database"_s),
            QStringList{u"10|28|4|1"_s});

        // LarvenosPV / Traspasos / Formas and LarvenosPV / Puntos / Formas, and nothing else.
        QCOMPARE(
            filas(s.fbConfig(),
                  u"select a.name || '/' || b.name || '/' || c.name from rb_folder a join "_s
                  u"rb_folder b on b.parent_id = a.folder_id join rb_folder c on c.parent_id "_s
                  u"= b.folder_id where a.parent_id = 0 order by 1"_s),
            QStringList({u"LarvenosPV/Puntos/Formas"_s, u"LarvenosPV/Traspasos/Formas"_s}));
        QCOMPARE(filas(s.fbConfig(), u"select count(*) from rb_folder"_s), QStringList{u"5"_s});
    }

    void dosVecesMismoEstado()
    {
        lar::Sesion &s = entorno();
        const QStringList log1 = actualiza(s);
        const QStringList estado1 = estado(s.fbDatabase());
        const QStringList registro1
            = filas(s.fbDatabase(), u"select nombre, tipo, valor from lar_registro"_s);
        const QStringList carpetas1
            = filas(s.fbConfig(), u"select folder_id, name, parent_id from rb_folder"_s);

        const QStringList log2 = actualiza(s);
        QCOMPARE(sinHora(log2), sinHora(log1));
        QCOMPARE(estado(s.fbDatabase()), estado1);
        QCOMPARE(filas(s.fbDatabase(), u"select nombre, tipo, valor from lar_registro"_s),
                 registro1);
        QCOMPARE(filas(s.fbConfig(), u"select folder_id, name, parent_id from rb_folder"_s),
                 carpetas1);
    }

    // A newer schema is refused, through the dialog, before anything runs: no
    // log, no script (the index dropped stays dropped), no folder.
    void versionNuevaRechazada()
    {
        lar::Sesion &s = entorno();
        actualiza(s);
        QString v = u"000041"_s;
        lar::Registro(s, {}, {}, {}, false, v, u"PuntosLar_DB"_s);
        ejecuta(s.fbDatabase(), u"DROP INDEX LAR_PUNTOS_IDX1"_s);
        ejecuta(s.fbConfig(), u"delete from rb_folder"_s);
        const QStringList antes = estado(s.fbDatabase());

        lartest::GuionMensajes guion;
        lar::TfDBScript dlg(s);
        dlg.show();
        QTest::mouseClick(dlg.findChild<QPushButton *>(u"bInicia"_s), Qt::LeftButton);
        QCOMPARE(guion.textos(),
                 QStringList{u"La base de datos no es compatible, es necesario actualizar el "_s
                             u"sistema Puntos Larvenos "_s});
        QCOMPARE(guion.cajas()[0].titulo, u"Aviso del sistema"_s);
        QVERIFY(dlg.findChild<QPlainTextEdit *>(u"vLog"_s)->toPlainText().isEmpty());
        QVERIFY(dlg.bInicia()->isEnabled());
        QVERIFY(!QApplication::overrideCursor());
        QCOMPARE(version(s), u"000041"_s);
        QCOMPARE(estado(s.fbDatabase()), antes);
        QCOMPARE(filas(s.fbConfig(), u"select count(*) from rb_folder"_s), QStringList{u"0"_s});
    }

    // The dialog's run: hourglass and bInicia disabled while the log grows, both
    // back at the end; the memo holds the log.
    void dialogo()
    {
        lar::Sesion &s = entorno();
        lartest::GuionMensajes guion;
        lar::TfDBScript dlg(s);
        dlg.show();
        int vistas = 0, ocupado = 0;
        connect(dlg.vLog(), &QPlainTextEdit::textChanged, &dlg, [&] {
            ++vistas;
            if (!dlg.bInicia()->isEnabled() && QApplication::overrideCursor()
                && QApplication::overrideCursor()->shape() == Qt::WaitCursor)
                ++ocupado;
        });
        QTest::mouseClick(dlg.bInicia(), Qt::LeftButton);
        QVERIFY(guion.cajas().isEmpty());
        QVERIFY(vistas >= kLineas.size());
        QCOMPARE(ocupado, vistas);
        QVERIFY(dlg.bInicia()->isEnabled());
        QVERIFY(!QApplication::overrideCursor());
        QCOMPARE(sinHora(dlg.vLog()->toPlainText().split(u'\n')), kLineas);
        QCOMPARE(version(s), u"000040"_s);
    }

    void configuracionSinRbFolder()
    {
        lar::Sesion &s = entorno();
        s.fbConfig().disconnect();
        lartest::createDatabase(s.fbConfig(), lartest::tempPath(u"ConfigVacia.fdb"_s));
        const QStringList log = sinHora(actualiza(s));
        QCOMPARE(log.mid(0, kLineas.size()), kLineas);
        QCOMPARE(log.size(), kLineas.size() + 2);
        QCOMPARE(log[kLineas.size()], u"Error al crear las carpetas para los reportes:"_s);
        QVERIFY2(log.last().contains(u"RB_FOLDER"_s), qPrintable(log.last()));
        QCOMPARE(version(s), u"000040"_s);
    }

    // A broken statement is passed over in silence; a step whose commit fails is
    // rolled back, its message logged, and the following steps still run.
    void erroresDeSentenciaYDePaso()
    {
        lar::Sesion &s = entorno();
        lar::ActualizaDB a(s);
        QString indices = lar::ActualizaDB::textoScript(u"sIndices"_s);
        const qsizetype at = indices.indexOf(u"CREATE INDEX LAR_PUNTOS_IDX1"_s);
        QVERIFY(at > 0);
        indices.insert(at, u"CREATE INDEXX MAL ON;\n\n"_s);
        a.setScript(u"sIndices"_s, indices);
        QStringList log = sinHora(actualiza(s, &a));
        QCOMPARE(log, kLineas);
        QCOMPARE(filas(s.fbDatabase(),
                       u"select count(*) from rdb$indices where rdb$index_name "_s
                       u"in ('LAR_PUNTOS_IDX1', 'LAR_PUNTOS_IDX2')"_s),
                 QStringList{u"2"_s});

        // A unique index over duplicate titles fails only when the step commits.
        lar::ActualizaDB a2(s);
        a2.setScript(u"sDatos"_s,
                     u"CREATE TABLE LAR_PRUEBA (N INTEGER);\n"
                     "CREATE UNIQUE INDEX LAR_MAL ON LAR_MENUBOTONDEF (TITULO);\n"_s);
        log = sinHora(actualiza(s, &a2));
        QCOMPARE(log.size(), kLineas.size() + 1);
        QCOMPARE(log.mid(0, 2), kLineas.mid(0, 2));
        QVERIFY2(!log[2].isEmpty() && !kLineas.contains(log[2]), qPrintable(log[2]));
        QCOMPARE(log.mid(3), kLineas.mid(2));
        QVERIFY(!lar::ExisteTabla(s, u"LAR_PRUEBA"_s));
        QCOMPARE(version(s), u"000040"_s);
    }

    // isql-fb runs the same scripts to the same objects and rows.
    void mismoResultadoQueIsql()
    {
        const QString isql = QStandardPaths::findExecutable(u"isql-fb"_s);
        if (isql.isEmpty())
            QSKIP("isql-fb no está instalado");
        lar::Sesion &s = entorno({u"PROGRAMA"_s, u"ISQL"_s});
        for (const QString &nombre : lar::ActualizaDB::nombresScripts()) {
            const QString archivo = lartest::tempPath(nombre + u".sql"_s);
            QFile f(archivo);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(lar::ActualizaDB::bytesScript(nombre));
            f.close();
            QProcess p;
            p.start(
                isql,
                {u"-q"_s, u"-user"_s, u"SYSDBA"_s, m_e->rutaEmpresa(u"ISQL"_s), u"-i"_s, archivo});
            QVERIFY(p.waitForFinished(120000));
        }

        actualiza(s);
        fb::Database db;
        m_e->conectaEmpresa(db, u"ISQL"_s);
        QCOMPARE(estado(db), estado(s.fbDatabase()));
        QCOMPARE(filas(db, u"select titulo from lar_menusistema where clave = 5"_s),
                 QStringList{u"Catálogos"_s});
    }
};

LAR_TEST_MAIN(TestActualiza)
#include "tst_db_actualiza.moc"
