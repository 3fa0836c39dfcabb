#include "memgrid.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>

namespace lar {

// --- MemTableModel -------------------------------------------------------------------

MemTableModel::MemTableModel(QObject *parent)
    : QAbstractTableModel(parent)
{}

void MemTableModel::setTable(MemTable *table)
{
    beginResetModel();
    for (const auto &c : std::as_const(m_connections))
        disconnect(c);
    m_connections.clear();
    m_table = table;
    if (table) {
        m_connections << connect(table, &MemTable::dataChanged, this, &MemTableModel::reload);
        m_connections << connect(table, &MemTable::rowChanged, this, &MemTableModel::onRowChanged);
        m_connections << connect(table, &QObject::destroyed, this, [this] {
            beginResetModel();
            m_table = nullptr;
            bindFields();
            endResetModel();
        });
    }
    bindFields();
    endResetModel();
}

void MemTableModel::clearColumns()
{
    beginResetModel();
    m_columns.clear();
    bindFields();
    endResetModel();
}

int MemTableModel::addColumn(const QString &field, const QString &title, int width)
{
    beginResetModel();
    Column c;
    c.field = field;
    c.title = title;
    c.width = width;
    m_columns.push_back(c);
    bindFields();
    endResetModel();
    return int(m_columns.size()) - 1;
}

void MemTableModel::bindFields()
{
    m_fields.clear();
    if (!m_table)
        return;
    if (m_columns.empty()) {
        for (int i = 0; i < m_table->fieldCount(); ++i)
            m_fields.push_back(i);
        return;
    }
    for (const Column &c : m_columns)
        m_fields.push_back(m_table->fieldIndex(c.field));
}

int MemTableModel::columnField(int c) const
{
    return c >= 0 && size_t(c) < m_fields.size() ? m_fields[size_t(c)] : -1;
}

void MemTableModel::reload()
{
    beginResetModel();
    bindFields();
    endResetModel();
}

void MemTableModel::onRowChanged(int row)
{
    if (row >= 0 && row < rowCount())
        emit dataChanged(index(row, 0), index(row, columnCount() - 1));
}

int MemTableModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid() || !m_table)
        return 0;
    return m_table->recordCount();
}

int MemTableModel::columnCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    return int(m_fields.size());
}

QVariant MemTableModel::data(const QModelIndex &index, int role) const
{
    if (!m_table || !index.isValid())
        return {};
    const int f = columnField(index.column());
    if (f < 0)
        return {};
    const bool check
        = size_t(index.column()) < m_columns.size() && m_columns[size_t(index.column())].checkBox;
    const FieldDef &def = m_table->fieldDef(f);
    switch (role) {
    case Qt::DisplayRole:
        if (check)
            return {};
        return MemTable::displayText(def, m_table->valueAt(index.row(), f));
    case Qt::EditRole:
        return m_table->valueAt(index.row(), f);
    case Qt::CheckStateRole:
        if (!check)
            return {};
        return m_table->valueAt(index.row(), f).toBool() ? Qt::Checked : Qt::Unchecked;
    case Qt::TextAlignmentRole:
        if (def.isNumeric())
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    default:
        return {};
    }
}

QVariant MemTableModel::headerData(int section, Qt::Orientation o, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (o == Qt::Vertical)
        return section + 1;
    if (size_t(section) < m_columns.size() && !m_columns[size_t(section)].title.isNull())
        return m_columns[size_t(section)].title;
    const int f = columnField(section);
    return f >= 0 && m_table ? m_table->fieldDef(f).label() : QString();
}

Qt::ItemFlags MemTableModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags fl = QAbstractTableModel::flags(index);
    if (!index.isValid() || size_t(index.column()) >= m_columns.size())
        return fl;
    const Column &c = m_columns[size_t(index.column())];
    const int f = columnField(index.column());
    if (c.editable && f >= 0 && m_table && !m_table->fieldDef(f).readOnly)
        fl |= c.checkBox ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable;
    return fl;
}

bool MemTableModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!m_table || !index.isValid()
        || !(flags(index) & (Qt::ItemIsEditable | Qt::ItemIsUserCheckable)))
        return false;
    const int f = columnField(index.column());
    QVariant v = value;
    if (role == Qt::CheckStateRole)
        v = value.value<Qt::CheckState>() == Qt::Checked || value.toInt() == Qt::Checked;
    else if (role != Qt::EditRole)
        return false;
    m_table->setValueAt(index.row(), f, v);
    return true;
}

