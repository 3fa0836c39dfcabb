// Redemptions, measured side by side in one run on an embedded stand-in company:
//  1. saving a 10-line redemption through GuardaVenta, against the minimum work: the
//     same inserts, the folio update and the apply run directly in one transaction
//     (target: at most 1.5 times, and under 100 ms);
//  2. loading the redemption list over 100,000 redemptions, against the bare fetch of
//     its statement (target: at most 1.5 times).

#include "points/guardaventa.h"
#include "points/ventaspuntoslista.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "db/actualizadb.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/rawfetch.h"
#include "fb/transaction.h"
#include "microsip/sim/entorno.h"
#include "microsip/sim/siembra.h"
#include "support/benchutil.h"
#include "toolkit/memtable.h"

#include <QApplication>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int Medidas = 21;

void ejecuta(fb::Database &db, fb::Transaction &tr, const QString &sql)
{
    fb::Query q(&db, &tr);
    q.setParamCheck(false);
    q.setSql(sql);
    q.execute();
    tr.commit();
}

QVariant valor(fb::Database &db, fb::Transaction &tr, const QString &sql)
{
    fb::Query q(&db, &tr);
    q.setSql(sql);
    q.open();
    const QVariant v = q.field(0).toVariant();
    q.close();
    tr.commit();
    return v;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    const microsip::Entorno entorno = microsip::Entorno::crea(dir.path(), {});
    const QString empresa = entorno.rutaEmpresa(QStringLiteral("DEMO"));
    {
        fb::Database db;
        entorno.conecta(db, empresa);
        microsip::OpcionesSiembra o;
        o.clientes = 50;
        o.articulos = 60;
        o.documentos = 10;
        o.almacenes = 1;
        microsip::siembra(db, o);
    }
    if (!lar::ActualizaEmpresa(empresa, entorno.rutaConfig(), entorno.parametros()))
        qFatal("the upgrade refused the company");

    lar::Sesion s;
    entorno.conecta(s.fbDatabase(), empresa);
    entorno.conecta(s.fbConfig(), entorno.rutaConfig());
    s.UsuarioActual = QStringLiteral("SYSDBA");
    fb::Database &db = s.fbDatabase();
    fb::Transaction tr(&db);

    const int concepto = valor(db,
                               tr,
                               QStringLiteral("select concepto_in_id from conceptos_in "
                                              "where nombre='Salida por puntos'"))
                             .toInt();
    microsip::asignaSerie(db, concepto, QStringLiteral("CP"), 1);
    lar::GuardaRegistro(s, QStringLiteral("Concepto Salida Puntos"), QString::number(concepto));
    // Stock is not what is measured: let every exit through.
    ejecuta(
        db, tr, QStringLiteral("update registry set valor='S' where nombre='ACEPTAR_SIN_EXIS'"));
    const int almacen
        = valor(db, tr, QStringLiteral("select min(almacen_id) from almacenes")).toInt();
    const int cliente
        = valor(db, tr, QStringLiteral("select min(cliente_id) from clientes")).toInt();

    lar::Canje canje;
    canje.clienteId = cliente;
    canje.txtCliente = QStringLiteral("C-1");
    canje.almacenId = almacen;
    {
        fb::Query q(&db, &tr);
        q.setSql(QStringLiteral("select first 10 a.articulo_id, (select first 1 clave_articulo "
                                "from claves_articulos c where c.articulo_id=a.articulo_id) from "
                                "articulos a where a.es_almacenable='S' order by 1"));
        int partida = 1;
        for (q.open(); !q.eof(); q.next()) {
            lar::LineaCanje l;
            l.articuloId = q.field(0).toInt();
            l.clave = q.field(1).toTrimmed();
            l.unidades = 1;
            l.valorPuntos = l.totalPuntos = 10;
            l.partida = partida++;
            l.costoUltimaCompra = 12.5;
            canje.lineas << l;
        }
        q.close();
        tr.commit();
    }

    auto sistema = [&] {
        lar::GuardaVenta g(s);
        const lar::GuardaVenta::Resultado r = g.guarda(canje);
        if (!r.ok)
            qFatal("save failed: %s", qPrintable(r.error + r.aviso.texto));
    };
    int folio = 100000;
    auto minimo = [&] {
        fb::TransactionGuard guardia(tr);
        fb::Query q(&db, &tr);
        q.setSql(QStringLiteral("select gen_id(id_doctos,1) from rdb$database"));
        q.open();
        const int docto = q.field(0).toInt();
        q.close();
        q.setSql(QStringLiteral("UPDATE Folios_Conceptos SET consecutivo = consecutivo + 1 "
                                "WHERE concepto_id = :id"));
        q.bind(QStringLiteral("id"), concepto);
        q.execute();
        const QString f = QStringLiteral("M%1").arg(++folio, 8, 10, QLatin1Char('0'));
        q.setSql(QStringLiteral(
            "INSERT INTO doctos_in (docto_in_id, almacen_id, concepto_in_id, folio, "
            "naturaleza_concepto, fecha, cancelado, aplicado, descripcion, forma_emitida, "
            "contabilizado, sistema_origen, usuario_creador) VALUES (:d, :a, :c, :f, 'S', "
            "current_timestamp, 'N', 'N', 'x', 'N', 'N', 'LV', current_user)"));
        q.bind(QStringLiteral("d"), docto);
        q.bind(QStringLiteral("a"), almacen);
        q.bind(QStringLiteral("c"), concepto);
        q.bind(QStringLiteral("f"), f);
        q.execute();
        q.setSql(QStringLiteral(
            "INSERT INTO doctos_in_det (docto_in_id, almacen_id, concepto_in_id, clave_articulo, "
            "articulo_id, tipo_movto, unidades, costo_unitario, costo_total, metodo_costeo, "
            "cancelado, aplicado, costeo_pend, pedimento_pend, rol, fecha, docto_in_det_id) "
            "VALUES (:d, :a, :c, :k, :r, 'S', 1, 12.5, 12.5, 'C', 'N', 'N', 'N', 'N', 'N', "
            "current_date, -1)"));
        for (const lar::LineaCanje &l : canje.lineas) {
            q.bind(QStringLiteral("d"), docto);
            q.bind(QStringLiteral("a"), almacen);
            q.bind(QStringLiteral("c"), concepto);
            q.bind(QStringLiteral("k"), l.clave);
            q.bind(QStringLiteral("r"), l.articuloId);
            q.execute();
        }
        q.setSql(QStringLiteral("UPDATE doctos_in SET aplicado = 'S' WHERE docto_in_id = :d"));
        q.bind(QStringLiteral("d"), docto);
        q.execute();
        q.setSql(QStringLiteral(
            "INSERT INTO LAR_PUNTOS (lar_puntos_id, cliente_id, docto_id, articulo_id, "
            "tipo_docto, folio, naturaleza, unidades, valor_puntos, sistema, partida) VALUES "
            "(gen_id(gen_lar_puntos,1), :cl, :d, :r, 'C', :f, 'S', 1, 10, 'IN', :p)"));
        for (const lar::LineaCanje &l : canje.lineas) {
            q.bind(QStringLiteral("cl"), cliente);
            q.bind(QStringLiteral("d"), docto);
            q.bind(QStringLiteral("r"), l.articuloId);
            q.bind(QStringLiteral("f"), f);
            q.bind(QStringLiteral("p"), l.partida);
            q.execute();
        }
        guardia.commit();
    };

    sistema();
    minimo();
    std::vector<double> ts, tm;
    for (int i = 0; i < Medidas; ++i) {
        ts.push_back(larbench::timeMs(sistema));
        tm.push_back(larbench::timeMs(minimo));
    }
    const double ms = larbench::median(ts), mm = larbench::median(tm);
    std::printf("redemption save, 10 lines (median of %d): GuardaVenta %.1f ms, minimum work "
                "%.1f ms, ratio %.2f (target <= 1.50, and < 100 ms)\n",
                Medidas,
                ms,
                mm,
                ms / mm);

    // 100,000 redemptions of one line each, with their issue headers.
    ejecuta(db,
            tr,
            QStringLiteral(R"(EXECUTE BLOCK AS
DECLARE i INTEGER = 0; DECLARE d INTEGER;
BEGIN
  WHILE (i < 100000) DO
  BEGIN
    d = GEN_ID(ID_DOCTOS, 1);
    INSERT INTO doctos_in (docto_in_id, almacen_id, concepto_in_id, folio, naturaleza_concepto,
      cancelado, aplicado, sistema_origen)
      VALUES (:d, %1, %2, 'L' || LPAD(:i, 8, '0'), 'S', 'N', 'N', 'LV');
    INSERT INTO lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, tipo_docto, folio,
      naturaleza, unidades, valor_puntos, sistema, partida)
      VALUES (GEN_ID(GEN_LAR_PUNTOS, 1), %3 + MOD(:i, 40), :d, 1, IIF(MOD(:i, 10) = 0, 'X', 'C'),
        'L' || LPAD(:i, 8, '0'), 'S', 1, 10 + MOD(:i, 90), 'IN', 1);
    i = i + 1;
  END
END)")
                .arg(almacen)
                .arg(concepto)
                .arg(cliente));

    lar::TfVentasPuntosLista lista(s);
    lista.Periodo.tipo = 0;
    const QString sql = lar::SqlListaCanjes(false, QString(), false);
    auto cargaLista = [&] {
        lista.SetDate();
    };
    auto bare = [&] {
        fb::Transaction lectura(&db);
        fb::rawFetchAll(db, lectura, sql);
        lectura.commit();
    };
    cargaLista();
    bare();
    std::vector<double> tl, tb;
    for (int i = 0; i < 7; ++i) {
        tl.push_back(larbench::timeMs(cargaLista));
        tb.push_back(larbench::timeMs(bare));
    }
    const double ml = larbench::median(tl), mb = larbench::median(tb);
    std::printf("redemption list, %d rows (median of 7): SetDate %.1f ms, bare fetch %.1f ms, "
                "ratio %.2f (target <= 1.50)\n",
                lista.tabla().recordCount(),
                ml,
                mb,
                ml / mb);
    return 0;
}
