#pragma once

#include <QDialog>

class QDateEdit;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QSpinBox;

namespace lar {

// "Período a mostrar": which documents a list shows. The caller sets the spin
// values, the dates and the checked radio button, shows it, and reads them back
// after an OK result; the dialog knows nothing about the list.
class TfPeriodo : public QDialog
{
    Q_OBJECT

public:
    explicit TfPeriodo(QWidget *parent = nullptr);

    QGroupBox *GroupBox1;
    QRadioButton *g0; // "Todos los meses"
    QRadioButton *g1; // last vMeses months
    QRadioButton *g2; // last vDias days
    QRadioButton *g3; // vInicial to vFinal
    QRadioButton *g4; // "Período de captura"
    QRadioButton *g5; // "Hoy"
    QSpinBox *vMeses;
    QSpinBox *vDias;
    QDateEdit *vInicial;
    QDateEdit *vFinal;
    QPushButton *Button1;
    QPushButton *Button2;

    // Wakes the inputs of the button's Tag: 1 vMeses, 2 vDias, 3 the two dates.
    void DoClick(QRadioButton *boton);
    // On entering vFinal: a vInicial on the first of a month fills vFinal with the
    // last day of that month; otherwise a vFinal before vInicial becomes vInicial.
    void vFinalEnter();
    // OK: with g3, a vInicial after vFinal moves vFinal to the end of vInicial's month.
    void Button1Click();

    // The list's period kinds: g0 0, g1 1, g3 2, g2 3, g4 4, g5 5.
    int tipoPeriodo() const;
    void setTipoPeriodo(int tipo);

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *o, QEvent *ev) override;

private:
    QList<QRadioButton *> botones() const;
};

} // namespace lar
