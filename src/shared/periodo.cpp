#include "periodo.h"

#include "toolkit/tag.h"

#include <QDateEdit>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace lar {

namespace {

QDate finDeMes(const QDate &d)
{
    return QDate(d.year(), d.month(), d.daysInMonth());
}

QDateEdit *nuevaFecha(const QString &nombre, QWidget *parent)
{
    auto *e = new QDateEdit(QDate::currentDate(), parent);
    e->setObjectName(nombre);
    e->setDisplayFormat(QStringLiteral("dd/MM/yyyy"));
    e->setCalendarPopup(true);
    return e;
}

QSpinBox *nuevoNumero(const QString &nombre, QWidget *parent)
{
    auto *s = new QSpinBox(parent);
    s->setObjectName(nombre);
    s->setRange(0, 9999);
    return s;
}

} // namespace

TfPeriodo::TfPeriodo(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("fPeriodo"));
    setWindowTitle(QStringLiteral("Período a mostrar"));
    setModal(true);

    GroupBox1 = new QGroupBox(QStringLiteral("Mostrar documentos"), this);
    GroupBox1->setObjectName(QStringLiteral("GroupBox1"));
    auto radio = [this](const QString &nombre, const QString &texto, int tag) {
        auto *r = new QRadioButton(texto, GroupBox1);
        r->setObjectName(nombre);
        SetTag(r, tag);
        connect(r, &QRadioButton::toggled, this, [this, r](bool on) {
            if (on)
                DoClick(r);
        });
        return r;
    };
    g0 = radio(QStringLiteral("g0"), QStringLiteral("Todos los meses"), 0);
    g1 = radio(QStringLiteral("g1"), QStringLiteral("Últimos:"), 1);
    g2 = radio(QStringLiteral("g2"), QStringLiteral("Últimos:"), 2);
    g3 = radio(QStringLiteral("g3"), QStringLiteral("Período:"), 3);
    g4 = radio(QStringLiteral("g4"), QStringLiteral("Período de captura"), 4);
    g5 = radio(QStringLiteral("g5"), QStringLiteral("Hoy"), 5);
    vMeses = nuevoNumero(QStringLiteral("vMeses"), GroupBox1);
    vDias = nuevoNumero(QStringLiteral("vDias"), GroupBox1);
    vInicial = nuevaFecha(QStringLiteral("vInicial"), GroupBox1);
    vFinal = nuevaFecha(QStringLiteral("vFinal"), GroupBox1);
    vFinal->installEventFilter(this);

    auto *g = new QGridLayout(GroupBox1);
    g->addWidget(g0, 0, 0, 1, 4);
    g->addWidget(g1, 1, 0);
    g->addWidget(vMeses, 1, 1);
    g->addWidget(new QLabel(QStringLiteral("meses"), GroupBox1), 1, 2);
    g->addWidget(g2, 2, 0);
    g->addWidget(vDias, 2, 1);
    g->addWidget(new QLabel(QStringLiteral("días"), GroupBox1), 2, 2);
    g->addWidget(g3, 3, 0);
    g->addWidget(vInicial, 3, 1);
    g->addWidget(new QLabel(QStringLiteral("al"), GroupBox1), 3, 2);
    g->addWidget(vFinal, 3, 3);
    g->addWidget(g4, 4, 0, 1, 4);
    g->addWidget(g5, 5, 0, 1, 4);

    Button1 = new QPushButton(QStringLiteral("&Aceptar"), this);
    Button1->setObjectName(QStringLiteral("Button1"));
    Button1->setDefault(true);
    Button2 = new QPushButton(QStringLiteral("Ca&ncelar"), this);
    Button2->setObjectName(QStringLiteral("Button2"));
    connect(Button1, &QPushButton::clicked, this, &TfPeriodo::Button1Click);
    connect(Button2, &QPushButton::clicked, this, &QDialog::reject);

    auto *b = new QHBoxLayout;
    b->addStretch();
    b->addWidget(Button1);
    b->addWidget(Button2);
    auto *v = new QVBoxLayout(this);
    v->addWidget(GroupBox1);
    v->addLayout(b);
}

QList<QRadioButton *> TfPeriodo::botones() const
{
    return {g0, g1, g2, g3, g4, g5};
}

void TfPeriodo::DoClick(QRadioButton *boton)
{
    const int tag = Tag(boton);
    vMeses->setEnabled(tag == 1);
    vDias->setEnabled(tag == 2);
    vInicial->setEnabled(tag == 3);
    vFinal->setEnabled(tag == 3);
}

void TfPeriodo::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    for (QRadioButton *r : botones()) {
        if (r->isChecked()) {
            DoClick(r);
            break;
        }
    }
}

bool TfPeriodo::eventFilter(QObject *o, QEvent *ev)
{
    if (o == vFinal && ev->type() == QEvent::FocusIn)
        vFinalEnter();
    return QDialog::eventFilter(o, ev);
}

void TfPeriodo::vFinalEnter()
{
    const QDate ini = vInicial->date();
    if (ini.day() == 1)
        vFinal->setDate(finDeMes(ini));
    else if (vFinal->date() < ini)
        vFinal->setDate(ini);
}

void TfPeriodo::Button1Click()
{
    if (g3->isChecked() && vInicial->date() > vFinal->date())
        vFinal->setDate(finDeMes(vInicial->date()));
    accept();
}

int TfPeriodo::tipoPeriodo() const
{
    if (g1->isChecked())
        return 1;
    if (g3->isChecked())
        return 2;
    if (g2->isChecked())
        return 3;
    if (g4->isChecked())
        return 4;
    if (g5->isChecked())
        return 5;
    return 0;
}

void TfPeriodo::setTipoPeriodo(int tipo)
{
    QRadioButton *const porTipo[] = {g0, g1, g3, g2, g4, g5};
    (tipo >= 0 && tipo <= 5 ? porTipo[tipo] : g0)->setChecked(true);
}

} // namespace lar
