#include "radiogroup.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QRadioButton>

namespace lar {

RadioGroup::RadioGroup(const QString &title, QWidget *parent)
    : QGroupBox(title, parent)
    , m_group(new QButtonGroup(this))
    , m_layout(new QGridLayout(this))
{
    connect(m_group, &QButtonGroup::idClicked, this, [this](int id) {
        if (id != m_index) {
            m_index = id;
            emit itemIndexChanged(id);
        }
    });
}

void RadioGroup::setItems(const QStringList &items)
{
    clearItems();
    for (const QString &i : items)
        addItem(i);
}

void RadioGroup::addItem(const QString &item)
{
    auto *b = new QRadioButton(item, this);
    m_group->addButton(b, int(m_buttons.size()));
    m_buttons << b;
    m_items << item;
    relayout();
}

void RadioGroup::clearItems()
{
    for (QRadioButton *b : std::as_const(m_buttons)) {
        m_group->removeButton(b);
        delete b;
    }
    m_buttons.clear();
    m_items.clear();
    if (m_index != -1) {
        m_index = -1;
        emit itemIndexChanged(-1);
    }
}

QRadioButton *RadioGroup::button(int i) const
{
    return i >= 0 && i < m_buttons.size() ? m_buttons[i] : nullptr;
}

void RadioGroup::setItemIndex(int index)
{
    index = std::clamp(index, -1, count() - 1);
    if (index == m_index)
        return;
    m_index = index;
    if (index < 0) {
        m_group->setExclusive(false);
        for (QRadioButton *b : std::as_const(m_buttons))
            b->setChecked(false);
        m_group->setExclusive(true);
    } else {
        m_buttons[index]->setChecked(true);
    }
    emit itemIndexChanged(index);
}

void RadioGroup::setColumns(int columns)
{
    m_columns = std::max(1, columns);
    relayout();
}

void RadioGroup::relayout()
{
    for (QRadioButton *b : std::as_const(m_buttons))
        m_layout->removeWidget(b);
    // Items run down each column, as many rows as it takes.
    const int n = int(m_buttons.size());
    const int rows = std::max(1, (n + m_columns - 1) / m_columns);
    for (int i = 0; i < n; ++i)
        m_layout->addWidget(m_buttons[i], i % rows, i / rows);
}

} // namespace lar
