// The group of check boxes behind the permission editor: the mask by position,
// the primary right, and the column-major layout.

#include "support/testmain.h"
#include "toolkit/safecheckgroup.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

using lar::TSafeCheckGroup;

namespace {

const QStringList kCinco{
    u"Consulta"_s, u"&Nuevo"_s, u"Cancelar"_s, u"Imprimir"_s, u"Abrir lista de artículos"_s};

} // namespace

class TstSafeCheckGroup : public QObject
{
    Q_OBJECT

private slots:
    void valorPorPosicion()
    {
        TSafeCheckGroup g;
        g.resize(300, 140);
        g.setItems(kCinco);
        QSignalSpy clics(&g, &TSafeCheckGroup::buttonClick);
        QCOMPARE(g.count(), 5);
        QCOMPARE(g.itemIndex(), -1);
        QCOMPARE(g.boton(1)->accessibleName(), u"Nuevo"_s);

        // Bits 1 and 3, and one beyond the boxes (a right deleted since).
        g.setValue(0b1000001010);
        QVERIFY(!g.boton(0)->isChecked());
        QVERIFY(g.boton(1)->isChecked());
        QVERIFY(g.boton(3)->isChecked());
        QCOMPARE(clics.count(), 0);

        g.boton(4)->click();
        QCOMPARE(g.value(), 0b1000011010u);
        QCOMPARE(g.itemIndex(), 4);
        QCOMPARE(clics.count(), 1);
        QCOMPARE(clics.takeFirst().at(0).toInt(), 4);
        g.boton(1)->click();
        QCOMPARE(g.value(), 0b1000011000u);

        // Without primary, every box stands alone: "Nuevo" without "Consulta".
        g.setPrimary(false);
        g.setPrimaryIndex(0);
        g.setValue(2);
        QVERIFY(!g.boton(0)->isChecked());
        QCOMPARE(g.value(), 2u);

        // New items: new boxes, nothing clicked yet, the value shown on them.
        g.setItems({u"A"_s, u"B"_s});
        QCOMPARE(g.count(), 2);
        QCOMPARE(g.findChildren<lar::TCheckButton *>().size(), 2);
        QCOMPARE(g.itemIndex(), -1);
        QVERIFY(g.boton(1)->isChecked());

        // Boxes made while the group is off follow it when it comes on.
        g.setEnabled(false);
        g.setItems(kCinco);
        g.setEnabled(true);
        QVERIFY(g.boton(0)->isEnabled());
    }

    void primaria()
    {
        TSafeCheckGroup g;
        g.resize(300, 140);
        g.setItems(kCinco);
        g.setPrimary(true);
        g.setPrimaryIndex(-3); // below 1 means the first box
        g.setValue(4);
        QCOMPARE(g.value(), 5u);
        g.setValue(0);
        QCOMPARE(g.value(), 0u);

        // Checking another right brings the primary one along.
        g.boton(2)->click();
        QCOMPARE(g.value(), 5u);
        QVERIFY(g.boton(0)->isChecked());
        // The primary right can't go while another is held...
        g.boton(0)->click();
        QCOMPARE(g.value(), 5u);
        QVERIFY(g.boton(0)->isChecked());
        // ...and goes when it's the last.
        g.boton(2)->click();
        g.boton(0)->click();
        QCOMPARE(g.value(), 0u);
        QVERIFY(!g.boton(0)->isChecked());

        g.setPrimaryIndex(2);
        g.setValue(16);
        QCOMPARE(g.value(), 18u);
    }

    void columnas()
    {
        TSafeCheckGroup g;
        g.setColumns(0);
        QCOMPARE(g.columns(), 1);
        g.setColumns(40);
        QCOMPARE(g.columns(), 16);
        g.setColumns(2);
        g.resize(210, 160);
        g.setItems(kCinco);
        g.show();
        QVERIFY(QTest::qWaitForWindowExposed(&g));

        // Five boxes in two columns: three rows, filled down the first column.
        QCOMPARE(g.boton(0)->x(), g.boton(1)->x());
        QCOMPARE(g.boton(0)->x(), g.boton(2)->x());
        QCOMPARE(g.boton(3)->y(), g.boton(0)->y());
        QCOMPARE(g.boton(4)->y(), g.boton(1)->y());
        QVERIFY(g.boton(3)->x() > g.boton(0)->x());
        QCOMPARE(g.boton(0)->x(), 5);
        QCOMPARE(g.boton(0)->width(), 100); // (210 - 10) / 2
        // Rows of one height, the leftover split above and below.
        const int alto = g.boton(0)->height();
        QCOMPARE(g.boton(1)->y() - g.boton(0)->y(), alto);
        QCOMPARE(g.boton(2)->y() - g.boton(1)->y(), alto);
        QVERIFY(g.boton(0)->y() > 0); // below the title
        QVERIFY(g.boton(2)->y() + alto <= g.height());
        QVERIFY(3 * alto > g.height() / 2); // the rows share the height, not their own size

        // Right to left: the columns mirror.
        g.setLayoutDirection(Qt::RightToLeft);
        QCOMPARE(g.boton(0)->x(), 210 - 5 - 100);
        QVERIFY(g.boton(3)->x() < g.boton(0)->x());

        // A wider group: the boxes follow.
        g.setLayoutDirection(Qt::LeftToRight);
        g.resize(410, 160);
        QCOMPARE(g.boton(0)->width(), 200);
    }
};

LAR_TEST_MAIN(TstSafeCheckGroup)
#include "tst_safecheckgroup.moc"
