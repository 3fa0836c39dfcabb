#include "../reports/ayudareportes.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "lectorfreexl.h"
#include "support/sqlprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"
#include "toolkit/reporte/funciones.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"
#include "toolkit/reporte/xlsreport.h"

using namespace Qt::StringLiterals;
using namespace lar::reporte;
using lartest::textosDe;

namespace {

// Letter paper, 6.35 mm margins: the flow runs from 6.35 to 279.401 - 6.35 - 10
// (the page footer) = 263.051 mm.
constexpr double kFondo = 263.051;

const char kListado[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<reporte nombre="Listado" vistaDetalle="Lineas">
  <vista nombre="Lineas"/>
  <banda tipo="titulo" alto="20">
    <texto x="0" y="0" ancho="200" alto="10" puntos="14" negrita="si">Listado de puntos</texto>
  </banda>
  <banda tipo="encabezadoPagina" alto="10">
    <texto nombre="cabecera" x="0" y="0" ancho="60" alto="5">Cliente</texto>
  </banda>
  <banda tipo="encabezadoGrupo" grupo="GRUPO" alto="8">
    <campo nombre="grupo" x="0" y="0" ancho="60" alto="5">GRUPO</campo>
  </banda>
  <banda tipo="detalle" alto="5">
    <campo nombre="nombre" x="0" y="0" ancho="60" alto="5">NOMBRE</campo>
    <campo nombre="puntos" x="100" y="0" ancho="20" alto="5" formato="#,0" alinea="derecha">PUNTOS</campo>
    <campo nombre="importe" x="130" y="0" ancho="30" alto="5" formato="#,0.00">Lineas.IMPORTE</campo>
  </banda>
  <banda tipo="pieGrupo" grupo="GRUPO" alto="8">
    <campo nombre="pieGrupo" x="0" y="0" ancho="60" alto="5">GRUPO</campo>
    <total nombre="sumaGrupo" x="100" y="0" ancho="20" alto="5" formato="#,0">PUNTOS</total>
    <total nombre="cuentaGrupo" funcion="cuenta" x="130" y="0" ancho="20" alto="5">PUNTOS</total>
  </banda>
  <banda tipo="resumen" alto="10">
    <total nombre="sumaTotal" x="100" y="0" ancho="20" alto="5" formato="#,0">PUNTOS</total>
    <total nombre="importeTotal" x="130" y="0" ancho="30" alto="5" formato="#,0.00">IMPORTE</total>
  </banda>
  <banda tipo="piePagina" alto="10">
    <total nombre="sumaPagina" x="100" y="0" ancho="20" alto="5" formato="0">PUNTOS</total>
    <numPagina nombre="pagina" x="150" y="0" ancho="50" alto="5">Página %1 de %2</numPagina>
  </banda>
</reporte>
)";

QStringList textosDe(const Hoja &h, const QString &elemento)
{
    QStringList t;
    for (const Primitiva &p : h.primitivas) {
        if (p.elemento == elemento)
            t << p.texto;
    }
    return t;
}

// Groups A, B and C of 30, 40 and 50 rows; PUNTOS is the row number.
void llenaLineas(lar::MemTable &t)
{
    t.addField(u"GRUPO"_s, lar::FieldType::String, 10);
    t.addField(u"NOMBRE"_s, lar::FieldType::String, 40);
    t.addField(u"PUNTOS"_s, lar::FieldType::Integer);
    t.addField(u"IMPORTE"_s, lar::FieldType::Currency, 2);
    t.open();
    int n = 0;
    const QList<std::pair<QString, int>> grupos{{u"A"_s, 30}, {u"B"_s, 40}, {u"C"_s, 50}};
    for (const auto &[g, filas] : grupos) {
        for (int i = 0; i < filas; ++i) {
            ++n;
            t.append();
            t[u"GRUPO"_s] = g;
            t[u"NOMBRE"_s] = u"Cliente %1"_s.arg(n);
            t[u"PUNTOS"_s] = n;
            t[u"IMPORTE"_s] = n * 10.25;
            t.post();
        }
    }
}

} // namespace

