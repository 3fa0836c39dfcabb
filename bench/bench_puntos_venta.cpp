// What the accrual trigger costs Microsip's point of sale. A 5-line sale is applied
// (APLICADO to 'S') with points by article, by amount and by line all on, against a
// ledger of 1,000 rows and one of 1,000,000 rows, half of it on the buying customer
// (the counter's general-public customer), with the documents behind it. In the
// same run, the minimum work: the same header update on a document the trigger lets
// through at its gate, plus direct inserts of the same ledger rows. Three states of
// the index statistics are measured, each on a day of its own.
// Targets: 1,000,000 rows within 1.25 times the cost at 1,000 rows; the full apply
// within 3 times the minimum work. The ratios are taken on the thread's CPU time,
// which the other work of a shared machine doesn't disturb; wall-clock medians are
// printed beside them.

#include "db/actualizadb.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "microsip/sim/entorno.h"
#include "support/benchutil.h"

#include <QCoreApplication>
#include <QDate>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>
#include <memory>

namespace {

constexpr int Medidas = 41;
constexpr int Calentamiento = 5;
const QString FechaVenta = QStringLiteral("2026-06-15");

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
Tiempo mideMs(F &&f)
{
    const double c = cpuMs();
    Tiempo t;
    t.pared = larbench::timeMs(f);
    t.cpu = cpuMs() - c;
    return t;
}

void ejecuta(fb::Database &db, fb::Transaction &tr, const QString &sql)
{
    fb::Query q(&db, &tr);
    q.setParamCheck(false);
    q.setSql(sql);
    q.execute();
    tr.commit();
}

// The stand-in company, upgraded with the extension as the program does it, with
// a catalogue and the settings of a shop that earns in all three ways. Returns the
// company's file.
QString creaEmpresa(const QString &carpeta)
{
    const microsip::Entorno entorno = microsip::Entorno::crea(carpeta, {});
    if (!lar::ActualizaEmpresa(entorno.rutaEmpresa(QStringLiteral("DEMO")),
                               entorno.rutaConfig(),
                               entorno.parametros()))
        qFatal("the upgrade refused the company");
    fb::Database db;
    entorno.conecta(db, entorno.rutaEmpresa(QStringLiteral("DEMO")));
    fb::Transaction tr(&db);
    ejecuta(db, tr, QStringLiteral(R"(EXECUTE BLOCK AS
DECLARE raiz INTEGER; DECLARE carpeta INTEGER; DECLARE i INTEGER = 0;
BEGIN
  INSERT INTO lar_registro (nombre, tipo, padre_id) VALUES ('PuntosLar', 'F', 0)
    RETURNING registro_id INTO raiz;
  INSERT INTO lar_registro (nombre, tipo, padre_id) VALUES ('Puntos', 'F', :raiz)
    RETURNING registro_id INTO carpeta;
  INSERT INTO lar_registro (nombre, tipo, padre_id, valor)
    SELECT n, 'V', :carpeta, v FROM (
      SELECT 'Puntos General Activo' n, 'S' v FROM rdb$database UNION ALL
      SELECT 'No. de vtas', '1000' FROM rdb$database UNION ALL
      SELECT 'Puntos Extra Articulos Activo', 'S' FROM rdb$database UNION ALL
      SELECT 'Tarjeta de puntos', 'S' FROM rdb$database UNION ALL
      SELECT 'Puntos Importe Activo', 'S' FROM rdb$database UNION ALL
      SELECT 'Factor Total Importe Puntos', '1' FROM rdb$database UNION ALL
      SELECT 'Factor Cantidad Pesos', '100' FROM rdb$database UNION ALL
      SELECT 'Puntos Importe Linea', 'S' FROM rdb$database);
  WHILE (i < 3) DO
  BEGIN
    INSERT INTO lineas_articulos (linea_articulo_id, nombre) VALUES (10 + :i, 'LINEA ' || :i);
    INSERT INTO lar_puntoslineas (linea_id, puntos, importe) VALUES (10 + :i, 1, 50);
    i = i + 1;
  END
  i = 0;
  WHILE (i < 5) DO
  BEGIN
    INSERT INTO articulos (articulo_id, nombre, linea_articulo_id)
      VALUES (100 + :i, 'ARTICULO ' || :i, 10 + MOD(:i, 3));
    INSERT INTO libres_articulos (articulo_id, puntos) VALUES (100 + :i, 1 + :i);
    i = i + 1;
  END
  INSERT INTO clientes (cliente_id, nombre) VALUES (1, 'PUBLICO EN GENERAL');
  INSERT INTO libres_clientes (cliente_id, activo_puntos) VALUES (1, 'S');
  INSERT INTO claves_clientes (clave_cliente_id, cliente_id, clave_cliente, rol_clave_cli_id)
    SELECT 1, 1, 'T1', rol_clave_cli_id FROM roles_claves_clientes WHERE nombre = 'Clave Puntos';
END)"));
    db.disconnect();
    return entorno.rutaEmpresa(QStringLiteral("DEMO"));
}

// n ledger rows of earlier sales, three a folio (by article, by amount, by line),
// half of the folios on customer 1, the rest on 5,000 others; with their POS
// documents of two lines each, spread over the two years before the day of the
// measured sales.
void llenaBitacora(fb::Database &db, fb::Transaction &tr, int n)
{
    ejecuta(db,
            tr,
            QStringLiteral(R"(EXECUTE BLOCK AS
DECLARE i INTEGER = 0; DECLARE f INTEGER; DECLARE cliente INTEGER; DECLARE folio CHAR(9);
BEGIN
  WHILE (i < %1) DO
  BEGIN
    f = i / 3;
    cliente = IIF(MOD(f, 2) = 0, 1, 10 + MOD(f, 5000));
    folio = 'B' || LPAD(f, 8, '0');
    IF (MOD(i, 3) = 0) THEN
    BEGIN
      INSERT INTO doctos_pv (docto_pv_id, tipo_docto, estatus, aplicado, folio, fecha,
                             cliente_id, cajero_id, caja_id, sistema_origen)
      VALUES (50000000 + :f, 'V', 'N', 'S', :folio, DATEADD(-1 - MOD(:f, 730) DAY TO DATE '%2'),
              :cliente, 1 + MOD(:f, 5), 1, 'PV');
      INSERT INTO doctos_pv_det (docto_pv_det_id, docto_pv_id, articulo_id, unidades, posicion,
                                 precio_unitario, precio_unitario_impto, rol)
      VALUES (50000000 + 2 * :f, 50000000 + :f, 100 + MOD(:f, 5), 1, 1, 100, 116, 'N');
      INSERT INTO doctos_pv_det (docto_pv_det_id, docto_pv_id, articulo_id, unidades, posicion,
                                 precio_unitario, precio_unitario_impto, rol)
      VALUES (50000001 + 2 * :f, 50000000 + :f, 100 + MOD(:f + 2, 5), 2, 2, 50, 58, 'N');
    END
    INSERT INTO lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, tipo_docto, folio,
                            naturaleza, unidades, valor_puntos, sistema, partida)
    VALUES (GEN_ID(GEN_LAR_PUNTOS, 1), :cliente, 50000000 + :f,
            IIF(MOD(:i, 3) = 0, 100, NULL), DECODE(MOD(:i, 3), 2, 'L', 'V'), :folio, 'E',
            IIF(MOD(:i, 3) = 0, 2, 0), 3, 'PV', MOD(:i, 3) + 1);
    i = i + 1;
  END
END)")
                .arg(n)
                .arg(FechaVenta));
}

// Recomputes the statistics of the indexes of the given tables.
void recalculaEstadisticas(fb::Database &db, fb::Transaction &tr, const QString &tablas)
{
    fb::Query q(&db, &tr);
    q.setSql(
        QStringLiteral("SELECT TRIM(rdb$index_name) FROM rdb$indices WHERE rdb$relation_name IN (")
        + tablas + u')');
    QStringList indices;
    for (q.open(); !q.eof(); q.next())
        indices << q.field(0).toString();
    q.close();
    for (const QString &i : indices)
        ejecuta(db, tr, QStringLiteral("SET STATISTICS INDEX ") + i);
}

// One measured sale: times of the two applies, page fetches of the full one.
struct Medida
{
    Tiempo completa;     // apply with the trigger's work
    Tiempo minima;       // the same update stopped at the trigger's gate, direct inserts
    double lecturas = 0; // page fetches of the full apply
};

// Sales of the measured day on one company: each one a sale 'V' that the trigger
// works, and a twin of type 'F' (a global invoice, which the trigger lets through
// at its gate) that gets the same ledger rows by direct inserts.
class Caja
{
public:
    explicit Caja(const QString &path)
    {
        m_db.setDatabaseName(path);
        m_db.setParams({QStringLiteral("lc_ctype=None"), QStringLiteral("user_name=SYSDBA")});
        m_db.connect();
    }

