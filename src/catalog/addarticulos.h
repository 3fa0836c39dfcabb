#pragma once

#include "articulos.h"

#include <QDialog>

#include <memory>

class QCheckBox;
class QDateEdit;
class QLineEdit;
class QPushButton;

namespace lar {

class LookupCombo;
class MemTable;
class Sesion;

// "Agregar artículos": the conditions of a load of the article list by line,
// classifier or last price change, and optionally one number of points for all.
// Remembers its choices in the folder Puntos of the settings tree.
class TfAddArticulos : public QDialog
{
    Q_OBJECT

public:
    explicit TfAddArticulos(Sesion &sesion, QWidget *parent = nullptr);
    ~TfAddArticulos() override;

    QCheckBox *rUltimos;
    QDateEdit *dtpFecIni;
    QDateEdit *dtpFecFin;
    QCheckBox *rLinea;
    LookupCombo *cLinea;
    QCheckBox *rAlmacen;
    LookupCombo *cAlmacen;
    QCheckBox *rClasificadores;
    LookupCombo *cClasific;
    QCheckBox *rTodos;
    QCheckBox *chkpuntos;
    QLineEdit *edtPuntos;
    QCheckBox *chkValor;
    QLineEdit *edtValorPuntos;
    QPushButton *bOk;
    QPushButton *bCancelar;

    // Set when the validation went through; the caller reads it.
    bool Valido = false;
    // The chosen conditions (after the dialog ended with 1).
    FiltroAgregar filtro() const;

    void bOkClick();

protected:
    void showEvent(QShowEvent *ev) override;

private:
    void carga();

    Sesion &m_s;
    std::unique_ptr<MemTable> mLineas, mAlm, mCla;
    bool m_cargado = false;
};

} // namespace lar
