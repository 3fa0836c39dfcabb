// What the scheduled points reset costs a large shop: 100,000 customers with a
// ledger of 1,000,000 rows (ten each, over the year before the date). The reset as
// the program runs it (the customer list, one date-limited balance query and two
// inserts per customer, the folio) beside the minimum work on an identical copy of
// the database: one grouped balance query and the same inserts, in one
// transaction. Target: within 2 times the minimum, and under 60 s.

#include "core/registro.h"
#include "core/sesion.h"
#include "db/actualizadb.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "microsip/sim/entorno.h"
#include "points/reinicio.h"
#include "support/benchutil.h"

#include <QCoreApplication>
#include <QDate>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>
#include <vector>

namespace {

constexpr int Clientes = 100000;
constexpr int FilasPorCliente = 10;
const QDate Fecha(2026, 6, 1);

struct Tiempo
{
    double pared = 0; // wall clock, ms
    double cpu = 0;   // this thread's CPU time, ms (the embedded engine works in it)
};

double cpuMs()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

template<class F>
Tiempo mide(F &&f)
{
    const double c = cpuMs();
    Tiempo t;
    t.pared = larbench::timeMs(f);
    t.cpu = cpuMs() - c;
    return t;
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

// Customers and ledger, written by the engine itself in two blocks.
void siembra(fb::Database &db)
{
    ejecuta(db,
            QStringLiteral(R"(EXECUTE BLOCK AS
DECLARE i INTEGER = 1;
BEGIN
  WHILE (i <= %1) DO
  BEGIN
    INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE) VALUES (:i + 1000, 'CLIENTE ' || :i);
    i = i + 1;
  END
END)")
                .arg(Clientes));
    // Ten rows a customer: earnings, a redemption, a cancelled one, across the year
    // before the date; the last earning falls on the day itself.
    ejecuta(db,
            QStringLiteral(R"(EXECUTE BLOCK AS
DECLARE i INTEGER = 0;
DECLARE c INTEGER;
DECLARE k INTEGER;
BEGIN
  WHILE (i < %1) DO
  BEGIN
    c = MOD(i, %2) + 1001;
    k = i / %2;
    INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, FOLIO, NATURALEZA, UNIDADES,
                            VALOR_PUNTOS, SISTEMA, FECHA)
    VALUES (:i + 1, :c, CASE :k WHEN 7 THEN 'C' WHEN 8 THEN 'X' ELSE 'V' END, 'PV0000001',
            CASE WHEN :k IN (7, 8) THEN 'S' ELSE 'E' END, 1, MOD(:c, 17) + :k,
            'PV', DATEADD(:k * 36 - 324 DAY TO TIMESTAMP '%3 10:00:00'));
    i = i + 1;
  END
END)")
                .arg(Clientes * FilasPorCliente)
                .arg(Clientes)
                .arg(Fecha.toString(Qt::ISODate)));
    ejecuta(db,
            QStringLiteral("ALTER SEQUENCE GEN_LAR_PUNTOS RESTART WITH %1")
                .arg(Clientes * FilasPorCliente));
}

