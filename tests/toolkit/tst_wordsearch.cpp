// The word search of the lists and its highlight, drawn for real into an image.

#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/wordsearch.h"

#include <QImage>
#include <QPainter>

using namespace Qt::StringLiterals;

using Ranges = QList<QPair<int, int>>;

class TestWordSearch : public QObject
{
    Q_OBJECT

private slots:
    void split_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QStringList>("words");
        QTest::newRow("empty box") << "" << QStringList{};
        QTest::newRow("upper-cased") << u"ana pérez"_s << QStringList{u"ANA"_s, u"PÉREZ"_s};
        QTest::newRow("trailing blank adds nothing") << u"ana "_s << QStringList{u"ANA"_s};
        QTest::newRow("two blanks between")
            << u"ana  pe"_s << QStringList{u"ANA"_s, u""_s, u"PE"_s};
        QTest::newRow("leading blank") << u" ana"_s << QStringList{u""_s, u"ANA"_s};
        QTest::newRow("two trailing blanks") << u"ana  "_s << QStringList{u"ANA"_s, u""_s};
    }

    void split()
    {
        QFETCH(QString, box);
        QFETCH(QStringList, words);
        QCOMPARE(lar::splitWords(box), words);
    }

    void match_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("passes");
        // Words in any order, each sought in what the others left.
        const QList<std::tuple<const char *, const char *, bool>> casos = {
            {"", "cualquiera", true},
            {"perez ana", "Ana María Pérez", false}, // 'E' is not 'É'
            {"pérez ana", "Ana María Pérez", true},
            {"AN AN", "ANANA", true},
            {"ANA ANA", "ANANA", false},
            {"ANA ANA", "ANA Y ANA", true},
            {"AB C", "AXBC", false}, // what a match leaves joins up
            {"B AC", "ABC", true},
            {"ana  pe", "ANA PEREZ", false}, // two blanks: an empty word
            {" ana", "ANA", false},
            {"ana per xyz", "ANA PEREZ", false},
            {"AN AN AN", "ANANA", false},
            {"AN AN A", "ANANA", true},
            {"lopez juan perez car", "JUAN CARLOS PEREZ LOPEZ", true},
            {"juan carlos lopez los", "JUAN CARLOS PEREZ LOPEZ", false}, // inside a matched third
            {"c-002", "C-001^C-002", true}};                             // keys joined by caret
        for (const auto &[box, text, passes] : casos)
            QTest::addRow("'%s' in '%s'", box, text)
                << QString::fromUtf8(box) << QString::fromUtf8(text) << passes;
    }

    void match()
    {
        QFETCH(QString, box);
        QFETCH(QString, text);
        QFETCH(bool, passes);
        QCOMPARE(lar::matchesWords(text, lar::splitWords(box)), passes);
    }

    void ranges_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("box");
        QTest::addColumn<Ranges>("expected");
        // The same word again takes the next place; painting allows overlaps; a
        // missing or empty word is drawn nowhere.
        const QList<std::tuple<const char *, const char *, Ranges>> casos
            = {{"MANZANA", "zan", {{3, 3}}},
               {"ANANA", "AN AN", {{0, 2}, {2, 2}}},
               {"ANANA", "ANA NA", {{0, 3}, {1, 2}}},
               {"ANA PEREZ", "perez ana", {{4, 5}, {0, 3}}},
               {"ANANAN", "an an an", {{0, 2}, {2, 2}, {4, 2}}},
               {"ANA", "x ana", {{0, 3}}},
               {"ANA", "ana  ", {{0, 3}}}};
        for (const auto &[text, box, expected] : casos)
            QTest::addRow("'%s' in '%s'", box, text)
                << QString::fromUtf8(text) << QString::fromUtf8(box) << expected;
        // The next occurrence is sought within the following 100 characters.
        QTest::newRow("repeat too far")
            << u"AB"_s + QString(120, u'.') + u"AB"_s << u"ab ab"_s << Ranges{{0, 2}};
    }

    void ranges()
    {
        QFETCH(QString, text);
        QFETCH(QString, box);
        QFETCH(Ranges, expected);
        QCOMPARE(lar::highlightRanges(text.toUpper(), lar::splitWords(box)), expected);
    }

    void painterMarksTheSearchedColumnOnly()
    {
        lar::MemTable t;
        t.addField(u"clave"_s, lar::FieldType::String, 20);
        t.addField(u"nombre"_s, lar::FieldType::String, 50);
        t.open();
        t.appendRecord({u"PAN"_s, u"PANADERIA PANCHO"_s});
        lar::MemTableModel model;
        model.setTable(&t);

        lar::HighlightDelegate d;
        d.setField(1);
        d.setWords(lar::splitWords(u"pan pan"_s));

        const QFont font(u"DejaVu Sans"_s, 10);
        const QList<QRect> rects = d.highlightRects(u"PANADERIA PANCHO"_s, font);
        QCOMPARE(rects.size(), 2);
        const QFontMetrics fm(font);
        QCOMPARE(rects[0].left(), 2);
        QCOMPARE(rects[0].top(), 3);
        QCOMPARE(rects[1].left(), 2 + fm.horizontalAdvance(u"PANADERIA "_s));
        QCOMPARE(rects[1].width(), fm.horizontalAdvance(u"PAN"_s));

        auto paintCell = [&](int column) {
            QImage img(300, 24, QImage::Format_RGB32);
            img.fill(Qt::white);
            QPainter p(&img);
            QStyleOptionViewItem opt;
            opt.rect = QRect(0, 0, 300, 24);
            opt.font = font;
            opt.state = QStyle::State_Enabled;
            opt.palette.setColor(QPalette::Text, Qt::black);
            opt.palette.setColor(QPalette::WindowText, Qt::black);
            d.paint(&p, opt, model.index(0, column));
            p.end();
            return img;
        };
        auto isHighlight = [](QRgb c) {
            return QColor(c) == lar::highlightColor();
        };

        const QImage name = paintCell(1);
        // Under each matched word the background shows; between them it doesn't.
        const int y = 3 + fm.height() - 2;
        QVERIFY(isHighlight(name.pixel(rects[0].left() + 1, y)));
        QVERIFY(isHighlight(name.pixel(rects[1].right() - 1, y)));
        QVERIFY(!isHighlight(name.pixel(rects[0].right() + 8, y)));
        QVERIFY(!isHighlight(name.pixel(0, y)));

        const QImage key = paintCell(0); // not the searched field
        for (int x = 0; x < key.width(); ++x)
            QVERIFY(!isHighlight(key.pixel(x, y)));
    }
};

LAR_TEST_MAIN(TestWordSearch)
#include "tst_wordsearch.moc"
