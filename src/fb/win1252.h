#pragma once

#include <QByteArray>
#include <QString>

namespace fb {

// Attachments use lc_ctype NONE, so the server hands text over as stored, and
// Microsip stores Windows-1252 bytes. These convert both ways; characters that
// Windows-1252 can't hold become '?'.
QString fromWin1252(const char *data, qsizetype size);
inline QString fromWin1252(const QByteArray &bytes)
{
    return fromWin1252(bytes.constData(), bytes.size());
}
QByteArray toWin1252(QStringView text);

} // namespace fb
