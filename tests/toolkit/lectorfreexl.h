#pragma once
// An .xls file as freexl reads it, a reader that owes the writers nothing.

#include <QFile>
#include <QString>
#include <QtNumeric>

#include <freexl.h>

namespace lartest {

struct LibroFreexl
{
    const void *h = nullptr;
    int codigo = 0; // freexl_open's result
    explicit LibroFreexl(const QString &ruta)
    {
        codigo = freexl_open(QFile::encodeName(ruta).constData(), &h);
        if (codigo != FREEXL_OK)
            h = nullptr;
    }
    LibroFreexl(const LibroFreexl &) = delete;
    ~LibroFreexl()
    {
        if (h)
            freexl_close(h);
    }
    unsigned info(unsigned short que) const
    {
        unsigned v = 0;
        freexl_get_info(h, que, &v);
        return v;
    }
    FreeXL_CellValue celda(unsigned fila, unsigned short col) const
    {
        FreeXL_CellValue v{};
        const int r = freexl_get_cell_value(h, fila, col, &v);
        if (r != FREEXL_OK)
            v.type = 0;
        return v;
    }
    QString texto(unsigned fila, unsigned short col) const
    {
        const FreeXL_CellValue v = celda(fila, col);
        if (v.type != FREEXL_CELL_SST_TEXT && v.type != FREEXL_CELL_TEXT
            && v.type != FREEXL_CELL_DATE && v.type != FREEXL_CELL_DATETIME)
            return QStringLiteral("<tipo %1>").arg(v.type);
        return QString::fromUtf8(v.value.text_value);
    }
    bool hoja(unsigned short n) const { return freexl_select_active_worksheet(h, n) == FREEXL_OK; }
    double numero(unsigned fila, unsigned short col) const
    {
        const FreeXL_CellValue v = celda(fila, col);
        if (v.type == FREEXL_CELL_INT)
            return v.value.int_value;
        if (v.type == FREEXL_CELL_DOUBLE)
            return v.value.double_value;
        return qQNaN();
    }
};

} // namespace lartest
