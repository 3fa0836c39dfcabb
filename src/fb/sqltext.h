#pragma once

#include <QString>

namespace fb {

// Text typed by a user, ready to stand inside a SQL string literal: its single
// quotes doubled. Prefer parameters; this is for statements built as text.
QString escapeLiteral(const QString &text);
// The same between single quotes: O'Brien gives 'O''Brien'.
QString literal(const QString &text);

} // namespace fb
