#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

namespace lar {

// The first sheet of a spreadsheet file, read whole: `.xls` (BIFF) and `.xlsx`
// (Office Open XML). Cells hold a number (double) or a text; empty cells are not
// kept. Rows and columns count from 1, as the spreadsheet shows them.
class HojaCalculo
{
public:
    // Reads sheet 1 as the workbook orders it; false with the reason in error.
    bool abre(const QString &archivo, QString *error = nullptr);

    // The used range: first and last row holding a value (0 when the sheet is
    // empty), and how many rows it spans.
    int primerRenglon() const { return m_primero; }
    int ultimoRenglon() const { return m_ultimo; }
    int renglonesUsados() const { return m_ultimo ? m_ultimo - m_primero + 1 : 0; }

    // The cell's value: a double, a QString, or invalid when empty.
    QVariant valor(int renglon, int columna) const;
    // As text: whole numbers without decimals, others as written by the engine.
    QString texto(int renglon, int columna) const;
    // As a number; text that doesn't read as one gives 0 and ok false.
    double numero(int renglon, int columna, bool *ok = nullptr) const;

    // Puts a value (tests and the readers).
    void pon(int renglon, int columna, const QVariant &v);
    void limpia();

private:
    bool abreXls(const QString &archivo, QString *error);
    bool abreXlsx(const QString &archivo, QString *error);

    QHash<quint64, QVariant> m_celdas;
    int m_primero = 0;
    int m_ultimo = 0;
};

} // namespace lar
