#include "lectorxls.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>

namespace lartest {

namespace {

const char *const LectorXlrd = R"(
import json, sys, xlrd
libro = xlrd.open_workbook(sys.argv[1], formatting_info=True)
hojas = []
for h in libro.sheets():
    celdas = []
    for f in range(h.nrows):
        for c in range(h.ncols):
            cel = h.cell(f, c)
            if cel.ctype == xlrd.XL_CELL_EMPTY:
                continue
            fmt = libro.format_map[libro.xf_list[cel.xf_index].format_key].format_str
            celdas.append([f, c, cel.ctype, cel.value, fmt])
    anchos = {str(c): i.width for c, i in h.colinfo_map.items()}
    hojas.append({"nombre": h.name, "celdas": celdas, "anchos": anchos})
print(json.dumps({"hojas": hojas, "fecha1904": libro.datemode}))
)";

} // namespace

QJsonObject LeeXlsConXlrd(const QString &ruta)
{
    // Debian's interpreter, the one python3-xlrd installs into.
    const QString python = QFile::exists(QStringLiteral("/usr/bin/python3"))
                               ? QStringLiteral("/usr/bin/python3")
                               : QStringLiteral("python3");
    QProcess p;
    p.start(python, {QStringLiteral("-c"), QString::fromUtf8(LectorXlrd), ruta});
    if (!p.waitForFinished(120000) || p.exitCode() != 0) {
        const QString err = QString::fromUtf8(p.readAllStandardError());
        if (err.contains(u"No module named 'xlrd'") || p.error() == QProcess::FailedToStart)
            return {{QStringLiteral("falta"), QStringLiteral("python3-xlrd no está instalado")}};
        return {{QStringLiteral("error"), err}};
    }
    return QJsonDocument::fromJson(p.readAllStandardOutput()).object();
}

} // namespace lartest
