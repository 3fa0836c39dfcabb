// The module form's design rules (function keys by button tag, date pickers by
// tag) and the ribbon's collapsed tabs.

#include "core/mform.h"
#include "support/testmain.h"
#include "toolkit/ribbon.h"
#include "toolkit/tag.h"

#include <QAction>
#include <QDateEdit>
#include <QPushButton>
#include <QTabBar>

using namespace Qt::StringLiterals;
using namespace lar;

namespace {

class FormaPrueba : public TMForm
{
public:
    FormaPrueba()
    {
        for (int i = 0; i < 4; ++i) {
            auto *b = new QPushButton(u"b%1"_s.arg(i), this);
            botones << b;
            connect(b, &QPushButton::clicked, this, [this, i] { clics << i; });
        }
        SetTag(botones[0], -5);
        SetTag(botones[1], -6);
        SetTag(botones[2], -5);
        SetTag(botones[3], -5);
        botones[3]->setEnabled(false);
        for (int t : {1, 2, 0}) {
            auto *d = new QDateEdit(this);
            SetTag(d, t);
            fechas << d;
        }
        resize(100000, 300);
        terminaDiseno();
    }
    QList<QPushButton *> botones;
    QList<QDateEdit *> fechas;
    QList<int> clics;
};

} // namespace

class TstMForm : public QObject
{
    Q_OBJECT
private slots:
    void teclasDeFuncionPorTag()
    {
        FormaPrueba f;
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        QTest::keyClick(&f, Qt::Key_F5);
        QCOMPARE(f.clics, (QList<int>{0, 2})); // both enabled, in order; not the disabled one
        f.clics.clear();
        QTest::keyClick(&f, Qt::Key_F6);
        QCOMPARE(f.clics, QList<int>{1});
        f.clics.clear();
        QTest::keyClick(&f, Qt::Key_F7);
        QTest::keyClick(&f, Qt::Key_F4);
        QVERIFY(f.clics.isEmpty());
    }

    void fechasYAnchoDelDiseno()
    {
        FormaPrueba f;
        const QDate hoy = QDate::currentDate();
        QCOMPARE(f.fechas[0]->date(), QDate(hoy.year(), hoy.month(), 1));
        QCOMPARE(f.fechas[1]->date(), QDate(hoy.year(), hoy.month(), hoy.daysInMonth()));
        QCOMPARE(f.fechas[2]->date(), hoy);
        QVERIFY(f.width() <= QGuiApplication::primaryScreen()->geometry().width());
        QCOMPARE(f.FiltroIndice, -1);
        QVERIFY(f.Filtros.isEmpty());
    }

    void cierreSegunElManejador()
    {
        QPointer<FormaPrueba> f = new FormaPrueba;
        f->show();
        int llamadas = 0;
        f->OnClose = [&](TMForm *, TMForm::AccionCierre &a) {
            ++llamadas;
            a = llamadas == 1 ? TMForm::AccionCierre::Ninguna : TMForm::AccionCierre::Liberar;
        };
        f->close();
        QVERIFY(f->isVisible()); // refused
        f->close();
        QVERIFY(f->cerrando());
        QTRY_VERIFY(!f);
    }

    void ribbonColapsado()
    {
        QWidget ventana;
        Ribbon r(&ventana);
        QAction a(u"Canje de puntos"_s);
        int disparos = 0;
        connect(&a, &QAction::triggered, this, [&] { ++disparos; });
        RibbonTab *t1 = r.agregaTab(u"t1"_s, u"Catálogos"_s);
        RibbonTab *t2 = r.agregaTab(u"t2"_s, u"Operación"_s);
        t1->agregaGrupo(u"g1"_s, u"Artículos"_s);
        RibbonBoton *b = t2->agregaGrupo(u"g2"_s, u"Operaciónes"_s)->agregaBoton(u"bCanje"_s, &a);
        r.setColapsado(true);
        ventana.resize(600, 200);
        ventana.show();
        QVERIFY(QTest::qWaitForWindowExposed(&ventana));
        QVERIFY(!r.desplegado());
        QTabBar *barra = r.findChild<QTabBar *>();
        QTest::mouseClick(barra, Qt::LeftButton, {}, barra->tabRect(1).center());
        QVERIFY(r.desplegado());
        QCOMPARE(r.tabActiva(), t2);
        QCOMPARE(b->text(), u"Canje de puntos"_s);
        QTest::mouseClick(b, Qt::LeftButton);
        QCOMPARE(disparos, 1);
        QVERIFY(!r.desplegado()); // folds up after the entry runs
        // The button follows its action's enabled state.
        a.setEnabled(false);
        QVERIFY(!b->isEnabled());
    }
};

LAR_TEST_MAIN(TstMForm)
#include "tst_core_mform.moc"