// The least any reset must do: the balances in one pass, then the same rows.
Tiempo minimo(fb::Database &db)
{
    return mide([&] {
        fb::Transaction tr(&db);
        fb::Query q(&db, &tr);
        q.setSql(QStringLiteral(
            "SELECT CLIENTE_ID, SUM(CASE WHEN NATURALEZA='E' THEN VALOR_PUNTOS ELSE "
            "-VALOR_PUNTOS END) FROM LAR_PUNTOS WHERE TIPO_DOCTO<>'X' AND FECHA<=:FECHA GROUP "
            "BY CLIENTE_ID"));
        q.bind(QStringLiteral("FECHA"), Fecha.startOfDay());
        std::vector<std::pair<int, int>> saldos;
        for (q.open(); !q.eof(); q.next())
            saldos.emplace_back(q.field(0).toInt(), q.field(1).toInt());
        q.close();
        fb::Query ins(&db, &tr);
        ins.setSql(QStringLiteral(
            "INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, FOLIO, NATURALEZA, "
            "UNIDADES, VALOR_PUNTOS, SISTEMA, PARTIDA, FECHA) VALUES (GEN_ID(GEN_LAR_PUNTOS, 1), "
            ":C, 'S', 'P00000001', 'S', 1, :V, 'P', :P, :F)"));
        fb::Query marca(&db, &tr);
        marca.setSql(QStringLiteral("INSERT INTO LAR_REINICIO_PUNTOS (ID_REINICIO_PUNTOS, "
                                    "FECHA_PROGRAMADA, FECHA_REINICIO) VALUES (-1, :R, "
                                    "CURRENT_DATE)"));
        int partida = 1;
        for (const auto &[cliente, saldo] : saldos) {
            ins.bind(QStringLiteral("C"), cliente);
            ins.bind(QStringLiteral("V"), saldo);
            ins.bind(QStringLiteral("P"), partida++);
            ins.bind(QStringLiteral("F"), Fecha.startOfDay());
            ins.execute();
            marca.bind(QStringLiteral("R"), Fecha);
            marca.execute();
        }
        tr.commit();
    });
}

int cuenta(fb::Database &db, const QString &sql)
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

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir carpeta;
    const microsip::Entorno entorno = microsip::Entorno::crea(carpeta.path(), {});
    const QString empresa = entorno.rutaEmpresa(QStringLiteral("DEMO"));
    if (!lar::ActualizaEmpresa(empresa, entorno.rutaConfig(), entorno.parametros()))
        qFatal("the upgrade refused the company");
    {
        fb::Database db;
        entorno.conecta(db, empresa);
        const double s = larbench::timeMs([&] { siembra(db); });
        std::printf("seeded %d customers and %d ledger rows in %.1f s\n",
                    Clientes,
                    Clientes * FilasPorCliente,
                    s / 1000);
    }
    // The same database twice: one for each way.
    const QString copia = carpeta.filePath(QStringLiteral("minimo.fdb"));
    if (!QFile::copy(empresa, copia))
        qFatal("could not copy the company database");

    fb::Database dbMinimo;
    entorno.conecta(dbMinimo, copia);
    // Both files read once before timing, so that neither starts from a cold cache.
    cuenta(dbMinimo, QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS"));
    const Tiempo tMinimo = minimo(dbMinimo);

    lar::Sesion s;
    entorno.conecta(s.fbConfig(), entorno.rutaConfig());
    entorno.conecta(s.fbDatabase(), empresa);
    lar::GuardaRegistro(s, QStringLiteral("Folio Puntos"), QStringLiteral("P1"));
    cuenta(s.fbDatabase(), QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS"));
    lar::ReinicioPuntos::Opciones op;
    op.fechaProgramada = Fecha;
    lar::ReinicioPuntos::Resultado r;
    const Tiempo tReinicio = mide([&] { r = lar::ReinicioPuntos(s).ejecuta(op); });
    if (!r.ok)
        qFatal("the reset failed: %s", qPrintable(r.error));

    const int filasMin
        = cuenta(dbMinimo, QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS WHERE TIPO_DOCTO='S'"));
    std::printf("reset rows: %d by the program, %d by the minimum work\n", r.clientes, filasMin);
    std::printf("scheduled reset, %d customers / %d ledger rows: %.1f s (CPU %.1f s); minimum "
                "work %.1f s (CPU %.1f s)\n",
                Clientes,
                Clientes * FilasPorCliente,
                tReinicio.pared / 1000,
                tReinicio.cpu / 1000,
                tMinimo.pared / 1000,
                tMinimo.cpu / 1000);
    std::printf("scheduled reset / minimum work: ratio %.2f on CPU time (%.2f wall clock); "
                "target <= 2, and under 60 s\n",
                tReinicio.cpu / tMinimo.cpu,
                tReinicio.pared / tMinimo.pared);
    return 0;
}
