#include "glass/catalogue_media.h"
#include "glass_test_util.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "core/design_file.h"

namespace ovrin {
namespace {

namespace fs = std::filesystem;

double Schott(const char* name, double wl) {
  return testing::CatalogueIndex(Catalogue::Schott, name, wl);
}

// A singlet in the format of a release: `media` is the text of surface 1's
// media line after its code, e.g. "\"N-BK7\",\"\"".
struct OldFile {
  enum Kind { Current, V35, V40, V51 } kind;
  int code = 2;
  std::string media = "\"N-BK7\",\"\"";
  double index1 = 1.5;  // as stored; only its sign counts for a catalogue glass

  std::string Text() const {
    const bool full_media = kind == Current;
    std::string t = "\"singlet\"\r\n";
    t += (kind == V35 || kind == V40) ? "2,2,0.5\r\n" : "2,2,0.5,0\r\n";
    t += "0.5876,0.6563,0,0,0,0\r\n";
    auto surface = [&](const std::string& a, int c, const std::string& m, double n) {
      t += a + "\r\n";
      t += std::to_string(c) + "," + m + (full_media ? ",\"\",\"\",\"\",\"\",\"\"" : "") + "\r\n";
      t += std::to_string(n) + "," + std::to_string(n) + ",0,0,0,0\r\n";
      t += "1,0\r\n0,0,0,0\r\n";
      if (kind != V35) t += "0,0,0.001,0,1\r\n";
    };
    surface("0,0,0", 0, "\"\",\"\"", 1);
    surface("20,100,5", code, media, index1);
    surface("20,0,0", 0, "\"\",\"\"", 1);
    if (kind == V51 || kind == Current) t += "0.25,0,0.002,0,1\r\n";
    if (kind == Current) t += "0,0\r\n1,20\r\n20,1\r\n0,0\r\n0,0\r\n";
    return t;
  }
};

class CatalogueMediaTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("ovrin_media_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }
  UpdateResult Read(const OldFile& f, DesignFormat fmt) {
    const std::string p = (dir_ / "f.ovn").string();
    std::ofstream(p, std::ios::binary) << f.Text();
    return ReadDesignFile(p, fmt, d, sheet, media);
  }
  fs::path dir_;
  DesignState d;
  DesignSheet sheet;
  CatalogueMedia media;
};

TEST_F(CatalogueMediaTest, ReaderRecomputesCatalogueGlassForTheFileWavelengths) {
  OldFile f{OldFile::Current};
  ASSERT_TRUE(Read(f, DesignFormat::Current).ok);
  EXPECT_EQ(d.IndexWl[1][1], Schott("N-BK7", 0.5876));
  EXPECT_EQ(d.IndexWl[2][1], Schott("N-BK7", 0.6563));
  EXPECT_EQ(d.IndexWl[3][1], 0.0);
  EXPECT_EQ(sheet.Cell(1, 5), "SCHOTT");
  EXPECT_EQ(sheet.Cell(1, 6), "+ N-BK7");
  // A plano-convex N-BK7 lens of R 100: f = R / (n - 1).
  EXPECT_NEAR(d.Efl, 100 / (Schott("N-BK7", 0.5876) - 1), 0.05);

  f.index1 = -1.5;  // the glass sits in a mirror's space
  Read(f, DesignFormat::Current);
  EXPECT_EQ(d.IndexWl[1][1], -Schott("N-BK7", 0.5876));
  EXPECT_EQ(sheet.Cell(1, 6), "- N-BK7");
}

TEST_F(CatalogueMediaTest, OldRowNumbersBecomeNamesButZeroAndThousandAndOneStayNames) {
  OldFile f{OldFile::Current};
  f.media = "\"36\",\"\"";  // row 36 of the old SCHOTT list
  ASSERT_TRUE(Read(f, DesignFormat::Current).ok);
  EXPECT_EQ(d.GlassSchott[1], CatalogueRows(Catalogue::Schott)[35].name);
  EXPECT_EQ(sheet.Cell(1, 6), std::string("+ ") + CatalogueRows(Catalogue::Schott)[35].name);

  f.code = 3;
  f.media = "\"\",\"5\"";
  ASSERT_TRUE(Read(f, DesignFormat::Current).ok);
  EXPECT_EQ(d.GlassOhara[1], "S-BAH32");

  for (const char* entry : {"0", "1001"}) {
    f.code = 2;
    f.media = std::string("\"") + entry + "\",\"\"";
    Read(f, DesignFormat::Current);
    EXPECT_EQ(d.GlassSchott[1], entry);
  }
}

TEST_F(CatalogueMediaTest, TheThreeImports) {
  {
    OldFile f{OldFile::V35};
    ASSERT_TRUE(Read(f, DesignFormat::V35).ok);
    EXPECT_EQ(d.SurfCount, 2);
    EXPECT_EQ(sheet.Txtangolo, "0.5");
    EXPECT_EQ(sheet.Text1, "20");  // the beam is the first half-diameter
    EXPECT_EQ(d.TiltAInput[1], 0.0);  // no tilt records at all
    EXPECT_EQ(d.IndexWl[1][1], Schott("N-BK7", 0.5876));
  }
  {
    OldFile f{OldFile::V40};
    ASSERT_TRUE(Read(f, DesignFormat::V40).ok);
    EXPECT_EQ(d.TiltAInput[1], 0.001);
    EXPECT_EQ(d.DecY[3], 0.0f);  // the image plane has no record
  }
  {
    OldFile f{OldFile::V51};
    ASSERT_TRUE(Read(f, DesignFormat::V51).ok);
    EXPECT_EQ(d.TiltAInput[3], 0.002);  // the image plane's record is there
    EXPECT_EQ(d.DecY[3], 0.25f);
    EXPECT_EQ(d.UncenteredFlag, 1.0f);
  }
  {
    // A file of one release opened as another is refused with its line.
    OldFile f{OldFile::V51};
    EXPECT_THROW(Read(f, DesignFormat::V40), DesignFileError);
  }
}

TEST_F(CatalogueMediaTest, FreshDesignTakesTheStandardEnvironment) {
  OldFile f{OldFile::Current};
  f.code = 3;
  f.media = "\"\",\"S-BSL7\"";
  ASSERT_TRUE(Read(f, DesignFormat::Current).ok);
  const double at_25 = d.IndexWl[1][1];  // as the catalogue gives it
  d.EnvTempCurrent = d.EnvPressCurrent = 0;
  ASSERT_TRUE(cmdupdate(d, sheet, media).ok);
  EXPECT_EQ(d.EnvTempActual, 20.0f);
  EXPECT_EQ(d.EnvPressActual, 1.0f);
  // OHARA data refer to 25 C: at 20 C the index moves, by a few parts in a million.
  EXPECT_NE(d.IndexWl[1][1], at_25);
  EXPECT_NEAR(d.IndexWl[1][1], at_25, 2e-5);
}

TEST_F(CatalogueMediaTest, WavelengthCountZeroReadsWritesAndReadsBackTheSame) {
  // The achromat with a wavelength count of 0 in its second line: the first
  // read used to keep the stored indices and the second to recompute them,
  // so the focal length moved by about 1 % on the first resave.
  const std::string path = std::string(OVRIN_CORPUS_DIR) + "/wavelength_count_zero.ovn";
  ASSERT_TRUE(ReadDesignFile(path, DesignFormat::Current, d, sheet, media).ok);
  EXPECT_EQ(d.WlCount, 1);
  EXPECT_EQ(d.IndexWl[1][1], Schott("N-BK7", d.Wavelength[0]));
  const std::string copy = (dir_ / "copy.ovn").string();
  ASSERT_TRUE(WriteDesignFile(copy, d, sheet, media).ok);
  DesignState b;
  DesignSheet sb;
  ASSERT_TRUE(ReadDesignFile(copy, DesignFormat::Current, b, sb, media).ok);
  EXPECT_EQ(b.WlCount, d.WlCount);
  for (int i = 0; i <= d.SurfCount; ++i)
    for (int k = 1; k <= 6; ++k) EXPECT_EQ(b.IndexWl[k][i], d.IndexWl[k][i]) << i << " " << k;
  EXPECT_EQ(b.Efl, d.Efl);
  EXPECT_EQ(sb.cells, sheet.cells);
}

TEST_F(CatalogueMediaTest, WavelengthOutsideTheGlassRangeRaisesGlassRangeErrorOnReading) {
  // A wavelength of 10 microns on N-BK7: the formula has no real index there.
  // The reader lets the error through for the caller to turn into its message.
  const std::string path = std::string(OVRIN_CORPUS_DIR) + "/glass_wavelength_out_of_range.ovn";
  EXPECT_THROW(ReadDesignFile(path, DesignFormat::Current, d, sheet, media), GlassRangeError);
}

}  // namespace
}  // namespace ovrin