// --- MemGrid ----------------------------------------------------------------------------

MemGrid::MemGrid(QWidget *parent)
    : QTableView(parent)
    , m_model(new MemTableModel(this))
{
    setModel(m_model);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setWordWrap(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setHighlightSections(false);
    connect(selectionModel(),
            &QItemSelectionModel::currentRowChanged,
            this,
            [this](const QModelIndex &current) { toTable(current); });
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] {
        applyColumns();
        if (MemTable *t = table())
            fromTable(t->recNo());
    });
}

void MemGrid::setTable(MemTable *table)
{
    disconnect(m_current);
    m_model->setTable(table);
    if (table) {
        m_current = connect(table, &MemTable::currentChanged, this, &MemGrid::fromTable);
        fromTable(table->recNo());
    }
    applyColumns();
}

void MemGrid::applyColumns()
{
    for (int c = 0; c < m_model->columnCountSet() && c < m_model->columnCount(); ++c) {
        const int w = m_model->column(c).width;
        setColumnHidden(c, w <= 0);
        if (w > 0)
            setColumnWidth(c, w);
    }
}

void MemGrid::fromTable(int row)
{
    if (m_syncing)
        return;
    m_syncing = true;
    if (row >= 0 && row < m_model->rowCount()) {
        int col = currentIndex().isValid() ? currentIndex().column() : 0;
        while (col < m_model->columnCount() - 1 && isColumnHidden(col))
            ++col;
        const QModelIndex i = m_model->index(row, col);
        selectionModel()->setCurrentIndex(
            i, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        scrollTo(i);
    } else {
        selectionModel()->clear();
    }
    m_syncing = false;
}

void MemGrid::toTable(const QModelIndex &current)
{
    if (m_syncing || !current.isValid())
        return;
    MemTable *t = table();
    if (!t || !t->isActive() || t->recNo() == current.row())
        return;
    m_syncing = true;
    try {
        t->setRecNo(current.row());
    } catch (...) {
        m_syncing = false;
        throw;
    }
    m_syncing = false;
}

// --- LookupCombo --------------------------------------------------------------------------

LookupCombo::LookupCombo(QWidget *parent)
    : QComboBox(parent)
    , m_model(new MemTableModel(this))
{
    setModel(m_model);
}

void LookupCombo::setLookup(MemTable *table, const QString &keyField, const QString &listField)
{
    m_keyField = keyField;
    m_listField = listField;
    m_model->clearColumns();
    m_model->addColumn(listField);
    m_model->setTable(table);
    setModelColumn(0);
    setCurrentIndex(-1);
}

QVariant LookupCombo::keyValue() const
{
    MemTable *t = m_model->table();
    const int row = currentIndex();
    if (!t || row < 0)
        return {};
    return t->valueAt(row, t->fieldIndex(m_keyField));
}

void LookupCombo::setKeyValue(const QVariant &key)
{
    MemTable *t = m_model->table();
    if (!t || key.isNull()) {
        setCurrentIndex(-1);
        return;
    }
    const int f = t->fieldIndex(m_keyField);
    QVariant k;
    try {
        k = MemTable::convert(t->fieldDef(f), key);
    } catch (const MemTableError &) {
        setCurrentIndex(-1);
        return;
    }
    for (int row = 0; row < t->recordCount(); ++row) {
        if (t->valueAt(row, f) == k) {
            setCurrentIndex(row);
            return;
        }
    }
    setCurrentIndex(-1);
}

bool TeclaDeBusqueda(const QKeyEvent *k, QLineEdit *busca, MemTable &tabla, const QWidget *grid)
{
    if (k->modifiers() & (Qt::ControlModifier | Qt::AltModifier))
        return false;
    switch (k->key()) {
    case Qt::Key_Escape:
        busca->clear();
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: {
        const int filas = std::max(1, grid->height() / 19);
        tabla.moveBy(k->key() == Qt::Key_PageUp ? -filas : filas);
        return true;
    }
    case Qt::Key_End:
        tabla.last();
        return true;
    case Qt::Key_Home:
        tabla.first();
        return true;
    case Qt::Key_Up:
        tabla.prior();
        return true;
    case Qt::Key_Down:
        tabla.next();
        return true;
    default:
        return false;
    }
}

} // namespace lar
