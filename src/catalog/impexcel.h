#pragma once

#include <QDialog>
#include <QString>

#include <functional>

class QCheckBox;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace lar {

class HojaCalculo;
class Sesion;

// A column's letters as a number: "A" 1, "Z" 26, "AA" 27; 0 for an empty text or
// any character outside A to Z.
int ColumnaExcel(const QString &letras);

// Where the spreadsheet holds what the import reads (columns from 1).
struct ColumnasImportacion
{
    int clave = 1;
    int nombre = 2;
    int puntos = 3;
    int valor = 0;
    int primerRenglon = 2;
};

// What an import found, with the summary and the clipboard detail as shown.
struct ResultadoImportacion
{
    int importados = 0;
    int noEncontrados = 0;
    int renglones = 0;
    QString resumen;
    QString detalle; // for the clipboard; empty when everything was found
};

// The rows of sheet 1 from the first row to the used range's row count plus the
// first row minus 1: each row is sought by name, then by key; a row found goes to
// agrega(key, article id, value in points, points), one not found to the detail.
ResultadoImportacion
ImportaHoja(const HojaCalculo &hoja,
            const ColumnasImportacion &columnas,
            const std::function<int(const QString &)> &idPorNombre,
            const std::function<int(const QString &)> &idPorClave,
            const std::function<void(const QString &, int, double, double)> &agrega);

// "Importar de Excel": the columns and first row of the import, remembered
// directly under PuntosLar when chSaveConfig is checked.
class TfImpExcelCP : public QDialog
{
    Q_OBJECT

public:
    explicit TfImpExcelCP(Sesion &sesion, QWidget *parent = nullptr);

    QLineEdit *vExcelClave;
    QLineEdit *vExcelNombre;
    QLineEdit *vExcelPuntos;
    QLineEdit *vExcelValor;
    QSpinBox *vExcelRenglon;
    QCheckBox *chSaveConfig;
    QPushButton *bNext;
    QPushButton *bCancelar;

    // The validated choice (after the dialog ended with 1).
    ColumnasImportacion columnas() const;

    void bNextClick();

private:
    Sesion &m_s;
};

} // namespace lar
