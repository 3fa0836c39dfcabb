#pragma once

#include <QGroupBox>
#include <QStringList>

class QButtonGroup;
class QGridLayout;
class QRadioButton;

namespace lar {

// A titled group of radio buttons handled as one list of items with a chosen
// index (-1: none), laid out in a number of columns.
class RadioGroup : public QGroupBox
{
    Q_OBJECT

public:
    explicit RadioGroup(const QString &title = QString(), QWidget *parent = nullptr);

    void setItems(const QStringList &items);
    void addItem(const QString &item);
    void clearItems();
    QStringList items() const { return m_items; }
    int count() const { return int(m_items.size()); }
    QRadioButton *button(int i) const;

    int itemIndex() const { return m_index; }
    // Out-of-range values are brought into range (-1 to count - 1).
    void setItemIndex(int index);

    void setColumns(int columns);
    int columns() const { return m_columns; }

signals:
    // The chosen item changed, by the user or by code.
    void itemIndexChanged(int index);

private:
    void relayout();

    QStringList m_items;
    QList<QRadioButton *> m_buttons;
    QButtonGroup *m_group;
    QGridLayout *m_layout;
    int m_index = -1;
    int m_columns = 1;
};

} // namespace lar
