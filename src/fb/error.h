#pragma once

#include <QString>

#include <exception>

namespace fb {

// An error raised by the engine or by the client layer. Carries the first ISC
// code of the status vector (335544472 bad login, 335544345 lock conflict,
// 335544665 duplicate key...), the SQL code and the engine's full message.
class Error : public std::exception
{
public:
    Error(QString message, long iscCode = 0, int sqlCode = 0);

    long iscCode() const { return m_iscCode; }
    int sqlCode() const { return m_sqlCode; }
    const QString &message() const { return m_message; }
    const char *what() const noexcept override { return m_what.constData(); }

    // Errors of the client layer itself (wrong field name, wrong use).
    static Error usage(const QString &message) { return Error(message); }

private:
    QString m_message;
    long m_iscCode = 0;
    int m_sqlCode = 0;
    QByteArray m_what;
};

namespace isc {
constexpr long LoginFailed = 335544472;
constexpr long LockConflict = 335544345;
constexpr long UniqueKeyViolation = 335544665;
constexpr long NoDuplicates = 335544349;
constexpr long ArithExcept = 335544321;
constexpr long ConversionError = 335544334;
// Firebird 3 reports a nowait row conflict as deadlock + update conflict.
constexpr long DeadLock = 335544336;
constexpr long UpdateConflict = 335544451;
constexpr long TableUnknown = 335544580;
} // namespace isc

} // namespace fb
