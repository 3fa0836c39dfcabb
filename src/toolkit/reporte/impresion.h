#pragma once

#include "reporte.h"

#include <QString>

namespace lar::reporte {

// Sends the report to its device, laying it out first when it has no pages: the
// printer named by impresora() (no print dialog; copies and document name from the
// report), the PDF file archivo(), or the spreadsheet file for XLSReport:
// archivo(), or when empty "<document> - <form>.xls" in the user's documents
// folder. False with the Spanish error of whatever failed.
bool imprimeReporte(Reporte &reporte, QString *error = nullptr);

} // namespace lar::reporte
