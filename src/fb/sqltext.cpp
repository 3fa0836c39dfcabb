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

QString SqlPiece::unquoted(QStringView sql) const
{
    if (kind != Literal && kind != QuotedName)
        return {};
    const QChar q = sql[begin];
    QString s = sql.mid(begin + 1, end - begin - (closed ? 2 : 1)).toString();
    return s.replace(QString(2, q), QString(q));
}

SqlPiece sqlPieceAt(QStringView sql, qsizetype i)
{
    const qsizetype n = sql.size();
    SqlPiece p;
    p.begin = i;
    p.end = i + 1;
    const QChar c = sql[i];
    const QChar next = i + 1 < n ? sql[i + 1] : QChar();
    if (c == u'\'' || c == u'"') {
        p.kind = c == u'\'' ? SqlPiece::Literal : SqlPiece::QuotedName;
        p.closed = false;
        for (qsizetype j = i + 1; j < n; ++j) {
            if (sql[j] != c)
                continue;
            if (j + 1 < n && sql[j + 1] == c) {
                ++j; // a doubled quote
                continue;
            }
            p.end = j + 1;
            p.closed = true;
            return p;
        }
        p.end = n;
    } else if (c == u'-' && next == u'-') {
        p.kind = SqlPiece::LineComment;
        const qsizetype eol = sql.indexOf(u'\n', i + 2);
        p.end = eol < 0 ? n : eol;
    } else if (c == u'/' && next == u'*') {
        p.kind = SqlPiece::BlockComment;
        const qsizetype close = sql.indexOf(u"*/", i + 2);
        p.closed = close >= 0;
        p.end = close < 0 ? n : close + 2;
    }
    return p;
}

} // namespace fb
