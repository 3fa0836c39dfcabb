#pragma once

#include "fb/decimal.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fb {
class Query;
}

namespace lar {

class MemTable;

struct LocateOptions
{
    bool caseInsensitive = false;
    bool partialKey = false; // strings: the value starts with the key
};

enum class FieldType { Integer, Float, Currency, String, Boolean, Date, DateTime };

struct FieldDef
{
    QString name;
    FieldType type = FieldType::String;
    // Characters of a String field (0: no limit); decimals of a Currency field (0: 4).
    int size = 0;
    QString displayLabel;  // column title; the name when empty
    QString displayFormat; // ",0;-,0", "#,0.00;-#,0.00"... for numeric fields
    bool readOnly = false;
    // A DateTime field loaded from a query as a zone-less wall time (Qt::UTC): for dates
    // that are shown and sorted, not compared with the clock; spares a zone look-up per row.
    bool wallTime = false;

    QString label() const { return displayLabel.isEmpty() ? name : displayLabel; }
    bool isNumeric() const
    {
        return type == FieldType::Integer || type == FieldType::Float
               || type == FieldType::Currency;
    }
};

// Wrong use of a memory table: unknown field, write outside edit, bad conversion.
class MemTableError : public std::exception
{
public:
    explicit MemTableError(QString message);
    const QString &message() const { return m_message; }
    const char *what() const noexcept override { return m_what.constData(); }

private:
    QString m_message;
    QByteArray m_what;
};

// One field of a memory table, read and written on the record in hand: the edit
// buffer while editing, the record under test inside a record filter, otherwise
// the current record. A handle: cheap to copy, valid while the field exists.
class MemField
{
public:
    MemField(MemTable *table, int index)
        : m_table(table)
        , m_index(index)
    {}

    int index() const { return m_index; }
    const FieldDef &def() const;
    QString name() const { return def().name; }
    FieldType type() const { return def().type; }

    bool isNull() const;
    QVariant value() const;
    QString asString() const;
    int asInteger() const;
    qint64 asLargeInt() const;
    double asFloat() const;
    fb::Decimal asCurrency() const;
    bool asBoolean() const;
    QDate asDate() const;
    QDateTime asDateTime() const;
    // Formatted as a grid shows it (display format, dates dd/MM/yyyy).
    QString displayText() const;

    // Converts to the field's type (strings are cut to the size); throws
    // MemTableError when the table isn't editing or the value doesn't convert.
    void setValue(const QVariant &v);
    void clear() { setValue(QVariant()); }
    MemField &operator=(const QVariant &v)
    {
        setValue(v);
        return *this;
    }

private:
    MemTable *m_table;
    int m_index;
};

// A table held in memory: typed fields, rows, a current row and the edit states
// of a data set (browse, edit, insert). Rows are kept in the order of the index
// in force (IndexFieldNames "A;B" or a named index; ties keep the order in which
// rows were added), and, while Filtered, only the rows that the record filter
// passes are in sight: navigation, counts, Locate and the grid models work on
// the rows in sight. Bookmarks name a row and survive re-sorting and filtering.
//
// Signals drive the grid models. Between disableControls() and the matching
// enableControls() nothing is signalled, and appended rows are only sorted and
// filtered when something asks for positions, so a big load costs one sort.
class MemTable : public QObject
{
    Q_OBJECT

public:
    enum class State { Inactive, Browse, Edit, Insert };
    using Bookmark = quint64; // 0: none
    using FilterFn = std::function<bool(MemTable &)>;

    struct IndexDef
    {
        QString name;
        QStringList fields;
        bool descending = false;
    };

    explicit MemTable(QObject *parent = nullptr);
    ~MemTable() override;

