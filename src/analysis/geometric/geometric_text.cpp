#include "analysis/geometric/geometric_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/number_text.h"

namespace ovrin {

std::string SignedFixed(double x, int decimals) {
  std::string s = FormatFixed(x, decimals);
  if (x < 0 && !s.empty() && s[0] != '-') s = "-" + s;
  return s;
}

std::string AsItStands(double x) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15g", x);
  return buf;
}

namespace {

void DropTrailingZeros(std::string& s) {
  if (s.find('.') == std::string::npos) return;
  while (!s.empty() && s.back() == '0') s.pop_back();
  if (!s.empty() && s.back() == '.') s.pop_back();
}

}  // namespace

std::string SingleText(float x) {
  if (x == 0) return "0";
  if (!std::isfinite(x)) return x > 0 ? "inf" : (x < 0 ? "-inf" : "nan");
  char buf[64];
  // Seven significant digits decide the form, after their rounding.
  std::snprintf(buf, sizeof buf, "%.6e", static_cast<double>(x));
  const double rounded = std::fabs(std::strtod(buf, nullptr));
  if (rounded >= 1e-5 && rounded < 1e7) {
    const int exponent = static_cast<int>(std::floor(std::log10(rounded)));
    const int decimals = std::max(0, 6 - exponent);
    std::snprintf(buf, sizeof buf, "%.*f", decimals, static_cast<double>(x));
    std::string s = buf;
    DropTrailingZeros(s);
    return s;
  }
  std::string s = buf;  // d.dddddde+XX
  const auto e = s.find('e');
  std::string mantissa = s.substr(0, e), exponent = s.substr(e + 1);
  DropTrailingZeros(mantissa);
  const char sign = exponent[0];
  std::string digits = exponent.substr(1);
  while (digits.size() > 2 && digits[0] == '0') digits.erase(0, 1);
  return mantissa + "E" + sign + digits;
}

}  // namespace ovrin
