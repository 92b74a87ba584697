#include "core/number_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

namespace ovrin {

namespace {

// A decimal text of plain C syntax ("-1.25e-3") read the same whatever the
// machine's locale: the user's locale may write a comma for the point, but the
// program's own number text never does.
double ReadDecimal(const std::string& s) {
  double v = 0.0;
  const char* first = s.data();
  const char* last = s.data() + s.size();
  const auto [ptr, ec] = std::from_chars(first, last, v, std::chars_format::general);
  if (ec == std::errc::result_out_of_range) {
    // Too large or too small for a double: infinity or zero, with the sign.
    const bool negative = !s.empty() && s[0] == '-';
    const std::size_t e = s.find_first_of("eE");
    const bool tiny = e != std::string::npos && s.compare(e + 1, 1, "-") == 0;
    if (tiny) return negative ? -0.0 : 0.0;
    return negative ? -HUGE_VAL : HUGE_VAL;
  }
  if (ec != std::errc()) return 0.0;
  return v;
}

}  // namespace

double ParseLeadingNumber(std::string_view text) {
  std::string s;
  s.reserve(text.size());
  std::size_t i = 0;
  auto skip_blanks = [&] {
    while (i < text.size() &&
           (text[i] == ' ' || text[i] == '\t' || text[i] == '\r' || text[i] == '\n'))
      ++i;
  };
  auto is_digit = [](char c) { return c >= '0' && c <= '9'; };

  skip_blanks();
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
    if (text[i] == '-') s.push_back('-');
    ++i;
  }
  bool any_digit = false;
  bool point = false;
  for (;;) {
    skip_blanks();
    if (i >= text.size()) break;
    char c = text[i];
    if (is_digit(c)) {
      s.push_back(c);
      any_digit = true;
    } else if (c == '.' && !point) {
      s.push_back('.');
      point = true;
    } else {
      break;
    }
    ++i;
  }
  if (!any_digit) return 0.0;

  // Exponent: taken only when at least one digit follows the letter.
  skip_blanks();
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
    std::size_t j = i + 1;
    std::string exp = "e";
    auto skip_blanks_j = [&] {
      while (j < text.size() &&
             (text[j] == ' ' || text[j] == '\t' || text[j] == '\r' || text[j] == '\n'))
        ++j;
    };
    skip_blanks_j();
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) {
      exp.push_back(text[j]);
      ++j;
    }
    bool exp_digit = false;
    for (;;) {
      skip_blanks_j();
      if (j >= text.size() || !is_digit(text[j])) break;
      exp.push_back(text[j]);
      exp_digit = true;
      ++j;
    }
    if (exp_digit) s += exp;
  }
  return ReadDecimal(s);
}

