#pragma once

#include <QCheckBox>
#include <QGroupBox>
#include <QList>
#include <QStringList>

namespace lar {

// The frame of a group of check boxes: a titled group box.
class TSafeCheckBox : public QGroupBox
{
    Q_OBJECT

public:
    explicit TSafeCheckBox(QWidget *parent = nullptr);
};

// One box of a TSafeCheckGroup.
class TCheckButton : public QCheckBox
{
    Q_OBJECT

public:
    explicit TCheckButton(const QString &text, QWidget *parent = nullptr);
};

// A titled group of check boxes read and written as one bit mask: box i owns bit
// i. The boxes run down the columns (column-major) and share the inner height
// evenly. With Primary, no other box can be held without the primary one.
class TSafeCheckGroup : public TSafeCheckBox
{
    Q_OBJECT

public:
    explicit TSafeCheckGroup(QWidget *parent = nullptr);

    // One box per caption; the boxes are created and destroyed to match.
    void setItems(const QStringList &items);
    QStringList items() const { return m_items; }
    int count() const { return int(m_boxes.size()); }
    TCheckButton *boton(int i) const;

    // 1 to 16; other values are clamped.
    void setColumns(int columns);
    int columns() const { return m_columns; }

    // The box clicked last; -1 when none.
    int itemIndex() const { return m_itemIndex; }

    // Bit i is set when box i is checked. Bits beyond the boxes are kept as they
    // were assigned, so a right that has lost its box keeps its meaning. Assigning
    // doesn't emit buttonClick.
    quint32 value() const { return m_value; }
    void setValue(quint32 value);

    void setPrimary(bool primary);
    bool primary() const { return m_primary; }
    // 1-based; below 1 means 1.
    void setPrimaryIndex(int index);
    int primaryIndex() const { return m_primaryIndex; }

signals:
    // A box was clicked by the user (OnButtonClick); value() already holds it.
    void buttonClick(int index);

protected:
    void resizeEvent(QResizeEvent *ev) override;
    void changeEvent(QEvent *ev) override;

private:
    void click(int index);
    void muestraValor();
    void coloca();
    int indicePrimario() const { return std::max(1, m_primaryIndex) - 1; }

    QStringList m_items;
    QList<TCheckButton *> m_boxes;
    int m_columns = 1;
    int m_itemIndex = -1;
    quint32 m_value = 0;
    bool m_primary = false;
    int m_primaryIndex = 1;
};

} // namespace lar
