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
    if (words.isEmpty())
        return true;
    if (words.size() == 1) {
        // One word cuts nothing out: no copy beyond the upper-casing.
        const QString &w = words.first();
        return !w.isEmpty() && text.toUpper().contains(w);
    }
    QString rest = text.toUpper();
    for (const QString &w : words) {
        if (w.isEmpty())
            return false;
        const qsizetype i = rest.indexOf(w);
        if (i < 0)
            return false;
        rest.remove(i, w.size());
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
