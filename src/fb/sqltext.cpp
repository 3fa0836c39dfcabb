#include "sqltext.h"

namespace fb {

QString escapeLiteral(const QString &text)
{
    QString t = text;
    return t.replace(u'\'', QStringLiteral("''"));
}

QString literal(const QString &text)
{
    return u'\'' + escapeLiteral(text) + u'\'';
}

} // namespace fb
