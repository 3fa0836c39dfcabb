// The memory table's values: conversion to and from a field's type, display text,
// and the ordering the view sorts and searches by.

#include "memtable_p.h"

#include "displayformat.h"

#include <algorithm>

namespace lar {

namespace memtable_p {

namespace {

const QMetaType kDecimalType = QMetaType::fromType<fb::Decimal>();

} // namespace

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

namespace {

[[noreturn]] void badValue(const FieldDef &def, const QVariant &v)
{
    throw MemTableError(QStringLiteral("'%1' no es un valor %2 válido para el campo %3")
                            .arg(v.toString(), typeName(def.type), def.name));
}

} // namespace

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
    // Sorting a list by its date compares millions of times: two stored date-times
    // are read in place, before the null test (an empty one sorts first all the same).
    if (t == FieldType::DateTime && a.typeId() == QMetaType::QDateTime
        && b.typeId() == QMetaType::QDateTime) {
        const QDateTime &x = *static_cast<const QDateTime *>(a.constData());
        const QDateTime &y = *static_cast<const QDateTime *>(b.constData());
        return x < y ? -1 : (y < x ? 1 : 0);
    }
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

} // namespace memtable_p

using namespace memtable_p;

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

QVariant MemTable::convert(const FieldDef &def, QVariant v)
{
    if (v.isNull() || !v.isValid())
        return QVariant();
    const int tipo = v.typeId();
    // The common cases of a load first: a value already of the field's type.
    if (def.type == FieldType::Integer && tipo == QMetaType::LongLong)
        return v;
    if (def.type == FieldType::Integer && tipo == QMetaType::Int)
        return qlonglong(*static_cast<const int *>(v.constData()));
    if (def.type == FieldType::Float && tipo == QMetaType::Double)
        return v;
    const bool text = tipo == QMetaType::QString;
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
            if (def.size > 0 && t.size() > def.size)
                return t.left(def.size);
            return v;
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

} // namespace lar
