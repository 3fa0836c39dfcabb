// The sample print forms, run against a seeded stand-in company: each one loads
// from the report store, reads its document and lays out what a shop expects to see.
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "reports/formas.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/displayformat.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"

#include <QProcess>
#include <QTest>

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
        fb::Transaction tr(&m_s->fbDatabase());
        fb::Query q(&m_s->fbDatabase(), &tr);
        q.setSql(sql);
        for (int i = 0; i < params.size(); ++i)
            q.bind(i, params[i]);
        q.execute();
        tr.commit();
    }
    QVariant valor(const QString &sql)
    {
        fb::Transaction tr(&m_s->fbDatabase());
        fb::Query q(&m_s->fbDatabase(), &tr);
        q.setSql(sql);
        q.setTrimChars(true);
        q.open();
        const QVariant v = q.eof() ? QVariant() : q.field(0).toVariant();
        q.close();
        tr.commit();
        return v;
    }
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
        for (const reporte::Hoja &h : d.hojas) {
            for (const reporte::Primitiva &p : h.primitivas) {
                if (p.elemento == elemento)
                    return p.texto;
            }
        }
        return QStringLiteral("<ninguno>");
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
                 (QStringList{QStringLiteral("Boleto de rifa"),
                              QStringLiteral("Factura CFDI"),
                              QStringLiteral("REP_ARTICULOS"),
                              QStringLiteral("REP_COMPRA_CLIENTE"),
                              QStringLiteral("Vale de actividad"),
                              QStringLiteral("Vale de canje")}));

        // The customer with the most point-of-sale purchases.
        m_cliente
            = valor(QStringLiteral(
                        "select first 1 cliente_id from doctos_pv where cliente_id is not null "
                        "group by cliente_id order by count(*) desc"))
                  .toInt();
        m_nombreCliente = valor(QStringLiteral("select nombre from clientes where cliente_id = %1")
                                    .arg(m_cliente))
                              .toString();
        QVERIFY(m_cliente > 0);

        // A redemption of two articles (the stock issue and its ledger rows), after
        // 2,000 points earned.
        const QList<int> articulos{
            valor(QStringLiteral("select first 1 articulo_id from articulos order by articulo_id"))
                .toInt(),
            valor(QStringLiteral(
                      "select first 1 skip 1 articulo_id from articulos order by articulo_id"))
                .toInt()};
        ejecuta(QStringLiteral(
            "insert into doctos_in (docto_in_id, almacen_id, concepto_in_id, folio, "
            "naturaleza_concepto, fecha, aplicado) select 900001, (select min(almacen_id) from "
            "almacenes), min(concepto_in_id), 'CP0000123', 'S', '2026-03-05', 'S' "
            "from conceptos_in where naturaleza = 'S'"));
        int partida = 0;
        for (int a : articulos) {
            ++partida;
            ejecuta(QStringLiteral(
                        "insert into doctos_in_det (docto_in_id, clave_articulo, articulo_id, "
                        "tipo_movto, unidades, metodo_costeo) values (900001, ?, ?, 'S', ?, "
                        "'C')"),
                    {QStringLiteral("ART-%1").arg(partida), a, partida == 1 ? 2 : 1});
            ejecuta(QStringLiteral(
                        "insert into lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, "
                        "tipo_docto, folio, naturaleza, unidades, valor_puntos, sistema, partida) "
                        "values (gen_id(gen_lar_puntos, 1), ?, 900001, ?, 'C', 'CP0000123', 'S', "
                        "?, ?, 'IN', ?)"),
                    {m_cliente, a, partida == 1 ? 2 : 1, partida == 1 ? 500 : 250, partida});
        }
        ejecuta(QStringLiteral(
                    "insert into lar_puntos (lar_puntos_id, cliente_id, docto_id, tipo_docto, "
                    "folio, naturaleza, unidades, valor_puntos, sistema) values "
                    "(gen_id(gen_lar_puntos, 1), ?, 0, 'A', 'P000001', 'E', 0, 2000, 'AP')"),
                {m_cliente});
        // An activity capture: 3 units of an article at 10 points.
        ejecuta(QStringLiteral(
                    "insert into lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, "
                    "tipo_docto, folio, naturaleza, unidades, valor_puntos, sistema, partida) "
                    "values (gen_id(gen_lar_puntos, 1), ?, 777, ?, 'A', 'E000045', 'E', 3, 30, "
                    "'AP', 1)"),
                {m_cliente, articulos[1]});
        // The reports' period: the 90 days of seeded history.
        ejecuta(QStringLiteral(
                    "insert into lar_reportes (rep_id, fecha_inicio, fecha_fin, articulo_id) "
                    "values (1, ?, ?, 1)"),
                {QDate::currentDate().addDays(-120), QDate::currentDate()});
    }

    void valeDeCanje()
    {
        reporte::Reporte r;
        QStringList t = genera(QStringLiteral("Vale de canje"), 900001, r);
        const reporte::Documento &d = r.documento();
        QCOMPARE(d.hojas.size(), 1);
        QCOMPARE(t.first(), QStringLiteral("Empresa de demostración"));
        QVERIFY(t.contains(
            QStringLiteral("Av. Juárez 118, Col. Centro, Guadalajara, Jal. C.P. 44100")));
        QVERIFY(t.contains(QStringLiteral("RFC EDE010101AB1, Tel. 33 3614 2280")));
        QCOMPARE(del(d, QStringLiteral("folio")), QStringLiteral("CP0000123"));
        QCOMPARE(del(d, QStringLiteral("fecha")), QStringLiteral("05/03/2026"));
        QCOMPARE(del(d, QStringLiteral("cliente")), m_nombreCliente);
        QCOMPARE(del(d, QStringLiteral("total")), QStringLiteral("750"));
        // 2,000 earned + 30 by activity - 750 redeemed.
        QCOMPARE(del(d, QStringLiteral("saldo")), QStringLiteral("1,280"));
        QVERIFY(t.contains(QStringLiteral("Firma del cliente")));
        QVERIFY(t.contains(QStringLiteral("ART-1")));
        QVERIFY(!t.contains(QStringLiteral("CANCELADO")));

        ejecuta(QStringLiteral("update doctos_in set cancelado = 'S' where docto_in_id = 900001"));
        ejecuta(QStringLiteral("update lar_puntos set tipo_docto = 'X' where docto_id = 900001"));
        t = genera(QStringLiteral("Vale de canje"), 900001, r);
        QVERIFY(t.contains(QStringLiteral("CANCELADO")));
        QCOMPARE(del(r.documento(), QStringLiteral("total")), QStringLiteral("750"));
        ejecuta(QStringLiteral("update doctos_in set cancelado = 'N' where docto_in_id = 900001"));
        ejecuta(QStringLiteral("update lar_puntos set tipo_docto = 'C' where docto_id = 900001"));

        const QString pdf = lartest::tempPath(QStringLiteral("vale.pdf"));
        QString error;
        QVERIFY2(reporte::escribePdf(r.documento(), pdf, &error), qPrintable(error));
        QProcess p;
        p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
        QVERIFY(p.waitForFinished(30000));
        const QString texto = QString::fromUtf8(p.readAllStandardOutput());
        for (const QString &s : {QStringLiteral("VALE DE CANJE DE PUNTOS"),
                                 QStringLiteral("CP0000123"),
                                 QStringLiteral("Total de puntos canjeados:"),
                                 m_nombreCliente})
            QVERIFY2(texto.contains(s), qPrintable(s));
    }

    void boletoYActividad()
    {
        reporte::Reporte r;
        QStringList t = genera(QStringLiteral("Boleto de rifa"), 900001, r);
        QCOMPARE(r.documento().hojas.size(), 1);
        QCOMPARE(r.documento().hojas[0].tamano, QSizeF(215.9, 139.7));
        QVERIFY(t.contains(QStringLiteral("BOLETO PARA SORTEO")));
        QCOMPARE(t.count(QStringLiteral("CP0000123")), 2);
        QCOMPARE(del(r.documento(), QStringLiteral("cliente")), m_nombreCliente);

        t = genera(QStringLiteral("Vale de actividad"), 777, r);
        QVERIFY(t.contains(QStringLiteral("COMPROBANTE DE PUNTOS POR ACTIVIDAD")));
        QCOMPARE(del(r.documento(), QStringLiteral("folio")), QStringLiteral("E000045"));
        QCOMPARE(del(r.documento(), QStringLiteral("total")), QStringLiteral("30"));
        QCOMPARE(del(r.documento(), QStringLiteral("saldo")), QStringLiteral("1,280"));
    }

    // The two reports: totals of the groups add up to the report's, and agree with
    // the database.
    void reportes()
    {
        reporte::Reporte r;
        genera(QStringLiteral("REP_COMPRA_CLIENTE"), m_cliente, r);
        const reporte::Documento &d = r.documento();
        QVERIFY(!d.hojas.isEmpty());
        QCOMPARE(del(d, QStringLiteral("cliente")), m_nombreCliente);
        double meses = 0;
        QStringList nombresMes;
        for (const reporte::Hoja &h : d.hojas) {
            for (const reporte::Primitiva &p : h.primitivas) {
                if (p.elemento == u"importeMes")
                    meses += QString(p.texto).remove(u',').toDouble();
                if (p.elemento == u"mes")
                    nombresMes << p.texto;
            }
        }
        QVERIFY(!nombresMes.isEmpty());
        const QVariant total
            = valor(QStringLiteral(
                        "select cast(sum(importe_neto + total_impuestos) as double precision) from "
                        "doctos_pv where cliente_id = %1 "
                        "and tipo_docto = 'V' and estatus <> 'C' and fecha >= current_date - 120")
                        .arg(m_cliente));
        const QString esperado = formatFloat(QStringLiteral("#,0.00;-#,0.00"), total.toDouble());
        QCOMPARE(del(d, QStringLiteral("importeTotal")), esperado);
        QCOMPARE(formatFloat(QStringLiteral("#,0.00;-#,0.00"), meses), esperado);

        genera(QStringLiteral("REP_ARTICULOS"), 0, r);
        const reporte::Documento &a = r.documento();
        QVERIFY(!a.hojas.isEmpty());
        int filas = 0;
        double lineas = 0;
        for (const reporte::Hoja &h : a.hojas) {
            for (const reporte::Primitiva &p : h.primitivas) {
                filas += p.elemento == u"articulo";
                if (p.elemento == u"importeLinea")
                    lineas += QString(p.texto).remove(u',').toDouble();
            }
        }
        QVERIFY(filas > 0);
        QCOMPARE(del(a, QStringLiteral("articulos")), QStringLiteral("%1 artículos").arg(filas));
        QCOMPARE(formatFloat(QStringLiteral("#,0.00;-#,0.00"), lineas),
                 del(a, QStringLiteral("importeTotal")));
    }
};

LAR_TEST_MAIN(TestFormasMuestra)
#include "tst_formasmuestra.moc"
