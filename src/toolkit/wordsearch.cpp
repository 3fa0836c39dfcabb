#include "wordsearch.h"

#include "memgrid.h"

#include <QApplication>
#include <QPainter>
#include <QSet>

namespace lar {

QStringList splitWords(const QString &boxText)
{
    QStringList words = boxText.toUpper().split(u' ', Qt::KeepEmptyParts);
    if (!words.isEmpty() && words.last().isEmpty())
        words.removeLast();
    return words;
}

bool matchesWords(const QString &text, const QStringList &words)
{
    return words.isEmpty() || matchesUpperWords(text.toUpper(), words);
}

bool matchesUpperWords(const QString &upperText, const QStringList &words)
{
    return WordMatcher(words).matches(upperText.toUtf8().toStdString());
}

WordMatcher::WordMatcher(const QStringList &words)
{
    m_words.reserve(size_t(words.size()));
    for (const QString &w : words)
        m_words.push_back(w.toUtf8().toStdString());
}

bool WordMatcher::matches(std::string_view upperUtf8) const
{
    // A UTF-8 word can only match at a character boundary, so bytes will do; the
    // library's search runs on memchr, which matters at every key press.
    if (m_words.empty())
        return true;
    const std::string &first = m_words.front();
    if (first.empty())
        return false;
    const size_t at = upperUtf8.find(first);
    if (at == std::string_view::npos)
        return false;
    if (m_words.size() == 1)
        return true;
    // The others are sought in what is left once each match is cut out.
    thread_local std::string rest;
    rest.assign(upperUtf8);
    rest.erase(at, first.size());
    for (size_t k = 1; k < m_words.size(); ++k) {
        const std::string &w = m_words[k];
        if (w.empty())
            return false;
        const size_t i = rest.find(w);
        if (i == std::string::npos)
            return false;
        rest.erase(i, w.size());
    }
    return true;
}

QList<QPair<int, int>> highlightRanges(const QString &upperText, const QStringList &words)
{
    QList<int> marks; // starts taken, sorted
    QList<QPair<int, int>> out;
    for (const QString &w : words) {
        if (w.isEmpty())
            continue;
        qsizetype p = upperText.indexOf(w);
        for (int tries = 0; p >= 0 && tries < 10; ++tries) {
            if (!std::binary_search(marks.begin(), marks.end(), int(p)))
                break;
            const qsizetype q = QStringView(upperText).mid(p + 1, 100).indexOf(w);
            p = q < 0 ? -1 : p + 1 + q;
        }
        if (p < 0)
            continue;
        auto it = std::lower_bound(marks.begin(), marks.end(), int(p));
        if (it == marks.end() || *it != p)
            marks.insert(it, int(p));
        out.append({int(p), int(w.size())});
    }
    return out;
}

HighlightDelegate::HighlightDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{}

bool HighlightDelegate::isSearched(const QModelIndex &index) const
{
    if (m_field < 0 || m_words.isEmpty())
        return false;
    if (auto *m = qobject_cast<const MemTableModel *>(index.model()))
        return m->columnField(index.column()) == m_field;
    return index.column() == m_field;
}

QList<QRect> HighlightDelegate::highlightRects(const QString &text, const QFont &font) const
{
    QList<QRect> rects;
    const QFontMetrics fm(font);
    for (const auto &[at, len] : highlightRanges(text.toUpper(), m_words)) {
        rects << QRect(2 + fm.horizontalAdvance(text.left(at)),
                       3,
                       fm.horizontalAdvance(text.mid(at, len)),
                       fm.height());
    }
    return rects;
}

void HighlightDelegate::paint(QPainter *painter,
                              const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    if (index.data(Qt::CheckStateRole).isValid()) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    QString text = opt.text;
    if (m_text)
        text = m_text(index, text);
    opt.text.clear();
    const QWidget *widget = option.widget;
    QStyle *style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);

    painter->save();
    painter->setClipRect(option.rect);
    painter->setFont(opt.font);
    const bool selected = option.state & QStyle::State_Selected;
    const QPalette::ColorGroup cg
        = option.state & QStyle::State_Enabled ? QPalette::Normal : QPalette::Disabled;
    painter->setPen(
        option.palette.color(cg, selected ? QPalette::HighlightedText : QPalette::Text));
    const QFontMetrics fm(opt.font);
    const int x = option.rect.left() + 2;
    const int top = option.rect.top() + 3;
    painter->drawText(x, top + fm.ascent(), text);

    if (isSearched(index)) {
        // Each matched word again, over its background, in the window-text colour.
        painter->setPen(option.palette.color(cg, QPalette::WindowText));
        for (const auto &[at, len] : highlightRanges(text.toUpper(), m_words)) {
            const QString part = text.mid(at, len);
            const int left = x + fm.horizontalAdvance(text.left(at));
            painter->fillRect(QRect(left, top, fm.horizontalAdvance(part), fm.height()),
                              highlightColor());
            painter->drawText(left, top + fm.ascent(), part);
        }
    }
    painter->restore();
}

} // namespace lar
