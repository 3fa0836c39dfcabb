#pragma once

#include "fb/decimal.h"

#include <QString>

namespace lar {

// Numbers written with a display format of the "#,0.00;-#,0.00" kind: up to three
// sections (positive;negative;zero), '0' a digit always written, '#' a digit
// written when significant, '.' the decimal point, a ',' anywhere before the point
// groups thousands, quoted text and other characters before or after the digits
// are copied. A negative value uses the second section without a sign of its own
// (so "0;,0" shows -5 as "5"); with one section it gets a leading '-'. The value
// is rounded half away from zero to the decimals of the section. An empty format
// gives the plain number.
QString formatFloat(const QString &format, const fb::Decimal &value);
QString formatFloat(const QString &format, double value);

} // namespace lar
