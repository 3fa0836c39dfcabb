#pragma once

#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTest>

namespace lartest {

// Runs a Python script with Debian's python3 (where python3-openpyxl and
// python3-xlwt live), the arguments following it; returns its error output,
// empty on success.
inline QString ejecutaPython(const QString &script, const QStringList &argumentos = {})
{
    QProcess p;
    const QString python = QFile::exists(QStringLiteral("/usr/bin/python3"))
                               ? QStringLiteral("/usr/bin/python3")
                               : QStringLiteral("python3");
    p.start(python, QStringList{QStringLiteral("-c"), script} + argumentos);
    if (!p.waitForFinished(60000))
        return QStringLiteral("python3 no terminó");
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        return QString::fromUtf8(p.readAllStandardError());
    return QString();
}

// Writes a spreadsheet with openpyxl (.xlsx) or xlwt (.xls) from rows of cells
// given as Python literals, one list per row, starting at the given row (1-based):
// for example {"'Clave'", "'Nombre'", "3"}. None leaves a cell empty.
inline QString
escribeHoja(const QString &archivo, const QList<QStringList> &filas, int primerRenglon = 1)
{
    QString datos = QStringLiteral("[");
    for (const QStringList &f : filas)
        datos += u'[' + f.join(u',') + QStringLiteral("],");
    datos += u']';
    const QString script
        = QStringLiteral("import sys\n"
                         "ruta, inicio = sys.argv[1], int(sys.argv[2])\n"
                         "filas = %1\n"
                         "if ruta.endswith('.xlsx'):\n"
                         "    import openpyxl\n"
                         "    wb = openpyxl.Workbook()\n"
                         "    ws = wb.active\n"
                         "    ws.title = 'Datos'\n"
                         "    for i, f in enumerate(filas):\n"
                         "        for j, v in enumerate(f):\n"
                         "            if v is not None:\n"
                         "                ws.cell(row=inicio + i, column=j + 1, value=v)\n"
                         "    wb.create_sheet('Otra').cell(row=1, column=1, value='no se lee')\n"
                         "    wb.active = 1\n"
                         "    wb.save(ruta)\n"
                         "else:\n"
                         "    import xlwt\n"
                         "    wb = xlwt.Workbook()\n"
                         "    ws = wb.add_sheet('Datos')\n"
                         "    for i, f in enumerate(filas):\n"
                         "        for j, v in enumerate(f):\n"
                         "            if v is not None:\n"
                         "                ws.write(inicio - 1 + i, j, v)\n"
                         "    wb.add_sheet('Otra').write(0, 0, 'no se lee')\n"
                         "    wb.save(ruta)\n")
              .arg(datos);
    return ejecutaPython(script, {archivo, QString::number(primerRenglon)});
}

} // namespace lartest
