// The memory table's view: the order in force, the rows in sight under the filter,
// navigation, and the searches (Locate, nearest match, bookmarks).

#include "memtable_p.h"

#include <algorithm>
#include <limits>

namespace lar {

using namespace memtable_p;

namespace {

// Appends the value as text, upper-cased, in UTF-8; plain ASCII texts (nearly all
// of a catalogue) go byte by byte, without the two temporary strings.
void appendUpperUtf8(std::string &out, const FieldDef &def, const QVariant &v)
{
    if (def.type == FieldType::String && v.typeId() == QMetaType::QString) {
        const QString &t = *static_cast<const QString *>(v.constData());
        const size_t from = out.size();
        bool ascii = true;
        for (const QChar c : t) {
            const char16_t u = c.unicode();
            if (u >= 0x80) {
                ascii = false;
                break;
            }
            out.push_back(char(u >= u'a' && u <= u'z' ? u - (u'a' - u'A') : u));
        }
        if (ascii)
            return;
        out.resize(from);
    }
    const QByteArray u = MemTable::asText(def, v).toUpper().toUtf8();
    out.append(u.constData(), size_t(u.size()));
}

} // namespace

std::string_view MemTable::upperUtf8(int field) const
{
    if (field < 0 || size_t(field) >= m_defs.size())
        return {};
    if (m_filterRec && m_filterPos >= 0) {
        // Inside a filter pass over the order: the column's texts upper-cased, one
        // after another in that order, built on first use and dropped when rows,
        // values or order change.
        if (m_upper.size() < m_defs.size())
            m_upper.resize(m_defs.size());
        UpperColumn &col = m_upper[size_t(field)];
        if (col.gen != m_gen || col.offsets.size() != m_order.size() + 1) {
            col.bytes.clear();
            col.offsets.clear();
            col.offsets.reserve(m_order.size() + 1);
            col.offsets.push_back(0);
            for (const Rec *r : m_order) {
                appendUpperUtf8(col.bytes, m_defs[size_t(field)], r->v[size_t(field)]);
                col.offsets.push_back(col.bytes.size());
            }
            col.gen = m_gen;
        }
        const size_t from = col.offsets[size_t(m_filterPos)];
        return std::string_view(col.bytes).substr(from,
                                                  col.offsets[size_t(m_filterPos) + 1] - from);
    }
    m_scratch.clear();
    appendUpperUtf8(m_scratch, m_defs[size_t(field)], value(field));
    return m_scratch;
}

// --- MemTable: order and sight ---------------------------------------------------------

int MemTable::compareKey(const Rec *a, const Rec *b) const
{
    for (int f : m_key.fields) {
        const int c
            = compareVariant(m_defs[size_t(f)].type, a->v[size_t(f)], b->v[size_t(f)], true);
        if (c != 0)
            return m_key.descending ? -c : c;
    }
    return 0;
}

bool MemTable::less(const Rec *a, const Rec *b) const
{
    const int c = compareKey(a, b);
    if (c != 0)
        return c < 0;
    return a->seq < b->seq;
}

bool MemTable::passes(Rec *r, qsizetype pos) const
{
    if (!m_filtered || !m_filter)
        return true;
    Rec *saved = m_filterRec;
    const qsizetype savedPos = m_filterPos;
    m_filterRec = r;
    m_filterPos = pos;
    bool ok = false;
    try {
        ok = m_filter(*const_cast<MemTable *>(this));
    } catch (...) {
        m_filterRec = saved;
        m_filterPos = savedPos;
        throw;
    }
    m_filterRec = saved;
    m_filterPos = savedPos;
    return ok;
}

void MemTable::rebuild() const
{
    if (m_orderDirty) {
        m_orderDirty = false;
        m_viewDirty = true;
        ++m_gen;
        m_order.resize(m_all.size());
        for (size_t i = 0; i < m_all.size(); ++i)
            m_order[i] = m_all[i].get();
        // m_all is in the order of entry, so a stable sort keeps ties that way.
        const FieldType unico
            = m_key.fields.size() == 1 ? m_defs[size_t(m_key.fields[0])].type : FieldType::Currency;
        if (m_key.fields.size() == 1 && unico == FieldType::String)
            sortByText();
        else if (m_key.fields.size() == 1
                 && (unico == FieldType::Integer || unico == FieldType::Float
                     || unico == FieldType::Date || unico == FieldType::DateTime))
            sortByNumber();
        else if (!m_key.fields.empty())
            std::stable_sort(m_order.begin(), m_order.end(), [this](const Rec *a, const Rec *b) {
                return compareKey(a, b) < 0;
            });
    }
    if (!m_viewDirty)
        return;
    m_viewDirty = false;
    if (m_filtered && m_filter) {
        m_view.clear();
        m_view.reserve(m_order.size());
        for (size_t i = 0; i < m_order.size(); ++i) {
            if (passes(m_order[i], qsizetype(i)))
                m_view.push_back(m_order[i]);
        }
    } else {
        m_view = m_order;
    }
    m_row = m_cur ? viewPos(m_cur) : -1;
    if (m_row < 0) {
        m_cur = m_view.empty() ? nullptr : m_view.front();
        m_row = m_view.empty() ? -1 : 0;
        m_bof = true;
        m_eof = m_view.empty();
    }
}

void MemTable::sortByNumber() const
{
    // One number, date or moment: each row's key read once, as sortByText does for
    // texts (a local moment converts through the time zone at every comparison
    // otherwise). Nulls first, invalid dates and moments before valid ones, as
    // compareVariant puts them.
    struct Clave
    {
        bool nulo;
        qint64 entero;
        double real;
        Rec *rec;
    };
    const size_t f = size_t(m_key.fields[0]);
    const FieldType tipo = m_defs[f].type;
    std::vector<Clave> claves;
    claves.reserve(m_order.size());
    for (Rec *r : m_order) {
        const QVariant &v = r->v[f];
        Clave c{v.isNull(), 0, 0, r};
        if (!c.nulo) {
            switch (tipo) {
            case FieldType::Float:
                c.real = v.toDouble();
                break;
            case FieldType::Date:
                c.entero = v.toDate().toJulianDay(); // invalid: the least value
                break;
            case FieldType::DateTime: {
                const QDateTime m = v.toDateTime();
                c.entero = m.isValid() ? m.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
                break;
            }
            default:
                c.entero = v.toLongLong();
                break;
            }
        }
        claves.push_back(c);
    }
    const bool desc = m_key.descending;
    const bool real = tipo == FieldType::Float;
    std::stable_sort(claves.begin(), claves.end(), [desc, real](const Clave &a, const Clave &b) {
        const Clave &x = desc ? b : a;
        const Clave &y = desc ? a : b;
        if (x.nulo != y.nulo)
            return x.nulo;
        if (x.nulo)
            return false;
        return real ? x.real < y.real : x.entero < y.entero;
    });
    for (size_t i = 0; i < claves.size(); ++i)
        m_order[i] = claves[i].rec;
}

void MemTable::sortByText() const
{
    // One text field, compared without case: fold every text once, into one buffer,
    // instead of at each of the n log n comparisons (a catalogue of 100,000 rows
    // sorts at once). Nulls go first, as compareVariant puts them.
    struct Clave
    {
        qsizetype desde;
        qsizetype largo; // -1: null
        Rec *rec;
    };
    const size_t f = size_t(m_key.fields[0]);
    std::vector<Clave> claves;
    claves.reserve(m_order.size());
    std::u16string textos;
    textos.reserve(m_order.size() * 32);
    for (Rec *r : m_order) {
        const QVariant &v = r->v[f];
        if (v.isNull()) {
            claves.push_back({0, -1, r});
            continue;
        }
        QString copia;
        const QString *t = nullptr;
        if (v.typeId() == QMetaType::QString) {
            t = static_cast<const QString *>(v.constData());
        } else {
            copia = v.toString();
            t = &copia;
        }
        const qsizetype desde = qsizetype(textos.size());
        textos.resize(textos.size() + size_t(t->size()));
        char16_t *sale = textos.data() + desde;
        for (const QChar c : *t) {
            const char16_t u = c.unicode();
            if (u < 0x80)
                *sale++ = u >= u'A' && u <= u'Z' ? u + (u'a' - u'A') : u;
            else
                *sale++ = c.toCaseFolded().unicode();
        }
        claves.push_back({desde, t->size(), r});
    }
    const bool desc = m_key.descending;
    const char16_t *base = textos.data();
    std::stable_sort(claves.begin(), claves.end(), [desc, base](const Clave &a, const Clave &b) {
        const Clave &x = desc ? b : a;
        const Clave &y = desc ? a : b;
        if ((x.largo < 0) != (y.largo < 0))
            return x.largo < 0;
        if (x.largo < 0)
            return false;
        return QStringView(base + x.desde, x.largo).compare(QStringView(base + y.desde, y.largo))
               < 0;
    });
    for (size_t i = 0; i < claves.size(); ++i)
        m_order[i] = claves[i].rec;
}

void MemTable::ensure() const
{
    if (m_orderDirty || m_viewDirty)
        rebuild();
}

int MemTable::viewPos(const Rec *r) const
{
    auto it = std::lower_bound(
        m_view.begin(), m_view.end(), r, [this](const Rec *a, const Rec *b) { return less(a, b); });
    if (it != m_view.end() && *it == r)
        return int(it - m_view.begin());
    return -1;
}

void MemTable::setKey(const QStringList &fields, bool descending)
{
    Key k;
    k.descending = descending;
    for (const QString &f : fields) {
        const int i = fieldIndex(f);
        if (i < 0)
            throw MemTableError(QStringLiteral("No existe el campo %1").arg(f));
        k.fields.push_back(i);
    }
    if (k.fields == m_key.fields && k.descending == m_key.descending)
        return;
    if (isActive())
        checkBrowseMode();
    m_key = k;
    m_orderDirty = true;
    if (isActive())
        signalData();
}

void MemTable::setIndexFieldNames(const QString &fields)
{
    const QStringList list = splitFields(fields);
    setKey(list, false);
    m_indexFieldNames = list.join(u';');
    m_activeIndexName.clear();
}

QString MemTable::indexFieldNames() const
{
    return m_indexFieldNames;
}

void MemTable::addIndex(const QString &name, const QString &fields, bool descending)
{
    const QStringList list = splitFields(fields);
    for (const QString &f : list) {
        if (fieldIndex(f) < 0)
            throw MemTableError(QStringLiteral("No existe el campo %1").arg(f));
    }
    for (IndexDef &d : m_indexes) {
        if (d.name.compare(name, Qt::CaseInsensitive) == 0) {
            d.fields = list;
            d.descending = descending;
            return;
        }
    }
    m_indexes.push_back({name, list, descending});
}

void MemTable::deleteIndexes()
{
    m_indexes.clear();
    if (!m_activeIndexName.isEmpty()) {
        m_activeIndexName.clear();
        setKey({}, false);
    }
}

void MemTable::setIndexName(const QString &name)
{
    if (name.isEmpty()) {
        setIndexFieldNames(QString());
        return;
    }
    for (const IndexDef &d : m_indexes) {
        if (d.name.compare(name, Qt::CaseInsensitive) == 0) {
            setKey(d.fields, d.descending);
            m_activeIndexName = d.name;
            m_indexFieldNames.clear();
            return;
        }
    }
    throw MemTableError(QStringLiteral("No existe el índice %1").arg(name));
}

void MemTable::sortBy(const QString &fields, bool descending)
{
    const QStringList list = splitFields(fields);
    setKey(list, descending);
    m_indexFieldNames = descending ? QString() : list.join(u';');
    m_activeIndexName.clear();
}

void MemTable::setFiltered(bool on)
{
    if (on == m_filtered)
        return;
    if (isActive())
        checkBrowseMode();
    m_filtered = on;
    m_viewDirty = true;
    if (isActive())
        signalData();
}

void MemTable::setOnFilterRecord(FilterFn fn)
{
    if (isActive())
        checkBrowseMode();
    m_filter = std::move(fn);
    if (m_filtered) {
        m_viewDirty = true;
        if (isActive())
            signalData();
    }
}

void MemTable::refresh()
{
    requireActive();
    checkBrowseMode();
    m_viewDirty = true;
    signalData();
}

// --- MemTable: navigation ------------------------------------------------------------------

int MemTable::recordCount() const
{
    if (!isActive())
        return 0;
    ensure();
    return int(m_view.size());
}

int MemTable::recNo() const
{
    if (!isActive())
        return -1;
    ensure();
    return m_row;
}

void MemTable::moveTo(int row)
{
    ensure();
    if (m_view.empty()) {
        m_cur = nullptr;
        m_row = -1;
        m_bof = m_eof = true;
        signalCurrent();
        return;
    }
    row = std::clamp(row, 0, int(m_view.size()) - 1);
    const bool moved = row != m_row || m_cur != m_view[size_t(row)];
    m_row = row;
    m_cur = m_view[size_t(row)];
    m_bof = m_eof = false;
    if (moved)
        signalCurrent();
}

void MemTable::setRecNo(int row)
{
    requireActive();
    checkBrowseMode();
    moveTo(row);
}

void MemTable::first()
{
    requireActive();
    checkBrowseMode();
    moveTo(0);
    m_bof = true;
    m_eof = m_view.empty();
}

void MemTable::last()
{
    requireActive();
    checkBrowseMode();
    moveTo(int(m_view.size()) - 1);
    m_eof = true;
    m_bof = m_view.empty();
}

void MemTable::next()
{
    moveBy(1);
}

void MemTable::prior()
{
    moveBy(-1);
}

int MemTable::moveBy(int distance)
{
    requireActive();
    checkBrowseMode();
    ensure();
    const int n = int(m_view.size());
    if (n == 0) {
        m_bof = m_eof = true;
        return 0;
    }
    const int from = m_row;
    const int target = from + distance;
    moveTo(target);
    if (target >= n)
        m_eof = true;
    if (target < 0)
        m_bof = true;
    return m_row - from;
}

// --- MemTable: search and bookmarks ---------------------------------------------------------

bool MemTable::locate(const QString &fields, const QVariant &value, LocateOptions options)
{
    return locate(fields, QVariantList{value}, options);
}

bool MemTable::locate(const QString &fields, const QVariantList &values, LocateOptions options)
{
    requireActive();
    checkBrowseMode();
    const QStringList names = splitFields(fields);
    if (names.size() != values.size())
        throw MemTableError(
            QStringLiteral("Locate: %1 campos y %2 valores").arg(names.size()).arg(values.size()));
    std::vector<int> idx;
    std::vector<QVariant> keys;
    for (int i = 0; i < names.size(); ++i) {
        const int f = fieldIndex(names[i]);
        if (f < 0)
            throw MemTableError(QStringLiteral("No existe el campo %1").arg(names[i]));
        idx.push_back(f);
        const FieldDef &d = m_defs[size_t(f)];
        // A key that doesn't convert to the field's type can't match anything.
        try {
            keys.push_back(d.type == FieldType::String ? QVariant(values[i].toString())
                                                       : convert(d, values[i]));
        } catch (const MemTableError &) {
            return false;
        }
    }
    const Qt::CaseSensitivity cs
        = options.caseInsensitive ? Qt::CaseInsensitive : Qt::CaseSensitive;
    ensure();
    for (size_t row = 0; row < m_view.size(); ++row) {
        const Rec *r = m_view[row];
        bool ok = true;
        for (size_t k = 0; k < idx.size() && ok; ++k) {
            const FieldDef &d = m_defs[size_t(idx[k])];
            const QVariant &v = r->v[size_t(idx[k])];
            if (keys[k].isNull() || v.isNull()) {
                ok = keys[k].isNull() && v.isNull();
            } else if (d.type == FieldType::String) {
                const QString s = v.toString();
                const QString key = keys[k].toString();
                ok = options.partialKey ? s.startsWith(key, cs) : s.compare(key, cs) == 0;
            } else {
                ok = compareVariant(d.type, v, keys[k], false) == 0;
            }
        }
        if (ok) {
            moveTo(int(row));
            return true;
        }
    }
    return false;
}

void MemTable::findNearest(const QVariantList &values)
{
    requireActive();
    checkBrowseMode();
    ensure();
    if (m_view.empty())
        return;
    const size_t n = std::min(values.size(), qsizetype(m_key.fields.size()));
    if (n == 0) {
        moveTo(0);
        return;
    }
    std::vector<QVariant> keys;
    for (size_t k = 0; k < n; ++k) {
        const FieldDef &d = m_defs[size_t(m_key.fields[k])];
        try {
            keys.push_back(d.type == FieldType::String ? QVariant(values[qsizetype(k)].toString())
                                                       : convert(d, values[qsizetype(k)]));
        } catch (const MemTableError &) {
            keys.push_back(QVariant());
        }
    }
    // Compares a row's key with the value: strings by the value's length, without case.
    auto rowBefore = [&](const Rec *r) {
        for (size_t k = 0; k < n; ++k) {
            const int f = m_key.fields[k];
            const FieldDef &d = m_defs[size_t(f)];
            int c;
            if (d.type == FieldType::String && !keys[k].isNull() && !r->v[size_t(f)].isNull()) {
                const QString key = keys[k].toString();
                c = QString::compare(QStringView(r->v[size_t(f)].toString()).left(key.size()),
                                     key,
                                     Qt::CaseInsensitive);
                c = c < 0 ? -1 : (c > 0 ? 1 : 0);
            } else {
                c = compareVariant(d.type, r->v[size_t(f)], keys[k], true);
            }
            if (m_key.descending)
                c = -c;
            if (c != 0)
                return c < 0;
        }
        return false;
    };
    auto it = std::partition_point(m_view.begin(), m_view.end(), rowBefore);
    moveTo(it == m_view.end() ? int(m_view.size()) - 1 : int(it - m_view.begin()));
}

MemTable::Bookmark MemTable::bookmark() const
{
    if (!isActive())
        return 0;
    ensure();
    return m_cur ? m_cur->id : 0;
}

bool MemTable::bookmarkValid(Bookmark b) const
{
    if (!isActive() || b == 0)
        return false;
    ensure();
    for (const Rec *r : m_view) {
        if (r->id == b)
            return true;
    }
    return false;
}

bool MemTable::gotoBookmark(Bookmark b)
{
    requireActive();
    checkBrowseMode();
    ensure();
    for (size_t row = 0; row < m_view.size(); ++row) {
        if (m_view[row]->id == b) {
            moveTo(int(row));
            return true;
        }
    }
    return false;
}

} // namespace lar
