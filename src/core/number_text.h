#pragma once
// The program's number text: how numbers are read from what the user typed,
// rounded to a count of decimals, and shown.
#include <string>
#include <string_view>

namespace ovrin {

// The leading number of a text, as the program reads every box and cell:
// blanks (space, tab, CR, LF) anywhere are skipped, then an optional sign,
// digits with at most one decimal point, and an optional exponent (E or D).
// Empty text or junk gives 0. A number too large for a double gives +-inf,
// which callers that must refuse it test with std::isfinite.
double ParseLeadingNumber(std::string_view text);

// Whether the whole text (blanks around it aside) is one number: sign, digits
// with at most one point, an optional exponent. Boxes that refuse bad text
// when they are left use it; "1.5x", "" and "." are not numbers.
bool IsNumberText(std::string_view text);

// x rounded to n decimals: the number's decimal text at 15 significant
// digits is rounded half away from zero and read back. 0.00575 -> 0.0058 (n=4).
double RoundTo(double x, int decimals);

// x shown with a fixed count of decimals: no thousands separators, a leading
// zero before the point, half away from zero on the 15-digit text (3.125 -> "3.13").
// A value that rounds to zero is shown without a minus sign.
std::string FormatFixed(double x, int decimals);

// The shortest text that reads back to exactly x (plain decimal where that is
// reasonably short, otherwise with an exponent). Used for numbers written
// into cells and boxes.
std::string ShortestText(double x);
std::string ShortestText(float x);

// Plain decimal notation, shortest round trip, never an exponent (design files).
std::string PlainDecimal(double x);
std::string PlainDecimal(float x);

}  // namespace ovrin
