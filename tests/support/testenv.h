#pragma once

#include <QString>
#include <QStringList>

namespace fb {
class Database;
}

namespace lartest {

// A folder private to this test process, removed at exit.
QString tempDir();
QString tempPath(const QString &name);

// The parameters every attachment of the program uses, as SYSDBA.
QStringList sysdbaParams(const QString &password = QString());

// Creates an empty dialect-3 database (embedded) at path and leaves db attached to it.
void createDatabase(fb::Database &db, const QString &path);

// The local test server started by scripts/fbserver (make test starts it).
bool serverAvailable();
// "127.0.0.1/PORT:" to put before a path on the server's machine.
QString serverPrefix();
QString serverPassword();

// Where the source tree keeps test data and SQL.
QString sourceDir();

} // namespace lartest
