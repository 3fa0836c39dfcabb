// The points history over a large ledger: 1,000,000 rows in LAR_PUNTOS (documents of
// four lines of every kind, over a year), 100,000 of them for one customer.
//  1. case 1, the customer's rows, as the screen loads them (the memory table, the
//     grid and the balance label) against a bare fetch of the same statement
//     through the client library (target: within 1.5 times);
//  2. case 4, the document movements of all customers summed by folio, the same way.
// Loads are measured in turns, side by side, and the medians compared.
// LAR_BENCH_HISTORIAL keeps the seeded company between runs (seeding takes minutes).

#include "core/sesion.h"
#include "db/actualizadb.h"
#include "fb/query.h"
#include "fb/rawfetch.h"
#include "fb/transaction.h"
#include "microsip/sim/entorno.h"
#include "microsip/sim/siembra.h"
#include "points/historial.h"
#include "points/historial_forma.h"
#include "support/benchutil.h"
#include "toolkit/memtable.h"

#include <QApplication>
#include <QCheckBox>
#include <QDateEdit>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>

namespace {

constexpr int Vueltas = 3;
constexpr int Filas = 1000000;
constexpr int FilasCliente = 100000;
const QDate Desde(2025, 6, 1);
const QDate Hasta(2026, 6, 30);

double cpuMs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

template<class F>
void mide(std::vector<double> &pared, std::vector<double> &cpu, F &&f)
{
    const double c = cpuMs();
    pared.push_back(larbench::timeMs(f));
    cpu.push_back(cpuMs() - c);
}

void ejecuta(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setParamCheck(false);
    q.setSql(sql);
    q.execute();
    tr.commit();
}

int entero(fb::Database &db, const QString &sql)
{
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setSql(sql);
    q.open();
    const int n = q.field(0).toInt();
    q.close();
    tr.commit();
    return n;
}

// The ledger, written by the engine itself: documents of four lines (sales by
// article, amount and line, returns, redemptions and cancelled ones, adjustments,
// resets), one customer holding the first FilasCliente rows, the others sharing the
// rest. The customers and articles of the seeded company are numbered in one run.
void siembraLedger(fb::Database &db)
{
    const int cliMin = entero(db, QStringLiteral("SELECT MIN(cliente_id) FROM clientes"));
    const int cliN
        = entero(db, QStringLiteral("SELECT MAX(cliente_id) FROM clientes")) - cliMin + 1;
    const int artMin = entero(db, QStringLiteral("SELECT MIN(articulo_id) FROM articulos"));
    const int artN
        = entero(db, QStringLiteral("SELECT MAX(articulo_id) FROM articulos")) - artMin + 1;
    ejecuta(db,
            QStringLiteral(R"(EXECUTE BLOCK AS
DECLARE i INTEGER = 0;
DECLARE d INTEGER;
DECLARE k INTEGER;
DECLARE c INTEGER;
DECLARE t CHAR(1);
BEGIN
  WHILE (i < %1) DO
  BEGIN
    d = i / 4;
    k = MOD(d, 20);
    c = CASE WHEN i < %2 THEN %3 ELSE %3 + 1 + MOD(d, %4 - 1) END;
    t = CASE WHEN k < 10 THEN 'V' WHEN k < 13 THEN 'F' WHEN k < 15 THEN 'L' WHEN k = 15 THEN 'D'
             WHEN k = 16 THEN 'C' WHEN k = 17 THEN 'X' WHEN k = 18 THEN 'A' ELSE 'S' END;
    INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, DOCTO_ID, ARTICULO_ID, TIPO_DOCTO, FOLIO,
                            NATURALEZA, UNIDADES, VALOR_PUNTOS, SISTEMA, PARTIDA, FECHA)
    VALUES (:i + 1, :c, CASE WHEN :t IN ('A', 'S') THEN 0 ELSE :d + 1 END,
            CASE WHEN :t = 'L' THEN NULL WHEN :t IN ('A', 'S') THEN 0
                 ELSE %5 + MOD(:i, %6) END,
            :t, 'B' || LPAD(:d, 8, '0'),
            CASE WHEN :t IN ('D', 'C', 'X', 'S') OR (:t = 'A' AND MOD(:d, 2) = 1) THEN 'S'
                 ELSE 'E' END,
            1, 1 + MOD(:i, 50), 'PV', MOD(:i, 4) + 1,
            DATEADD(MOD(:d * 7919, 525600) MINUTE TO TIMESTAMP '%7 00:00:00'));
    i = i + 1;
  END
END)")
                .arg(Filas)
                .arg(FilasCliente)
                .arg(cliMin)
                .arg(cliN)
                .arg(artMin)
                .arg(artN)
                .arg(Desde.toString(Qt::ISODate)));
    ejecuta(db, QStringLiteral("ALTER SEQUENCE GEN_LAR_PUNTOS RESTART WITH %1").arg(Filas));
}

