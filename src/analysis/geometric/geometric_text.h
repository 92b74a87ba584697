#pragma once
// Number texts shared by the geometric tables.
#include <string>

namespace ovrin {

// A value with a fixed count of decimals that keeps the sign of a tiny
// negative value ("-0.000000"); an exact zero, -0 included, has none.
std::string SignedFixed(double x, int decimals);

// A number as it stands: the shortest text at 15 significant digits ("22.5").
std::string AsItStands(double x);

// A 32-bit value with 7 significant digits, trailing zeros dropped, and the
// exponent form "E+nn" / "E-nn" outside 1e-5 .. 1e7 ("-1234.568", "1.234568E+07").
std::string SingleText(float x);

}  // namespace ovrin
