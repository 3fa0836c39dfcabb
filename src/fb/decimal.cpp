#include "decimal.h"

#include <cmath>
#include <limits>

namespace fb {

namespace {

constexpr std::int64_t kPow10[19] = {1LL,
                                     10LL,
                                     100LL,
                                     1000LL,
                                     10000LL,
                                     100000LL,
                                     1000000LL,
                                     10000000LL,
                                     100000000LL,
                                     1000000000LL,
                                     10000000000LL,
                                     100000000000LL,
                                     1000000000000LL,
                                     10000000000000LL,
                                     100000000000000LL,
                                     1000000000000000LL,
                                     10000000000000000LL,
                                     100000000000000000LL,
                                     1000000000000000000LL};

} // namespace

std::optional<Decimal> Decimal::fromString(QStringView text)
{
    text = text.trimmed();
    if (text.isEmpty())
        return std::nullopt;
    bool negative = false;
    qsizetype i = 0;
    if (text[0] == u'-' || text[0] == u'+') {
        negative = text[0] == u'-';
        ++i;
    }
    std::int64_t value = 0;
    int scale = 0;
    bool point = false;
    bool digits = false;
    for (; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'.' && !point) {
            point = true;
            continue;
        }
        if (!c.isDigit() || c.unicode() > u'9')
            return std::nullopt;
        digits = true;
        if (point && scale == 18)
            return std::nullopt;
        if (value > (std::numeric_limits<std::int64_t>::max() - 9) / 10)
            return std::nullopt;
        value = value * 10 + (c.unicode() - u'0');
        if (point)
            ++scale;
    }
    if (!digits)
        return std::nullopt;
    return Decimal(negative ? -value : value, scale);
}

Decimal Decimal::fromDouble(double v, int scale)
{
    return Decimal(static_cast<std::int64_t>(std::llround(v * double(kPow10[scale]))), scale);
}

Decimal Decimal::rescaled(int scale) const
{
    if (scale == m_scale)
        return *this;
    if (scale > m_scale)
        return Decimal(m_value * kPow10[scale - m_scale], scale);
    const std::int64_t div = kPow10[m_scale - scale];
    std::int64_t q = m_value / div;
    const std::int64_t r = m_value % div;
    if (2 * (r < 0 ? -r : r) >= div)
        q += m_value < 0 ? -1 : 1;
    return Decimal(q, scale);
}

double Decimal::toDouble() const
{
    return double(m_value) / double(kPow10[m_scale]);
}

QString Decimal::toString() const
{
    const bool negative = m_value < 0;
    // Work on the magnitude as unsigned so INT64_MIN survives.
    unsigned long long mag = negative ? 0ULL - static_cast<unsigned long long>(m_value)
                                      : static_cast<unsigned long long>(m_value);
    QString digits = QString::number(mag);
    if (m_scale > 0) {
        if (digits.size() <= m_scale)
            digits.prepend(QString(m_scale - digits.size() + 1, u'0'));
        digits.insert(digits.size() - m_scale, u'.');
    }
    if (negative)
        digits.prepend(u'-');
    return digits;
}

int Decimal::compare(const Decimal &other) const
{
    const int scale = std::max(m_scale, other.m_scale);
    // Values of the engine's NUMERIC(18,x) fit after rescaling in practice; compare
    // as long double when they would not.
    const Decimal a = rescaled(scale), b = other.rescaled(scale);
    if (a.m_value / kPow10[scale - m_scale] != m_value
        || b.m_value / kPow10[scale - other.m_scale] != other.m_value) {
        const long double x = toDouble(), y = other.toDouble();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    return a.m_value < b.m_value ? -1 : (a.m_value > b.m_value ? 1 : 0);
}

} // namespace fb
