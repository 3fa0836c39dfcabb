#pragma once

#include <QJsonObject>
#include <QString>

namespace lartest {

// An .xls file as python3-xlrd reads it, an independent reader:
//   {"fecha1904": 0, "hojas": [{"nombre", "anchos": {"col": width},
//    "celdas": [[fila, col, tipo, valor, formato], ...]}]}
// with xlrd's cell types (1 text, 2 number, 3 date, 4 boolean) and each cell's
// number format text. {"falta": why} when xlrd isn't installed (skip), {"error":
// text} when it can't read the file.
QJsonObject LeeXlsConXlrd(const QString &ruta);

} // namespace lartest
