#pragma once

#include <QDateTime>
#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace lar {

// An Excel 97-2003 workbook (.xls, BIFF8 inside a compound document), built in
// memory and written at once. Rows and columns are 0-based; a sheet holds up to
// 65,536 rows and 256 columns. Text goes into the shared string table, numbers
// and dates are numbers with a number format written in Excel's own syntax
// ("#,0.00;-#,0.00", "dd/mm/yyyy"). A cell written twice keeps the last value.
class LibroXls
{
public:
    static constexpr int MaxFilas = 65536;
    static constexpr int MaxColumnas = 256;

    LibroXls();
    ~LibroXls();
    LibroXls(const LibroXls &) = delete;
    LibroXls &operator=(const LibroXls &) = delete;

    // Adds a sheet and returns its number. Characters Excel refuses in a sheet name
    // ([]:*?/\) become '_', the name is cut to 31 characters, a repeated name gets
    // " (2)", " (3)"..., and an empty one is "Hoja" and the sheet's number.
    int agregaHoja(const QString &nombre);
    int hojas() const { return int(m_hojas.size()); }
    QString nombreHoja(int hoja) const;

    // Empty text, and a number that isn't finite, leave the cell empty.
    void texto(int hoja, int fila, int col, const QString &t);
    void numero(int hoja, int fila, int col, double v, const QString &formato = {});
    // The date and time as Excel's serial number (days since 30/12/1899), shown
    // with the format; an empty format shows "dd/mm/yyyy", or with the time when
    // there is one. An invalid date leaves the cell empty.
    void fecha(int hoja, int fila, int col, const QDateTime &v, const QString &formato);
    // Width of a column in characters of the default font.
    void anchoColumna(int hoja, int col, double caracteres);

    // Writes the workbook through a temporary file, so a failure leaves any earlier
    // file as it was. On failure returns false with a Spanish reason in *error.
    bool guarda(const QString &ruta, QString *error = nullptr);

    // The file's bytes, as guarda writes them.
    QByteArray contenido(QString *error = nullptr) const;

private:
    struct Celda
    {
        enum Tipo { Texto, Numero } tipo = Numero;
        int xf = 0;
        double valor = 0; // Texto: index in the string table
    };
    struct Hoja
    {
        QString nombre;
        std::map<std::pair<int, int>, Celda> celdas; // (row, column)
        std::map<int, double> anchos;
        bool fueraDeRango = false;
    };

    Hoja *hoja(int n);
    int xfDeFormato(const QString &formato);
    void pon(int hoja, int fila, int col, const Celda &c);
    QByteArray libroBiff() const;

    std::vector<std::unique_ptr<Hoja>> m_hojas;
    std::vector<QString> m_cadenas; // shared string table, in order of first use
    std::map<QString, int> m_indiceCadena;
    std::vector<QString> m_formatos; // custom formats, codes from 164 on
    std::vector<int> m_xfFormato;    // format code of each cell style after the defaults
};

} // namespace lar
