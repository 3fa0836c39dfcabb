#pragma once

#include <QString>

#include <cstdint>

namespace fb {

class Database;
class Transaction;

// The floor the layer is measured against: a select read with the client
// library's object API directly, each column decoded to its plain C++ value and
// folded into a checksum, with none of the layer's conveniences.
struct RawFetchResult
{
    std::int64_t rows = 0;
    std::int64_t checksum = 0;
};
RawFetchResult rawFetchAll(Database &db, Transaction &tr, const QString &sql);

} // namespace fb
