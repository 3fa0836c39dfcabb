// The three report screens, offscreen, over sales played through the stand-in
// Microsip on a seeded company: the sources by their switches, the period row,
// the customer's two roads, the limits, the search, printing and export.
#include "ayudareportes.h"
#include "core/ayudagui.h"
#include "microsip/sim/documentos.h"
#include "reports/formas.h"
#include "reports/imprimirforma.h"
#include "reports/rep_porarticulo.h"
#include "reports/rep_porbusqueda.h"
#include "reports/rep_porcliente.h"
#include "shared/flista.h"
#include "support/accesibilidad.h"
#include "support/guionmensajes.h"
#include "support/guionshell.h"
#include "support/lectorxls.h"
#include "support/sqlprueba.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

#include <QDateEdit>
#include <QDir>
#include <QJsonArray>
#include <QRadioButton>
#include <QToolButton>

using namespace lar;
using namespace Qt::StringLiterals;
using microsip::Sistema;

namespace {

const QDate inicio(2026, 3, 1);
const QDate fin(2026, 3, 31);
constexpr int alfa = 900001; // both sources, an address in Xalapa
constexpr int beta = 900002; // sales documents only, no address
constexpr int sinClave = 900003;

QStringList columna(MemTable &t, const QString &campo)
{
    QStringList r;
    const int f = t.fieldIndex(campo);
    for (int i = 0; i < t.recordCount(); ++i)
        r << t.valueAt(i, f).toString();
    return r;
}

// The cells of an .xls file's first sheet, "fila,col" -> [tipo, valor, formato].
QMap<QString, QJsonArray> celdas(const QString &ruta)
{
    const QJsonObject o = lartest::LeeXlsConXlrd(ruta);
    QMap<QString, QJsonArray> r;
    for (const QJsonValue &c :
         o.value(u"hojas").toArray().at(0).toObject().value(u"celdas").toArray()) {
        const QJsonArray a = c.toArray();
        r.insert(u"%1,%2"_s.arg(a.at(0).toInt()).arg(a.at(1).toInt()),
                 QJsonArray{a.at(2), a.at(3), a.at(4)});
    }
    return r;
}

} // namespace

