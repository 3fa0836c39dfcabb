// The redemption list: the period texts and the period kept in Microsip's registry,
// the tests before it opens, the load and its filters, and the capture opened from
// it moving the list with bUp and bDown.

#include "tiendacanje.h"

#include "points/ventaspuntos.h"
#include "points/ventaspuntoslista.h"

#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

#include <QAction>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

using namespace lar;
using lartest::Tienda;

class TestLista : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Tienda> t;
    QList<int> doctos;

private slots:
    void initTestCase()
    {
        t = std::make_unique<Tienda>(true);
        t->s.Permisos[73] = 1048575;
        GuardaVenta g(t->s);
        for (int unidades : {1, 2, 3}) {
            const GuardaVenta::Resultado r
                = g.guarda(t->canje({t->linea(t->art1, t->clave1, unidades, 1)}));
            QVERIFY2(r.ok, qPrintable(r.error + r.aviso.texto));
            doctos << r.doctoId;
        }
        QCOMPARE(CancelaVenta(t->s, doctos.at(1)), QString());
    }

    void textoPeriodo_data()
    {
        QTest::addColumn<QString>("valor");
        QTest::addColumn<QString>("texto");
        // Today is 15/05/2026 in these rows; serial 46143 is 01/05/2026.
        QTest::newRow("todo") << "0;1;1;0;0"
                              << "Todos los meses";
        QTest::newRow("un mes") << "1;1;1;0;0"
                                << "Último mes";
        QTest::newRow("meses") << "1;3;1;0;0"
                               << "Últimos 3 meses";
        QTest::newRow("un día") << "3;1;1;0;0"
                                << "Último día";
        QTest::newRow("días") << "3;1;7;0;0"
                              << "Últimos 7 días";
        QTest::newRow("hoy") << "5;1;1;0;0"
                             << "Hoy: 15/05/2026";
        QTest::newRow("un mes entero") << "2;1;1;46143;46173"
                                       << "mayo del 2026";
        QTest::newRow("un año") << "2;1;1;46023;46387"
                                << "2026";
        QTest::newRow("meses enteros") << "2;1;1;46143;46234"
                                       << "mayo/2026 a julio/2026";
        QTest::newRow("un día del rango") << "2;1;1;46150;46150"
                                          << "08/05/2026";
        QTest::newRow("rango") << "2;1;1;46150;46160"
                               << "08/05/2026 al 18/05/2026";
        QTest::newRow("corto: valores iniciales") << "1;3"
                                                  << "Todos los meses";
    }
    void textoPeriodo()
    {
        QFETCH(QString, valor);
        QFETCH(QString, texto);
        PeriodoVista p;
        const QDate hoy(2026, 5, 15);
        p.deValor(valor, hoy);
        QCOMPARE(p.texto(hoy), texto);
        QCOMPARE(FechaSerial(46143), QDate(2026, 5, 1));
    }

    // The capture period: unset or reversed gives " " and all months.
    void periodoCaptura()
    {
        PeriodoVista p;
        p.tipo = 4;
        p.capturaIni = QDate(2026, 2, 1);
        p.capturaFin = QDate(2026, 1, 1);
        QCOMPARE(p.texto(), QStringLiteral(" "));
        QCOMPARE(p.tipo, 0);
        p.tipo = 4;
        p.capturaIni = QDate(2026, 1, 1);
        p.capturaFin = QDate(2026, 3, 31);
        QCOMPARE(p.texto(), QStringLiteral("enero/2026 a marzo/2026"));
    }

    // Stored where Microsip's viewer reads it (the user's node of the installation's
    // registry), read back by the next list, nodes created once.
    void periodoGuardado()
    {
        PeriodoVista p;
        p.tipo = 2;
        p.meses = 4;
        p.dias = 9;
        p.ini = QDate(2026, 5, 1);
        p.fin = QDate(2026, 5, 31);
        QCOMPARE(GuardaPeriodo(t->s, p), QString());
        p.tipo = 3;
        QCOMPARE(GuardaPeriodo(t->s, p), QString());
        fb::Database config;
        t->env->conectaConfig(config);
        fb::Transaction tr(&config);
        fb::Query q(&config, &tr);
        q.setSql(QStringLiteral(
            "select v.valor from registry u join registry i on i.padre_id=u.elemento_id and "
            "i.nombre='Inventarios' join registry w on w.padre_id=i.elemento_id and "
            "w.nombre='VisorENTRADAS' join registry v on v.padre_id=w.elemento_id and "
            "v.nombre='Período' where u.padre_id=0 and u.nombre='SYSDBA'"));
        q.open();
        QCOMPARE(q.field(0).toTrimmed(), QStringLiteral("3;4;9;0;0"));
        q.next();
        QVERIFY(q.eof());
        q.close();
        tr.commit();
        const PeriodoVista leido = LeePeriodo(t->s);
        QCOMPARE(leido.tipo, 3);
        QCOMPARE(leido.dias, 9);
        QCOMPARE(leido.capturaIni, QDate(2026, 1, 1));
        p.tipo = 0;
        QCOMPARE(GuardaPeriodo(t->s, p), QString());
    }

    // The module's doors: the concept, its series, the costing method.
    void aperturas()
    {
        QCOMPARE(PuedeAbrirCanjes(t->s), QString());
        QChar metodo;
        QCOMPARE(ValidaPreferencias(t->s, metodo), QString());
        QCOMPARE(metodo, QLatin1Char('C'));
        t->ejecuta(QStringLiteral("update registry set valor=NULL where nombre='METODO_COSTEO'"));
        QCOMPARE(ValidaPreferencias(t->s, metodo),
                 QStringLiteral("Primero debe definir el método de costeo en las preferencias de "
                                "inventarios de Microsip"));
        t->ejecuta(QStringLiteral("update registry set valor='C' where nombre='METODO_COSTEO'"));
        GuardaRegistro(t->s, QStringLiteral("Concepto Salida Puntos"), QString());
        QCOMPARE(PuedeAbrirCanjes(t->s),
                 QStringLiteral("Indique un concepto de salida de inventarios en la configuración "
                                "del sistema."));
        GuardaRegistro(
            t->s, QStringLiteral("Concepto Salida Puntos"), QString::number(t->concepto));
        t->ejecuta(
            QStringLiteral("delete from folios_conceptos where concepto_id=%1").arg(t->concepto));
        QCOMPARE(PuedeAbrirCanjes(t->s),
                 QStringLiteral("Es necesario asignar una serie y consecutivo al concepto de "
                                "salida de inventarios en Microsip."));
        fb::Database db;
        t->env->conectaEmpresa(db);
        microsip::asignaSerie(db, t->concepto, QStringLiteral("CP"), 50);
    }

    // The load, status and search; the capture opened on a row moves the list.
    void listaYNavegacion()
    {
        lartest::GuionMensajes guion;
        TfVentasPuntosLista l(t->s);
        l.show();
        MemTable &m = l.tabla();
        QCOMPARE(m.recordCount(), 3);
        l.mCancelados->trigger();
        QCOMPARE(m.recordCount(), 1);
        QCOMPARE(m.fieldByName(QStringLiteral("DoctoID")).asInteger(), doctos.at(1));
        QCOMPARE(m.fieldByName(QStringLiteral("Cancelado")).asString(), QStringLiteral("C"));
        l.mNormales->trigger();
        QCOMPARE(m.recordCount(), 2);
        QCOMPARE(m.fieldByName(QStringLiteral("Puntos")).asInteger() % 10, 0);
        l.mTodosEstatus->trigger();
        l.bSoloEntradas->trigger(); // redemptions are exits: nothing is left
        QCOMPARE(m.recordCount(), 0);
        l.bTodos->trigger();

        // Search by folio, words in any order without overlap.
        const QString folio = t->texto(
            QStringLiteral("select folio from doctos_in where docto_in_id=%1").arg(doctos.at(2)));
        l.rFolio->setChecked(true);
        l.vBusca->setText(FolioNormaliza(folio));
        QCOMPARE(m.recordCount(), 1);
        l.vBusca->setText(QStringLiteral("P C"));
        QCOMPARE(m.recordCount(), 3);
        l.vBusca->setText(QStringLiteral("CP CP"));
        QCOMPARE(m.recordCount(), 0);
        l.vBusca->clear();

        // Opened on the first row; bDown moves the list's grid and loads the next one.
        m.first();
        const int primero = m.fieldByName(QStringLiteral("DoctoID")).asInteger();
        int visto = 0, siguiente = 0;
        QTimer::singleShot(0, this, [&] {
            TfVentasPuntos *f = l.ventaAbierta();
            if (!f)
                return;
            visto = f->DoctoID;
            f->bDown->click();
            siguiente = f->DoctoID;
            f->close();
        });
        l.bOpen->click();
        QCOMPARE(visto, primero);
        m.setRecNo(1);
        QCOMPARE(siguiente, m.fieldByName(QStringLiteral("DoctoID")).asInteger());
        QVERIFY(siguiente != primero);
        QVERIFY2(guion.cajas().isEmpty(), qPrintable(guion.textos().join(u'|')));
    }
};

LAR_TEST_MAIN(TestLista)
#include "tst_points_canje_lista.moc"
