#pragma once

#include <QString>
#include <QStringView>

namespace fb {

// Text typed by a user, ready to stand inside a SQL string literal: its single
// quotes doubled. Prefer parameters; this is for statements built as text.
QString escapeLiteral(const QString &text);
// The same between single quotes: O'Brien gives 'O''Brien'.
QString literal(const QString &text);

// One piece of SQL text as every reader of SQL in the tree sees it (the parameter
// mapper, the script splitter, the in-memory SQL): a string literal '...', a
// quoted name "...", a comment -- to the end of the line or /* ... */, each
// whole, or else one character of code. Inside quotes a doubled quote stands for
// one and doesn't end the piece; nothing inside a literal, a name or a comment is
// code (a ':' or a terminator there means nothing).
struct SqlPiece
{
    enum Kind { Code, Literal, QuotedName, LineComment, BlockComment };
    Kind kind = Code;
    qsizetype begin = 0;
    qsizetype end = 0; // one past the piece
    // False for a literal, a name or a block comment that runs to the end of the
    // text without its closing mark.
    bool closed = true;

    bool isComment() const { return kind == LineComment || kind == BlockComment; }
    // A literal's or name's text between its quotes, doubled quotes made single.
    QString unquoted(QStringView sql) const;
};

// The piece that starts at `i` (< sql.size()).
SqlPiece sqlPieceAt(QStringView sql, qsizetype i);

} // namespace fb
