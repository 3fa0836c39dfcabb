// The redemption list: the period texts and the period kept in Microsip's registry,
// the tests before it opens, the load and its filters, and the capture opened from
// it moving the list with bUp and bDown.

#include "capturaprueba.h"

#include "points/ventaspuntoslista.h"
#include "shared/periodo.h"

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
using namespace Qt::StringLiterals;

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
        GuardaRegistro(t->s, u"ArtBoleto"_s, QString::number(t->boleto));
        const GuardaVenta::Resultado r
            = g.guarda(t->canje({t->linea(t->boleto, t->claveBoleto, 1, 1)}));
        GuardaRegistro(t->s, u"ArtBoleto"_s, QString());
        QVERIFY2(r.ok && r.soloBoletos, qPrintable(r.error + r.aviso.texto));
        boletos = r.doctoId;
    }

    void textoPeriodo_data()
    {
        QTest::addColumn<QString>("valor");
        QTest::addColumn<QString>("texto");
        // Today is 15/05/2026 in these rows; serial 46143 is 01/05/2026.
        QTest::newRow("todo") << u"0;1;1;0;0"_s << u"Todos los meses"_s;
        QTest::newRow("un mes") << u"1;1;1;0;0"_s << u"Último mes"_s;
        QTest::newRow("meses") << u"1;3;1;0;0"_s << u"Últimos 3 meses"_s;
        QTest::newRow("un día") << u"3;1;1;0;0"_s << u"Último día"_s;
        QTest::newRow("días") << u"3;1;7;0;0"_s << u"Últimos 7 días"_s;
        QTest::newRow("hoy") << u"5;1;1;0;0"_s << u"Hoy: 15/05/2026"_s;
        QTest::newRow("un mes entero") << u"2;1;1;46143;46173"_s << u"mayo del 2026"_s;
        QTest::newRow("un año") << u"2;1;1;46023;46387"_s << u"2026"_s;
        QTest::newRow("meses enteros") << u"2;1;1;46143;46234"_s << u"mayo/2026 a julio/2026"_s;
        QTest::newRow("un día del rango") << u"2;1;1;46150;46150"_s << u"08/05/2026"_s;
        QTest::newRow("rango") << u"2;1;1;46150;46160"_s << u"08/05/2026 al 18/05/2026"_s;
        QTest::newRow("corto: valores iniciales") << u"1;3"_s << u"Todos los meses"_s;
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
        QCOMPARE(p.texto(), u" "_s);
        QCOMPARE(p.tipo, 0);
        p.tipo = 4;
        p.capturaIni = QDate(2026, 1, 1);
        p.capturaFin = QDate(2026, 3, 31);
        QCOMPARE(p.texto(), u"enero/2026 a marzo/2026"_s);
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
        q.setSql(u"select v.valor from registry u join registry i on i.padre_id=u.elemento_id and "
                 "i.nombre='Inventarios' join registry w on w.padre_id=i.elemento_id and "
                 "w.nombre='VisorENTRADAS' join registry v on v.padre_id=w.elemento_id and "
                 "v.nombre='Período' where u.padre_id=0 and u.nombre='SYSDBA'"_s);
        q.open();
        QCOMPARE(q.field(0).toTrimmed(), u"3;4;9;0;0"_s);
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
        // Without a costing method: see comandos().
        GuardaRegistro(t->s, u"Concepto Salida Puntos"_s, QString());
        QCOMPARE(PuedeAbrirCanjes(t->s),
                 u"Indique un concepto de salida de inventarios en la configuración "
                 "del sistema."_s);
        GuardaRegistro(t->s, u"Concepto Salida Puntos"_s, QString::number(t->concepto));
        t->ejecuta(u"delete from folios_conceptos where concepto_id=%1"_s.arg(t->concepto));
        QCOMPARE(PuedeAbrirCanjes(t->s),
                 u"Es necesario asignar una serie y consecutivo al concepto de "
                 "salida de inventarios en Microsip."_s);
        fb::Database db;
        t->env->conectaEmpresa(db);
        microsip::asignaSerie(db, t->concepto, u"CP"_s, 50);
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
        QCOMPARE(m.fieldByName(u"DoctoID"_s).asInteger(), doctos.at(1));
        QCOMPARE(m.fieldByName(u"Cancelado"_s).asString(), u"C"_s);
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
        QVERIFY(!m.locate(u"DoctoID"_s, boletos));
        const int otro = l.vAlmacen->currentIndex() == 1 ? 2 : 1;
        if (otro < l.vAlmacen->count()) {
            l.vAlmacen->setCurrentIndex(otro);
            QCOMPARE(m.recordCount(), 0);
        }
        l.vAlmacen->setCurrentIndex(0);
        QCOMPARE(m.recordCount(), 4);
        QVERIFY(m.locate(u"DoctoID"_s, boletos));
        QVERIFY(m.fieldByName(u"Almacen"_s).asString().isEmpty());

        // Search by folio, words in any order without overlap, painted in that column.
        const QString folio = FolioNormaliza(
            t->texto(u"select folio from doctos_in where docto_in_id=%1"_s.arg(doctos.at(2))));
        l.rFolio->setChecked(true);
        l.vBusca->setText(folio.toLower());
        QCOMPARE(m.recordCount(), 1);
        QCOMPARE(l.cxGrid->itemDelegate(), &l.pintor());
        QCOMPARE(l.pintor().field(), m.fieldIndex(u"Folio"_s));
        QCOMPARE(l.pintor().words(), QStringList{folio});
        QCOMPARE(l.pintor().highlightRects(folio, l.cxGrid->font()).size(), 1);
        l.vBusca->setText(u"P C"_s);
        QCOMPARE(m.recordCount(), 4);
        l.vBusca->setText(u"CP CP"_s);
        QCOMPARE(m.recordCount(), 0);
        // The same words on the customer: the painted column follows the radio button.
        const QString nombre
            = t->texto(u"select nombre from clientes where cliente_id=%1"_s.arg(t->cliente));
        const QString palabra = nombre.section(u' ', 0, 0);
        l.rDestino->setChecked(true);
        l.vBusca->setText(palabra);
        QCOMPARE(m.recordCount(), 4);
        QCOMPARE(l.pintor().field(), m.fieldIndex(u"Cliente"_s));
        QCOMPARE(l.pintor().words(), QStringList{palabra.toUpper()});

        // On the grid a printable key goes on in the box, Esc empties it.
        l.vBusca->clear();
        l.cxGrid->setFocus();
        QTest::keyClicks(l.cxGrid, u"zq"_s);
        QCOMPARE(l.vBusca->text(), u"zq"_s);
        QCOMPARE(m.recordCount(), 0);
        QTest::keyClick(l.cxGrid, Qt::Key_Escape);
        QVERIFY(l.vBusca->text().isEmpty());
        QCOMPARE(m.recordCount(), 4);
        LAR_SIN_CAJAS(guion);
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
            orden << m.fieldByName(u"DoctoID"_s).asInteger();
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
        LAR_SIN_CAJAS(guion);
    }

    // bNew and bOpen ask ValidaPreferencias first: without a costing method nothing
    // opens. bPeriodo stores the chosen period for the user and reloads.
    void comandos()
    {
        lartest::GuionMensajes guion;
        TfVentasPuntosLista l(t->s);
        l.show();
        t->ejecuta(u"update registry set valor=NULL where nombre='METODO_COSTEO'"_s);
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
        const QString aviso = u"Primero debe definir el método de costeo en las "
                              "preferencias de inventarios de Microsip"_s;
        QCOMPARE(guion.textos(), (QStringList{aviso, aviso}));
        QVERIFY(!abierta);
        t->ejecuta(u"update registry set valor='C' where nombre='METODO_COSTEO'"_s);
        guion.limpia();
        guion.responde({mb::IdYes}); // the closing question of the new capture
        l.bNew->click();
        QVERIFY(abierta);
        sondeo.stop();
        QCOMPARE(guion.textos(),
                 QStringList{u"¿Desea cancelar la edición de la Canje de puntos?"_s});
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
        QCOMPARE(l.vPeriodo->text(), u"Hoy: "_s + QDate::currentDate().toString(u"dd/MM/yyyy"));
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
        LAR_SIN_CAJAS(guion);
    }
};

LAR_TEST_MAIN(TestLista)
#include "tst_points_canje_lista.moc"