class TestRepPantallas : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<Sesion> m_s;
    QList<int> m_articulos;
    microsip::Cabecera m_pvFin, m_pvFuera, m_pvCancelada, m_veAlfa, m_veBeta;

    void ejecuta(const QString &sql, const QVariantList &params = {})
    {
        lartest::ejecuta(m_s->fbDatabase(), sql, params);
    }
    QVariantList fila(const QString &sql) { return lartest::fila(m_s->fbDatabase(), sql); }
    void fuentes(bool pv, bool ve)
    {
        GuardaRegistro(*m_s, u"Puntos General Activo"_s, pv ? u"S"_s : u"N"_s);
        GuardaRegistro(*m_s, u"Puntos Ventas"_s, ve ? u"S"_s : u"N"_s);
    }
    template<class T>
    std::unique_ptr<T> abre(quint32 acceso = 7)
    {
        auto f = std::make_unique<T>(*m_s);
        f->Acceso = acceso;
        f->show();
        return f;
    }
    // The form on the period, loaded for the customer of the key typed.
    template<class T>
    std::unique_ptr<T> carga(const QString &clave)
    {
        auto f = abre<T>();
        f->dtpFechaI->setDate(inicio);
        f->dtpFechaF->setDate(fin);
        teclea(f->txtCliente, clave);
        f->Button1->click();
        return f;
    }
    static void teclea(QLineEdit *e, const QString &texto)
    {
        e->clear();
        QTest::keyClicks(e, texto);
        QTest::keyClick(e, Qt::Key_Return);
    }
    microsip::Cabecera vende(Sistema s, int cliente, QDate fecha, QList<microsip::Renglon> r)
    {
        microsip::Documentos d(m_s->fbDatabase());
        d.setMueveExistencias(false);
        microsip::Documento doc;
        doc.sistema = s;
        doc.clienteId = cliente;
        doc.fecha = fecha;
        doc.renglones = r;
        const int id = d.vende(doc);
        return d.lee(s, id);
    }
    microsip::Renglon renglon(int articulo, int unidades)
    {
        microsip::Renglon r;
        r.articuloId = m_articulos.at(articulo);
        r.unidades = fb::Decimal(unidades, 0);
        r.precio = fb::Decimal(1000, 2);
        return r;
    }

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.sembrado = true;
        op.siembra.articulos = 110;
        m_e = std::make_unique<lartest::EntornoPrueba>(op);
        m_e->instalaExtension();
        m_s = std::make_unique<Sesion>();
        m_e->conectaSesion(*m_s);
        QVERIFY(InstalaFormasMuestra(m_s->fbConfig()) > 0);

        // Three customers of our own, one in a city of our own.
        const int rol = fila(u"select rol_clave_cli_id from roles_claves_clientes "
                             u"where es_ppal = 'S'"_s)
                            .value(0)
                            .toInt();
        const int estado = fila(u"select min(estado_id) from estados"_s).value(0).toInt();
        ejecuta(u"insert into ciudades (ciudad_id, nombre, estado_id) values (900001, "
                u"'Xalapa Enríquez', ?)"_s,
                {estado});
        int clave = 900000;
        for (const auto &[id, nombre, claveCli] :
             {std::tuple{alfa, u"REPORTE ALFA ÑANDÚ"_s, u"RPA-1"_s},
              std::tuple{beta, u"REPORTE BETA"_s, u"RPB-2"_s},
              std::tuple{sinClave, u"REPORTE SIN CLAVE"_s, QString()}}) {
            ejecuta(u"insert into clientes (cliente_id, nombre) values (?, ?)"_s, {id, nombre});
            if (!claveCli.isEmpty())
                ejecuta(u"insert into claves_clientes (clave_cliente_id, cliente_id, "
                        u"clave_cliente, rol_clave_cli_id) values (?, ?, ?, ?)"_s,
                        {++clave, id, claveCli, rol});
        }
        ejecuta(u"insert into dirs_clientes (dir_cli_id, cliente_id, nombre_consig, calle, "
                u"colonia, ciudad_id, estado_id, telefono1) values (900001, ?, "
                u"'Dirección principal', 'Calle Sauce 12', 'Los Pinos Altos', 900001, ?, "
                u"'228 555 0101')"_s,
                {alfa, estado});

        for (const QString &id :
             lartest::filas(m_s->fbDatabase(),
                            u"select first 105 articulo_id from articulos order by articulo_id"_s))
            m_articulos << id.toInt();
        QCOMPARE(m_articulos.size(), 105);

        // Alfa: 105 articles at the point of sale on the period's last day (article
        // i with 106 - i units), 500 of the last one in a sale cancelled later, one
        // sale the day after the period, and an invoice.
        QList<microsip::Renglon> muchos;
        for (int i = 0; i < 105; ++i)
            muchos << renglon(i, 105 - i);
        m_pvFin = vende(Sistema::PV, alfa, fin, muchos);
        m_pvCancelada = vende(Sistema::PV, alfa, inicio.addDays(9), {renglon(104, 500)});
        microsip::Documentos(m_s->fbDatabase()).cancela(Sistema::PV, m_pvCancelada.id);
        m_pvFuera = vende(Sistema::PV, alfa, fin.addDays(1), {renglon(0, 1)});
        m_veAlfa = vende(Sistema::VE, alfa, inicio, {renglon(0, 3), renglon(1, 2)});
        // Beta: an invoice only.
        m_veBeta = vende(Sistema::VE, beta, inicio.addDays(19), {renglon(2, 1)});
        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"REP_COMPRA_CLIENTE"_s);
    }

    // The customer list of both forms: every customer, a null key where there is no
    // principal one; the forms folder.
    void listaDeClientes()
    {
        auto f = abre<Tfrep_PorCliente>();
        MemTable &c = f->clientes();
        QVERIFY(c.locate(u"ID"_s, sinClave));
        QVERIFY(c.fieldByName(u"CLAVE"_s).isNull());
        QVERIFY(c.locate(u"ID"_s, alfa));
        QCOMPARE(c.fieldByName(u"CLAVE"_s).asString(), u"RPA-1"_s);
        QVERIFY(f->FolderId > 0);
    }

    // Purchases by source switch: cancelled sales never show, the end date is
    // inclusive, and a customer whose sales are all in the switched-off source has none.
    void comprasPorFuente_data()
    {
        QTest::addColumn<bool>("pv");
        QTest::addColumn<bool>("ve");
        QTest::newRow("ambas") << true << true;
        QTest::newRow("punto de venta") << true << false;
        QTest::newRow("ventas") << false << true;
        QTest::newRow("ninguna") << false << false;
    }
    void comprasPorFuente()
    {
        QFETCH(bool, pv);
        QFETCH(bool, ve);
        fuentes(pv, ve);
        lartest::GuionMensajes guion;
        auto f = carga<Tfrep_PorCliente>(u"RPA-1"_s);
        QStringList esperados, sistemas;
        if (pv) {
            esperados << m_pvFin.folio;
            sistemas << u"Punto de venta"_s;
        }
        if (ve) {
            esperados << m_veAlfa.folio;
            sistemas << u"Ventas"_s;
        }
        MemTable &t = f->tabla();
        QCOMPARE(columna(t, u"Folio"_s), esperados);
        QCOMPARE(columna(t, u"Sistema"_s), sistemas);
        if (pv) {
            QVERIFY(t.locate(u"Folio"_s, m_pvFin.folio));
            QCOMPARE(t.fieldByName(u"Importe"_s).asFloat(),
                     (m_pvFin.importeNeto + m_pvFin.totalImpuestos).toDouble());
            QCOMPARE(t.fieldByName(u"Clienteid"_s).asInteger(), alfa);
        }
        QCOMPARE(guion.textos(),
                 esperados.isEmpty() ? QStringList{u"El Cliente no tiene ventas."_s}
                                     : QStringList());
        QCOMPARE(f->btnImprimir->isEnabled(), !esperados.isEmpty());

        // Beta bought only through sales documents.
        guion.limpia();
        teclea(f->txtCliente, u"RPB-2"_s);
        f->Button1->click();
        QCOMPARE(columna(t, u"Folio"_s), ve ? QStringList{m_veBeta.folio} : QStringList());
        QCOMPARE(guion.textos(),
                 ve ? QStringList() : QStringList{u"El Cliente no tiene ventas."_s});
    }

    // The period row: created by whichever report runs first, with the customer's
    // id or 1 as ARTICULO_ID, then only updated. It is written even when the load
    // then stops for want of a customer; when it can't be written nothing loads.
    void filaDeReportes()
    {
        fuentes(true, true);
        lartest::GuionMensajes guion;
        ejecuta(u"delete from lar_reportes"_s);
        auto c = carga<Tfrep_PorCliente>(u"RPA-1"_s);
        QCOMPARE(fila(u"select rep_id, fecha_inicio, fecha_fin, articulo_id from lar_reportes"_s),
                 (QVariantList{1, inicio, fin, alfa}));

        ejecuta(u"delete from lar_reportes"_s);
        auto a = carga<Tfrep_PorArticulo>(u"RPA-1"_s);
        QCOMPARE(fila(u"select articulo_id from lar_reportes"_s), QVariantList{1});

        c->txtCliente->clear();
        c->dtpFechaF->setDate(fin.addDays(1));
        c->Button1->click();
        QCOMPARE(guion.textos().last(), u"Es necesario seleccionar un cliente."_s);
        QCOMPARE(fila(u"select count(*), max(fecha_fin), max(articulo_id) from lar_reportes"_s),
                 (QVariantList{1, fin.addDays(1), 1}));

        // A write the server refuses is told, and nothing is loaded.
        ejecuta(u"create exception e_prueba_periodo 'Periodo bloqueado'"_s);
        ejecuta(u"create trigger tr_prueba_periodo for lar_reportes before update as "
                u"begin exception e_prueba_periodo; end"_s);
        guion.limpia();
        teclea(c->txtCliente, u"RPA-1"_s);
        c->tabla().emptyTable();
        c->Button1->click();
        ejecuta(u"drop trigger tr_prueba_periodo"_s);
        ejecuta(u"drop exception e_prueba_periodo"_s);
        QCOMPARE(guion.cajas().size(), 1);
        QVERIFY2(guion.cajas().first().texto.startsWith(u"Error: \n"_s)
                     && guion.cajas().first().texto.contains(u"Periodo bloqueado"_s),
                 qPrintable(guion.cajas().first().texto));
        QCOMPARE(guion.cajas().first().titulo, u"Error"_s);
        QVERIFY(c->tabla().isEmpty());
    }

    // A key that doesn't exist keeps the text selected; the picker moves mClientes,
    // a typed key does not.
    void caminosDelCliente()
    {
        auto f = abre<Tfrep_PorCliente>();
        lartest::GuionMensajes guion;
        teclea(f->txtCliente, u"NO-EXISTE"_s);
        QCOMPARE(guion.textos(), QStringList{u"La clave no existe."_s});
        QCOMPARE(guion.cajas().first().titulo, u"Aviso"_s);
        QCOMPARE(f->txtCliente->selectedText(), u"NO-EXISTE"_s);
        QCOMPARE(f->ClienteId, 0);

        // The picker, answered on the row of Beta.
        lartest::alAparecer<TFLista>([](TFLista *l) {
            auto *busca = l->findChild<QLineEdit *>(u"Busca"_s);
            QTest::keyClicks(busca, u"REPORTE BETA"_s);
            l->findChild<QPushButton *>(u"Aceptar"_s)->click();
        });
        f->bCliente->click();
        QCOMPARE(f->ClienteId, beta);
        QCOMPARE(f->txtCliente->text(), u"REPORTE BETA"_s);
        QCOMPARE(f->ClaveCliente, u"RPB-2"_s);
        QCOMPARE(f->clientes().fieldByName(u"ID"_s).asInteger(), beta);

        teclea(f->txtCliente, u"RPA-1"_s);
        QCOMPARE(f->ClienteId, alfa);
        QCOMPARE(f->txtCliente->text(), u"REPORTE ALFA ÑANDÚ"_s);
        QCOMPARE(f->clientes().fieldByName(u"ID"_s).asInteger(), beta);

        // Read-only: neither road changes the customer.
        f->txtCliente->setReadOnly(true);
        guion.limpia();
        teclea(f->txtCliente, u"RPB-2"_s);
        QCOMPARE(f->ClienteId, alfa);
        QVERIFY(guion.cajas().isEmpty());
    }

    // Best sellers: up to 100 rows from each source, point of sale first, cancelled
    // sales counted; with and without a customer; the two empty messages.
    void articulos()
    {
        fuentes(true, true);
        lartest::GuionMensajes guion;
        auto f = carga<Tfrep_PorArticulo>(u"RPA-1"_s);
        MemTable &t = f->tabla();
        const QStringList sistemas = columna(t, u"Sistema"_s);
        QCOMPARE(sistemas.count(u"Punto de venta"_s), 100);
        QCOMPARE(sistemas.count(u"Ventas"_s), 2);
        QCOMPARE(sistemas.indexOf(u"Ventas"_s), 100);
        // The cancelled sale's 500 units put the last article first.
        QCOMPARE(t.valueAt(0, t.fieldIndex(u"ID"_s)).toInt(), m_articulos.at(104));
        QCOMPARE(t.valueAt(0, t.fieldIndex(u"CANTIDAD"_s)).toInt(), 501);
        QCOMPARE(t.valueAt(1, t.fieldIndex(u"CANTIDAD"_s)).toInt(), 105);
        QCOMPARE(t.valueAt(100, t.fieldIndex(u"CANTIDAD"_s)).toInt(), 3);
        QVERIFY(guion.cajas().isEmpty());
        QVERIFY(f->btnImprimir->isEnabled());

        // Everybody's sales: still at most 100 a source, the period's alone.
        f->txtCliente->clear();
        f->Button1->click();
        QCOMPARE(columna(t, u"Sistema"_s).count(u"Punto de venta"_s), 100);

        fuentes(true, false);
        auto b = carga<Tfrep_PorArticulo>(u"RPB-2"_s);
        QVERIFY(b->tabla().isEmpty());
        QCOMPARE(guion.textos().last(), u"El Cliente no tiene movimientos."_s);
        QVERIFY(!b->btnImprimir->isEnabled());

        fuentes(false, false);
        auto n = abre<Tfrep_PorArticulo>();
        n->Button1->click();
        QCOMPARE(guion.textos().last(), u"No se encontraron movimientos."_s);
        n->btnImprimir->setEnabled(true);
        n->btnImprimir->click();
        QCOMPARE(guion.textos().last(), u"Es necesario seleccionar un cliente."_s);
        n->btnExportar->click();
        QCOMPARE(guion.textos().last(), u"Debe seleccionar un cliente y actualizar."_s);
    }

    // The rights: print with bit 2, export with bit 4; the search exports with both
    // of its bits. Every control is reachable by keyboard and named.
    void derechosYTeclado()
    {
        auto f = abre<Tfrep_PorCliente>(1 | 4);
        QVERIFY(!f->btnImprimir->isEnabled());
        QVERIFY(f->btnExportar->isEnabled());
        LAR_VERIFICA_ACCESIBLE(f.get());
        auto a = abre<Tfrep_PorArticulo>(1 | 2);
        QVERIFY(a->btnImprimir->isEnabled());
        QVERIFY(!a->btnExportar->isEnabled());
        LAR_VERIFICA_ACCESIBLE(a.get());
        QVERIFY(!abre<Tfrep_PorBusqueda>(2)->btnExportar->isEnabled());
        auto b = abre<Tfrep_PorBusqueda>(3);
        QVERIFY(b->btnExportar->isEnabled());
        LAR_VERIFICA_ACCESIBLE(b.get());
    }

    // The typed key, then print: the form gets the row of mClientes, not the
    // customer shown. Both reports reach the printer with their rows.
    void imprime()
    {
        if (qEnvironmentVariableIsEmpty("CUPS_SERVER"))
            QSKIP(lartest::kSinCups);
        fuentes(true, true);
        // mClientes on Beta before the load, which doesn't move it.
        auto f = abre<Tfrep_PorCliente>();
        f->dtpFechaI->setDate(inicio);
        f->dtpFechaF->setDate(fin);
        QVERIFY(f->clientes().locate(u"ID"_s, beta));
        teclea(f->txtCliente, u"RPA-1"_s);
        f->Button1->click();

        auto imprimeUno = [](QPushButton *boton) {
            const QMap<int, QStringList> antes = lartest::trabajosCola();
            lartest::alAparecer<TfImprimirForma>(
                [](TfImprimirForma *d) { d->findChild<QPushButton *>(u"bPrint"_s)->click(); });
            boton->click();
            const QList<int> nuevos = lartest::esperaTrabajos(antes, 1);
            return nuevos.size() == 1 ? lartest::textoPdf(lartest::datosTrabajo(nuevos[0]))
                                      : QString();
        };
        QString texto = imprimeUno(f->btnImprimir);
        QVERIFY2(texto.contains(u"REPORTE BETA"_s) && texto.contains(m_veBeta.folio),
                 qPrintable(texto));
        QVERIFY(!texto.contains(u"REPORTE ALFA"_s));

        RecuerdaForma(*m_s, u"LarvenosPV"_s, u"Puntos"_s, u"REP_ARTICULOS"_s);
        auto a = carga<Tfrep_PorArticulo>(u"RPA-1"_s);
        const QString nombre = fila(u"select nombre from articulos where articulo_id = %1"_s.arg(
                                        m_articulos.at(104)))
                                   .value(0)
                                   .toString();
        texto = imprimeUno(a->btnImprimir);
        QVERIFY2(texto.contains(nombre), qPrintable(texto));
    }

    // Each grid to .xls: captions, then the rows with their types and formats.
    void exporta()
    {
        fuentes(true, true);
        lartest::GuionShell shell;
        lartest::GuionMensajes guion;
        auto f = carga<Tfrep_PorCliente>(u"RPA-1"_s);
        const QString compras = lartest::tempPath(u"compras.xls"_s);
        lartest::eligeEnDialogo(compras);
        f->btnExportar->click();
        QVERIFY(guion.cajas().isEmpty());
        QMap<QString, QJsonArray> c = celdas(compras);
        if (c.isEmpty())
            QSKIP("python3-xlrd no está instalado");
        QCOMPARE(c.value(u"0,0"_s).at(1).toString(), u"Folio "_s);
        QCOMPARE(c.value(u"1,0"_s).at(1).toString(), m_pvFin.folio);
        QCOMPARE(c.value(u"1,1"_s).at(0).toInt(), 3); // a date
        QCOMPARE(c.value(u"1,2"_s).at(0).toInt(), 2); // a number
        QCOMPARE(c.value(u"1,2"_s).at(1).toDouble(),
                 (m_pvFin.importeNeto + m_pvFin.totalImpuestos).toDouble());
        QCOMPARE(c.value(u"1,2"_s).at(2).toString(), u"#,0.00;-#,0.00"_s);
        QCOMPARE(c.value(u"2,3"_s).at(1).toString(), u"Ventas"_s);
        QCOMPARE(shell.aperturas().size(), 1);
    }

    // The address search: the LEFT join keeps only customers with an address; words
    // on the city, the colonia or the name, highlighted in that column; the keys
    // of the box; export.
    void busqueda()
    {
        lartest::GuionMensajes guion;
        auto f = abre<Tfrep_PorBusqueda>();
        f->btnExportar->click();
        QCOMPARE(guion.textos(), QStringList{u"Debe teclear el nombre a buscar y actualizar."_s});
        f->BitBtn1->click();
        MemTable &t = f->tabla();
        QVERIFY(t.recordCount() > 1);
        const QStringList nombres = columna(t, u"Nombre"_s);
        QVERIFY(nombres.contains(u"REPORTE ALFA ÑANDÚ"_s));
        QVERIFY(!nombres.contains(u"REPORTE BETA"_s));

        f->rCiudad->click();
        // Typed text is Latin-1 to the test keyboard: the accented word goes in whole.
        f->vBusca->setText(u"enríq xal"_s);
        QCOMPARE(columna(t, u"Nombre"_s), QStringList{u"REPORTE ALFA ÑANDÚ"_s});
        QCOMPARE(t.fieldByName(u"Colonia"_s).asString(), u"Los Pinos Altos"_s);
        QCOMPARE(t.fieldByName(u"Telefono"_s).asString(), u"228 555 0101"_s);
        QCOMPARE(f->pintor().field(), int(Tfrep_PorBusqueda::fCiudad));
        QCOMPARE(f->pintor().words(), (QStringList{u"ENRÍQ"_s, u"XAL"_s}));

        // The same words on the name find nobody; on the colonia, its words do.
        f->rNombre->click();
        QVERIFY(t.isEmpty());
        QTest::keyClick(f->vBusca, Qt::Key_Escape);
        QVERIFY(f->vBusca->text().isEmpty());
        QCOMPARE(t.recordCount(), nombres.size());
        f->rColonia->click();
        QTest::keyClicks(f->vBusca, u"altos pinos"_s);
        QCOMPARE(columna(t, u"Nombre"_s), QStringList{u"REPORTE ALFA ÑANDÚ"_s});
        QCOMPARE(t.indexName(), u"Colonia"_s);

        lartest::GuionShell shell;
        const QString ruta = lartest::tempPath(u"busqueda.xls"_s);
        lartest::eligeEnDialogo(ruta);
        f->btnExportar->click();
        const QMap<QString, QJsonArray> c = celdas(ruta);
        if (c.isEmpty())
            QSKIP("python3-xlrd no está instalado");
        QCOMPARE(c.value(u"0,1"_s).at(1).toString(), u"Telefono"_s);
        QCOMPARE(c.value(u"1,0"_s).at(1).toString(), u"REPORTE ALFA ÑANDÚ"_s);
        QCOMPARE(c.value(u"1,4"_s).at(1).toString(), u"Xalapa Enríquez"_s);
        QVERIFY(!c.contains(u"2,0"_s));
    }
};

LAR_TEST_MAIN(TestRepPantallas)
#include "tst_rep_pantallas.moc"