class TestReporte : public QObject
{
    Q_OBJECT

private slots:
    void paginasBandasYTotales()
    {
        lar::MemTable lineas;
        llenaLineas(lineas);
        Reporte r;
        QString error;
        QVERIFY2(r.cargaTexto(QByteArray(kListado), &error), qPrintable(error));
        r.setCursor(u"Lineas"_s, std::make_unique<CursorMemTable>(&lineas));
        QVERIFY2(r.genera(&error), qPrintable(error));
        const Documento &d = r.documento();

        // 3 groups of 8 + 8 mm and 120 rows of 5 mm spill over three pages.
        QCOMPARE(d.hojas.size(), 3);
        QCOMPARE(d.hojas[0].tamano, QSizeF(215.9, 279.401));

        // Page 1: title, page header, first group header, first row, in that order.
        const QList<BandaColocada> &b1 = d.hojas[0].bandas;
        QCOMPARE(b1[0].tipo, TipoBanda::Titulo);
        QCOMPARE(b1[0].y, 6.35);
        QCOMPARE(b1[1].tipo, TipoBanda::EncabezadoPagina);
        QCOMPARE(b1[1].y, 26.35);
        QCOMPARE(b1[2].tipo, TipoBanda::EncabezadoGrupo);
        QCOMPARE(b1[3].tipo, TipoBanda::Detalle);
        QCOMPARE(b1[3].y, 44.35);

        int detalles = 0;
        for (int i = 0; i < d.hojas.size(); ++i) {
            const Hoja &h = d.hojas[i];
            // The page header repeats at the top of every page, the title only on the
            // first; the footer sits at the bottom; nothing else crosses into it.
            QCOMPARE(h.bandas.first().tipo,
                     i == 0 ? TipoBanda::Titulo : TipoBanda::EncabezadoPagina);
            QCOMPARE(textosDe(h, u"cabecera"_s), QStringList{u"Cliente"_s});
            QCOMPARE(h.bandas.last().tipo, TipoBanda::PiePagina);
            QVERIFY(qAbs(h.bandas.last().y - kFondo) < 1e-6);
            double y = 0;
            int sumaPagina = 0;
            for (int k = 0; k + 1 < h.bandas.size(); ++k) {
                const BandaColocada &bc = h.bandas[k];
                QVERIFY2(bc.y >= y - 1e-9, "bands overlap");
                QVERIFY2(bc.y + bc.alto <= kFondo + 1e-6, "a band crosses the page footer");
                y = bc.y + bc.alto;
                if (bc.tipo == TipoBanda::Detalle)
                    ++detalles;
            }
            for (QString p : textosDe(h, u"puntos"_s))
                sumaPagina += p.remove(u',').toInt();
            QCOMPARE(textosDe(h, u"sumaPagina"_s), QStringList{QString::number(sumaPagina)});
            QCOMPARE(textosDe(h, u"pagina"_s), QStringList{u"Página %1 de 3"_s.arg(i + 1)});
        }
        QCOMPARE(detalles, 120);
        // The last page is full enough that it isn't a lone summary.
        QVERIFY(d.hojas[2].bandas.size() > 10);

        // Group footers read the group's last row and their own sums.
        QCOMPARE(textosDe(d, u"grupo"_s), (QStringList{u"A"_s, u"B"_s, u"C"_s}));
        QCOMPARE(textosDe(d, u"pieGrupo"_s), (QStringList{u"A"_s, u"B"_s, u"C"_s}));
        // 1..30 = 465, 31..70 = 2,020, 71..120 = 4,775.
        QCOMPARE(textosDe(d, u"sumaGrupo"_s), (QStringList{u"465"_s, u"2,020"_s, u"4,775"_s}));
        QCOMPARE(textosDe(d, u"cuentaGrupo"_s), (QStringList{u"30"_s, u"40"_s, u"50"_s}));
        QCOMPARE(textosDe(d, u"sumaTotal"_s), QStringList{u"7,260"_s});
        QCOMPARE(textosDe(d, u"importeTotal"_s), QStringList{u"74,415.00"_s});
        QCOMPARE(textosDe(d, u"importe"_s).at(2), u"30.75"_s);
        // Primitives sit where their band landed, inside the left margin.
        const Primitiva &primera = d.hojas[0].primitivas.at(0);
        QCOMPARE(primera.rect, QRectF(6.35, 6.35, 200, 10));
        QCOMPARE(primera.negrita, true);

        // Regenerating gives the same pages (the preview regenerates).
        QVERIFY(r.genera(&error));
        QCOMPARE(r.documento().hojas.size(), 3);

        // The PDF carries the text of every page.
        const QString pdf = lartest::tempPath(u"listado.pdf"_s);
        QVERIFY2(escribePdf(r.documento(), pdf, &error), qPrintable(error));
        const QString texto = lartest::textoPdf(pdf);
        QVERIFY(texto.contains(u"Listado de puntos"_s));
        QVERIFY(texto.contains(u"Cliente 120"_s));
        QVERIFY(texto.contains(u"Página 3 de 3"_s));
        QCOMPARE(texto.count(u'\f'), 3);
        QVERIFY(!escribePdf(r.documento(), u"/nonexistent/x.pdf"_s, &error));
        QVERIFY(error.startsWith(u"No fue posible crear el archivo"_s));

        // The spreadsheet device: a row per line of text, a column per left edge,
        // numbers as numbers with their format.
        const QString xls = lartest::tempPath(u"listado.xls"_s);
        QVERIFY2(escribeXls(r.documento(), xls, &error), qPrintable(error));
        lartest::LibroFreexl x(xls);
        QVERIFY(x.h && x.hoja(0));
        unsigned filas = 0;
        unsigned short cols = 0;
        freexl_worksheet_dimensions(x.h, &filas, &cols);
        // Per page: its lines of text; page 1 also the title.
        QCOMPARE(cols, 4); // left edges at 0, 100, 130 and 150 mm
        QCOMPARE(x.texto(0, 0), u"Listado de puntos"_s);
        QCOMPARE(x.texto(1, 0), u"Cliente"_s);
        QCOMPARE(x.texto(2, 0), u"A"_s);
        QCOMPARE(x.texto(3, 0), u"Cliente 1"_s);
        QCOMPARE(x.numero(3, 1), 1.0);
        QCOMPARE(x.numero(5, 2), 30.75);
        // Every text line of every page is a row.
        int renglones = 0;
        for (const Hoja &hoja : r.documento().hojas) {
            QSet<int> ys;
            for (const Primitiva &p : hoja.primitivas) {
                if (p.tipo == Primitiva::Tipo::Texto && !p.texto.isEmpty())
                    ys.insert(qRound(p.rect.top() * 10));
            }
            renglones += int(ys.size());
        }
        QCOMPARE(int(filas), renglones);
        QCOMPARE(formatoFechaExcel(u"dd/MM/yyyy hh:mm"_s), u"dd/mm/yyyy hh:mm"_s);
    }

