#pragma once

#include <QMetaType>
#include <QString>

#include <compare>
#include <cstdint>
#include <optional>

namespace fb {

// An exact NUMERIC/DECIMAL value as the engine stores it: a scaled integer.
// 1250.80 in a NUMERIC(15,2) is {125080, 2}. Money and units travel through the
// layer as Decimal so nothing is rounded through a double on the way.
class Decimal
{
public:
    constexpr Decimal() = default;
    constexpr Decimal(std::int64_t unscaled, int scale)
        : m_value(unscaled)
        , m_scale(scale)
    {}
    static constexpr Decimal fromInt(std::int64_t v) { return Decimal(v, 0); }
    // Parses "1250.80", "-0.5", "12" exactly; nullopt on anything else or overflow.
    static std::optional<Decimal> fromString(QStringView text);
    // Rounds half away from zero to the given scale; throws Error when it doesn't fit.
    static Decimal fromDouble(double v, int scale);
    // The largest scale a value can carry (the engine's NUMERIC(18,18)).
    static constexpr int kMaxScale = 18;

    std::int64_t unscaled() const { return m_value; }
    int scale() const { return m_scale; }

    // The same value at another scale, rounding half away from zero when it drops
    // digits. A value too large for the new scale (or a scale outside 0..18) throws
    // Error with a message that names the number; tryRescaled answers nullopt.
    Decimal rescaled(int scale) const;
    std::optional<Decimal> tryRescaled(int scale) const noexcept;
    double toDouble() const;
    // Plain text with exactly scale() decimals: "1250.80".
    QString toString() const;

    // Exact sums and differences at the larger scale of the two; overflow throws Error.
    friend Decimal operator+(const Decimal &a, const Decimal &b) { return a.plus(b, false); }
    friend Decimal operator-(const Decimal &a, const Decimal &b) { return a.plus(b, true); }

    friend bool operator==(const Decimal &a, const Decimal &b) { return a.compare(b) == 0; }
    friend std::strong_ordering operator<=>(const Decimal &a, const Decimal &b)
    {
        const int c = a.compare(b);
        return c < 0 ? std::strong_ordering::less
                     : (c > 0 ? std::strong_ordering::greater : std::strong_ordering::equal);
    }

private:
    int compare(const Decimal &other) const;
    Decimal plus(const Decimal &other, bool subtract) const;

    std::int64_t m_value = 0;
    int m_scale = 0;
};

} // namespace fb

Q_DECLARE_METATYPE(fb::Decimal)
