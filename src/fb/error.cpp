#include "error.h"

namespace fb {

Error::Error(QString message, long iscCode, int sqlCode)
    : m_message(std::move(message))
    , m_iscCode(iscCode)
    , m_sqlCode(sqlCode)
    , m_what(m_message.toUtf8())
{}

} // namespace fb
