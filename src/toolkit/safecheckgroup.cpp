#include "safecheckgroup.h"

#include <QEvent>
#include <QStyle>
#include <QStyleOptionGroupBox>

#include <algorithm>

namespace lar {

namespace {

constexpr int kMaxBits = 32;

quint32 bit(int i)
{
    return i >= 0 && i < kMaxBits ? quint32(1) << i : 0;
}

} // namespace

TSafeCheckBox::TSafeCheckBox(QWidget *parent)
    : QGroupBox(parent)
{}

TCheckButton::TCheckButton(const QString &text, QWidget *parent)
    : QCheckBox(text, parent)
{
    setAccessibleName(QString(text).remove(u'&'));
}

TSafeCheckGroup::TSafeCheckGroup(QWidget *parent)
    : TSafeCheckBox(parent)
{}

TCheckButton *TSafeCheckGroup::boton(int i) const
{
    return i >= 0 && i < m_boxes.size() ? m_boxes[i] : nullptr;
}

void TSafeCheckGroup::setItems(const QStringList &items)
{
    qDeleteAll(m_boxes);
    m_boxes.clear();
    m_items = items;
    m_itemIndex = -1;
    for (int i = 0; i < items.size(); ++i) {
        auto *b = new TCheckButton(items[i], this);
        // The font of the group is bold; the boxes read better in the normal one.
        QFont f = b->font();
        f.setBold(false);
        b->setFont(f);
        connect(b, &QCheckBox::clicked, this, [this, i] { click(i); });
        m_boxes << b;
        b->show();
    }
    muestraValor();
    coloca();
}

void TSafeCheckGroup::setColumns(int columns)
{
    m_columns = std::clamp(columns, 1, 16);
    coloca();
}

void TSafeCheckGroup::setValue(quint32 value)
{
    if (m_primary && value != 0)
        value |= bit(indicePrimario());
    m_value = value;
    muestraValor();
}

void TSafeCheckGroup::setPrimary(bool primary)
{
    m_primary = primary;
}

void TSafeCheckGroup::setPrimaryIndex(int index)
{
    m_primaryIndex = index;
}

void TSafeCheckGroup::click(int index)
{
    m_itemIndex = index;
    const bool marcada = m_boxes[index]->isChecked();
    m_value = marcada ? (m_value | bit(index)) : (m_value & ~bit(index));
    if (m_primary) {
        const int p = indicePrimario();
        if (index != p && marcada)
            m_value |= bit(p);
        // The primary right stays while any other is held.
        if (index == p && (m_value & ~bit(p)) != 0)
            m_value |= bit(p);
        muestraValor();
    }
    emit buttonClick(index);
}

void TSafeCheckGroup::muestraValor()
{
    for (int i = 0; i < m_boxes.size(); ++i)
        m_boxes[i]->setChecked((m_value & bit(i)) == bit(i) && bit(i) != 0);
}

void TSafeCheckGroup::coloca()
{
    const int n = int(m_boxes.size());
    if (n == 0)
        return;
    QStyleOptionGroupBox opt;
    initStyleOption(&opt);
    const QRect dentro
        = style()->subControlRect(QStyle::CC_GroupBox, &opt, QStyle::SC_GroupBoxContents, this);
    const int filas = (n + m_columns - 1) / m_columns;
    const int alto = std::max(1, dentro.height() / filas);
    // What the rows leave over goes half above and half below.
    const int arriba = dentro.top() + (dentro.height() - alto * filas) / 2;
    const int ancho = std::max(1, (width() - 10) / m_columns);
    const bool espejo = layoutDirection() == Qt::RightToLeft;
    for (int i = 0; i < n; ++i) {
        const int columna = i / filas;
        const int fila = i % filas;
        const int x = espejo ? width() - 5 - (columna + 1) * ancho : 5 + columna * ancho;
        m_boxes[i]->setGeometry(x, arriba + fila * alto, ancho, alto);
    }
}

void TSafeCheckGroup::resizeEvent(QResizeEvent *ev)
{
    TSafeCheckBox::resizeEvent(ev);
    coloca();
}

void TSafeCheckGroup::changeEvent(QEvent *ev)
{
    TSafeCheckBox::changeEvent(ev);
    if (ev->type() == QEvent::LayoutDirectionChange || ev->type() == QEvent::FontChange
        || ev->type() == QEvent::StyleChange)
        coloca();
}

} // namespace lar