    fb::Database &db() { return m_db; }
    void setDia(const QDate &dia) { m_dia = dia; }
    fb::Transaction &tr() { return m_tr; }

    // A new attachment compiles the trigger again, with the statistics of now.
    void prepara()
    {
        m_db.disconnect();
        m_db.connect();
        m_encabezado.setSql(QStringLiteral(
            "INSERT INTO doctos_pv (docto_pv_id, tipo_docto, estatus, aplicado, folio, fecha,"
            " cliente_id, cajero_id, caja_id, almacen_id, sistema_origen, total_impuestos,"
            " importe_neto, tipo_cambio) VALUES (-1, :tipo, 'N', 'N', :folio, :fecha, 1, :cajero,"
            " 1, 1, 'PV', 0, 0, 1) RETURNING docto_pv_id"));
        m_linea.setSql(QStringLiteral(
            "INSERT INTO doctos_pv_det (docto_pv_det_id, docto_pv_id, articulo_id, unidades,"
            " posicion, precio_unitario, precio_unitario_impto, rol) VALUES (-1, :id, :articulo,"
            " :unidades, -1, :precio, :precio_impto, 'N')"));
        m_totales.setSql(QStringLiteral(
            "UPDATE doctos_pv SET importe_neto = (SELECT SUM(unidades * precio_unitario) FROM"
            " doctos_pv_det WHERE docto_pv_id = :id), total_impuestos = (SELECT SUM(unidades *"
            " precio_unitario) * 0.16 FROM doctos_pv_det WHERE docto_pv_id = :id)"
            " WHERE docto_pv_id = :id"));
        m_aplica.setSql(
            QStringLiteral("UPDATE doctos_pv SET aplicado = 'S' WHERE docto_pv_id = :id"));
        m_filas.setSql(QStringLiteral(
            "SELECT articulo_id, tipo_docto, naturaleza, unidades, valor_puntos, partida"
            " FROM lar_puntos WHERE docto_id = :id ORDER BY lar_puntos_id"));
        m_inserta.setSql(QStringLiteral(
            "INSERT INTO lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, tipo_docto,"
            " folio, naturaleza, unidades, valor_puntos, sistema, partida) VALUES"
            " (gen_id(GEN_LAR_PUNTOS,1), 1, :id, :articulo, :tipo, :folio, :naturaleza, :unidades,"
            " :valor, 'PV', :partida)"));
        m_fetches.setSql(QStringLiteral(
            "SELECT i.mon$page_fetches FROM mon$io_stats i JOIN mon$attachments a"
            " ON a.mon$stat_id = i.mon$stat_id WHERE a.mon$attachment_id = CURRENT_CONNECTION"));
    }

