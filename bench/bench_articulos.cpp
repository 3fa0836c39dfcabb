// The article list over a catalogue of 100,000 articles (the seeded stand-in,
// upgraded, every article with points), embedded engine, offscreen:
//  1. the module's whole load without stock against a bare fetch of the same
//     statement through the client library (target: within 1.5 times, and 3 s);
//  2. the redemption chooser's load with stock against the same bare fetch plus the
//     same stock procedure calls (target: within 1.5 times);
//  3. a keystroke of the search: filter plus the first screen painted (target:
//     median at most 30 ms).
// Loads are measured in turns, side by side, and the medians compared.

#include "catalog/articulos.h"
#include "catalog/articulos_lista.h"
#include "core/sesion.h"
#include "db/actualizadb.h"
#include "fb/query.h"
#include "fb/rawfetch.h"
#include "fb/transaction.h"
#include "microsip/sim/entorno.h"
#include "microsip/sim/siembra.h"
#include "support/benchutil.h"
#include "toolkit/memgrid.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLineEdit>
#include <QRadioButton>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>

namespace {

constexpr int Vueltas = 3;

// This thread's processor time: the embedded engine works in it too, and on a busy
// machine it parts from the wall clock.
double cpuMs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

// Wall and processor milliseconds of one call.
template<class F>
void mide(std::vector<double> &pared, std::vector<double> &cpu, F &&f)
{
    const double c = cpuMs();
    pared.push_back(larbench::timeMs(f));
    cpu.push_back(cpuMs() - c);
}

void ejecuta(lar::Sesion &s, const QString &sql)
{
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(sql);
    q.execute();
    s.UpdateCommit();
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    // LAR_BENCH_CARPETA keeps the seeded company between runs (it takes minutes to make).
    QTemporaryDir temporal;
    const QString carpeta = qEnvironmentVariableIsEmpty("LAR_BENCH_CARPETA")
                                ? temporal.path()
                                : qEnvironmentVariable("LAR_BENCH_CARPETA");
    const bool hecha = QFile::exists(carpeta + QStringLiteral("/.sembrada"));
    const microsip::Entorno entorno
        = hecha ? microsip::Entorno::abre(carpeta) : microsip::Entorno::crea(carpeta, {});
    const QString empresa = entorno.rutaEmpresa(QStringLiteral("DEMO"));
    if (!hecha) {
        {
            fb::Database db;
            entorno.conecta(db, empresa);
            microsip::OpcionesSiembra op;
            op.articulos = 100000;
            op.clientes = 100;
            op.documentos = 0;
            op.almacenes = 1;
            microsip::siembra(db, op);
        }
        if (!lar::ActualizaEmpresa(empresa, entorno.rutaConfig(), entorno.parametros()))
            qFatal("the upgrade refused the company");
        QFile(carpeta + QStringLiteral("/.sembrada")).open(QIODevice::WriteOnly);
    }

    lar::Sesion s;
    entorno.conecta(s.fbConfig(), entorno.rutaConfig());
    entorno.conecta(s.fbDatabase(), empresa);
    s.UsuarioActual = QStringLiteral("SYSDBA");
    ejecuta(s,
            QStringLiteral("MERGE INTO libres_articulos l USING articulos a"
                           " ON l.articulo_id = a.articulo_id"
                           " WHEN MATCHED THEN UPDATE SET puntos = MOD(a.articulo_id, 7),"
                           "   valor_puntos = 1 + MOD(a.articulo_id, 50)"
                           " WHEN NOT MATCHED THEN INSERT (articulo_id, puntos, valor_puntos)"
                           "   VALUES (a.articulo_id, MOD(a.articulo_id, 7),"
                           "   1 + MOD(a.articulo_id, 50))"));
    int almacen = 0;
    QList<int> almacenables;
    {
        fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
        q.setSql(QStringLiteral("SELECT MIN(almacen_id) FROM almacenes"));
        q.open();
        almacen = q.field(0).toInt();
        q.close();
        q.setSql(QStringLiteral("SELECT a.articulo_id FROM articulos a JOIN libres_articulos s"
                                " ON s.articulo_id = a.articulo_id WHERE a.es_almacenable = 'S'"
                                " AND a.es_juego = 'N' AND a.estatus NOT IN ('V','S','B')"
                                " AND s.valor_puntos > 0 AND s.valor_puntos <= 1000000"));
        for (q.open(); !q.eof(); q.next())
            almacenables << q.field(0).toInt();
        q.close();
        s.UpdateCommit();
    }

    // 1. The module's load without stock.
    lar::Tfcat_articulos_lista modulo(s);
    modulo.Acceso = 7;
    modulo.resize(1366, 700);
    modulo.show();
    QApplication::processEvents();
    const QString sqlModulo = lar::SqlArticulos({}).join(u'\n');
    std::vector<double> carga, crudo, cCarga, cCrudo;
    for (int i = 0; i < Vueltas; ++i) {
        mide(crudo, cCrudo, [&] {
            fb::rawFetchAll(s.fbDatabase(), s.fbUpdateTrans(), sqlModulo);
            s.UpdateCommit();
        });
        mide(carga, cCarga, [&] { modulo.Button1Click(); });
    }
    const double mCarga = larbench::median(carga), mCrudo = larbench::median(crudo);
    std::printf("articles module load, %d rows (median of %d): %.0f ms, bare fetch %.0f ms, "
                "ratio %.2f (target <= 1.5, and <= 3000 ms); processor %.0f ms against %.0f ms, "
                "ratio %.2f\n",
                modulo.tabla().totalCount(),
                Vueltas,
                mCarga,
                mCrudo,
                mCarga / mCrudo,
                larbench::median(cCarga),
                larbench::median(cCrudo),
                larbench::median(cCarga) / larbench::median(cCrudo));

    // 2. The redemption chooser's load with the stock of every storable row.
    lar::Tfcat_articulos_lista selector(s);
    selector.ConfiguraCanje(almacen, 1000000, [](int, const QString &, double) { return true; });
    selector.chkExist->setChecked(false);
    lar::OpcionesCarga op;
    op.soloPorPuntos = true;
    const QString sqlSelector = lar::SqlArticulos(op).join(u'\n').replace(
        QStringLiteral(":puntos"), QStringLiteral("1000000"));
    std::vector<double> cargaS, crudoS, cCargaS, cCrudoS;
    for (int i = 0; i < Vueltas; ++i) {
        mide(crudoS, cCrudoS, [&] {
            fb::rawFetchAll(s.fbDatabase(), s.fbUpdateTrans(), sqlSelector);
            s.UpdateCommit();
            fb::Query sp(&s.fbDatabase(), &s.fbViewTrans());
            sp.setSql(QStringLiteral(
                "EXECUTE PROCEDURE LAR_CALC_ARTALM1( :V_ARTICULO_ID, :V_ALMACEN_ID);"));
            sp.prepare();
            sp.bind(QStringLiteral("V_ALMACEN_ID"), almacen);
            for (int id : std::as_const(almacenables)) {
                sp.bind(QStringLiteral("V_ARTICULO_ID"), id);
                sp.execute();
            }
        });
        mide(cargaS, cCargaS, [&] { selector.Button1Click(); });
    }
    const double mCargaS = larbench::median(cargaS), mCrudoS = larbench::median(crudoS);
    std::printf("redemption chooser load with stock, %d rows, %lld procedure calls (median of "
                "%d): %.0f ms, bare fetch plus the same calls %.0f ms, ratio %.2f (target <= 1.5); "
                "processor ratio %.2f\n",
                selector.tabla().totalCount(),
                qint64(almacenables.size()),
                Vueltas,
                mCargaS,
                mCrudoS,
                mCargaS / mCrudoS,
                larbench::median(cCargaS) / larbench::median(cCrudoS));

    // 3. Keystrokes in the module's search box, on names and on keys.
    QWidget *vp = modulo.cxGrid->viewport();
    std::vector<double> teclas, cTeclas, filtros;
    auto teclea = [&](const QString &t) {
        double filtro = 0;
        mide(teclas, cTeclas, [&] {
            filtro = larbench::timeMs([&] { modulo.vBusca->setText(t); });
            vp->repaint();
        });
        filtros.push_back(filtro);
    };
    const QStringList busquedas{QStringLiteral("leche lala"),
                                QStringLiteral("jabon"),
                                QStringLiteral("an an"),
                                QStringLiteral("galletas chocolate")};
    for (const QString &b : busquedas) {
        for (int n = 1; n <= b.size(); ++n)
            teclea(b.left(n));
        for (int n = b.size() - 1; n >= 0; --n)
            teclea(b.left(n));
    }
    modulo.rClave->click();
    for (const QString &b : {QStringLiteral("7501"), QStringLiteral("PRV-5")}) {
        for (int n = 1; n <= b.size(); ++n)
            teclea(b.left(n));
        for (int n = b.size() - 1; n >= 0; --n)
            teclea(b.left(n));
    }
    std::printf(
        "articles search keystroke over %d rows (median of %zu, filter + first screen "
        "painted): %.1f ms, the filter alone %.1f ms, processor %.1f ms (target <= 30 ms)\n",
        modulo.tabla().totalCount(),
        teclas.size(),
        larbench::median(teclas),
        larbench::median(filtros),
        larbench::median(cTeclas));
    return 0;
}