    // Structure. Fields are defined while the table is closed.
    void addField(const QString &name, FieldType type, int size = 0);
    void addField(const FieldDef &def);
    void clearFields();
    int fieldCount() const { return int(m_defs.size()); }
    const FieldDef &fieldDef(int index) const;
    FieldDef &fieldDef(int index);
    // -1 when there's no such field; names compare case-insensitively.
    int fieldIndex(const QString &name) const;
    MemField field(int index);
    // Throws MemTableError when there's no such field.
    MemField fieldByName(const QString &name);
    MemField operator[](const QString &name) { return fieldByName(name); }
    // Same fields as an open query's columns (type, name, size); closes the table.
    void copyStructure(const fb::Query &query);
    void copyStructure(const MemTable &other);

    void open();
    void close(); // rows are kept only while open: closing empties the table
    bool isActive() const { return m_state != State::Inactive; }
    void setActive(bool on) { on ? open() : close(); }
    State state() const { return m_state; }
    bool isEditing() const { return m_state == State::Edit || m_state == State::Insert; }
    void emptyTable();

    // Appends every row of the query from its current row to the end, column n to
    // field n; returns the rows added. The table must be open. ajuste, when given,
    // sees each row's values once converted, before the row joins the table, and may
    // rewrite them (keeping each field's type): a load that reshapes a column or two
    // needs no append and post per row.
    using AjusteFila = std::function<void(std::span<QVariant> valores)>;
    int loadFromQuery(fb::Query &query, const AjusteFila &ajuste = {});

    // Rows in sight and the current row (0-based; -1 when there is none).
    int recordCount() const;
    bool isEmpty() const { return recordCount() == 0; }
    int recNo() const;
    void setRecNo(int row);
    void first();
    void last();
    void next();
    void prior();
    int moveBy(int distance); // returns the rows actually moved
    bool eof() const { return m_eof; }
    bool bof() const { return m_bof; }

    // Editing. Moving to another row posts a pending edit first.
    void append();
    void insert();
    void edit();
    void post();
    void cancel();
    void deleteRecord();
    // A row with the values in field order; the values of an rvalue list are moved
    // from (a load reuses its list, row after row). A value that doesn't convert
    // throws MemTableError and nothing is added.
    void appendRecord(const QVariantList &values);
    void appendRecord(QVariantList &&values);
    // Posts an edit or insert in progress.
    void checkBrowseMode();

    // Order. "A;B" sorts ascending by A then B; empty restores the order of entry.
    void setIndexFieldNames(const QString &fields);
    QString indexFieldNames() const;
    void addIndex(const QString &name, const QString &fields, bool descending = false);
    void deleteIndexes();
    const std::vector<IndexDef> &indexDefs() const { return m_indexes; }
    void setIndexName(const QString &name);
    QString indexName() const { return m_activeIndexName; }
    // Sorts by one field without naming an index (grid column headers).
    void sortBy(const QString &fields, bool descending);

    // Filtering by a record filter: only rows for which it returns true are in
    // sight while Filtered is on. The filter reads fields through the table
    // (fieldByName, value) as if the row under test were current.
    void setFiltered(bool on);
    bool filtered() const { return m_filtered; }
    void setOnFilterRecord(FilterFn fn);
    bool hasFilter() const { return bool(m_filter); }
    // Tests the filter again on every row and re-sorts; the current row stays if
    // it still is in sight, otherwise the first row becomes current.
    void refresh();

    bool locate(const QString &fields, const QVariant &value, LocateOptions options = {});
    bool locate(const QString &fields, const QVariantList &values, LocateOptions options = {});
    // The first row whose key on the index in force is at or after the value
    // (strings: compared without case, by the value's length); the last row if none.
    void findNearest(const QVariantList &values);

    Bookmark bookmark() const;
    bool bookmarkValid(Bookmark b) const;
    bool gotoBookmark(Bookmark b);

    void disableControls();
    void enableControls();
    bool controlsDisabled() const { return m_disabled > 0; }

    // Direct reads for models and filters.
    const QVariant &value(int field) const;            // the record in hand
    const QVariant &valueAt(int row, int field) const; // a row in sight
    Bookmark bookmarkAt(int row) const;
    // Puts a value into a row in sight: moves there, edits, sets and posts.
    void setValueAt(int row, int field, const QVariant &v);