    // One sale and its twin.
    Medida vende()
    {
        ++m_folio;
        const int venta = documento('V');
        const int gemela = documento('F');
        m_tr.commit();

        Medida t;
        const qint64 antes = fetches();
        t.completa = mideMs([&] {
            m_aplica.bind(QStringLiteral("id"), venta);
            m_aplica.execute();
        });
        m_tr.commit();
        t.lecturas = double(fetches() - antes);

        struct Fila
        {
            QVariant articulo, tipo, naturaleza, unidades, valor, partida;
        };
        QList<Fila> filas;
        m_filas.bind(QStringLiteral("id"), venta);
        for (m_filas.open(); !m_filas.eof(); m_filas.next())
            filas.append({m_filas.field(0).toVariant(),
                          m_filas.field(1).toString(),
                          m_filas.field(2).toString(),
                          m_filas.field(3).toVariant(),
                          m_filas.field(4).toVariant(),
                          m_filas.field(5).toVariant()});
        m_filas.close();
        if (filas.size() != 9)
            qFatal("the sale wrote %lld ledger rows, not 9", qlonglong(filas.size()));
        m_tr.commit();

        const QString folio = QStringLiteral("G%1").arg(m_folio, 8, 10, QLatin1Char('0'));
        t.minima = mideMs([&] {
            m_aplica.bind(QStringLiteral("id"), gemela);
            m_aplica.execute();
            for (const Fila &f : filas) {
                m_inserta.bind(QStringLiteral("id"), gemela);
                m_inserta.bind(QStringLiteral("articulo"), f.articulo);
                m_inserta.bind(QStringLiteral("tipo"), f.tipo);
                m_inserta.bind(QStringLiteral("folio"), folio);
                m_inserta.bind(QStringLiteral("naturaleza"), f.naturaleza);
                m_inserta.bind(QStringLiteral("unidades"), f.unidades);
                m_inserta.bind(QStringLiteral("valor"), f.valor);
                m_inserta.bind(QStringLiteral("partida"), f.partida);
                m_inserta.execute();
            }
        });
        m_tr.commit();
        return t;
    }

private:
    // The attachment's page fetches so far; the monitoring snapshot lives as long
    // as its transaction, so each reading gets one of its own.
    qint64 fetches()
    {
        m_fetches.open();
        const qint64 n = m_fetches.field(0).toInt64();
        m_fetches.close();
        m_monitor.commit();
        return n;
    }

