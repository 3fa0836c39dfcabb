// The memory table itself: fields, open and close, loading, editing and posting,
// and the signals to the grids.

#include "memtable_p.h"

#include "fb/query.h"

#include <QHash>

#include <algorithm>

namespace lar {

using namespace memtable_p;

// --- MemTable: structure ----------------------------------------------------------

MemTable::MemTable(QObject *parent)
    : QObject(parent)
{}

MemTable::~MemTable() = default;

void MemTable::addField(const QString &name, FieldType type, int size)
{
    FieldDef d;
    d.name = name;
    d.type = type;
    d.size = size;
    addField(d);
}

void MemTable::addField(const FieldDef &def)
{
    if (isActive())
        throw MemTableError(QStringLiteral("No se pueden agregar campos a una tabla abierta"));
    if (fieldIndex(def.name) >= 0)
        throw MemTableError(QStringLiteral("El campo %1 ya existe").arg(def.name));
    m_defs.push_back(def);
}

void MemTable::clearFields()
{
    close();
    m_defs.clear();
    m_key = Key();
    m_indexFieldNames.clear();
    m_activeIndexName.clear();
    m_indexes.clear();
}

const FieldDef &MemTable::fieldDef(int index) const
{
    if (index < 0 || size_t(index) >= m_defs.size())
        throw MemTableError(QStringLiteral("No existe el campo %1").arg(index));
    return m_defs[size_t(index)];
}

FieldDef &MemTable::fieldDef(int index)
{
    if (index < 0 || size_t(index) >= m_defs.size())
        throw MemTableError(QStringLiteral("No existe el campo %1").arg(index));
    return m_defs[size_t(index)];
}

int MemTable::fieldIndex(const QString &name) const
{
    for (size_t i = 0; i < m_defs.size(); ++i) {
        if (m_defs[i].name.compare(name, Qt::CaseInsensitive) == 0)
            return int(i);
    }
    return -1;
}

MemField MemTable::field(int index)
{
    fieldDef(index);
    return MemField(this, index);
}

MemField MemTable::fieldByName(const QString &name)
{
    const int i = fieldIndex(name);
    if (i < 0)
        throw MemTableError(QStringLiteral("No existe el campo %1").arg(name));
    return MemField(this, i);
}

void MemTable::copyStructure(const fb::Query &query)
{
    clearFields();
    for (int i = 0; i < query.fieldCount(); ++i) {
        const fb::FieldInfo info = query.fieldInfo(i);
        FieldDef d;
        d.name = query.fieldName(i);
        switch (info.kind) {
        case fb::FieldInfo::Kind::Integer:
            d.type = FieldType::Integer;
            break;
        case fb::FieldInfo::Kind::Float:
            d.type = FieldType::Float;
            break;
        case fb::FieldInfo::Kind::Decimal:
            d.type = FieldType::Currency;
            d.size = info.scale;
            break;
        case fb::FieldInfo::Kind::String:
            d.type = FieldType::String;
            d.size = info.size;
            break;
        case fb::FieldInfo::Kind::Date:
            d.type = FieldType::Date;
            break;
        case fb::FieldInfo::Kind::Time:
        case fb::FieldInfo::Kind::DateTime:
            d.type = FieldType::DateTime;
            break;
        case fb::FieldInfo::Kind::Boolean:
            d.type = FieldType::Boolean;
            break;
        case fb::FieldInfo::Kind::Text:
        case fb::FieldInfo::Kind::Blob:
            d.type = FieldType::String;
            break;
        }
        // Two columns of one name (two "nombre" of a join) keep both, the second renamed.
        QString base = d.name;
        for (int n = 1; fieldIndex(d.name) >= 0; ++n)
            d.name = base + u'_' + QString::number(n);
        m_defs.push_back(d);
    }
}

void MemTable::copyStructure(const MemTable &other)
{
    clearFields();
    m_defs = other.m_defs;
}

// --- MemTable: open, close, load ----------------------------------------------------

void MemTable::open()
{
    if (isActive())
        return;
    if (m_defs.empty())
        throw MemTableError(QStringLiteral("La tabla no tiene campos"));
    setState(State::Browse);
    m_orderDirty = true;
    m_bof = m_eof = true;
    signalData();
}

void MemTable::close()
{
    if (!isActive())
        return;
    m_buffer.reset();
    m_all.clear();
    m_order.clear();
    m_view.clear();
    m_cur = nullptr;
    m_row = -1;
    m_orderDirty = m_viewDirty = false;
    ++m_gen;
    m_bof = m_eof = true;
    setState(State::Inactive);
    signalData();
}

void MemTable::emptyTable()
{
    requireActive();
    m_buffer.reset();
    m_all.clear();
    m_order.clear();
    m_view.clear();
    m_cur = nullptr;
    m_row = -1;
    m_orderDirty = m_viewDirty = false;
    ++m_gen;
    m_bof = m_eof = true;
    setState(State::Browse);
    signalData();
}

int MemTable::loadFromQuery(fb::Query &query, const AjusteFila &ajuste)
{
    requireActive();
    checkBrowseMode();
    disableControls();
    int n = 0;
    const int cols = std::min(query.fieldCount(), fieldCount());
    try {
        for (; !query.eof(); query.next()) {
            std::unique_ptr<Rec> r(newRec());
            for (int i = 0; i < cols; ++i) {
                const fb::Field f = query.field(i);
                const FieldDef &def = m_defs[size_t(i)];
                if (f.isNull())
                    continue;
                if (def.wallTime && def.type == FieldType::DateTime)
                    r->v[size_t(i)] = f.toWallDateTime();
                else
                    r->v[size_t(i)] = convert(def, f.toVariant());
            }
            if (ajuste)
                ajuste(std::span<QVariant>(r->v));
            m_cur = r.get();
            m_all.push_back(std::move(r));
            m_orderDirty = true;
            ++n;
        }
    } catch (...) {
        enableControls();
        throw;
    }
    m_pendingSignal = true;
    enableControls();
    return n;
}

// --- MemTable: editing -------------------------------------------------------------------

void MemTable::requireActive() const
{
    if (!isActive())
        throw MemTableError(QStringLiteral("La tabla no está abierta"));
}

void MemTable::requireEditing() const
{
    if (!isEditing())
        throw MemTableError(QStringLiteral("La tabla no está en modo de edición o inserción"));
}

MemTable::Rec *MemTable::newRec()
{
    auto *r = new Rec;
    r->v.resize(m_defs.size());
    r->id = m_nextId++;
    r->seq = (m_nextSeq += kSeqStep);
    return r;
}

void MemTable::setState(State s)
{
    if (s == m_state)
        return;
    m_state = s;
    if (!controlsDisabled())
        emit stateChanged(s);
}

void MemTable::append()
{
    requireActive();
    checkBrowseMode();
    m_buffer.reset(newRec());
    m_insertBefore = nullptr;
    setState(State::Insert);
}

void MemTable::insert()
{
    requireActive();
    checkBrowseMode();
    ensure();
    m_buffer.reset(newRec());
    // In the order of entry the new row goes before the current one.
    m_insertBefore = m_cur;
    setState(State::Insert);
}

void MemTable::edit()
{
    requireActive();
    if (isEditing())
        return;
    ensure();
    if (!m_cur)
        throw MemTableError(QStringLiteral("No hay un registro que modificar"));
    m_buffer = std::make_unique<Rec>(*m_cur);
    setState(State::Edit);
}

void MemTable::cancel()
{
    if (!isEditing())
        return;
    m_buffer.reset();
    m_insertBefore = nullptr;
    setState(State::Browse);
    signalCurrent();
}

void MemTable::checkBrowseMode()
{
    if (isEditing())
        post();
}

void MemTable::post()
{
    requireEditing();
    if (m_state == State::Insert) {
        Rec *r = m_buffer.release();
        const bool atEnd = !m_insertBefore;
        if (atEnd) {
            m_all.emplace_back(r);
        } else {
            // Take a sequence number between the neighbours; renumber when they touch.
            auto it
                = std::find_if(m_all.begin(), m_all.end(), [this](const std::unique_ptr<Rec> &p) {
                      return p.get() == m_insertBefore;
                  });
            const qint64 hi = m_insertBefore->seq;
            const qint64 lo = it == m_all.begin() ? hi - 2 * kSeqStep : (*(it - 1))->seq;
            it = m_all.emplace(it, r);
            if (hi - lo >= 2) {
                r->seq = lo + (hi - lo) / 2;
            } else {
                qint64 s = 0;
                for (auto &p : m_all)
                    p->seq = (s += kSeqStep);
                m_nextSeq = s;
                m_orderDirty = true;
            }
        }
        m_insertBefore = nullptr;
        m_cur = r;
        setState(State::Browse);
        placeChanged(r, true);
        return;
    }

    // Edit: write the buffer into the row and put the row where its new key says.
    Rec *r = m_cur;
    const bool keyChanged = std::any_of(m_key.fields.begin(), m_key.fields.end(), [&](int f) {
        return compareVariant(
                   m_defs[size_t(f)].type, r->v[size_t(f)], m_buffer->v[size_t(f)], false)
               != 0;
    });
    if (keyChanged) {
        auto o = std::find(m_order.begin(), m_order.end(), r);
        if (o != m_order.end())
            m_order.erase(o);
        auto w = std::find(m_view.begin(), m_view.end(), r);
        if (w != m_view.end())
            m_view.erase(w);
    }
    r->v = std::move(m_buffer->v);
    m_buffer.reset();
    ++m_gen;
    setState(State::Browse);
    if (!keyChanged) {
        if (passes(r)) {
            signalRow(m_row);
            return;
        }
        // Out of sight now: the next row in sight becomes current.
        m_view.erase(m_view.begin() + m_row);
        m_cur = nullptr;
        if (!m_view.empty()) {
            m_row = std::min(m_row, int(m_view.size()) - 1);
            m_cur = m_view[size_t(m_row)];
        } else {
            m_row = -1;
        }
        signalData();
        return;
    }
    placeChanged(r, true);
}

// Puts a new or re-keyed row into the order and the rows in sight.
void MemTable::placeChanged(Rec *r, bool isNew)
{
    Q_UNUSED(isNew);
    if (m_orderDirty || (controlsDisabled() && (!m_key.fields.empty() || m_filtered))) {
        // A load in progress: one sort when something asks for positions.
        m_orderDirty = true;
        m_cur = r;
        signalData();
        return;
    }
    auto cmp = [this](const Rec *a, const Rec *b) {
        return less(a, b);
    };
    m_order.insert(std::lower_bound(m_order.begin(), m_order.end(), r, cmp), r);
    ++m_gen;
    if (m_viewDirty) {
        m_cur = r;
        signalData();
        return;
    }
    if (passes(r)) {
        auto it = m_view.insert(std::lower_bound(m_view.begin(), m_view.end(), r, cmp), r);
        m_cur = r;
        m_row = int(it - m_view.begin());
    } else if (m_view.empty()) {
        m_cur = nullptr;
        m_row = -1;
    } else {
        // Not in sight: stay near where it would have been.
        auto it = std::lower_bound(m_view.begin(), m_view.end(), r, cmp);
        m_row = std::min(int(it - m_view.begin()), int(m_view.size()) - 1);
        m_cur = m_view[size_t(m_row)];
    }
    m_bof = m_eof = false;
    signalData();
}

void MemTable::removeRec(Rec *r)
{
    ++m_gen;
    auto o = std::find(m_order.begin(), m_order.end(), r);
    if (o != m_order.end())
        m_order.erase(o);
    auto w = std::find(m_view.begin(), m_view.end(), r);
    if (w != m_view.end())
        m_view.erase(w);
    auto a = std::find_if(
        m_all.begin(), m_all.end(), [r](const std::unique_ptr<Rec> &p) { return p.get() == r; });
    if (a != m_all.end())
        m_all.erase(a);
}

void MemTable::deleteRecord()
{
    requireActive();
    if (m_state == State::Insert) {
        cancel();
        return;
    }
    if (m_state == State::Edit)
        cancel();
    ensure();
    if (!m_cur)
        throw MemTableError(QStringLiteral("No hay un registro que borrar"));
    const int row = m_row;
    removeRec(m_cur);
    if (m_view.empty()) {
        m_cur = nullptr;
        m_row = -1;
        m_bof = m_eof = true;
    } else {
        m_row = std::min(row, int(m_view.size()) - 1);
        m_cur = m_view[size_t(m_row)];
    }
    signalData();
}

void MemTable::appendRecord(const QVariantList &values)
{
    appendRecord(QVariantList(values));
}

void MemTable::appendRecord(QVariantList &&values)
{
    requireActive();
    checkBrowseMode();
    // Built in place rather than through the insert buffer: a load appends row after
    // row, and a value that doesn't convert leaves the table as it was.
    std::unique_ptr<Rec> r(newRec());
    const qsizetype n = std::min(values.size(), qsizetype(m_defs.size()));
    for (qsizetype i = 0; i < n; ++i)
        r->v[size_t(i)] = convert(m_defs[size_t(i)], std::move(values[i]));
    Rec *p = r.get();
    m_all.push_back(std::move(r));
    m_cur = p;
    placeChanged(p, true);
}

const QVariant &MemTable::value(int field) const
{
    const Rec *r = m_filterRec;
    if (!r) {
        if (isEditing())
            r = m_buffer.get();
        else {
            ensure();
            r = m_cur;
        }
    }
    if (!r || field < 0 || size_t(field) >= r->v.size())
        return kNull;
    return r->v[size_t(field)];
}

void MemTable::setValue(int field, const QVariant &v)
{
    requireEditing();
    const FieldDef &d = fieldDef(field);
    m_buffer->v[size_t(field)] = convert(d, v);
}

const QVariant &MemTable::valueAt(int row, int field) const
{
    ensure();
    if (row < 0 || size_t(row) >= m_view.size() || field < 0 || size_t(field) >= m_defs.size())
        return kNull;
    if (isEditing() && m_view[size_t(row)] == m_cur && m_state == State::Edit)
        return m_buffer->v[size_t(field)];
    return m_view[size_t(row)]->v[size_t(field)];
}

MemTable::Bookmark MemTable::bookmarkAt(int row) const
{
    ensure();
    if (row < 0 || size_t(row) >= m_view.size())
        return 0;
    return m_view[size_t(row)]->id;
}

void MemTable::setValueAt(int row, int field, const QVariant &v)
{
    setRecNo(row);
    edit();
    try {
        setValue(field, v);
    } catch (...) {
        cancel();
        throw;
    }
    post();
}

QVariant MemTable::valueOfAnyRow(int n, int field) const
{
    ensure();
    if (n < 0 || size_t(n) >= m_order.size() || field < 0 || size_t(field) >= m_defs.size())
        return QVariant();
    return m_order[size_t(n)]->v[size_t(field)];
}

// --- MemTable: signals ----------------------------------------------------------------------

void MemTable::disableControls()
{
    ++m_disabled;
}

void MemTable::enableControls()
{
    if (m_disabled == 0)
        return;
    if (--m_disabled == 0 && m_pendingSignal) {
        m_pendingSignal = false;
        emit dataChanged();
        emit stateChanged(m_state);
        emit currentChanged(recNo());
    }
}

void MemTable::signalData()
{
    if (controlsDisabled()) {
        m_pendingSignal = true;
        return;
    }
    emit dataChanged();
    emit currentChanged(recNo());
}

void MemTable::signalCurrent()
{
    if (controlsDisabled()) {
        m_pendingSignal = true;
        return;
    }
    emit currentChanged(recNo());
}

void MemTable::signalRow(int row)
{
    if (controlsDisabled()) {
        m_pendingSignal = true;
        return;
    }
    emit rowChanged(row);
}

} // namespace lar
