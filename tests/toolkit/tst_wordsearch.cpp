// The word search of the lists and its highlight, drawn for real into an image.

#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/wordsearch.h"

#include <QImage>
#include <QPainter>
#include <QTest>

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
        QTest::newRow("no words") << ""
                                  << "cualquiera" << true;
        QTest::newRow("any order") << "perez ana"
                                   << "Ana María Pérez" << false; // 'E' is not 'É'
        QTest::newRow("any order, accents typed") << "pérez ana"
                                                  << "Ana María Pérez" << true;
        QTest::newRow("AN AN in ANANA") << "AN AN"
                                        << "ANANA" << true;
        QTest::newRow("ANA ANA in ANANA") << "ANA ANA"
                                          << "ANANA" << false;
        QTest::newRow("ANA ANA twice") << "ANA ANA"
                                       << "ANA Y ANA" << true;
        QTest::newRow("removed match joins") << "AB C"
                                             << "AXBC" << false;
        QTest::newRow("cut joins the rest") << "B AC"
                                            << "ABC" << true;
        QTest::newRow("two blanks empty the list") << "ana  pe"
                                                   << "ANA PEREZ" << false;
        QTest::newRow("leading blank") << " ana"
                                       << "ANA" << false;
        // Three words and more: every one is sought, each in what the others left.
        QTest::newRow("three, the last missing") << "ana per xyz"
                                                 << "ANA PEREZ" << false;
        QTest::newRow("AN AN AN in ANANA") << "AN AN AN"
                                           << "ANANA" << false;
        QTest::newRow("AN AN A in ANANA") << "AN AN A"
                                          << "ANANA" << true;
        QTest::newRow("four, any order") << "lopez juan perez car"
                                         << "JUAN CARLOS PEREZ LOPEZ" << true;
        QTest::newRow("four, the last inside a matched third")
            << "juan carlos lopez los"
            << "JUAN CARLOS PEREZ LOPEZ" << false;
        QTest::newRow("keys joined by caret") << "c-002"
                                              << "C-001^C-002" << true;
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
        QTest::newRow("one word") << "MANZANA"
                                  << "zan" << Ranges{{3, 3}};
        QTest::newRow("same word twice takes the next") << "ANANA"
                                                        << "AN AN" << Ranges{{0, 2}, {2, 2}};
        QTest::newRow("overlap allowed in painting") << "ANANA"
                                                     << "ANA NA" << Ranges{{0, 3}, {1, 2}};
        QTest::newRow("word order kept") << "ANA PEREZ"
                                         << "perez ana" << Ranges{{4, 5}, {0, 3}};
        QTest::newRow("three times the same word") << "ANANAN"
                                                   << "an an an" << Ranges{{0, 2}, {2, 2}, {4, 2}};
        QTest::newRow("missing word drawn nowhere") << "ANA"
                                                    << "x ana" << Ranges{{0, 3}};
        QTest::newRow("empty word skipped") << "ANA"
                                            << "ana  " << Ranges{{0, 3}};
        // The next occurrence is sought within the following 100 characters.
        QTest::newRow("repeat too far")
            << QStringLiteral("AB") + QString(120, u'.') + QStringLiteral("AB") << "ab ab"
            << Ranges{{0, 2}};
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
        t.addField(QStringLiteral("clave"), lar::FieldType::String, 20);
        t.addField(QStringLiteral("nombre"), lar::FieldType::String, 50);
        t.open();
        t.appendRecord({u"PAN"_s, u"PANADERIA PANCHO"_s});
        lar::MemTableModel model;
        model.setTable(&t);

        lar::HighlightDelegate d;
        d.setField(1);
        d.setWords(lar::splitWords(QStringLiteral("pan pan")));

        const QFont font(QStringLiteral("DejaVu Sans"), 10);
        const QList<QRect> rects = d.highlightRects(QStringLiteral("PANADERIA PANCHO"), font);
        QCOMPARE(rects.size(), 2);
        const QFontMetrics fm(font);
        QCOMPARE(rects[0].left(), 2);
        QCOMPARE(rects[0].top(), 3);
        QCOMPARE(rects[1].left(), 2 + fm.horizontalAdvance(QStringLiteral("PANADERIA ")));
        QCOMPARE(rects[1].width(), fm.horizontalAdvance(QStringLiteral("PAN")));

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