    int documento(char tipo)
    {
        const QString folio = (tipo == 'V' ? QStringLiteral("Z") : QStringLiteral("G"))
                              + QStringLiteral("%1").arg(m_folio, 8, 10, QLatin1Char('0'));
        m_encabezado.bind(QStringLiteral("tipo"), QString(QLatin1Char(tipo)));
        m_encabezado.bind(QStringLiteral("folio"), folio);
        m_encabezado.bind(QStringLiteral("fecha"), m_dia);
        m_encabezado.bind(QStringLiteral("cajero"), 1 + m_folio % 5);
        m_encabezado.execute();
        const int id = m_encabezado.field(0).toInt();
        static const double unidades[] = {1, 2.5, 1, 3, 2};
        static const double precios[] = {120, 35.5, 89.9, 12.25, 240};
        for (int i = 0; i < 5; ++i) {
            m_linea.bind(QStringLiteral("id"), id);
            m_linea.bind(QStringLiteral("articulo"), 100 + i);
            m_linea.bind(QStringLiteral("unidades"),
                         QVariant::fromValue(fb::Decimal::fromDouble(unidades[i], 5)));
            m_linea.bind(QStringLiteral("precio"),
                         QVariant::fromValue(fb::Decimal::fromDouble(precios[i], 6)));
            m_linea.bind(QStringLiteral("precio_impto"),
                         QVariant::fromValue(fb::Decimal::fromDouble(precios[i] * 1.16, 6)));
            m_linea.execute();
        }
        m_totales.bind(QStringLiteral("id"), id);
        m_totales.execute();
        return id;
    }

    fb::Database m_db;
    fb::Transaction m_tr{&m_db};
    fb::Transaction m_monitor{&m_db};
    fb::Query m_encabezado{&m_db, &m_tr};
    fb::Query m_linea{&m_db, &m_tr};
    fb::Query m_totales{&m_db, &m_tr};
    fb::Query m_aplica{&m_db, &m_tr};
    fb::Query m_filas{&m_db, &m_tr};
    fb::Query m_inserta{&m_db, &m_tr};
    fb::Query m_fetches{&m_db, &m_monitor};
    int m_folio = 0;
    QDate m_dia;
};

struct Medianas
{
    Tiempo completa, minima;
    double lecturas = 0;
};

Medianas medianas(const std::vector<Medida> &m)
{
    std::vector<double> cp, cc, np, nc, l;
    for (const Medida &x : m) {
        cp.push_back(x.completa.pared);
        cc.push_back(x.completa.cpu);
        np.push_back(x.minima.pared);
        nc.push_back(x.minima.cpu);
        l.push_back(x.lecturas);
    }
    return {{larbench::median(cp), larbench::median(cc)},
            {larbench::median(np), larbench::median(nc)},
            larbench::median(l)};
}

// The index statistics as a company may have them: all as created on empty tables
// (a company that grew without a restore), Microsip's recomputed but the ledger's as
// created (the extension installed on a restored company), all recomputed.
constexpr int Estados = 3;
const char *const NombresEstados[Estados]
    = {"as created", "Microsip's recomputed", "all recomputed"};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString plantilla = creaEmpresa(dir.filePath(QStringLiteral("microsip")));

