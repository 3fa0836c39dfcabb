#include "displayformat.h"

#include <QStringList>

#include <cmath>

namespace lar {

namespace {

// Splits at ';' outside quotes.
QStringList sections(const QString &format)
{
    QStringList out;
    QString cur;
    QChar quote;
    for (const QChar c : format) {
        if (!quote.isNull()) {
            cur += c;
            if (c == quote)
                quote = QChar();
        } else if (c == u'"' || c == u'\'') {
            quote = c;
            cur += c;
        } else if (c == u';') {
            out << cur;
            cur.clear();
        } else {
            cur += c;
        }
    }
    out << cur;
    return out;
}

struct Layout
{
    QString prefix, suffix;
    int minInt = 0; // '0' before the point
    int minDec = 0; // '0' after the point
    int maxDec = 0; // '0' and '#' after the point
    bool thousands = false;
    bool digits = false;
};

Layout parse(const QString &section)
{
    Layout l;
    bool point = false;
    bool afterDigits = false;
    QChar quote;
    for (const QChar c : section) {
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
            else
                (afterDigits ? l.suffix : l.prefix) += c;
            continue;
        }
        if (c == u'"' || c == u'\'') {
            quote = c;
            afterDigits = afterDigits || l.digits;
        } else if (c == u'0' || c == u'#') {
            l.digits = true;
            if (point) {
                ++l.maxDec;
                if (c == u'0')
                    l.minDec = l.maxDec;
            } else if (c == u'0') {
                ++l.minInt;
            }
        } else if (c == u'.') {
            point = true;
            l.digits = true;
        } else if (c == u',') {
            if (!point)
                l.thousands = true;
        } else {
            if (l.digits)
                afterDigits = true;
            (afterDigits ? l.suffix : l.prefix) += c;
        }
    }
    return l;
}

QString render(const Layout &l, const fb::Decimal &abs)
{
    const fb::Decimal r = abs.rescaled(l.maxDec);
    const QString plain = r.toString(); // "1234.50" or "1234"
    const qsizetype dot = plain.indexOf(u'.');
    QString intPart = dot < 0 ? plain : plain.left(dot);
    QString decPart = dot < 0 ? QString() : plain.mid(dot + 1);
    while (decPart.size() > l.minDec && decPart.endsWith(u'0'))
        decPart.chop(1);
    if (intPart == u"0" && l.minInt == 0)
        intPart.clear();
    while (intPart.size() < l.minInt)
        intPart.prepend(u'0');
    if (l.thousands && intPart.size() > 3) {
        QString grouped;
        const qsizetype n = intPart.size();
        for (qsizetype i = 0; i < n; ++i) {
            if (i > 0 && (n - i) % 3 == 0)
                grouped += u',';
            grouped += intPart[i];
        }
        intPart = grouped;
    }
    QString out = l.prefix + intPart;
    if (!decPart.isEmpty())
        out += u'.' + decPart;
    return out + l.suffix;
}

} // namespace

QString formatFloat(const QString &format, const fb::Decimal &value)
{
    if (format.isEmpty())
        return value.toString();
    const QStringList secs = sections(format);
    const bool negative = value.unscaled() < 0;
    const fb::Decimal abs(negative ? -value.unscaled() : value.unscaled(), value.scale());

    // The value as the positive section would show it decides whether it counts as zero.
    const Layout first = parse(secs.at(0));
    const bool zero = abs.rescaled(first.maxDec).unscaled() == 0;
    if (zero) {
        if (secs.size() > 2 && !secs.at(2).isEmpty())
            return render(parse(secs.at(2)), abs);
        return render(first, abs);
    }
    if (negative) {
        if (secs.size() > 1 && !secs.at(1).isEmpty())
            return render(parse(secs.at(1)), abs);
        return u'-' + render(first, abs);
    }
    return render(first, abs);
}

QString formatFloat(const QString &format, double value)
{
    if (!std::isfinite(value))
        return QString::number(value);
    if (format.isEmpty())
        return QString::number(value, 'g', 15);
    // Fifteen significant digits first, as the double is meant, then the section
    // rounds: 2.675 (stored as 2.67499...) shows as 2.68 with two decimals.
    const QString e = QString::number(value, 'e', 14); // "-d.ddddddddddddddde+XX"
    const qsizetype ePos = e.indexOf(u'e');
    QString mantissa = e.left(ePos);
    mantissa.remove(u'.');
    const int exponent = e.mid(ePos + 1).toInt();
    int scale = 14 - exponent;
    qint64 unscaled = mantissa.toLongLong();
    if (scale < 0) {
        if (scale < -4)
            return QString::number(value, 'f', 0);
        for (; scale < 0; ++scale)
            unscaled *= 10;
    }
    fb::Decimal d(unscaled, 0);
    if (scale > 32) {
        d = fb::Decimal(0, 0); // far below any format's last decimal
    } else if (scale > 18) {
        // Below the smallest step a scaled integer can hold: round there first.
        d = fb::Decimal(fb::Decimal(unscaled, scale - 18).rescaled(0).unscaled(), 18);
    } else {
        d = fb::Decimal(unscaled, scale);
    }
    return formatFloat(format, d);
}

} // namespace lar