    // Every row of the table, filter or not, in the order in force.
    int totalCount() const { return int(m_all.size()); }
    QVariant valueOfAnyRow(int n, int field) const;

    // The field of the record in hand as text, upper-cased, in UTF-8, for word
    // searches (WordMatcher). Inside a record filter run by refresh() it comes from
    // a per-field cache, so a search on each key press doesn't convert every row
    // again. Valid until the next call.
    std::string_view upperUtf8(int field) const;

    // A stored value as text (MemField::asString).
    static QString asText(const FieldDef &def, const QVariant &v);
    // The value as the field stores it; throws MemTableError when it doesn't convert.
    // A value already of the field's type is passed on (moved, when given an rvalue).
    static QVariant convert(const FieldDef &def, QVariant v);
    static QString displayText(const FieldDef &def, const QVariant &v);

signals:
    // Rows, order, filter or structure changed: views reload.
    void dataChanged();
    // The values of one row in sight changed in place.
    void rowChanged(int row);
    void currentChanged(int row);
    void stateChanged(lar::MemTable::State state);

private:
    friend class MemField;
    struct Rec;
    struct Key
    {
        std::vector<int> fields;
        bool descending = false;
    };

    void requireActive() const;
    void requireEditing() const;
    void setValue(int field, const QVariant &v);
    void ensure() const;
    void rebuild() const;
    void sortByText() const;
    void sortByNumber() const;
    bool less(const Rec *a, const Rec *b) const;
    int compareKey(const Rec *a, const Rec *b) const;
    bool passes(Rec *r, qsizetype pos = -1) const;
    void setKey(const QStringList &fields, bool descending);
    int viewPos(const Rec *r) const;
    void moveTo(int row);
    void signalData();
    void signalCurrent();
    void signalRow(int row);
    void setState(State s);
    Rec *newRec();
    void placeChanged(Rec *r, bool isNew);
    void removeRec(Rec *r);

    std::vector<FieldDef> m_defs;
    State m_state = State::Inactive;
    std::vector<std::unique_ptr<Rec>> m_all; // order of entry
    mutable std::vector<Rec *> m_order;      // all rows, order in force
    mutable std::vector<Rec *> m_view;       // rows in sight
    mutable bool m_orderDirty = false;       // m_order needs building and sorting
    mutable bool m_viewDirty = false;        // m_view needs the filter again
    mutable Rec *m_cur = nullptr;
    mutable int m_row = -1;
    mutable Rec *m_filterRec = nullptr;
    mutable qsizetype m_filterPos = -1; // its place in m_order during a filter pass
    struct UpperColumn
    {
        quint64 gen = 0;
        std::string bytes;
        std::vector<size_t> offsets; // row n is bytes[offsets[n], offsets[n + 1])
    };
    mutable std::vector<UpperColumn> m_upper;
    mutable quint64 m_gen = 1; // changes with the rows, their values or their order
    mutable std::string m_scratch;
    std::unique_ptr<Rec> m_buffer; // edit or insert buffer
    Rec *m_insertBefore = nullptr; // insert(): place in the order of entry
    mutable bool m_eof = true;
    mutable bool m_bof = true;
    Key m_key;
    QString m_indexFieldNames;
    QString m_activeIndexName;
    std::vector<IndexDef> m_indexes;
    bool m_filtered = false;
    FilterFn m_filter;
    int m_disabled = 0;
    bool m_pendingSignal = false;
    qint64 m_nextSeq = 0;
    quint64 m_nextId = 1;
};

// Keeps a table's controls silent for a scope: disableControls() now, the matching
// enableControls() on every way out, an exception included.
class BloqueoControles
{
public:
    explicit BloqueoControles(MemTable &tabla)
        : m_tabla(tabla)
    {
        m_tabla.disableControls();
    }
    ~BloqueoControles() { m_tabla.enableControls(); }
    BloqueoControles(const BloqueoControles &) = delete;
    BloqueoControles &operator=(const BloqueoControles &) = delete;

private:
    MemTable &m_tabla;
};

} // namespace lar