    // Scripts: a registered function with var arguments called from the template's
    // script, band and element events, expressions, and the errors they raise.
    void scripts()
    {
        FuncionScript f;
        f.nombre = u"Desglosa"_s;
        f.categoria = u"Pruebas"_s;
        f.firma
            = u"function Desglosa(Texto: string; var Antes, Despues: string; Fijo: string): Boolean;"_s;
        f.ejecuta = [](QVariantList &a, QVariant &resultado) {
            const QString t = a[0].toString();
            a[1] = t.section(u'/', 0, 0);
            a[2] = t.section(u'/', 1);
            a[3] = u"perdido"_s;
            resultado = t.contains(u'/');
        };
        QCOMPARE(f.argumentosVar(), (QList<int>{1, 2}));
        FuncionesScript::registra(f);
        // A function that makes a picture, as a QR code function does.
        FuncionesScript::registra({u"Cuadro"_s,
                                   u"Pruebas"_s,
                                   u"function Cuadro(Lado: Integer): TBitmap;"_s,
                                   [](QVariantList &a, QVariant &r) {
                                       QImage img(a[0].toInt(), a[0].toInt(), QImage::Format_RGB32);
                                       img.fill(Qt::red);
                                       r = img;
                                   }});
        QVERIFY(FuncionesScript::busca(u"desglosa"_s));

        lar::MemTable t;
        t.addField(u"TEXTO"_s, lar::FieldType::String, 40);
        t.addField(u"PTS"_s, lar::FieldType::Integer);
        t.open();
        for (int i = 1; i <= 4; ++i) {
            t.append();
            t[u"TEXTO"_s] = u"PESOS %1/M.N."_s.arg(i);
            t[u"PTS"_s] = i * 100;
            t.post();
        }
        const QByteArray texto = R"(<reporte alIniciar="inicia">
          <vista nombre="V"/>
          <script><![CDATA[
            var llamadas = 0, fijo = {value: 'fijo'};
            function inicia() { llamadas = 0; }
            function detalle(b) { b.visible = Campo('PTS') != 300; }
            function parte(e) {
              var antes = {value: ''}, despues = {value: 'x'};
              var ok = Desglosa(Campo('TEXTO'), antes, despues, fijo);
              e.texto = antes.value + '|' + despues.value + '|' + ok + '|' + fijo.value;
              ++llamadas;
            }
            function fin(e) { e.texto = 'Filas: ' + llamadas + ', página ' + Reporte.pagina; }
            function cuadro(e) { e.imagen = Cuadro(12); }
          ]]></script>
          <banda tipo="detalle" alto="5" alImprimir="detalle">
            <texto nombre="parte" x="0" y="0" ancho="50" alto="5" alImprimir="parte"/>
            <expresion nombre="doble" x="60" y="0" ancho="20" alto="5" formato="#,0">Campo('PTS') * 2 + Parametro('extra')</expresion>
          </banda>
          <banda tipo="resumen" alto="5"><texto nombre="fin" x="0" y="0" ancho="50" alto="5" alImprimir="fin"/>
            <imagen nombre="qr" x="60" y="0" ancho="20" alto="20" alImprimir="cuadro"/></banda>
        </reporte>)";
        Reporte r;
        QString error;
        QVERIFY2(r.cargaTexto(texto, &error), qPrintable(error));
        r.setCursor(u"V"_s, std::make_unique<CursorMemTable>(&t));
        r.setParametro(u"extra"_s, 1);
        QVERIFY2(r.genera(&error), qPrintable(error));
        const Documento &d = r.documento();
        // The band hidden by its event (PTS 300) takes no room.
        QCOMPARE(d.hojas[0].bandas.size(), 4);
        QCOMPARE(d.hojas[0].bandas[3].tipo, TipoBanda::Resumen);
        QCOMPARE(d.hojas[0].bandas[3].y, 6.35 + 15);
        QCOMPARE(textosDe(d, u"parte"_s),
                 (QStringList{u"PESOS 1|M.N.|true|fijo"_s,
                              u"PESOS 2|M.N.|true|fijo"_s,
                              u"PESOS 4|M.N.|true|fijo"_s}));
        QCOMPARE(textosDe(d, u"doble"_s), (QStringList{u"201"_s, u"401"_s, u"801"_s}));
        QCOMPARE(textosDe(d, u"fin"_s), QStringList{u"Filas: 3, página 1"_s});
        const Primitiva &qr = d.hojas[0].primitivas.last();
        QCOMPARE(qr.elemento, u"qr"_s);
        QCOMPARE(qr.imagen.size(), QSize(12, 12));
        QCOMPARE(qr.imagen.pixelColor(0, 0), QColor(Qt::red));

