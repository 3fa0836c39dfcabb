// The period selector: which inputs each choice wakes, and the silent date fixes.

#include "shared/periodo.h"
#include "support/testmain.h"

#include "support/accesibilidad.h"
#include <QDateEdit>
#include <QFocusEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

#include <QTimer>

using namespace Qt::StringLiterals;

class TestPeriodo : public QObject
{
    Q_OBJECT

private:
    static void entraAFinal(lar::TfPeriodo &f)
    {
        QFocusEvent ev(QEvent::FocusIn, Qt::TabFocusReason);
        QApplication::sendEvent(f.vFinal, &ev);
    }

private slots:
    void inputsFollowTheChoice_data()
    {
        QTest::addColumn<int>("tipo");
        QTest::addColumn<bool>("meses");
        QTest::addColumn<bool>("dias");
        QTest::addColumn<bool>("fechas");
        QTest::newRow("all months") << 0 << false << false << false;
        QTest::newRow("last months") << 1 << true << false << false;
        QTest::newRow("range") << 2 << false << false << true;
        QTest::newRow("last days") << 3 << false << true << false;
        QTest::newRow("capture period") << 4 << false << false << false;
        QTest::newRow("today") << 5 << false << false << false;
    }

    void inputsFollowTheChoice()
    {
        QFETCH(int, tipo);
        lar::TfPeriodo f;
        // Checked before showing: the show runs the first checked button's click.
        f.setTipoPeriodo(tipo);
        f.vMeses->setEnabled(true);
        f.vDias->setEnabled(true);
        f.show();
        LAR_VERIFICA_ACCESIBLE(&f);
        QTEST(f.vMeses->isEnabled(), "meses");
        QTEST(f.vDias->isEnabled(), "dias");
        QTEST(f.vInicial->isEnabled(), "fechas");
        QTEST(f.vFinal->isEnabled(), "fechas");
        QCOMPARE(f.tipoPeriodo(), tipo);
        // A click on another button wakes its own inputs.
        QTest::mouseClick(f.g2, Qt::LeftButton, {}, QPoint(5, f.g2->height() / 2));
        QVERIFY(f.g2->isChecked());
        QVERIFY(f.vDias->isEnabled());
        QVERIFY(!f.vMeses->isEnabled());
        QCOMPARE(f.tipoPeriodo(), 3);
    }

    void enteringTheEndDate_data()
    {
        QTest::addColumn<QDate>("inicial");
        QTest::addColumn<QDate>("final");
        QTest::addColumn<QDate>("expected");
        QTest::newRow("first of month overwrites a later end")
            << QDate(2024, 2, 1) << QDate(2024, 6, 30) << QDate(2024, 2, 29);
        QTest::newRow("first of month fills a reversed end")
            << QDate(2023, 12, 1) << QDate(2023, 1, 5) << QDate(2023, 12, 31);
        QTest::newRow("reversed end becomes the start")
            << QDate(2024, 3, 15) << QDate(2024, 3, 2) << QDate(2024, 3, 15);
        QTest::newRow("a good range stays")
            << QDate(2024, 3, 15) << QDate(2024, 4, 2) << QDate(2024, 4, 2);
    }

    void enteringTheEndDate()
    {
        QFETCH(QDate, inicial);
        QFETCH(QDate, final);
        lar::TfPeriodo f;
        f.g3->setChecked(true);
        f.vInicial->setDate(inicial);
        f.vFinal->setDate(final);
        entraAFinal(f);
        QTEST(f.vFinal->date(), "expected");
    }

    void acceptFixesAReversedRange()
    {
        lar::TfPeriodo f;
        f.g3->setChecked(true);
        f.vInicial->setDate(QDate(2024, 2, 10));
        f.vFinal->setDate(QDate(2024, 1, 20));
        QTimer::singleShot(0, &f, [&] { f.Button1->click(); });
        QCOMPARE(f.exec(), int(QDialog::Accepted));
        QCOMPARE(f.vFinal->date(), QDate(2024, 2, 29));

        // Another choice leaves the dates as they were: only g3 is checked.
        lar::TfPeriodo g;
        g.g1->setChecked(true);
        g.vMeses->setValue(3);
        g.vInicial->setDate(QDate(2024, 2, 10));
        g.vFinal->setDate(QDate(2024, 1, 20));
        g.Button1Click();
        QCOMPARE(g.result(), int(QDialog::Accepted));
        QCOMPARE(g.vFinal->date(), QDate(2024, 1, 20));
        QCOMPARE(g.vMeses->value(), 3);

        lar::TfPeriodo h;
        QTimer::singleShot(0, &h, [&] { h.Button2->click(); });
        QCOMPARE(h.exec(), int(QDialog::Rejected));
    }
};

LAR_TEST_MAIN(TestPeriodo)
#include "tst_periodo.moc"
