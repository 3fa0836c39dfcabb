#pragma once

#include <QString>

class QFileDialog;

namespace lar {

class MemGrid;

// Writes the grid to an .xls file as the user sees it: one sheet, the visible
// columns in the grid's order with their captions as the first row, then the rows
// in sight in the current order. Numbers and dates stay numbers, shown with the
// field's display format; the rest is text. False with the reason in *error.
bool EscribeGridXls(const MemGrid &grid, const QString &ruta, QString *error = nullptr);

// A field's display format ("#,0.00;-#,0.00", ",0") in Excel's syntax: a comma at
// either end of the integer digits groups thousands for us but not for Excel.
QString FormatoExcel(const QString &displayFormat);

// The file written for a name chosen in the save dialog: every ".xls" removed, then
// ".xls" added ("ventas.xlsx" gives "ventasx.xls").
QString ArchivoExportado(const QString &elegido);
// The file then opened: the chosen name, with ".xls" added only when it has none.
QString ArchivoAbierto(const QString &elegido);

// The save dialog shared by every export of the process.
QFileDialog *DialogoGuardarExcel();

// Asks for a file name, writes the grid there and opens the file with the shell; a
// failure to write is told in a message box.
void ExportaExcel(const MemGrid &grid);

} // namespace lar
