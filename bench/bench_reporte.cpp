// The report engine on a 10,000-row listing: laid out from a memory table and
// rendered to PDF, beside the same page content painted straight onto a QPdfWriter
// by hand, in the same run (target: the engine within 1.5x). Then the preview's
// page change on that document (target: under 50 ms).

#include "support/benchutil.h"
#include "toolkit/displayformat.h"
#include "toolkit/memtable.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"
#include "toolkit/reporte/visor.h"

#include <QApplication>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>

#include <cstdio>

using namespace lar::reporte;

namespace {

constexpr int kFilas = 10000;

const char kPlantilla[] = R"(<reporte nombre="Movimientos">
  <vista nombre="Filas"/>
  <banda tipo="encabezadoPagina" alto="8">
    <texto x="0" y="0" ancho="30" alto="6" negrita="si">Folio</texto>
    <texto x="32" y="0" ancho="100" alto="6" negrita="si">Cliente</texto>
    <texto x="134" y="0" ancho="30" alto="6" negrita="si" alinea="derecha">Puntos</texto>
    <texto x="166" y="0" ancho="36" alto="6" negrita="si" alinea="derecha">Importe</texto>
    <linea x1="0" y1="7" x2="203" y2="7"/>
  </banda>
  <banda tipo="detalle" alto="5">
    <campo x="0" y="0" ancho="30" alto="5">FOLIO</campo>
    <campo x="32" y="0" ancho="100" alto="5">CLIENTE</campo>
    <campo x="134" y="0" ancho="30" alto="5" formato="#,0" alinea="derecha">PUNTOS</campo>
    <campo x="166" y="0" ancho="36" alto="5" formato="#,0.00" alinea="derecha">IMPORTE</campo>
  </banda>
  <banda tipo="piePagina" alto="6">
    <numPagina x="100" y="1" ancho="103" alto="5" alinea="derecha">Página %1 de %2</numPagina>
  </banda>
</reporte>)";

// What an application would write without an engine: the same header, rows and
// footer at the same places, straight onto the PDF writer.
void pintaDirecto(lar::MemTable &t, const QString &ruta)
{
    QPdfWriter pdf(ruta);
    pdf.setResolution(600);
    pdf.setPageSize(
        QPageSize(QSizeF(215.9, 279.401), QPageSize::Millimeter, {}, QPageSize::ExactMatch));
    pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter p(&pdf);
    const double k = pdf.logicalDpiX() / 25.4;
    const double fondo = 279.401 - 6.35 - 6;
    const int porPagina = int((fondo - 6.35 - 8) / 5);
    const int paginas = (kFilas + porPagina - 1) / porPagina;
    QFont normal(QStringLiteral("DejaVu Sans"));
    normal.setPointSizeF(9);
    QFont negrita = normal;
    negrita.setBold(true);
    auto texto = [&](double x, double y, double w, double h, const QString &s, int al) {
        p.drawText(QRectF((6.35 + x) * k, y * k, w * k, h * k), al | Qt::AlignVCenter, s);
    };
    int fila = 0;
    t.first();
    for (int pag = 1; pag <= paginas; ++pag) {
        if (pag > 1)
            pdf.newPage();
        double y = 6.35;
        p.setFont(negrita);
        texto(0, y, 30, 6, QStringLiteral("Folio"), Qt::AlignLeft);
        texto(32, y, 100, 6, QStringLiteral("Cliente"), Qt::AlignLeft);
        texto(134, y, 30, 6, QStringLiteral("Puntos"), Qt::AlignRight);
        texto(166, y, 36, 6, QStringLiteral("Importe"), Qt::AlignRight);
        p.drawLine(QPointF(6.35 * k, (y + 7) * k), QPointF((6.35 + 203) * k, (y + 7) * k));
        y += 8;
        p.setFont(normal);
        for (int i = 0; i < porPagina && fila < kFilas; ++i, ++fila, t.next()) {
            texto(0, y, 30, 5, t[QStringLiteral("FOLIO")].asString(), Qt::AlignLeft);
            texto(32, y, 100, 5, t[QStringLiteral("CLIENTE")].asString(), Qt::AlignLeft);
            texto(134,
                  y,
                  30,
                  5,
                  lar::formatFloat(QStringLiteral("#,0"), t[QStringLiteral("PUNTOS")].asFloat()),
                  Qt::AlignRight);
            texto(166,
                  y,
                  36,
                  5,
                  lar::formatFloat(QStringLiteral("#,0.00"),
                                   t[QStringLiteral("IMPORTE")].asCurrency()),
                  Qt::AlignRight);
            y += 5;
        }
        texto(100,
              fondo + 1,
              103,
              5,
              QStringLiteral("Página %1 de %2").arg(pag).arg(paginas),
              Qt::AlignRight);
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;

    lar::MemTable t;
    t.addField(QStringLiteral("FOLIO"), lar::FieldType::String, 9);
    t.addField(QStringLiteral("CLIENTE"), lar::FieldType::String, 60);
    t.addField(QStringLiteral("PUNTOS"), lar::FieldType::Integer);
    t.addField(QStringLiteral("IMPORTE"), lar::FieldType::Currency, 2);
    t.open();
    t.disableControls();
    for (int i = 0; i < kFilas; ++i) {
        t.appendRecord({QStringLiteral("A%1").arg(i + 1, 8, 10, QChar(u'0')),
                        QStringLiteral("Cliente de prueba número %1").arg(i % 997),
                        (i * 37) % 5000,
                        QVariant::fromValue(fb::Decimal(qint64(i) * 1234 % 10000000, 2))});
    }
    t.enableControls();

    Reporte r;
    QString error;
    if (!r.cargaTexto(QByteArray(kPlantilla), &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    r.setCursor(QStringLiteral("Filas"), std::make_unique<CursorMemTable>(&t));

    // Alternating runs, so both see the same machine load.
    std::vector<double> motor, maquetado, directo;
    for (int vuelta = 0; vuelta < 3; ++vuelta) {
        double soloMaquetado = 0;
        motor.push_back(larbench::timeMs([&] {
            soloMaquetado = larbench::timeMs([&] { r.genera(&error); });
            escribePdf(r.documento(), dir.filePath(QStringLiteral("motor.pdf")), &error);
        }));
        maquetado.push_back(soloMaquetado);
        directo.push_back(larbench::timeMs(
            [&] { pintaDirecto(t, dir.filePath(QStringLiteral("directo.pdf"))); }));
    }
    const double m = larbench::median(motor), d = larbench::median(directo);
    std::printf("report engine, %d rows, %lld pages: layout + PDF %.0f ms (layout %.0f ms) vs "
                "painted by hand %.0f ms: ratio %.2f (target <= 1.5)\n",
                kFilas,
                qint64(r.documento().hojas.size()),
                m,
                larbench::median(maquetado),
                d,
                m / d);

    // The preview's page change: the viewer draws the new page at 100 %.
    VisorReporte visor;
    visor.resize(1000, 700);
    visor.setDocumento(&r.documento());
    visor.show();
    QApplication::processEvents();
    std::vector<double> cambios;
    const int paginas = visor.paginas();
    for (int i = 0; i < 60; ++i) {
        const int destino = (i * 37) % paginas + 1;
        cambios.push_back(larbench::timeMs([&] {
            visor.irA(destino);
            visor.viewport()->repaint();
        }));
    }
    std::printf("report preview, page change at 100 %% (median of %zu): %.1f ms (target < 50 ms)\n",
                cambios.size(),
                larbench::median(cambios));
    return 0;
}
