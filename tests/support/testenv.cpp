#include "testenv.h"

#include "fb/database.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace lartest {

QString tempDir()
{
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/lartest-XXXXXX"));
    return dir.path();
}

QString tempPath(const QString &name)
{
    return tempDir() + u'/' + name;
}

QStringList sysdbaParams(const QString &password)
{
    QStringList p{QStringLiteral("lc_ctype=None"), QStringLiteral("user_name=SYSDBA")};
    if (!password.isEmpty())
        p << QStringLiteral("password=") + password;
    return p;
}

void createDatabase(fb::Database &db, const QString &path)
{
    QFile::remove(path);
    db.setDatabaseName(path);
    db.setParams(sysdbaParams());
    db.createDatabase();
}

bool serverAvailable()
{
    return !qEnvironmentVariableIsEmpty("LAR_FB_PORT");
}

QString serverPrefix()
{
    return QStringLiteral("127.0.0.1/%1:").arg(qEnvironmentVariable("LAR_FB_PORT"));
}

QString serverPassword()
{
    return qEnvironmentVariable("LAR_FB_PASSWORD");
}

QString sourceDir()
{
    return QStringLiteral(LAR_SOURCE_DIR);
}

} // namespace lartest
