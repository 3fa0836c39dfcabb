#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"
#include "toolkit/reporte/funciones.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"
#include "toolkit/reporte/xlsreport.h"

#include <freexl.h>

#include <QProcess>
#include <QTest>

using namespace lar::reporte;

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

QStringList textosDe(const Documento &d, const QString &elemento)
{
    QStringList t;
    for (const Hoja &h : d.hojas)
        t << textosDe(h, elemento);
    return t;
}

// Groups A, B and C of 30, 40 and 50 rows; PUNTOS is the row number.
void llenaLineas(lar::MemTable &t)
{
    t.addField(QStringLiteral("GRUPO"), lar::FieldType::String, 10);
    t.addField(QStringLiteral("NOMBRE"), lar::FieldType::String, 40);
    t.addField(QStringLiteral("PUNTOS"), lar::FieldType::Integer);
    t.addField(QStringLiteral("IMPORTE"), lar::FieldType::Currency, 2);
    t.open();
    int n = 0;
    const QList<std::pair<QString, int>> grupos{
        {QStringLiteral("A"), 30}, {QStringLiteral("B"), 40}, {QStringLiteral("C"), 50}};
    for (const auto &[g, filas] : grupos) {
        for (int i = 0; i < filas; ++i) {
            ++n;
            t.append();
            t[QStringLiteral("GRUPO")] = g;
            t[QStringLiteral("NOMBRE")] = QStringLiteral("Cliente %1").arg(n);
            t[QStringLiteral("PUNTOS")] = n;
            t[QStringLiteral("IMPORTE")] = n * 10.25;
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
        r.setCursor(QStringLiteral("Lineas"), std::make_unique<CursorMemTable>(&lineas));
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
            QCOMPARE(textosDe(h, QStringLiteral("cabecera")),
                     QStringList{QStringLiteral("Cliente")});
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
            for (QString p : textosDe(h, QStringLiteral("puntos")))
                sumaPagina += p.remove(u',').toInt();
            QCOMPARE(textosDe(h, QStringLiteral("sumaPagina")),
                     QStringList{QString::number(sumaPagina)});
            QCOMPARE(textosDe(h, QStringLiteral("pagina")),
                     QStringList{QStringLiteral("Página %1 de 3").arg(i + 1)});
        }
        QCOMPARE(detalles, 120);
        // The last page is full enough that it isn't a lone summary.
        QVERIFY(d.hojas[2].bandas.size() > 10);

        // Group footers read the group's last row and their own sums.
        QCOMPARE(textosDe(d, QStringLiteral("grupo")),
                 (QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")}));
        QCOMPARE(textosDe(d, QStringLiteral("pieGrupo")),
                 (QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")}));
        // 1..30 = 465, 31..70 = 2,020, 71..120 = 4,775.
        QCOMPARE(
            textosDe(d, QStringLiteral("sumaGrupo")),
            (QStringList{QStringLiteral("465"), QStringLiteral("2,020"), QStringLiteral("4,775")}));
        QCOMPARE(textosDe(d, QStringLiteral("cuentaGrupo")),
                 (QStringList{QStringLiteral("30"), QStringLiteral("40"), QStringLiteral("50")}));
        QCOMPARE(textosDe(d, QStringLiteral("sumaTotal")), QStringList{QStringLiteral("7,260")});
        QCOMPARE(textosDe(d, QStringLiteral("importeTotal")),
                 QStringList{QStringLiteral("74,415.00")});
        QCOMPARE(textosDe(d, QStringLiteral("importe")).at(2), QStringLiteral("30.75"));
        // Primitives sit where their band landed, inside the left margin.
        const Primitiva &primera = d.hojas[0].primitivas.at(0);
        QCOMPARE(primera.rect, QRectF(6.35, 6.35, 200, 10));
        QCOMPARE(primera.negrita, true);

        // Regenerating gives the same pages (the preview regenerates).
        QVERIFY(r.genera(&error));
        QCOMPARE(r.documento().hojas.size(), 3);

        // The PDF carries the text of every page.
        const QString pdf = lartest::tempPath(QStringLiteral("listado.pdf"));
        QVERIFY2(escribePdf(r.documento(), pdf, &error), qPrintable(error));
        QProcess p;
        p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
        QVERIFY(p.waitForFinished(30000));
        const QString texto = QString::fromUtf8(p.readAllStandardOutput());
        QVERIFY(texto.contains(QStringLiteral("Listado de puntos")));
        QVERIFY(texto.contains(QStringLiteral("Cliente 120")));
        QVERIFY(texto.contains(QStringLiteral("Página 3 de 3")));
        QCOMPARE(texto.count(u'\f'), 3);
        QVERIFY(!escribePdf(r.documento(), QStringLiteral("/nonexistent/x.pdf"), &error));
        QVERIFY(error.startsWith(QStringLiteral("No fue posible crear el archivo")));

        // The spreadsheet device: a row per line of text, a column per left edge,
        // numbers as numbers with their format.
        const QString xls = lartest::tempPath(QStringLiteral("listado.xls"));
        QVERIFY2(escribeXls(r.documento(), xls, &error), qPrintable(error));
        const void *h = nullptr;
        QCOMPARE(freexl_open(QFile::encodeName(xls).constData(), &h), FREEXL_OK);
        QCOMPARE(freexl_select_active_worksheet(h, 0), FREEXL_OK);
        unsigned filas = 0;
        unsigned short cols = 0;
        freexl_worksheet_dimensions(h, &filas, &cols);
        // Per page: its lines of text; page 1 also the title.
        QCOMPARE(cols, 4); // left edges at 0, 100, 130 and 150 mm
        auto celda = [&](unsigned f, unsigned short c) {
            FreeXL_CellValue v{};
            freexl_get_cell_value(h, f, c, &v);
            return v;
        };
        auto textoCelda = [&](unsigned f, unsigned short c) {
            const FreeXL_CellValue v = celda(f, c);
            return v.type == FREEXL_CELL_SST_TEXT ? QString::fromUtf8(v.value.text_value)
                                                  : QString();
        };
        QCOMPARE(textoCelda(0, 0), QStringLiteral("Listado de puntos"));
        QCOMPARE(textoCelda(1, 0), QStringLiteral("Cliente"));
        QCOMPARE(textoCelda(2, 0), QStringLiteral("A"));
        QCOMPARE(textoCelda(3, 0), QStringLiteral("Cliente 1"));
        auto numero = [&](unsigned f, unsigned short c) {
            const FreeXL_CellValue v = celda(f, c);
            return v.type == FREEXL_CELL_INT      ? double(v.value.int_value)
                   : v.type == FREEXL_CELL_DOUBLE ? v.value.double_value
                                                  : qQNaN();
        };
        QCOMPARE(numero(3, 1), 1.0);
        QCOMPARE(numero(5, 2), 30.75);
        QCOMPARE(textoCelda(5, 2), QString());
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
        freexl_close(h);
        QCOMPARE(formatoFechaExcel(QStringLiteral("dd/MM/yyyy hh:mm")),
                 QStringLiteral("dd/mm/yyyy hh:mm"));
    }

    // Scripts: a registered function with var arguments called from the template's
    // script, band and element events, expressions, and the errors they raise.
    void scripts()
    {
        FuncionScript f;
        f.nombre = QStringLiteral("Desglosa");
        f.categoria = QStringLiteral("Pruebas");
        f.firma = QStringLiteral(
            "function Desglosa(Texto: string; var Antes, Despues: string; Fijo: string): Boolean;");
        f.ejecuta = [](QVariantList &a, QVariant &resultado) {
            const QString t = a[0].toString();
            a[1] = t.section(u'/', 0, 0);
            a[2] = t.section(u'/', 1);
            a[3] = QStringLiteral("perdido");
            resultado = t.contains(u'/');
        };
        QCOMPARE(f.argumentosVar(), (QList<int>{1, 2}));
        FuncionesScript::registra(f);
        // A function that makes a picture, as a QR code function does.
        FuncionesScript::registra({QStringLiteral("Cuadro"),
                                   QStringLiteral("Pruebas"),
                                   QStringLiteral("function Cuadro(Lado: Integer): TBitmap;"),
                                   [](QVariantList &a, QVariant &r) {
                                       QImage img(a[0].toInt(), a[0].toInt(), QImage::Format_RGB32);
                                       img.fill(Qt::red);
                                       r = img;
                                   }});
        QVERIFY(FuncionesScript::busca(QStringLiteral("desglosa")));

        lar::MemTable t;
        t.addField(QStringLiteral("TEXTO"), lar::FieldType::String, 40);
        t.addField(QStringLiteral("PTS"), lar::FieldType::Integer);
        t.open();
        for (int i = 1; i <= 4; ++i) {
            t.append();
            t[QStringLiteral("TEXTO")] = QStringLiteral("PESOS %1/M.N.").arg(i);
            t[QStringLiteral("PTS")] = i * 100;
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
        r.setCursor(QStringLiteral("V"), std::make_unique<CursorMemTable>(&t));
        r.setParametro(QStringLiteral("extra"), 1);
        QVERIFY2(r.genera(&error), qPrintable(error));
        const Documento &d = r.documento();
        // The band hidden by its event (PTS 300) takes no room.
        QCOMPARE(d.hojas[0].bandas.size(), 4);
        QCOMPARE(d.hojas[0].bandas[3].tipo, TipoBanda::Resumen);
        QCOMPARE(d.hojas[0].bandas[3].y, 6.35 + 15);
        QCOMPARE(textosDe(d, QStringLiteral("parte")),
                 (QStringList{QStringLiteral("PESOS 1|M.N.|true|fijo"),
                              QStringLiteral("PESOS 2|M.N.|true|fijo"),
                              QStringLiteral("PESOS 4|M.N.|true|fijo")}));
        QCOMPARE(
            textosDe(d, QStringLiteral("doble")),
            (QStringList{QStringLiteral("201"), QStringLiteral("401"), QStringLiteral("801")}));
        QCOMPARE(textosDe(d, QStringLiteral("fin")),
                 QStringList{QStringLiteral("Filas: 3, página 1")});
        const Primitiva &qr = d.hojas[0].primitivas.last();
        QCOMPARE(qr.elemento, QStringLiteral("qr"));
        QCOMPARE(qr.imagen.size(), QSize(12, 12));
        QCOMPARE(qr.imagen.pixelColor(0, 0), QColor(Qt::red));

        // Removed by name, the function is gone from the next run.
        QVERIFY(FuncionesScript::quita(QStringLiteral("Cuadro")));
        QVERIFY(FuncionesScript::quita(QStringLiteral("Desglosa")));
        QVERIFY(!FuncionesScript::quita(QStringLiteral("Desglosa")));
        QVERIFY(!r.genera(&error));
        QVERIFY2(error.startsWith(QStringLiteral("Error en el script del reporte")),
                 qPrintable(error));
        QVERIFY(error.contains(QStringLiteral("Desglosa")));

        r.plantilla().bandas[0].alImprimir = QStringLiteral("noExiste");
        QVERIFY(!r.genera(&error));
        QCOMPARE(error, QStringLiteral("El script del reporte no tiene la función \"noExiste\"."));
    }

    void emptyReportAndBadTemplates()
    {
        Reporte vacio;
        QCOMPARE(vacio.plantilla().pagina.papel, QStringLiteral("Carta"));
        QCOMPARE(vacio.plantilla().pagina.alto, 279.401);
        QCOMPARE(vacio.plantilla().pagina.margenInf, 6.35);
        QCOMPARE(vacio.dispositivo(), Dispositivo::Pdf);

        QString error;
        Reporte r;
        QVERIFY(!r.cargaTexto(QByteArray("<reporte><banda tipo=\"detalle\"></reporte>"), &error));
        QVERIFY(error.startsWith(QStringLiteral("La plantilla no es un documento válido")));
        QVERIFY(!r.cargaTexto(QByteArray("<reporte><banda tipo=\"cuerpo\"/></reporte>"), &error));
        QCOMPARE(error, QStringLiteral("Tipo de banda desconocido: \"cuerpo\"."));
        QVERIFY(!r.cargaTexto(
            QByteArray("<reporte><banda tipo=\"pieGrupo\" alto=\"5\"/></reporte>"), &error));
        QVERIFY(r.cargaTexto(
            QByteArray(
                R"(<reporte><vista nombre="V"><sql>select 1 as X from rdb$database</sql></vista>
            <banda tipo="detalle" alto="5"><campo x="0" y="0" ancho="9" alto="5">NOPE</campo></banda></reporte>)"),
            &error));
        QVERIFY(!r.genera(&error));
        QCOMPARE(error, QStringLiteral("El reporte no tiene base de datos."));
        lar::MemTable t;
        t.addField(QStringLiteral("X"), lar::FieldType::Integer);
        t.open();
        t.append();
        t[QStringLiteral("X")] = 1;
        t.post();
        r.setCursor(QStringLiteral("v"), std::make_unique<CursorMemTable>(&t));
        QVERIFY(!r.genera(&error));
        QCOMPARE(error, QStringLiteral("El campo \"NOPE\" no existe en los datos del reporte."));
    }

    // Views read from Firebird: the detail's rows through the main SQL with its
    // parameter bound, a one-row query of another view for the header, and the
    // list of SQL texts with their parameters.
    void vistasDeFirebird()
    {
        fb::Database db;
        lartest::createDatabase(db, lartest::tempPath(QStringLiteral("reporte.fdb")));
        {
            fb::Transaction tr(&db);
            fb::Query q(&db, &tr);
            q.setSql(
                QStringLiteral("create table mov (doc integer, art varchar(30), pts numeric(15,2),"
                               " fecha date)"));
            q.execute();
            tr.commit();
            q.setSql(QStringLiteral("insert into mov values (?, ?, ?, ?)"));
            const QList<QVariantList> filas{
                {7, QStringLiteral("Café molido"), 12.5, QDate(2026, 3, 1)},
                {7, QStringLiteral("Azúcar"), 3, QDate(2026, 3, 2)},
                {8, QStringLiteral("Otro"), 99, QDate(2026, 3, 3)}};
            for (const QVariantList &f : filas) {
                for (int i = 0; i < f.size(); ++i)
                    q.bind(i, f[i]);
                q.execute();
            }
            tr.commit();
        }
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
        r.plantilla().vistaDetalle = QStringLiteral("Lineas");
        const QList<TextoSql *> sqls = r.plantilla().textosSql();
        QCOMPARE(sqls.size(), 3);
        QCOMPARE(sqls[0]->nombre, QStringLiteral("Cuenta"));
        QCOMPARE(sqls[0]->parametros(), QStringList{QStringLiteral("DOCTO_ID")});
        QCOMPARE(sqls[2]->nombre, QStringLiteral("Lineas"));
        r.setBaseDatos(&db);
        r.setParametro(QStringLiteral("docto_id"), 7);
        QVERIFY2(r.genera(&error), qPrintable(error));
        const Documento &d = r.documento();
        QCOMPARE(d.hojas.size(), 1);
        QCOMPARE(textosDe(d, QStringLiteral("titulo")), QStringList{QStringLiteral("Tienda 7")});
        QCOMPARE(textosDe(d, QStringLiteral("n")), QStringList{QStringLiteral("2")});
        QCOMPARE(textosDe(d, QStringLiteral("art")),
                 (QStringList{QStringLiteral("Café molido"), QStringLiteral("Azúcar")}));
        QCOMPARE(textosDe(d, QStringLiteral("pts")),
                 (QStringList{QStringLiteral("12.50"), QStringLiteral("3.00")}));
        QCOMPARE(textosDe(d, QStringLiteral("fecha")).at(1), QStringLiteral("02/03/2026"));
        QCOMPARE(textosDe(d, QStringLiteral("suma")), QStringList{QStringLiteral("15.5")});

        // A failing statement surfaces as the data layer's error.
        sqls[2]->sql = QStringLiteral("select nope from mov");
        QVERIFY(!r.genera(&error));
        QVERIFY(error.contains(QStringLiteral("NOPE"), Qt::CaseInsensitive));
    }
};

LAR_TEST_MAIN(TestReporte)
#include "tst_reporte.moc"
