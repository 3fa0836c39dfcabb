#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStyledItemDelegate>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lar {

// The word search of the lists. The box text is upper-cased and split on blanks:
// a blank at the very end adds no word, a blank at the start or two in a row give
// an empty word, which no text holds (the list empties until it is deleted).
QStringList splitWords(const QString &boxText);

// True when every word occurs in the upper-cased text, each sought in what is left
// once the previous match was cut out: "AN AN" finds "ANANA" but "ANA ANA" does
// not. No words: true.
bool matchesWords(const QString &text, const QStringList &words);
// The same on a text upper-cased already.
bool matchesUpperWords(const QString &upperText, const QStringList &words);

// The words of a search made ready once per key press, to test many rows' upper-
// cased UTF-8 texts (MemTable::upperUtf8) with the same rule as matchesWords.
class WordMatcher
{
public:
    WordMatcher() = default;
    explicit WordMatcher(const QStringList &words);
    bool isEmpty() const { return m_words.empty(); }
    bool matches(std::string_view upperUtf8) const;

private:
    std::vector<std::string> m_words;
};

// Where the words are painted in the upper-cased text: (start, length) for each
// word that is found, in word order. A word takes its first occurrence; while that
// start is taken already by an earlier word it takes the next occurrence within
// the following 100 characters, at most 10 times.
QList<QPair<int, int>> highlightRanges(const QString &upperText, const QStringList &words);

// The colour under a matched word (red F6, green FD, blue 99).
inline QColor highlightColor()
{
    return QColor(0xF6, 0xFD, 0x99);
}

// Paints grid cells by hand, the text at 2 pixels from the left and 3 from the
// top; in the searched column the matched words are drawn again over the
// highlight colour. The searched column is named by a field of a MemTableModel
// (or, over another model, by a column number).
class HighlightDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit HighlightDelegate(QObject *parent = nullptr);

    void setWords(const QStringList &words) { m_words = words; }
    const QStringList &words() const { return m_words; }
    // Field of the table searched; -1: no column is highlighted.
    void setField(int field) { m_field = field; }
    int field() const { return m_field; }
    // Optional: the text drawn instead of the cell's own (a part of it, say).
    using TextFn = std::function<QString(const QModelIndex &, const QString &)>;
    void setTextFunction(TextFn fn) { m_text = std::move(fn); }

    void paint(QPainter *painter,
               const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

    // The rectangles, relative to the cell, that a paint of this text covers with
    // the highlight colour (what the painter would mark, for tests and checks).
    QList<QRect> highlightRects(const QString &text, const QFont &font) const;

private:
    bool isSearched(const QModelIndex &index) const;

    QStringList m_words;
    int m_field = -1;
    TextFn m_text;
};

} // namespace lar
