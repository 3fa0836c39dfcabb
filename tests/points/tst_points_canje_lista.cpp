// The redemption list: the period texts and the period kept in Microsip's registry,
// the tests before it opens, the load and its filters, and the capture opened from
// it moving the list with bUp and bDown.

#include "tiendacanje.h"

#include "points/ventaspuntos.h"
#include "points/ventaspuntoslista.h"
#include "shared/periodo.h"

#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/wordsearch.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
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
    int boletos = 0;

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
        // Tickets alone: no issue document, so no warehouse.
        GuardaRegistro(t->s, QStringLiteral("ArtBoleto"), QString::number(t->boleto));
        const GuardaVenta::Resultado r
            = g.guarda(t->canje({t->linea(t->boleto, t->claveBoleto, 1, 1)}));
        GuardaRegistro(t->s, QStringLiteral("ArtBoleto"), QString());
        QVERIFY2(r.ok && r.soloBoletos, qPrintable(r.error + r.aviso.texto));
        boletos = r.doctoId;
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

    // The load and the filters: status and warehouse reload, type and search filter
    // in memory and paint the words in the searched column; the keys of the grid.
    void listaYFiltros()
    {
        lartest::GuionMensajes guion;
        TfVentasPuntosLista l(t->s);
        l.show();
        MemTable &m = l.tabla();
        QCOMPARE(m.recordCount(), 4);
        l.mCancelados->trigger();
        QCOMPARE(m.recordCount(), 1);
        QCOMPARE(m.fieldByName(QStringLiteral("DoctoID")).asInteger(), doctos.at(1));
        QCOMPARE(m.fieldByName(QStringLiteral("Cancelado")).asString(), QStringLiteral("C"));
        l.mNormales->trigger();
        QCOMPARE(m.recordCount(), 3);
        l.mTodosEstatus->trigger();
        l.bSoloEntradas->trigger(); // redemptions are exits: nothing is left
        QCOMPARE(m.recordCount(), 0);
        l.bSoloSalidas->trigger();
        QCOMPARE(m.recordCount(), 4);
        l.bTodos->trigger();

        // The warehouse drops the redemption of tickets alone; another one shows nothing.
        l.vAlmacen->setCurrentIndex(l.vAlmacen->findData(t->almacen));
        QCOMPARE(m.recordCount(), 3);
        QVERIFY(!m.locate(QStringLiteral("DoctoID"), boletos));
        const int otro = l.vAlmacen->currentIndex() == 1 ? 2 : 1;
        if (otro < l.vAlmacen->count()) {
            l.vAlmacen->setCurrentIndex(otro);
            QCOMPARE(m.recordCount(), 0);
        }
        l.vAlmacen->setCurrentIndex(0);
        QCOMPARE(m.recordCount(), 4);
        QVERIFY(m.locate(QStringLiteral("DoctoID"), boletos));
        QVERIFY(m.fieldByName(QStringLiteral("Almacen")).asString().isEmpty());

        // Search by folio, words in any order without overlap, painted in that column.
        const QString folio = FolioNormaliza(t->texto(
            QStringLiteral("select folio from doctos_in where docto_in_id=%1").arg(doctos.at(2))));
        l.rFolio->setChecked(true);
        l.vBusca->setText(folio.toLower());
        QCOMPARE(m.recordCount(), 1);
        QCOMPARE(l.cxGrid->itemDelegate(), &l.pintor());
        QCOMPARE(l.pintor().field(), m.fieldIndex(QStringLiteral("Folio")));
        QCOMPARE(l.pintor().words(), QStringList{folio});
        QCOMPARE(l.pintor().highlightRects(folio, l.cxGrid->font()).size(), 1);
        l.vBusca->setText(QStringLiteral("P C"));
        QCOMPARE(m.recordCount(), 4);
        l.vBusca->setText(QStringLiteral("CP CP"));
        QCOMPARE(m.recordCount(), 0);
        // The same words on the customer: the painted column follows the radio button.
        const QString nombre = t->texto(
            QStringLiteral("select nombre from clientes where cliente_id=%1").arg(t->cliente));
        const QString palabra = nombre.section(u' ', 0, 0);
        l.rDestino->setChecked(true);
        l.vBusca->setText(palabra);
        QCOMPARE(m.recordCount(), 4);
        QCOMPARE(l.pintor().field(), m.fieldIndex(QStringLiteral("Cliente")));
        QCOMPARE(l.pintor().words(), QStringList{palabra.toUpper()});

        // On the grid a printable key goes on in the box, Esc empties it.
        l.vBusca->clear();
        l.cxGrid->setFocus();
        QTest::keyClicks(l.cxGrid, QStringLiteral("zq"));
        QCOMPARE(l.vBusca->text(), QStringLiteral("zq"));
        QCOMPARE(m.recordCount(), 0);
        QTest::keyClick(l.cxGrid, Qt::Key_Escape);
        QVERIFY(l.vBusca->text().isEmpty());
        QCOMPARE(m.recordCount(), 4);
        QVERIFY2(guion.cajas().isEmpty(), qPrintable(guion.textos().join(u'|')));
    }

    // Enter on the grid opens the row; bDown and bUp move the list's grid and load
    // what they find; at either end nothing moves. Only one capture at a time.
    void navegacion()
    {
        lartest::GuionMensajes guion;
        TfVentasPuntosLista l(t->s);
        l.show();
        MemTable &m = l.tabla();
        QVERIFY(m.recordCount() >= 3);
        QList<int> orden;
        for (m.first(); !m.eof(); m.next())
            orden << m.fieldByName(QStringLiteral("DoctoID")).asInteger();
        m.first();
        QList<int> vistos;
        QList<int> filas;
        QTimer::singleShot(0, this, [&] {
            TfVentasPuntos *f = l.ventaAbierta();
            if (!f)
                return;
            auto nota = [&] {
                vistos << f->DoctoID;
                filas << m.recNo();
            };
            nota();
            f->bUp->click(); // already on the first: stays
            nota();
            f->bDown->click();
            nota();
            f->bDown->click();
            nota();
            f->bUp->click();
            nota();
            QCOMPARE(f->mDet->recordCount(), 1);
            f->close();
        });
        l.cxGrid->setFocus();
        QTest::keyClick(l.cxGrid, Qt::Key_Return);
        QCOMPARE(vistos, (QList<int>{orden[0], orden[0], orden[1], orden[2], orden[1]}));
        QCOMPARE(filas, (QList<int>{0, 0, 1, 2, 1}));
        QVERIFY2(guion.cajas().isEmpty(), qPrintable(guion.textos().join(u'|')));
    }

    // bNew and bOpen ask ValidaPreferencias first: without a costing method nothing
    // opens. bPeriodo stores the chosen period for the user and reloads.
    void comandos()
    {
        lartest::GuionMensajes guion;
        TfVentasPuntosLista l(t->s);
        l.show();
        t->ejecuta(QStringLiteral("update registry set valor=NULL where nombre='METODO_COSTEO'"));
        bool abierta = false;
        QTimer sondeo;
        QObject::connect(&sondeo, &QTimer::timeout, [&] {
            if (TfVentasPuntos *f = l.ventaAbierta()) {
                abierta = true;
                f->close();
            }
        });
        sondeo.start(20);
        l.bNew->click();
        l.bOpen->click();
        const QString aviso = QStringLiteral("Primero debe definir el método de costeo en las "
                                             "preferencias de inventarios de Microsip");
        QCOMPARE(guion.textos(), (QStringList{aviso, aviso}));
        QVERIFY(!abierta);
        t->ejecuta(QStringLiteral("update registry set valor='C' where nombre='METODO_COSTEO'"));
        guion.limpia();
        guion.responde({mb::IdYes}); // the closing question of the new capture
        l.bNew->click();
        QVERIFY(abierta);
        sondeo.stop();
        QCOMPARE(guion.textos(),
                 QStringList{QStringLiteral("¿Desea cancelar la edición de la Canje de puntos?")});
        guion.limpia();

        // The period dialog: "Hoy" accepted, stored, the list reloaded on today's rows.
        QTimer::singleShot(0, this, [] {
            if (auto *d = qobject_cast<TfPeriodo *>(QApplication::activeModalWidget())) {
                d->g5->setChecked(true);
                d->Button1->click();
            }
        });
        l.bPeriodo->click();
        QCOMPARE(l.Periodo.tipo, 5);
        QCOMPARE(l.vPeriodo->text(),
                 QStringLiteral("Hoy: ") + QDate::currentDate().toString(u"dd/MM/yyyy"));
        QCOMPARE(LeePeriodo(t->s).tipo, 5);
        QCOMPARE(l.tabla().recordCount(), 4); // all saved today
        QTimer::singleShot(0, this, [] {
            if (auto *d = qobject_cast<TfPeriodo *>(QApplication::activeModalWidget()))
                d->Button2->click();
        });
        l.bPeriodo->click(); // cancelled: nothing changes
        QCOMPARE(LeePeriodo(t->s).tipo, 5);
        PeriodoVista todo;
        QCOMPARE(GuardaPeriodo(t->s, todo), QString());
        QVERIFY2(guion.cajas().isEmpty(), qPrintable(guion.textos().join(u'|')));
    }
};

LAR_TEST_MAIN(TestLista)
#include "tst_points_canje_lista.moc"
