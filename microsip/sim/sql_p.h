#pragma once

#include <QString>

namespace fb {
class Database;
class Transaction;
} // namespace fb

namespace microsip::detail {

// Text of one of the stand-in's scripts compiled into the library ("empresa",
// "empresa_folios", "sim_folios", "lar_sync", "config", "metadatos"), decoded from Windows-1252.
QString scriptSql(const QString &nombre);

// Runs a script of the stand-in on the database, stopping at the first error.
void ejecutaScript(fb::Database &db, const QString &nombre);

// Runs one statement and commits it.
void ejecuta(fb::Database &db, const QString &sql);

bool existeTabla(fb::Database &db, fb::Transaction &tr, const QString &tabla);
bool existeCampo(fb::Database &db, fb::Transaction &tr, const QString &tabla, const QString &campo);

} // namespace microsip::detail
