#pragma once

#include "memtable.h"

#include <QAbstractTableModel>
#include <QComboBox>
#include <QPointer>
#include <QTableView>

class QKeyEvent;
class QLineEdit;

namespace lar {

// A memory table's rows in sight as an item model. Columns are bound to fields by
// name; with no columns set, every field is a column. Boolean columns may show as
// check boxes, and editable cells write back through the table (edit, set, post).
class MemTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    struct Column
    {
        QString field;
        QString title;
        int width = 100; // 0: the column takes no room
        bool checkBox = false;
        bool editable = false;
    };

    explicit MemTableModel(QObject *parent = nullptr);

    void setTable(MemTable *table);
    MemTable *table() const { return m_table; }

    void clearColumns();
    int addColumn(const QString &field, const QString &title = QString(), int width = 100);
    int columnCountSet() const { return int(m_columns.size()); }
    Column &column(int c) { return m_columns[size_t(c)]; }
    const Column &column(int c) const { return m_columns[size_t(c)]; }
    // Field of the table shown in a column; -1 when the name matches no field.
    int columnField(int c) const;
    // Re-reads everything (columns bound again to the table's fields).
    void reload();

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation o, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

private:
    void bindFields();
    void onRowChanged(int row);

    QPointer<MemTable> m_table;
    std::vector<Column> m_columns;
    std::vector<int> m_fields; // field of each column
    QList<QMetaObject::Connection> m_connections;
};

// A grid over a memory table: its current row is the table's current row, both
// ways. Rows are of one height, so a table of any size scrolls at once.
class MemGrid : public QTableView
{
    Q_OBJECT

public:
    explicit MemGrid(QWidget *parent = nullptr);

    MemTableModel *memModel() const { return m_model; }
    void setTable(MemTable *table);
    MemTable *table() const { return m_model->table(); }
    // Widths (0 hides) and titles from the model's columns.
    void applyColumns();

private:
    void fromTable(int row);
    void toTable(const QModelIndex &current);

    MemTableModel *m_model;
    bool m_syncing = false;
    QMetaObject::Connection m_current;
};

// A drop-down list whose items are the rows of a memory table: it shows one field
// and stands for the key field of the chosen row.
class LookupCombo : public QComboBox
{
    Q_OBJECT

public:
    explicit LookupCombo(QWidget *parent = nullptr);

    void setLookup(MemTable *table, const QString &keyField, const QString &listField);
    MemTable *lookupTable() const { return m_model->table(); }
    QString keyField() const { return m_keyField; }
    QString listField() const { return m_listField; }
    // Key of the chosen row; invalid when none is chosen.
    QVariant keyValue() const;
    // Chooses the row with that key; none when no row has it.
    void setKeyValue(const QVariant &key);

private:
    MemTableModel *m_model;
    QString m_keyField;
    QString m_listField;
};

// The keys a search box hands to the table it searches, as a cashier expects them:
// Esc clears the box; Up, Down, Page Up, Page Down, Home and End move the table's
// current row (a page being the rows the grid shows). Keys with Ctrl or Alt are left
// alone. True when the key was used.
bool TeclaDeBusqueda(const QKeyEvent *k, QLineEdit *busca, MemTable &tabla, const QWidget *grid);

} // namespace lar
