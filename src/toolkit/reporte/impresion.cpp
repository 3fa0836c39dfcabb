#include "impresion.h"

#include "pintor.h"
#include "xlsreport.h"

#include <QDir>
#include <QRegularExpression>
#include <QStandardPaths>

#include <QPageSize>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>

namespace lar::reporte {

namespace {

bool imprimeEnImpresora(const Reporte &r, QString *error)
{
    const QPrinterInfo info = QPrinterInfo::printerInfo(r.impresora());
    if (info.isNull()) {
        if (error)
            *error = QStringLiteral("La impresora \"%1\" no existe.").arg(r.impresora());
        return false;
    }
    const Documento &doc = r.documento();
    QPrinter printer(info, QPrinter::HighResolution);
    printer.setDocName(r.nombreDocumento());
    printer.setCopyCount(std::max(1, r.copias()));
    printer.setFullPage(true);
    const QSizeF tamano = doc.hojas.isEmpty()
                              ? QSizeF(r.plantilla().pagina.ancho, r.plantilla().pagina.alto)
                              : doc.hojas.constFirst().tamano;
    printer.setPageSize(QPageSize(
        tamano, QPageSize::Millimeter, r.plantilla().pagina.papel, QPageSize::FuzzyMatch));
    printer.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter;
    if (!painter.begin(&printer)) {
        if (error)
            *error = QStringLiteral("No fue posible imprimir en \"%1\".").arg(r.impresora());
        return false;
    }
    if (!pintaDocumento(painter, printer, doc, r.avance())) {
        printer.abort();
        if (error)
            *error = QStringLiteral("Impresión cancelada.");
        return false;
    }
    return painter.end();
}

// Without a file named, the spreadsheet goes to the user's documents folder, named
// after the job and the form, so a voucher printed after its form doesn't replace it.
QString archivoXls(const Reporte &r)
{
    QString nombre = r.nombreDocumento().trimmed();
    const QString forma = r.plantilla().nombre.trimmed();
    if (nombre.isEmpty())
        nombre = forma.isEmpty() ? QStringLiteral("Reporte") : forma;
    else if (!forma.isEmpty() && forma != nombre)
        nombre += QStringLiteral(" - ") + forma;
    static const QRegularExpression prohibidos(QStringLiteral("[\\/:*?\"<>|]"));
    nombre.replace(prohibidos, QStringLiteral("_"));
    const QString carpeta = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    QDir().mkpath(carpeta);
    return QDir(carpeta).filePath(nombre + QStringLiteral(".xls"));
}

} // namespace

bool imprimeReporte(Reporte &r, QString *error)
{
    if (r.documento().hojas.isEmpty() && !r.genera(error))
        return false;
    switch (r.dispositivo()) {
    case Dispositivo::Impresora:
        return imprimeEnImpresora(r, error);
    case Dispositivo::Pdf:
        return escribePdf(r.documento(), r.archivo(), error);
    case Dispositivo::XLSReport:
        return escribeXls(
            r.documento(), r.archivo().isEmpty() ? archivoXls(r) : r.archivo(), error);
    }
    return false;
}

} // namespace lar::reporte
