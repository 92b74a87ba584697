#include "core/number_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ovrin {
namespace {

TEST(ParseLeadingNumber, ReadsTheLeadingNumberAndGivesZeroForJunk) {
  EXPECT_EQ(ParseLeadingNumber("12.5abc"), 12.5);
  EXPECT_EQ(ParseLeadingNumber(""), 0.0);
  EXPECT_EQ(ParseLeadingNumber("abc"), 0.0);
  EXPECT_EQ(ParseLeadingNumber("-"), 0.0);
  EXPECT_EQ(ParseLeadingNumber("  -3.5"), -3.5);
  EXPECT_EQ(ParseLeadingNumber("+7"), 7.0);
  EXPECT_EQ(ParseLeadingNumber(".5"), 0.5);
  EXPECT_EQ(ParseLeadingNumber("-.25"), -0.25);
  EXPECT_EQ(ParseLeadingNumber("1.2.3"), 1.2);
  EXPECT_EQ(ParseLeadingNumber("--5"), 0.0);
  EXPECT_EQ(ParseLeadingNumber("1,5"), 1.0);  // no decimal comma
  EXPECT_EQ(ParseLeadingNumber("+ 1"), 1.0);  // the glass column's sign prefix
}

TEST(ParseLeadingNumber, SkipsBlanksAndTakesExponents) {
  EXPECT_EQ(ParseLeadingNumber("1 2"), 12.0);
  EXPECT_EQ(ParseLeadingNumber("1e3"), 1000.0);
  EXPECT_EQ(ParseLeadingNumber("2.5E-2"), 0.025);
  EXPECT_EQ(ParseLeadingNumber("1D2"), 100.0);
  EXPECT_EQ(ParseLeadingNumber("1e"), 1.0);   // a letter with no digits is not an exponent
  EXPECT_EQ(ParseLeadingNumber("3e+x"), 3.0);
  EXPECT_TRUE(std::isinf(ParseLeadingNumber("1e999")));
}

TEST(IsNumberText, WholeTextMustBeOneNumber) {
  for (const char* ok : {"1", " -0.5 ", ".25", "1.", "6.2e-10", "+3E4"}) EXPECT_TRUE(IsNumberText(ok)) << ok;
  for (const char* bad : {"", " ", ".", "-", "1.5x", "1e", "1.2.3", "e5", "1 2"}) EXPECT_FALSE(IsNumberText(bad)) << bad;
}

TEST(RoundTo, RoundsTheFifteenDigitTextHalfAwayFromZero) {
  // 0.00575 and 2.675 sit just below the half in binary; the decimal text does not.
  EXPECT_EQ(RoundTo(0.00575, 4), 0.0058);
  EXPECT_EQ(RoundTo(2.675, 2), 2.68);
  EXPECT_EQ(RoundTo(3.125, 2), 3.13);
  EXPECT_EQ(RoundTo(-2.5, 0), -3.0);
  EXPECT_EQ(RoundTo(2.5, 0), 3.0);
  EXPECT_EQ(RoundTo(9.995, 2), 10.0);
  EXPECT_EQ(RoundTo(0.0001, 2), 0.0);
  EXPECT_EQ(RoundTo(0.006, 2), 0.01);
  EXPECT_EQ(RoundTo(-0.00335, 4), -0.0034);
  EXPECT_EQ(RoundTo(1.23456789012345678, 8), 1.23456789);
  EXPECT_EQ(RoundTo(123456789.123456789, 3), 123456789.123);
  EXPECT_EQ(RoundTo(0.0, 3), 0.0);
}

TEST(FormatFixed, ShowsAFixedCountOfDecimals) {
  EXPECT_EQ(FormatFixed(3.125, 2), "3.13");
  EXPECT_EQ(FormatFixed(0.5, 3), "0.500");
  EXPECT_EQ(FormatFixed(-0.5, 3), "-0.500");
  EXPECT_EQ(FormatFixed(0.0, 3), "0.000");
  EXPECT_EQ(FormatFixed(-0.0001, 3), "0.000");
  EXPECT_EQ(FormatFixed(1234567.891, 2), "1234567.89");
  EXPECT_EQ(FormatFixed(-1.5, 0), "-2");
  EXPECT_EQ(FormatFixed(1e11, 0), "100000000000");
  EXPECT_EQ(FormatFixed(999.9996, 3), "1000.000");
  EXPECT_EQ(FormatFixed(0.000123, 5), "0.00012");
  EXPECT_EQ(FormatFixed(-1000.0, 3), "-1000.000");
  EXPECT_EQ(FormatFixed(0.00666, 4), "0.0067");
}

TEST(ShortestText, ReadsBackExactly) {
  for (double x : {0.1, 1.0 / 3.0, 1e11, -1e-7, 123.456, -2000.0, 6.02214076e23, 1e-300}) {
    const std::string s = ShortestText(x);
    EXPECT_EQ(ParseLeadingNumber(s), x) << s;
  }
  EXPECT_EQ(ShortestText(-2000.0), "-2000");
  EXPECT_EQ(ShortestText(0.5), "0.5");
  EXPECT_EQ(ShortestText(0.0), "0");
  EXPECT_EQ(ShortestText(0.5461f), "0.5461");
}

TEST(PlainDecimal, NeverUsesAnExponent) {
  EXPECT_EQ(PlainDecimal(1e-7), "0.0000001");
  EXPECT_EQ(PlainDecimal(-123456789012.5), "-123456789012.5");
  EXPECT_EQ(PlainDecimal(0.54607f), "0.54607");
}

}  // namespace
}  // namespace ovrin
