#include "decimal.h"

#include "error.h"

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

// What every overflow says: the number as the user wrote it, and why it can't be kept.
Error desborde(const QString &numero, int scale)
{
    return Error(QStringLiteral("El número %1 es demasiado grande: no cabe con %2 decimales")
                     .arg(numero)
                     .arg(scale),
                 isc::ArithExcept);
}

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
    if (scale < 0 || scale > kMaxScale)
        throw desborde(QString::number(v, 'g', 17), scale);
    const double x = std::round(v * double(kPow10[scale]));
    // 2^63 is exact as a double; anything at or beyond it doesn't fit (NaN fails too).
    if (!(x > -9223372036854775808.0 && x < 9223372036854775808.0))
        throw desborde(QString::number(v, 'g', 17), scale);
    return Decimal(static_cast<std::int64_t>(x), scale);
}

std::optional<Decimal> Decimal::tryRescaled(int scale) const noexcept
{
    if (scale < 0 || scale > kMaxScale || m_scale < 0 || m_scale > kMaxScale)
        return scale == m_scale ? std::optional<Decimal>(*this) : std::nullopt;
    if (scale == m_scale)
        return *this;
    if (scale > m_scale) {
        std::int64_t out = 0;
        if (__builtin_mul_overflow(m_value, kPow10[scale - m_scale], &out))
            return std::nullopt;
        return Decimal(out, scale);
    }
    const std::int64_t div = kPow10[m_scale - scale];
    std::int64_t q = m_value / div;
    const std::int64_t r = m_value % div;
    if (2 * (r < 0 ? -r : r) >= div)
        q += m_value < 0 ? -1 : 1;
    return Decimal(q, scale);
}

Decimal Decimal::rescaled(int scale) const
{
    if (const std::optional<Decimal> d = tryRescaled(scale))
        return *d;
    throw desborde(toString(), scale);
}

Decimal Decimal::plus(const Decimal &other, bool subtract) const
{
    const int scale = std::max(m_scale, other.m_scale);
    const Decimal a = rescaled(scale), b = other.rescaled(scale);
    std::int64_t out = 0;
    const bool overflow = subtract ? __builtin_sub_overflow(a.m_value, b.m_value, &out)
                                   : __builtin_add_overflow(a.m_value, b.m_value, &out);
    if (overflow)
        throw Error(QStringLiteral("El resultado de %1 %2 %3 es demasiado grande")
                        .arg(toString(),
                             subtract ? QStringLiteral("-") : QStringLiteral("+"),
                             other.toString()),
                    isc::ArithExcept);
    return Decimal(out, scale);
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
    const std::optional<Decimal> a = tryRescaled(scale), b = other.tryRescaled(scale);
    if (a && b)
        return a->m_value < b->m_value ? -1 : (a->m_value > b->m_value ? 1 : 0);
    // One side doesn't fit at the finer scale: whole parts first, then the
    // fractions, each of which fits at any scale up to 18.
    const std::int64_t qa = m_value / kPow10[m_scale], qb = other.m_value / kPow10[other.m_scale];
    if (qa != qb)
        return qa < qb ? -1 : 1;
    const std::int64_t ra = (m_value % kPow10[m_scale]) * kPow10[scale - m_scale];
    const std::int64_t rb = (other.m_value % kPow10[other.m_scale]) * kPow10[scale - other.m_scale];
    return ra < rb ? -1 : (ra > rb ? 1 : 0);
}

} // namespace fb
