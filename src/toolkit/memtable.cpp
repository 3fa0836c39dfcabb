#include "memtable.h"

#include "displayformat.h"

#include "fb/query.h"

#include <QHash>

#include <algorithm>

namespace lar {

struct MemTable::Rec
{
    std::vector<QVariant> v;
    qint64 seq = 0; // order of entry
    quint64 id = 0; // bookmark
};

namespace {

const QVariant kNull;
constexpr qint64 kSeqStep = 1 << 20;

const QMetaType kDecimalType = QMetaType::fromType<fb::Decimal>();

int currencyScale(const FieldDef &def)
{
    return def.size > 0 ? std::min(def.size, 18) : 4;
}

bool isDecimal(const QVariant &v)
{
    return v.metaType() == kDecimalType;
}

QString typeName(FieldType t)
{
    switch (t) {
    case FieldType::Integer:
        return QStringLiteral("entero");
    case FieldType::Float:
        return QStringLiteral("numérico");
    case FieldType::Currency:
        return QStringLiteral("moneda");
    case FieldType::String:
        return QStringLiteral("texto");
    case FieldType::Boolean:
        return QStringLiteral("lógico");
    case FieldType::Date:
        return QStringLiteral("fecha");
    case FieldType::DateTime:
        return QStringLiteral("fecha y hora");
    }
    return QString();
}

[[noreturn]] void badValue(const FieldDef &def, const QVariant &v)
{
    throw MemTableError(QStringLiteral("'%1' no es un valor %2 válido para el campo %3")
                            .arg(v.toString(), typeName(def.type), def.name));
}

QDate parseDate(const QString &s)
{
    const QString t = s.trimmed();
    for (const QString &f :
         {QStringLiteral("dd/MM/yyyy"), QStringLiteral("d/M/yyyy"), QStringLiteral("yyyy-MM-dd")}) {
        const QDate d = QDate::fromString(t.left(f.size() + 2).section(u' ', 0, 0), f);
        if (d.isValid())
            return d;
    }
    return {};
}

QDateTime parseDateTime(const QString &s)
{
    const QString t = s.trimmed();
    for (const QString &f : {QStringLiteral("dd/MM/yyyy HH:mm:ss"),
                             QStringLiteral("dd/MM/yyyy HH:mm"),
                             QStringLiteral("yyyy-MM-dd HH:mm:ss"),
                             QStringLiteral("yyyy-MM-ddTHH:mm:ss")}) {
        const QDateTime d = QDateTime::fromString(t, f);
        if (d.isValid())
            return d;
    }
    const QDate d = parseDate(t);
    return d.isValid() ? d.startOfDay() : QDateTime();
}

fb::Decimal toDecimal(const FieldDef &def, const QVariant &v, int scale)
{
    if (isDecimal(v))
        return v.value<fb::Decimal>().rescaled(scale);
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return fb::Decimal(v.toLongLong(), 0).rescaled(scale);
    case QMetaType::Double:
    case QMetaType::Float:
        return fb::Decimal::fromDouble(v.toDouble(), scale);
    case QMetaType::Bool:
        return fb::Decimal(v.toBool() ? 1 : 0, 0).rescaled(scale);
    default: {
        const auto d = fb::Decimal::fromString(v.toString());
        if (!d)
            badValue(def, v);
        return d->scale() > 18 ? *d : d->rescaled(scale);
    }
    }
}

int compareVariant(FieldType t, const QVariant &a, const QVariant &b, bool caseInsensitive)
{
    const bool na = a.isNull(), nb = b.isNull();
    if (na || nb)
        return na == nb ? 0 : (na ? -1 : 1);
    switch (t) {
    case FieldType::Integer: {
        const qint64 x = a.toLongLong(), y = b.toLongLong();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    case FieldType::Float: {
        const double x = a.toDouble(), y = b.toDouble();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    case FieldType::Currency: {
        const fb::Decimal x = a.value<fb::Decimal>(), y = b.value<fb::Decimal>();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    case FieldType::String: {
        // Sorting a big table compares millions of times: read the texts in place
        // rather than through the variant's conversion.
        const Qt::CaseSensitivity cs = caseInsensitive ? Qt::CaseInsensitive : Qt::CaseSensitive;
        int c = 0;
        if (a.typeId() == QMetaType::QString && b.typeId() == QMetaType::QString)
            c = QString::compare(*static_cast<const QString *>(a.constData()),
                                 *static_cast<const QString *>(b.constData()),
                                 cs);
        else
            c = QString::compare(a.toString(), b.toString(), cs);
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    case FieldType::Boolean: {
        const int x = a.toBool(), y = b.toBool();
        return x - y;
    }
    case FieldType::Date: {
        const QDate x = a.toDate(), y = b.toDate();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    case FieldType::DateTime: {
        const QDateTime x = a.toDateTime(), y = b.toDateTime();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    }
    return 0;
}

QStringList splitFields(const QString &fields)
{
    QStringList out;
    for (const QString &f : fields.split(u';', Qt::SkipEmptyParts)) {
        const QString t = f.trimmed();
        if (!t.isEmpty())
            out << t;
    }
    return out;
}

} // namespace

MemTableError::MemTableError(QString message)
    : m_message(std::move(message))
    , m_what(m_message.toUtf8())
{}

// --- MemField ------------------------------------------------------------------

const FieldDef &MemField::def() const
{
    return m_table->fieldDef(m_index);
}

bool MemField::isNull() const
{
    return m_table->value(m_index).isNull();
}

QVariant MemField::value() const
{
    return m_table->value(m_index);
}

QString MemField::asString() const
{
    return MemTable::asText(def(), m_table->value(m_index));
}

int MemField::asInteger() const
{
    return int(asLargeInt());
}

qint64 MemField::asLargeInt() const
{
    const QVariant &v = m_table->value(m_index);
    if (v.isNull())
        return 0;
    switch (def().type) {
    case FieldType::Integer:
        return v.toLongLong();
    case FieldType::Currency:
        return v.value<fb::Decimal>().rescaled(0).unscaled();
    case FieldType::Float:
        return qRound64(v.toDouble());
    case FieldType::Boolean:
        return v.toBool() ? 1 : 0;
    case FieldType::String: {
        bool ok = false;
        const qint64 n = v.toString().trimmed().toLongLong(&ok);
        if (!ok)
            badValue(FieldDef{def().name, FieldType::Integer}, v);
        return n;
    }
    default:
        badValue(FieldDef{def().name, FieldType::Integer}, v);
    }
}

double MemField::asFloat() const
{
    const QVariant &v = m_table->value(m_index);
    if (v.isNull())
        return 0;
    if (isDecimal(v))
        return v.value<fb::Decimal>().toDouble();
    if (def().type == FieldType::String) {
        bool ok = false;
        const double d = v.toString().trimmed().toDouble(&ok);
        if (!ok)
            badValue(FieldDef{def().name, FieldType::Float}, v);
        return d;
    }
    return v.toDouble();
}

fb::Decimal MemField::asCurrency() const
{
    const QVariant &v = m_table->value(m_index);
    if (v.isNull())
        return fb::Decimal(0, 4);
    FieldDef d{def().name, FieldType::Currency};
    return toDecimal(d, v, def().type == FieldType::Currency ? currencyScale(def()) : 4);
}

bool MemField::asBoolean() const
{
    const QVariant &v = m_table->value(m_index);
    if (v.isNull())
        return false;
    if (def().type == FieldType::String)
        return MemTable::convert(FieldDef{def().name, FieldType::Boolean}, v).toBool();
    return v.toBool();
}

QDate MemField::asDate() const
{
    const QVariant &v = m_table->value(m_index);
    if (v.isNull())
        return {};
    if (def().type == FieldType::DateTime)
        return v.toDateTime().date();
    if (def().type == FieldType::String)
        return parseDate(v.toString());
    return v.toDate();
}

QDateTime MemField::asDateTime() const
{
    const QVariant &v = m_table->value(m_index);
    if (v.isNull())
        return {};
    if (def().type == FieldType::Date)
        return v.toDate().startOfDay();
    if (def().type == FieldType::String)
        return parseDateTime(v.toString());
    return v.toDateTime();
}

QString MemField::displayText() const
{
    return MemTable::displayText(def(), m_table->value(m_index));
}

void MemField::setValue(const QVariant &v)
{
    m_table->setValue(m_index, v);
}

// --- MemTable: conversions -------------------------------------------------------

QVariant MemTable::convert(const FieldDef &def, const QVariant &v)
{
    if (v.isNull() || !v.isValid())
        return QVariant();
    const bool text = v.typeId() == QMetaType::QString;
    if (text && def.type != FieldType::String && v.toString().trimmed().isEmpty())
        return QVariant();
    switch (def.type) {
    case FieldType::Integer: {
        if (isDecimal(v))
            return qlonglong(v.value<fb::Decimal>().rescaled(0).unscaled());
        if (text) {
            bool ok = false;
            const qint64 n = v.toString().trimmed().toLongLong(&ok);
            if (!ok)
                badValue(def, v);
            return qlonglong(n);
        }
        if (v.typeId() == QMetaType::Double || v.typeId() == QMetaType::Float)
            return qlonglong(qRound64(v.toDouble()));
        bool ok = false;
        const qint64 n = v.toLongLong(&ok);
        if (!ok)
            badValue(def, v);
        return qlonglong(n);
    }
    case FieldType::Float: {
        if (isDecimal(v))
            return v.value<fb::Decimal>().toDouble();
        bool ok = false;
        const double d = text ? v.toString().trimmed().toDouble(&ok) : v.toDouble(&ok);
        if (!ok)
            badValue(def, v);
        return d;
    }
    case FieldType::Currency:
        return QVariant::fromValue(toDecimal(def, v, currencyScale(def)));
    case FieldType::String: {
        if (text) {
            // The common case of a load: the text as it came, unless it must be cut.
            const QString &t = *static_cast<const QString *>(v.constData());
            return def.size > 0 && t.size() > def.size ? QVariant(t.left(def.size)) : v;
        }
        QString s;
        if (isDecimal(v))
            s = v.value<fb::Decimal>().toString();
        else if (v.typeId() == QMetaType::Double)
            s = QString::number(v.toDouble(), 'g', 15);
        else if (v.typeId() == QMetaType::QDate)
            s = v.toDate().toString(QStringLiteral("dd/MM/yyyy"));
        else if (v.typeId() == QMetaType::QDateTime)
            s = displayText(FieldDef{def.name, FieldType::DateTime}, v);
        else
            s = v.toString();
        if (def.size > 0 && s.size() > def.size)
            s.truncate(def.size);
        return s;
    }
    case FieldType::Boolean: {
        if (text) {
            const QString s = v.toString().trimmed().toUpper();
            if (s == u"TRUE" || s == u"T" || s == u"S" || s == u"SI" || s == u"SÍ" || s == u"1"
                || s == u"Y")
                return true;
            if (s == u"FALSE" || s == u"F" || s == u"N" || s == u"NO" || s == u"0")
                return false;
            badValue(def, v);
        }
        if (isDecimal(v))
            return v.value<fb::Decimal>().unscaled() != 0;
        return v.toBool();
    }
    case FieldType::Date: {
        if (v.typeId() == QMetaType::QDate)
            return v;
        if (v.typeId() == QMetaType::QDateTime)
            return v.toDateTime().date();
        const QDate d = text ? parseDate(v.toString()) : QDate();
        if (!d.isValid())
            badValue(def, v);
        return d;
    }
    case FieldType::DateTime: {
        if (v.typeId() == QMetaType::QDateTime)
            return v;
        if (v.typeId() == QMetaType::QDate)
            return v.toDate().startOfDay();
        const QDateTime d = text ? parseDateTime(v.toString()) : QDateTime();
        if (!d.isValid())
            badValue(def, v);
        return d;
    }
    }
    return v;
}

QString MemTable::asText(const FieldDef &def, const QVariant &v)
{
    if (v.isNull())
        return QString();
    switch (def.type) {
    case FieldType::Float:
        return QString::number(v.toDouble(), 'g', 15);
    case FieldType::Currency: {
        QString s = v.value<fb::Decimal>().toString();
        if (s.contains(u'.')) {
            while (s.endsWith(u'0'))
                s.chop(1);
            if (s.endsWith(u'.'))
                s.chop(1);
        }
        return s;
    }
    case FieldType::Boolean:
        return v.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    case FieldType::Date:
    case FieldType::DateTime:
        return displayText(def, v);
    default:
        return v.toString();
    }
}

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
                const QByteArray u
                    = asText(m_defs[size_t(field)], r->v[size_t(field)]).toUpper().toUtf8();
                col.bytes.append(u.constData(), size_t(u.size()));
                col.offsets.push_back(col.bytes.size());
            }
            col.gen = m_gen;
        }
        const size_t from = col.offsets[size_t(m_filterPos)];
        return std::string_view(col.bytes).substr(from,
                                                  col.offsets[size_t(m_filterPos) + 1] - from);
    }
    const QByteArray u = asText(m_defs[size_t(field)], value(field)).toUpper().toUtf8();
    m_scratch.assign(u.constData(), size_t(u.size()));
    return m_scratch;
}

QString MemTable::displayText(const FieldDef &def, const QVariant &v)
{
    if (v.isNull())
        return QString();
    switch (def.type) {
    case FieldType::Integer:
        if (def.displayFormat.isEmpty())
            return QString::number(v.toLongLong());
        return formatFloat(def.displayFormat, fb::Decimal(v.toLongLong(), 0));
    case FieldType::Float:
        return formatFloat(def.displayFormat, v.toDouble());
    case FieldType::Currency:
        return formatFloat(def.displayFormat, v.value<fb::Decimal>());
    case FieldType::Boolean:
        return v.toBool() ? QStringLiteral("Sí") : QStringLiteral("No");
    case FieldType::Date:
        return v.toDate().toString(QStringLiteral("dd/MM/yyyy"));
    case FieldType::DateTime: {
        const QDateTime d = v.toDateTime();
        if (d.time() == QTime(0, 0))
            return d.date().toString(QStringLiteral("dd/MM/yyyy"));
        return d.toString(QStringLiteral("dd/MM/yyyy HH:mm:ss"));
    }
    case FieldType::String:
        break;
    }
    return v.toString();
}

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

int MemTable::loadFromQuery(fb::Query &query)
{
    requireActive();
    checkBrowseMode();
    disableControls();
    int n = 0;
    const int cols = std::min(query.fieldCount(), fieldCount());
    try {
        for (; !query.eof(); query.next()) {
            Rec *r = newRec();
            for (int i = 0; i < cols; ++i) {
                const fb::Field f = query.field(i);
                if (!f.isNull())
                    r->v[size_t(i)] = convert(m_defs[size_t(i)], f.toVariant());
            }
            m_all.emplace_back(r);
            m_cur = r;
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
        if (m_key.fields.size() == 1 && m_defs[size_t(m_key.fields[0])].type == FieldType::String)
            sortByText();
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
        for (const QChar c : *t)
            textos.push_back(c.toCaseFolded().unicode());
        claves.push_back({desde, qsizetype(textos.size()) - desde, r});
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
    append();
    try {
        for (int i = 0; i < values.size() && i < fieldCount(); ++i)
            setValue(i, values[i]);
    } catch (...) {
        cancel();
        throw;
    }
    post();
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
