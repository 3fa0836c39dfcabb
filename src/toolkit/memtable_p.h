#pragma once

// What the three parts of the memory table share: the row, and the value rules
// (conversion and ordering) that the view and the table apply.

#include "memtable.h"

#include <QStringList>
#include <QVariant>

#include <vector>

namespace lar {

struct MemTable::Rec
{
    std::vector<QVariant> v;
    qint64 seq = 0; // order of entry
    quint64 id = 0; // bookmark
};

namespace memtable_p {

inline const QVariant kNull;
// Gap between the entry numbers of consecutive rows, so an insert fits between.
constexpr qint64 kSeqStep = 1 << 20;

int currencyScale(const FieldDef &def);
bool isDecimal(const QVariant &v);
QString typeName(FieldType t);
QDate parseDate(const QString &s);
QDateTime parseDateTime(const QString &s);
fb::Decimal toDecimal(const FieldDef &def, const QVariant &v, int scale);
// Order of two values of a field type, NULL first; texts optionally case-blind.
int compareVariant(FieldType t, const QVariant &a, const QVariant &b, bool caseInsensitive);
// "A;B; C" -> A, B, C.
QStringList splitFields(const QString &fields);

} // namespace memtable_p

} // namespace lar