    // Both companies are open side by side and take sales in turns, so that what
    // else the machine does falls on both sizes alike.
    const int tamanos[2] = {1000, 1000000};
    std::vector<std::unique_ptr<Caja>> cajas;
    for (int t : tamanos) {
        const QString path = dir.filePath(QStringLiteral("bitacora%1.fdb").arg(t));
        if (!QFile::copy(plantilla, path))
            qFatal("can't copy the company database");
        cajas.push_back(std::make_unique<Caja>(path));
        llenaBitacora(cajas.back()->db(), cajas.back()->tr(), t);
    }

    // Worst ratio over the states, on CPU time and on the wall clock.
    Tiempo tamano, trabajo;
    const QDate primerDia = QDate::fromString(FechaVenta, Qt::ISODate);
    for (int e = 0; e < Estados; ++e) {
        for (auto &c : cajas) {
            if (e == 1)
                recalculaEstadisticas(
                    c->db(), c->tr(), QStringLiteral("'DOCTOS_PV', 'DOCTOS_PV_DET'"));
            if (e == 2)
                recalculaEstadisticas(c->db(), c->tr(), QStringLiteral("'LAR_PUNTOS'"));
            c->prepara();
            c->setDia(primerDia.addDays(e)); // the day's cap count starts empty
        }
        std::vector<Medida> m[2];
        for (int i = 0; i < Calentamiento + Medidas; ++i)
            for (int k = 0; k < 2; ++k) {
                const Medida x = cajas[k]->vende();
                if (i >= Calentamiento)
                    m[k].push_back(x);
            }
        const Medianas chica = medianas(m[0]), grande = medianas(m[1]);
        std::printf(
            "points apply, 5-line POS sale, article+amount+line, index statistics %s,"
            " medians of %d, CPU (wall) ms: ledger 1000 rows %.3f (%.3f), %.0f page fetches;"
            " 1000000 rows %.3f (%.3f), %.0f page fetches; minimum work %.3f (%.3f) and"
            " %.3f (%.3f)\n",
            NombresEstados[e],
            Medidas,
            chica.completa.cpu,
            chica.completa.pared,
            chica.lecturas,
            grande.completa.cpu,
            grande.completa.pared,
            grande.lecturas,
            chica.minima.cpu,
            chica.minima.pared,
            grande.minima.cpu,
            grande.minima.pared);
        tamano.cpu = std::max(tamano.cpu, grande.completa.cpu / chica.completa.cpu);
        tamano.pared = std::max(tamano.pared, grande.completa.pared / chica.completa.pared);
        trabajo.cpu = std::max({trabajo.cpu,
                                chica.completa.cpu / chica.minima.cpu,
                                grande.completa.cpu / grande.minima.cpu});
        trabajo.pared = std::max({trabajo.pared,
                                  chica.completa.pared / chica.minima.pared,
                                  grande.completa.pared / grande.minima.pared});
    }
    std::printf(
        "points apply, ledger of 1000000 rows / 1000 rows: ratio %.2f on CPU time (%.2f wall"
        " clock), worst statistics state; target <= 1.25\n",
        tamano.cpu,
        tamano.pared);
    std::printf("points apply, full apply / minimum work: ratio %.2f on CPU time (%.2f wall clock),"
                " worst ledger and statistics state; target <= 3.00\n",
                trabajo.cpu,
                trabajo.pared);
    for (auto &c : cajas)
        c->db().dropDatabase();
    return 0;
}
