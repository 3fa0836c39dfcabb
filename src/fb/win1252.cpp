#include "win1252.h"

namespace fb {

namespace {

// 0x80..0x9F, where Windows-1252 differs from Latin-1; 0 marks an unassigned byte,
// which decodes as the C1 control of the same value (what Windows itself does).
constexpr char16_t kHigh[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

char encodeOne(char16_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return char(c);
    for (int i = 0; i < 32; ++i) {
        if (kHigh[i] == c)
            return char(0x80 + i);
    }
    if (c >= 0x80 && c < 0xA0)
        return char(c); // an unassigned C1 control round-trips
    return '?';
}

} // namespace

QString fromWin1252(const char *data, qsizetype size)
{
    QString out(size, Qt::Uninitialized);
    char16_t *dst = reinterpret_cast<char16_t *>(out.data());
    for (qsizetype i = 0; i < size; ++i) {
        const auto b = static_cast<unsigned char>(data[i]);
        if (b >= 0x80 && b < 0xA0 && kHigh[b - 0x80] != 0)
            dst[i] = kHigh[b - 0x80];
        else
            dst[i] = b;
    }
    return out;
}

QByteArray toWin1252(QStringView text)
{
    QByteArray out(text.size(), Qt::Uninitialized);
    char *dst = out.data();
    for (qsizetype i = 0; i < text.size(); ++i)
        dst[i] = encodeOne(text[i].unicode());
    return out;
}

} // namespace fb
