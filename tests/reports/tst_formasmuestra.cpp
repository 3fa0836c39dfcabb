// The sample print forms, run against a seeded stand-in company: each one loads
// from the report store, reads its document and lays out what a shop expects to see.
#include "ayudareportes.h"
#include "core/sesion.h"
#include "reports/formas.h"
#include "support/entornoprueba.h"
#include "support/sqlprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/displayformat.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"

using namespace Qt::StringLiterals;
using namespace lar;

class TestFormasMuestra : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<Sesion> m_s;
    int m_formas = 0;
    int m_cliente = 0;
    QString m_nombreCliente;

    void ejecuta(const QString &sql, const QVariantList &params = {})
    {
        lartest::ejecuta(m_s->fbDatabase(), sql, params);
    }
    QVariant valor(const QString &sql) { return lartest::valor(m_s->fbDatabase(), sql); }
    QStringList genera(const QString &forma, int docto, reporte::Reporte &r)
    {
        QString error;
        if (!CargaPlantilla(*m_s, r, m_formas, forma, docto, forma, &error) || !r.genera(&error)) {
            qWarning() << error;
            return {};
        }
        QStringList t;
        for (const reporte::Hoja &h : r.documento().hojas)
            t << h.textos();
        return t;
    }
    static QString del(const reporte::Documento &d, const QString &elemento)
    {
        return lartest::textosDe(d, elemento).value(0, u"<ninguno>"_s);
    }

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.sembrado = true;
        m_e = std::make_unique<lartest::EntornoPrueba>(op);
        m_e->instalaExtension();
        m_s = std::make_unique<Sesion>();
        m_e->conectaSesion(*m_s);
        m_formas = InstalaFormasMuestra(m_s->fbConfig());
        QCOMPARE(FolderFormas(*m_s), m_formas);
        // Installing again replaces, it doesn't duplicate; the store gives back the
        // files' bytes.
        QCOMPARE(InstalaFormasMuestra(m_s->fbConfig()), m_formas);
        QCOMPARE(LeeFormas(m_s->fbConfig(), m_formas), FormasMuestra());
        QCOMPARE(ListaFormas(*m_s, m_formas),
                 (QStringList{u"Boleto de rifa"_s,
                              u"Factura CFDI"_s,
                              u"REP_ARTICULOS"_s,
                              u"REP_COMPRA_CLIENTE"_s,
                              u"Vale de actividad"_s,
                              u"Vale de canje"_s}));

        // The customer with the most point-of-sale purchases.
        m_cliente = valor(u"select first 1 cliente_id from doctos_pv where cliente_id is not null "
                          u"group by cliente_id order by count(*) desc"_s)
                        .toInt();
        m_nombreCliente
            = valor(u"select nombre from clientes where cliente_id = %1"_s.arg(m_cliente))
                  .toString();
        QVERIFY(m_cliente > 0);

        // A redemption of two articles (the stock issue and its ledger rows), after
        // 2,000 points earned.
        const QList<int> articulos{
            valor(u"select first 1 articulo_id from articulos order by articulo_id"_s).toInt(),
            valor(u"select first 1 skip 1 articulo_id from articulos order by articulo_id"_s)
                .toInt()};
        ejecuta(
            u"insert into doctos_in (docto_in_id, almacen_id, concepto_in_id, folio, "
            u"naturaleza_concepto, fecha, aplicado) select 900001, (select min(almacen_id) from "
            u"almacenes), min(concepto_in_id), 'CP0000123', 'S', '2026-03-05', 'S' "
            u"from conceptos_in where naturaleza = 'S'"_s);
        int partida = 0;
        for (int a : articulos) {
            ++partida;
            ejecuta(u"insert into doctos_in_det (docto_in_id, clave_articulo, articulo_id, "
                    u"tipo_movto, unidades, metodo_costeo) values (900001, ?, ?, 'S', ?, "
                    u"'C')"_s,
                    {u"ART-%1"_s.arg(partida), a, partida == 1 ? 2 : 1});
            ejecuta(u"insert into lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, "
                    u"tipo_docto, folio, naturaleza, unidades, valor_puntos, sistema, partida) "
                    u"values (gen_id(gen_lar_puntos, 1), ?, 900001, ?, 'C', 'CP0000123', 'S', "
                    u"?, ?, 'IN', ?)"_s,
                    {m_cliente, a, partida == 1 ? 2 : 1, partida == 1 ? 500 : 250, partida});
        }
        ejecuta(u"insert into lar_puntos (lar_puntos_id, cliente_id, docto_id, tipo_docto, "
                u"folio, naturaleza, unidades, valor_puntos, sistema) values "
                u"(gen_id(gen_lar_puntos, 1), ?, 0, 'A', 'P000001', 'E', 0, 2000, 'AP')"_s,
                {m_cliente});
        // An activity capture: 3 units of an article at 10 points.
        ejecuta(u"insert into lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, "
                u"tipo_docto, folio, naturaleza, unidades, valor_puntos, sistema, partida) "
                u"values (gen_id(gen_lar_puntos, 1), ?, 777, ?, 'A', 'E000045', 'E', 3, 30, "
                u"'AP', 1)"_s,
                {m_cliente, articulos[1]});
        // The reports' period: the 90 days of seeded history.
        ejecuta(u"insert into lar_reportes (rep_id, fecha_inicio, fecha_fin, articulo_id) "
                u"values (1, ?, ?, 1)"_s,
                {QDate::currentDate().addDays(-120), QDate::currentDate()});
    }

    void valeDeCanje()
    {
        reporte::Reporte r;
        QStringList t = genera(u"Vale de canje"_s, 900001, r);
        const reporte::Documento &d = r.documento();
        QCOMPARE(d.hojas.size(), 1);
        QCOMPARE(t.first(), u"Empresa de demostración"_s);
        QVERIFY(t.contains(u"Av. Juárez 118, Col. Centro, Guadalajara, Jal. C.P. 44100"_s));
        QVERIFY(t.contains(u"RFC EDE010101AB1, Tel. 33 3614 2280"_s));
        QCOMPARE(del(d, u"folio"_s), u"CP0000123"_s);
        QCOMPARE(del(d, u"fecha"_s), u"05/03/2026"_s);
        QCOMPARE(del(d, u"cliente"_s), m_nombreCliente);
        QCOMPARE(del(d, u"total"_s), u"750"_s);
        // 2,000 earned + 30 by activity - 750 redeemed.
        QCOMPARE(del(d, u"saldo"_s), u"1,280"_s);
        QVERIFY(t.contains(u"Firma del cliente"_s));
        QVERIFY(t.contains(u"ART-1"_s));
        QVERIFY(!t.contains(u"CANCELADO"_s));

        ejecuta(u"update doctos_in set cancelado = 'S' where docto_in_id = 900001"_s);
        ejecuta(u"update lar_puntos set tipo_docto = 'X' where docto_id = 900001"_s);
        t = genera(u"Vale de canje"_s, 900001, r);
        QVERIFY(t.contains(u"CANCELADO"_s));
        QCOMPARE(del(r.documento(), u"total"_s), u"750"_s);
        ejecuta(u"update doctos_in set cancelado = 'N' where docto_in_id = 900001"_s);
        ejecuta(u"update lar_puntos set tipo_docto = 'C' where docto_id = 900001"_s);

        const QString pdf = lartest::tempPath(u"vale.pdf"_s);
        QString error;
        QVERIFY2(reporte::escribePdf(r.documento(), pdf, &error), qPrintable(error));
        const QString texto = lartest::textoPdf(pdf);
        for (const QString &s : {u"VALE DE CANJE DE PUNTOS"_s,
                                 u"CP0000123"_s,
                                 u"Total de puntos canjeados:"_s,
                                 m_nombreCliente})
            QVERIFY2(texto.contains(s), qPrintable(s));
    }

    void boletoYActividad()
    {
        reporte::Reporte r;
        QStringList t = genera(u"Boleto de rifa"_s, 900001, r);
        QCOMPARE(r.documento().hojas.size(), 1);
        QCOMPARE(r.documento().hojas[0].tamano, QSizeF(215.9, 139.7));
        QVERIFY(t.contains(u"BOLETO PARA SORTEO"_s));
        QCOMPARE(t.count(u"CP0000123"_s), 2);
        QCOMPARE(del(r.documento(), u"cliente"_s), m_nombreCliente);

        t = genera(u"Vale de actividad"_s, 777, r);
        QVERIFY(t.contains(u"COMPROBANTE DE PUNTOS POR ACTIVIDAD"_s));
        QCOMPARE(del(r.documento(), u"folio"_s), u"E000045"_s);
        QCOMPARE(del(r.documento(), u"total"_s), u"30"_s);
        QCOMPARE(del(r.documento(), u"saldo"_s), u"1,280"_s);
    }

    // The two reports: totals of the groups add up to the report's, and agree with
    // the database.
    void reportes()
    {
        reporte::Reporte r;
        genera(u"REP_COMPRA_CLIENTE"_s, m_cliente, r);
        const reporte::Documento &d = r.documento();
        QVERIFY(!d.hojas.isEmpty());
        QCOMPARE(del(d, u"cliente"_s), m_nombreCliente);
        double meses = 0;
        for (QString t : lartest::textosDe(d, u"importeMes"_s))
            meses += t.remove(u',').toDouble();
        QVERIFY(!lartest::textosDe(d, u"mes"_s).isEmpty());
        const QVariant total = valor(
            u"select cast(sum(importe_neto + total_impuestos) as double precision) from "
            u"doctos_pv where cliente_id = %1 "
            u"and tipo_docto = 'V' and estatus <> 'C' and fecha >= current_date - 120"_s.arg(
                m_cliente));
        const QString esperado = formatFloat(u"#,0.00;-#,0.00"_s, total.toDouble());
        QCOMPARE(del(d, u"importeTotal"_s), esperado);
        QCOMPARE(formatFloat(u"#,0.00;-#,0.00"_s, meses), esperado);

        genera(u"REP_ARTICULOS"_s, 0, r);
        const reporte::Documento &a = r.documento();
        QVERIFY(!a.hojas.isEmpty());
        const qsizetype filas = lartest::textosDe(a, u"articulo"_s).size();
        double lineas = 0;
        for (QString t : lartest::textosDe(a, u"importeLinea"_s))
            lineas += t.remove(u',').toDouble();
        QVERIFY(filas > 0);
        QCOMPARE(del(a, u"articulos"_s), u"%1 artículos"_s.arg(filas));
        QCOMPARE(formatFloat(u"#,0.00;-#,0.00"_s, lineas), del(a, u"importeTotal"_s));
    }
};

LAR_TEST_MAIN(TestFormasMuestra)
#include "tst_formasmuestra.moc"