// The statement of the case with its parameters written in.
QString conValores(lar::HistorialPuntos::Caso caso, int cliente)
{
    const auto fecha = [](const QDate &d) {
        return QLatin1Char('\'') + d.toString(Qt::ISODate) + QLatin1Char('\'');
    };
    return lar::HistorialPuntos::Sentencia(caso)
        .replace(QStringLiteral(":cliente"), QString::number(cliente))
        .replace(QStringLiteral(":fechaI"), fecha(Desde))
        .replace(QStringLiteral(":fecha"), fecha(Hasta));
}

void compara(const char *nombre, lar::Sesion &s, lar::TfHistorialPuntos &f, const QString &sql)
{
    std::vector<double> carga, crudo, cCarga, cCrudo;
    fb::RawFetchResult r;
    for (int i = 0; i < Vueltas; ++i) {
        mide(crudo, cCrudo, [&] {
            fb::Transaction tr(&s.fbDatabase());
            tr.start();
            r = fb::rawFetchAll(s.fbDatabase(), tr, sql);
            tr.commit();
        });
        mide(carga, cCarga, [&] { f.bAceptarClick(); });
    }
    const double mCarga = larbench::median(carga), mCrudo = larbench::median(crudo);
    const double pCarga = larbench::median(cCarga), pCrudo = larbench::median(cCrudo);
    std::printf("%s, %d rows (bare fetch %lld; median of %d): %.0f ms, bare fetch %.0f ms, "
                "ratio %.2f (target <= 1.5); processor %.0f ms against %.0f ms, ratio %.2f\n",
                nombre,
                f.kardex().recordCount(),
                static_cast<long long>(r.rows),
                Vueltas,
                mCarga,
                mCrudo,
                mCarga / mCrudo,
                pCarga,
                pCrudo,
                pCarga / pCrudo);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    QTemporaryDir temporal;
    const QString carpeta = qEnvironmentVariableIsEmpty("LAR_BENCH_HISTORIAL")
                                ? temporal.path()
                                : qEnvironmentVariable("LAR_BENCH_HISTORIAL");
    const bool hecha = QFile::exists(carpeta + QStringLiteral("/.sembrada"));
    const microsip::Entorno entorno
        = hecha ? microsip::Entorno::abre(carpeta) : microsip::Entorno::crea(carpeta, {});
    const QString empresa = entorno.rutaEmpresa(QStringLiteral("DEMO"));
    if (!hecha) {
        fb::Database db;
        entorno.conecta(db, empresa);
        microsip::OpcionesSiembra op;
        op.clientes = 2000;
        op.articulos = 2000;
        op.documentos = 0;
        op.almacenes = 1;
        microsip::siembra(db, op);
        db.disconnect();
        if (!lar::ActualizaEmpresa(empresa, entorno.rutaConfig(), entorno.parametros()))
            qFatal("the upgrade refused the company");
        entorno.conecta(db, empresa);
        const double t = larbench::timeMs([&] { siembraLedger(db); });
        std::printf("seeded %d ledger rows in %.1f s\n", Filas, t / 1000);
        QFile(carpeta + QStringLiteral("/.sembrada")).open(QIODevice::WriteOnly);
    }

    lar::Sesion s;
    entorno.conecta(s.fbConfig(), entorno.rutaConfig());
    entorno.conecta(s.fbDatabase(), empresa);
    s.UsuarioActual = QStringLiteral("SYSDBA");
    const int cliente
        = entero(s.fbDatabase(), QStringLiteral("SELECT MIN(cliente_id) FROM clientes"));
    QString clave;
    {
        fb::Transaction tr(&s.fbDatabase());
        fb::Query q(&s.fbDatabase(), &tr);
        q.setSql(QStringLiteral("SELECT FIRST 1 clave_cliente FROM claves_clientes WHERE "
                                "cliente_id = :c"));
        q.bind(QStringLiteral("c"), cliente);
        q.open();
        clave = q.field(0).toTrimmed();
        q.close();
        tr.commit();
    }
    // Both ways read the ledger once before timing: neither starts from a cold cache.
    entero(s.fbDatabase(), QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS"));

    auto forma = [&](lar::TfHistorialPuntos &f) {
        f.Acceso = 3;
        f.resize(1366, 700);
        f.show();
        f.dtpFecIni->setDate(Desde);
        f.dtpFecFin->setDate(Hasta);
        QApplication::processEvents();
    };

    // 1. One customer's rows.
    lar::TfHistorialPuntos uno(s);
    forma(uno);
    uno.txtCliente->setText(clave);
    uno.BuscaClave();
    if (uno.ClienteID != cliente)
        qFatal("the customer of the history was not found");
    compara(
        "history case 1 (one customer)", s, uno, conValores(lar::HistorialPuntos::Kardex, cliente));
    uno.close();

    // 4. Document movements of all.
    lar::TfHistorialPuntos todos(s);
    forma(todos);
    todos.chkAll->setChecked(true);
    compara("history case 4 (all customers)",
            s,
            todos,
            conValores(lar::HistorialPuntos::MovimientosTodos, 0));
    todos.close();
    return 0;
}
