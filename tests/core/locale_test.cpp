// The program's numbers must not follow the machine's locale: a German or
// French desktop writes 3,5 where the program reads and writes 3.5.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/design_file.h"
#include "core/number_text.h"
#include "core/system_update.h"
#include "test_designs.h"

namespace ovrin {
namespace {

namespace fs = std::filesystem;

// Switches the whole C library to a comma-decimal locale for one test, and
// back to "C" afterwards. The locale is taken from the system when it has one,
// otherwise compiled with localedef into the build folder.
class CommaLocale : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "it_IT.UTF-8", "de_DE.utf8"}) {
      if (std::setlocale(LC_ALL, name)) return Check(name);
    }
    const fs::path dir = fs::temp_directory_path() / "ovrin-test-locales";
    fs::create_directories(dir);
    const std::string command = "localedef -i de_DE -f UTF-8 '" + (dir / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
    if (!fs::exists(dir / "de_DE.UTF-8")) (void)std::system(command.c_str());
    ::setenv("LOCPATH", dir.c_str(), 1);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8")) return Check("de_DE.UTF-8");
    ::unsetenv("LOCPATH");
    GTEST_SKIP() << "no comma-decimal locale could be made on this machine (localedef failed)";
  }
  void Check(const char* name) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%.1f", 3.5);
    ASSERT_STREQ(buf, "3,5") << name << " is not a comma-decimal locale";
  }
  void TearDown() override {
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
  }
};

TEST_F(CommaLocale, NumberTextReadsRoundsAndShowsWithAPoint) {
  EXPECT_EQ(ParseLeadingNumber("3.5"), 3.5);
  EXPECT_EQ(ParseLeadingNumber("-2.5E-2"), -0.025);
  EXPECT_EQ(ParseLeadingNumber("3,5"), 3.0);  // a comma is never the decimal point
  EXPECT_EQ(RoundTo(0.00575, 4), 0.0058);
  EXPECT_EQ(RoundTo(1.23456789012345, 8), 1.23456789);
  EXPECT_EQ(FormatFixed(3.125, 2), "3.13");
  EXPECT_EQ(FormatFixed(-1234.5, 1), "-1234.5");
  EXPECT_EQ(ShortestText(0.1), "0.1");
  EXPECT_EQ(PlainDecimal(2.5f), "2.5");
}

TEST_F(CommaLocale, AnExampleUpdatesToTheSameNumbersAsUnderC) {
  auto read = [](DesignState& d, DesignSheet& sheet) {
    StoredIndicesResolver media;
    return ReadDesignFile(testing::ExamplePath("cemented_doublet_100_f10.ovn"), DesignFormat::Current, d,
                          sheet, media);
  };
  DesignState comma;
  DesignSheet comma_sheet;
  ASSERT_TRUE(read(comma, comma_sheet).ok);

  std::setlocale(LC_ALL, "C");
  DesignState plain;
  DesignSheet plain_sheet;
  ASSERT_TRUE(read(plain, plain_sheet).ok);

  EXPECT_EQ(comma.Bfl, plain.Bfl);
  EXPECT_EQ(comma.Efl, plain.Efl);
  EXPECT_EQ(comma.AiryDiam, plain.AiryDiam);
  EXPECT_EQ(comma_sheet.Lblbfl, plain_sheet.Lblbfl);
  EXPECT_EQ(comma_sheet.Lblfocale, plain_sheet.Lblfocale);
  // The doublet's back focus, as a telescope maker reads it off the window.
  EXPECT_NEAR(plain.Bfl, 986.337, 5e-4);
}

}  // namespace
}  // namespace ovrin
