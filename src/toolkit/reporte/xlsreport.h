#pragma once

#include "documento.h"

#include <QString>

namespace lar::reporte {

// The device "XLSReport": the texts of the laid-out pages as the cells of one
// sheet. Each line of text of a page becomes a row (pages follow one another, blank
// space dropped), each distinct left edge a column; numbers and dates keep their
// type and their display format. False with a Spanish message when it can't write.
bool escribeXls(const Documento &doc, const QString &ruta, QString *error = nullptr);

// Qt's date format ("dd/MM/yyyy hh:mm") in Excel's syntax ("dd/mm/yyyy hh:mm").
QString formatoFechaExcel(const QString &formatoQt);

} // namespace lar::reporte