        // Removed by name, the function is gone from the next run.
        QVERIFY(FuncionesScript::quita(u"Cuadro"_s));
        QVERIFY(FuncionesScript::quita(u"Desglosa"_s));
        QVERIFY(!FuncionesScript::quita(u"Desglosa"_s));
        QVERIFY(!r.genera(&error));
        QVERIFY2(error.startsWith(u"Error en el script del reporte"_s), qPrintable(error));
        QVERIFY(error.contains(u"Desglosa"_s));

        r.plantilla().bandas[0].alImprimir = u"noExiste"_s;
        QVERIFY(!r.genera(&error));
        QCOMPARE(error, u"El script del reporte no tiene la función \"noExiste\"."_s);
    }

    void emptyReportAndBadTemplates()
    {
        Reporte vacio;
        QCOMPARE(vacio.dispositivo(), Dispositivo::Pdf);

        QString error;
        Reporte r;
        QVERIFY(!r.cargaTexto(QByteArray("<reporte><banda tipo=\"detalle\"></reporte>"), &error));
        QVERIFY(error.startsWith(u"La plantilla no es un documento válido"_s));
        QVERIFY(!r.cargaTexto(QByteArray("<reporte><banda tipo=\"cuerpo\"/></reporte>"), &error));
        QCOMPARE(error, u"Tipo de banda desconocido: \"cuerpo\"."_s);
        QVERIFY(!r.cargaTexto(
            QByteArray("<reporte><banda tipo=\"pieGrupo\" alto=\"5\"/></reporte>"), &error));
        QVERIFY(r.cargaTexto(
            QByteArray(
                R"(<reporte><vista nombre="V"><sql>select 1 as X from rdb$database</sql></vista>
            <banda tipo="detalle" alto="5"><campo x="0" y="0" ancho="9" alto="5">NOPE</campo></banda></reporte>)"),
            &error));
        QVERIFY(!r.genera(&error));
        QCOMPARE(error, u"El reporte no tiene base de datos."_s);
        lar::MemTable t;
        t.addField(u"X"_s, lar::FieldType::Integer);
        t.open();
        t.append();
        t[u"X"_s] = 1;
        t.post();
        r.setCursor(u"v"_s, std::make_unique<CursorMemTable>(&t));
        QVERIFY(!r.genera(&error));
        QCOMPARE(error, u"El campo \"NOPE\" no existe en los datos del reporte."_s);
    }

    // Views read from Firebird: the detail's rows through the main SQL with its
    // parameter bound, a one-row query of another view for the header, and the
    // list of SQL texts with their parameters.
    void vistasDeFirebird()
    {
        fb::Database db;
        lartest::createDatabase(db, lartest::tempPath(u"reporte.fdb"_s));
        lartest::ejecuta(db,
                         u"create table mov (doc integer, art varchar(30), "
                         u"pts numeric(15,2), fecha date)"_s);
        for (const QVariantList &f :
             QList<QVariantList>{{7, u"Café molido"_s, 12.5, QDate(2026, 3, 1)},
                                 {7, u"Azúcar"_s, 3, QDate(2026, 3, 2)},
                                 {8, u"Otro"_s, 99, QDate(2026, 3, 3)}})
            lartest::ejecuta(db, u"insert into mov values (?, ?, ?, ?)"_s, f);
        const QByteArray texto = R"(<reporte>
          <vista nombre="Encabezado">
            <consulta nombre="Cuenta">select count(*) as N from mov where doc = :DOCTO_ID</consulta>
            <sql>select 'Tienda ' || cast(:DOCTO_ID as varchar(10)) as TITULO from rdb$database</sql>
          </vista>
          <vista nombre="Lineas"><sql>select art, pts, fecha from mov where doc = :DOCTO_ID order by fecha</sql></vista>
          <banda tipo="titulo" alto="10">
            <campo nombre="titulo" x="0" y="0" ancho="90" alto="5">TITULO</campo>
            <campo nombre="n" x="100" y="0" ancho="20" alto="5">Cuenta.N</campo>
          </banda>
          <banda tipo="detalle" alto="5">
            <campo nombre="art" x="0" y="0" ancho="50" alto="5">ART</campo>
            <campo nombre="pts" x="60" y="0" ancho="20" alto="5" formato="#,0.00">PTS</campo>
            <campo nombre="fecha" x="90" y="0" ancho="20" alto="5">FECHA</campo>
          </banda>
          <banda tipo="resumen" alto="5"><total nombre="suma" x="60" y="0" ancho="20" alto="5" formato="0.0">PTS</total></banda>
        </reporte>)";
        Reporte r;
        QString error;
        QVERIFY2(r.cargaTexto(texto, &error), qPrintable(error));
        // Without vistaDetalle the first view drives the detail; here we want the lines.
        r.plantilla().vistaDetalle = u"Lineas"_s;
        const QList<TextoSql *> sqls = r.plantilla().textosSql();
        QCOMPARE(sqls.size(), 3);
        QCOMPARE(sqls[0]->nombre, u"Cuenta"_s);
        QCOMPARE(sqls[0]->parametros(), QStringList{u"DOCTO_ID"_s});
        QCOMPARE(sqls[2]->nombre, u"Lineas"_s);
        r.setBaseDatos(&db);
        r.setParametro(u"docto_id"_s, 7);
        QVERIFY2(r.genera(&error), qPrintable(error));
        const Documento &d = r.documento();
        QCOMPARE(d.hojas.size(), 1);
        QCOMPARE(textosDe(d, u"titulo"_s), QStringList{u"Tienda 7"_s});
        QCOMPARE(textosDe(d, u"n"_s), QStringList{u"2"_s});
        QCOMPARE(textosDe(d, u"art"_s), (QStringList{u"Café molido"_s, u"Azúcar"_s}));
        QCOMPARE(textosDe(d, u"pts"_s), (QStringList{u"12.50"_s, u"3.00"_s}));
        QCOMPARE(textosDe(d, u"fecha"_s).at(1), u"02/03/2026"_s);
        QCOMPARE(textosDe(d, u"suma"_s), QStringList{u"15.5"_s});

        // A failing statement surfaces as the data layer's error.
        sqls[2]->sql = u"select nope from mov"_s;
        QVERIFY(!r.genera(&error));
        QVERIFY(error.contains(u"NOPE"_s, Qt::CaseInsensitive));
    }
};

LAR_TEST_MAIN(TestReporte)
#include "tst_reporte.moc"