bool IsNumberText(std::string_view text) {
  std::size_t i = 0, n = text.size();
  auto blank = [](char c) { return c == ' ' || c == '\t'; };
  auto digit = [](char c) { return c >= '0' && c <= '9'; };
  while (i < n && blank(text[i])) ++i;
  while (n > i && blank(text[n - 1])) --n;
  if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
  bool any = false, point = false;
  for (; i < n; ++i) {
    if (digit(text[i])) {
      any = true;
    } else if (text[i] == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (!any) return false;
  if (i < n && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
    bool exp = false;
    while (i < n && digit(text[i])) {
      exp = true;
      ++i;
    }
    if (!exp) return false;
  }
  return i == n;
}

namespace {

// The 15 significant digits of x and its decimal exponent: x = d0.d1d2... * 10^exp.
struct Digits15 {
  bool negative = false;
  bool zero = true;
  std::array<char, 15> d{};
  int exp = 0;
};

Digits15 ToDigits15(double x) {
  Digits15 r;
  if (x == 0.0 || !std::isfinite(x)) return r;
  char buf[40];
  const auto res = std::to_chars(buf, buf + sizeof buf - 1, x, std::chars_format::scientific, 14);
  *res.ptr = '\0';
  const char* p = buf;
  if (*p == '-') {
    r.negative = true;
    ++p;
  }
  int k = 0;
  for (; *p && *p != 'e'; ++p) {
    if (*p >= '0' && *p <= '9') r.d[k++] = *p;
  }
  r.exp = std::atoi(p + 1);
  r.zero = false;
  return r;
}

// Rounds the digit string at n decimals, half away from zero.
// Returns the kept digits and the exponent of the first kept digit.
struct Rounded {
  bool negative = false;
  std::string digits;  // empty means zero
  int exp = 0;         // exponent of digits[0]
};

Rounded RoundDigits(const Digits15& v, int decimals) {
  Rounded r;
  r.negative = v.negative;
  if (v.zero) return r;
  const int keep = v.exp + decimals + 1;  // digits that stay
  if (keep >= 15) {
    r.digits.assign(v.d.begin(), v.d.end());
    r.exp = v.exp;
    return r;
  }
  if (keep < 0) return r;
  const bool up = v.d[keep] >= '5';
  std::string digits(v.d.begin(), v.d.begin() + keep);
  int exp = v.exp;
  if (up) {
    int i = keep - 1;
    while (i >= 0 && digits[i] == '9') {
      digits[i] = '0';
      --i;
    }
    if (i >= 0) {
      ++digits[i];
    } else {
      digits.insert(digits.begin(), '1');
      ++exp;
    }
    if (keep == 0) {
      // The first digit itself was the rounding digit: the result is 10^-decimals.
      digits = "1";
      exp = -decimals;
    }
  }
  // Strip trailing zeros; all zero means the value rounded to 0.
  while (!digits.empty() && digits.back() == '0') digits.pop_back();
  if (digits.empty()) return r;
  r.digits = digits;
  r.exp = exp;
  return r;
}

}  // namespace

double RoundTo(double x, int decimals) {
  if (!std::isfinite(x)) return x;
  const Rounded r = RoundDigits(ToDigits15(x), decimals);
  if (r.digits.empty()) return 0.0;
  std::string s = r.negative ? "-" : "";
  s += r.digits[0];
  if (r.digits.size() > 1) {
    s += '.';
    s.append(r.digits, 1, std::string::npos);
  }
  s += 'e';
  s += std::to_string(r.exp);
  return ReadDecimal(s);
}

std::string FormatFixed(double x, int decimals) {
  if (decimals < 0) decimals = 0;
  if (std::isnan(x)) return "NaN";
  if (std::isinf(x)) return x > 0 ? "Inf" : "-Inf";
  const Rounded r = RoundDigits(ToDigits15(x), decimals);
  std::string out;
  if (r.digits.empty()) {
    out = "0";
    if (decimals > 0) out += '.' + std::string(decimals, '0');
    return out;
  }
  // Place the digits around the decimal point: digits[k] has weight 10^(exp-k).
  std::string int_part, frac_part(decimals, '0');
  for (int k = 0; k < static_cast<int>(r.digits.size()); ++k) {
    const int w = r.exp - k;
    if (w >= 0) continue;
    const int pos = -w - 1;
    if (pos < decimals) frac_part[pos] = r.digits[k];
  }
  if (r.exp < 0) {
    int_part = "0";
  } else {
    for (int w = r.exp; w >= 0; --w) {
      const int k = r.exp - w;
      int_part += k < static_cast<int>(r.digits.size()) ? r.digits[k] : '0';
    }
  }
  out = r.negative ? "-" : "";
  out += int_part;
  if (decimals > 0) out += '.' + frac_part;
  return out;
}

namespace {
template <typename T>
std::string ToCharsText(T x, std::chars_format fmt) {
  char buf[400];
  auto res = std::to_chars(buf, buf + sizeof buf, x, fmt);
  if (res.ec != std::errc()) return "0";
  return std::string(buf, res.ptr);
}

template <typename T>
std::string Shortest(T x) {
  if (x == 0) return "0";
  std::string fixed = ToCharsText(x, std::chars_format::fixed);
  if (fixed.size() <= 18) return fixed;
  return ToCharsText(x, std::chars_format::scientific);
}
}  // namespace

std::string ShortestText(double x) { return Shortest(x); }
std::string ShortestText(float x) { return Shortest(x); }

std::string PlainDecimal(double x) {
  if (!std::isfinite(x)) return "0";
  if (x == 0) return "0";
  return ToCharsText(x, std::chars_format::fixed);
}
std::string PlainDecimal(float x) {
  if (!std::isfinite(x)) return "0";
  if (x == 0) return "0";
  return ToCharsText(x, std::chars_format::fixed);
}

}  // namespace ovrin
