#include "core/design_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "test_designs.h"

namespace ovrin {
namespace {

namespace fs = std::filesystem;
using testing::ExamplePath;

class DesignFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("ovrin_file_test_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
            "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  static std::string Slurp(const std::string& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  }
  static void Spit(const std::string& p, const std::string& text) {
    std::ofstream out(p, std::ios::binary);
    out << text;
  }

  fs::path dir_;
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
};

// The tables that a file carries, for comparison.
void ExpectSameTables(const DesignState& a, const DesignState& b) {
  ASSERT_EQ(a.SurfCount, b.SurfCount);
  EXPECT_EQ(a.WlCount, b.WlCount);
  EXPECT_EQ(a.Wavelength, b.Wavelength);
  for (int i = 0; i <= a.SurfCount; ++i) {
    SCOPED_TRACE("surface " + std::to_string(i));
    EXPECT_EQ(a.SemiDiam[i], b.SemiDiam[i]);
    EXPECT_EQ(a.Radius[i], b.Radius[i]);
    EXPECT_EQ(a.Thickness[i], b.Thickness[i]);
    EXPECT_EQ(a.MediumCode[i], b.MediumCode[i]);
    for (int k = 1; k <= 6; ++k) EXPECT_EQ(a.IndexWl[k][i], b.IndexWl[k][i]);
    EXPECT_EQ(a.SurfType[i], b.SurfType[i]);
    EXPECT_EQ(a.Conic[i], b.Conic[i]);
    EXPECT_EQ(a.AsphA4[i], b.AsphA4[i]);
    EXPECT_EQ(a.AsphA6[i], b.AsphA6[i]);
    EXPECT_EQ(a.AsphA8[i], b.AsphA8[i]);
    EXPECT_EQ(a.GlassSchott[i], b.GlassSchott[i]);
    EXPECT_EQ(a.GlassChengdu[i], b.GlassChengdu[i]);
  }
  for (int i = 0; i <= a.SurfCount + 1; ++i) {
    EXPECT_EQ(a.DecY[i], b.DecY[i]);
    EXPECT_EQ(a.DecX[i], b.DecX[i]);
    EXPECT_EQ(a.TiltAInput[i], b.TiltAInput[i]);
    EXPECT_EQ(a.TiltBInput[i], b.TiltBInput[i]);
    EXPECT_EQ(a.TiltOrder[i], b.TiltOrder[i]);
  }
  EXPECT_EQ(a.ObjDistance, b.ObjDistance);
  EXPECT_EQ(a.HalfFieldY, b.HalfFieldY);
  EXPECT_EQ(a.StopSurf, b.StopSurf);
  EXPECT_EQ(a.EntrBeamSemiDiam, b.EntrBeamSemiDiam);
  EXPECT_EQ(a.EnvTempCurrent, b.EnvTempCurrent);
  EXPECT_EQ(a.EnvPressCurrent, b.EnvPressCurrent);
  EXPECT_EQ(a.DesignNote, b.DesignNote);
  EXPECT_EQ(a.Bfl, b.Bfl);
  EXPECT_EQ(a.ImageHeight, b.ImageHeight);
}

TEST_F(DesignFileTest, EveryExampleLoadsTracesAndReadsBackTheSame) {
  for (const char* name : {"newtonian_200_f5.ovn", "ritchey_chretien_200_f8.ovn",
                           "schmidt_camera_200_f3.ovn", "cemented_doublet_100_f10.ovn"}) {
    SCOPED_TRACE(name);
    DesignState a;
    DesignSheet sa;
    UpdateResult r = ReadDesignFile(ExamplePath(name), DesignFormat::Current, a, sa, media);
    ASSERT_TRUE(r.ok) << r.message;
    ASSERT_TRUE(WriteDesignFile(Path("copy.ovn"), a, sa, media).ok);
    DesignState b;
    DesignSheet sb;
    ASSERT_TRUE(ReadDesignFile(Path("copy.ovn"), DesignFormat::Current, b, sb, media).ok);
    ExpectSameTables(a, b);
    EXPECT_EQ(sa.cells, sb.cells);
    EXPECT_EQ(sa.Text1, sb.Text1);
    EXPECT_EQ(sa.Txtangolo, sb.Txtangolo);
    // Written twice, the same bytes.
    ASSERT_TRUE(WriteDesignFile(Path("copy2.ovn"), b, sb, media).ok);
    EXPECT_EQ(Slurp(Path("copy.ovn")), Slurp(Path("copy2.ovn")));
  }
}

TEST_F(DesignFileTest, WriterUsesCrLfAndQuotedStrings) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  sheet.Txtcaratteristiche = "";
  ASSERT_TRUE(WriteDesignFile(Path("n.ovn"), d, sheet, media).ok);
  const std::string text = Slurp(Path("n.ovn"));
  EXPECT_EQ(text.rfind("\"No description\"\r\n", 0), 0u);
  std::size_t lf = 0, crlf = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++lf;
      if (i > 0 && text[i - 1] == '\r') ++crlf;
    }
  }
  EXPECT_EQ(lf, crlf);
  // 3 header lines, 6 per surface 0..2, 6 tail lines.
  EXPECT_EQ(lf, 3u + 6u * 3u + 6u);
}

TEST_F(DesignFileTest, PlaneIsStoredAsZeroAndLargeNegativeRadiusAsItStands) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath("cemented_doublet_100_f10.ovn"), DesignFormat::Current, d, sheet, media).ok);
  sheet.Cell(3, 3) = "0";
  sheet.Cell(2, 3) = "-123456789";
  ASSERT_TRUE(WriteDesignFile(Path("p.ovn"), d, sheet, media).ok);
  const std::string text = Slurp(Path("p.ovn"));
  EXPECT_NE(text.find("\r\n52,-123456789,6\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n52,0,0\r\n"), std::string::npos);
  DesignState b;
  DesignSheet sb;
  ASSERT_TRUE(ReadDesignFile(Path("p.ovn"), DesignFormat::Current, b, sb, media).ok);
  EXPECT_EQ(sb.Cell(3, 3), "0");
  EXPECT_EQ(b.Radius[3], 1e11);  // the update makes it a plane again
  EXPECT_EQ(b.Radius[2], -123456789.0);
}

TEST_F(DesignFileTest, SavingZeroesTheCoefficientsOfAConic) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  d.AsphA4[2] = 1e-9;  // left over from an earlier HIGH-ORDER choice
  ASSERT_TRUE(WriteDesignFile(Path("c.ovn"), d, sheet, media).ok);
  EXPECT_EQ(d.AsphA4[2], 0.0);
}

TEST_F(DesignFileTest, ShortMediaLinesAreReadThroughOpen) {
  std::string text = Slurp(ExamplePath("newtonian_200_f5.ovn"));
  std::string shortened;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (line.find(",\"\",\"\",\"\",\"\",\"\",\"\",\"\"") != std::string::npos)
      line = line.substr(0, line.find(',')) + ",\"\",\"\"\r";
    shortened += line + "\n";
  }
  Spit(Path("short.ovn"), shortened);
  ASSERT_TRUE(ReadDesignFile(Path("short.ovn"), DesignFormat::Current, d, sheet, media).ok);
  DesignState full;
  DesignSheet fs_;
  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, full, fs_, media).ok);
  EXPECT_EQ(d.Bfl, full.Bfl);
  EXPECT_EQ(d.MediumCode[2], kMediumAirNegat);
  EXPECT_EQ(sheet.Cell(2, 5), "AIR (Negat)");
  EXPECT_EQ(sheet.Cell(2, 6), "-1");
}

TEST_F(DesignFileTest, ImagePlaneTiltSurvivesTheCurrentFormatButNotTheOldImports) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  d.TiltAInput[3] = 0.002;
  d.DecY[3] = 0.5f;
  d.DecX[1] = 0.125f;
  ASSERT_TRUE(WriteDesignFile(Path("t.ovn"), d, sheet, media).ok);
  DesignState b;
  DesignSheet sb;
  ASSERT_TRUE(ReadDesignFile(Path("t.ovn"), DesignFormat::Current, b, sb, media).ok);
  EXPECT_EQ(b.TiltAInput[3], 0.002);
  EXPECT_EQ(b.DecY[3], 0.5f);
  EXPECT_EQ(b.UncenteredFlag, 1.0f);
  EXPECT_TRUE(sb.Label4Visible);

  // The same design in the 4.0-5.0 form: one angle, short media, no tail.
  std::istringstream in(Slurp(Path("t.ovn")));
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  std::string old;
  for (std::size_t i = 0; i < 3 + 6 * 3; ++i) {
    std::string l = lines[i];
    if (i == 1) l = "2,1,0.5\r";
    if (i >= 3 && (i - 3) % 6 == 1) l = l.substr(0, l.find(',')) + ",\"\",\"\"\r";
    old += l + "\n";
  }
  Spit(Path("old40.ovn"), old);
  DesignState c;
  DesignSheet sc;
  c.TiltAInput[3] = 0.7;  // left over from a design before: not the new image plane's
  ASSERT_TRUE(ReadDesignFile(Path("old40.ovn"), DesignFormat::V40, c, sc, media).ok);
  EXPECT_EQ(c.TiltAInput[3], 0.0);
  EXPECT_EQ(c.DecY[3], 0.0f);
  EXPECT_EQ(c.DecX[1], 0.125f);  // the surfaces' own records are there
  EXPECT_EQ(sc.Txtangolo, "0.5");
  EXPECT_EQ(sc.Cell(1, 1), "AS");
  EXPECT_EQ(c.EntrBeamSemiDiam, 25.0);  // from the first half-diameter
}

TEST_F(DesignFileTest, FiniteObjectAndSmallBeamAndStop) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  EXPECT_EQ(sheet.Cell(2, 1), "AS");
  EXPECT_EQ(sheet.Cell(1, 1), "");
  sheet.SelectOption2();
  sheet.Text2 = "5000";
  sheet.Text3 = "12";
  sheet.Text1 = "0.75";
  ASSERT_TRUE(WriteDesignFile(Path("f.ovn"), d, sheet, media).ok);
  DesignState b;
  DesignSheet sb;
  ASSERT_TRUE(ReadDesignFile(Path("f.ovn"), DesignFormat::Current, b, sb, media).ok);
  EXPECT_TRUE(sb.Option2);
  EXPECT_EQ(sb.Text2, "5000");
  EXPECT_EQ(sb.Text3, "12");
  // A stored beam of 1 or less gives way to the first half-diameter.
  EXPECT_EQ(sb.Text1, "25");
  EXPECT_EQ(b.EntrBeamSemiDiam, 25.0);
}

TEST_F(DesignFileTest, DoubleQuoteCannotBreakTheNote) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  sheet.Txtcaratteristiche = "8\" f/5, \"fast\"";
  ASSERT_TRUE(WriteDesignFile(Path("q.ovn"), d, sheet, media).ok);
  DesignState b;
  DesignSheet sb;
  ASSERT_TRUE(ReadDesignFile(Path("q.ovn"), DesignFormat::Current, b, sb, media).ok);
  EXPECT_EQ(sb.Txtcaratteristiche, "8' f/5, 'fast'");
  EXPECT_EQ(b.SurfCount, 2);
}

TEST_F(DesignFileTest, DamagedFilesNameTheFileTheLineAndWhatWasExpected) {
  const std::string good = Slurp(ExamplePath("ritchey_chretien_200_f8.ovn"));
  // Truncated in the middle of surface 2: the tables keep what came before.
  std::size_t cut = 0;
  for (int i = 0; i < 3 + 6 * 2 + 2; ++i) cut = good.find('\n', cut) + 1;
  Spit(Path("cut.ovn"), good.substr(0, cut));
  try {
    ReadDesignFile(Path("cut.ovn"), DesignFormat::Current, d, sheet, media);
    FAIL() << "no error";
  } catch (const DesignFileError& e) {
    EXPECT_EQ(e.line(), 18);
    EXPECT_NE(std::string(e.what()).find("cut.ovn"), std::string::npos);
    EXPECT_NE(std::string(e.what()).find("line 18"), std::string::npos);
    EXPECT_NE(std::string(e.what()).find("file ends"), std::string::npos);
  }
  EXPECT_EQ(d.SurfCount, 3);
  EXPECT_EQ(d.Radius[1], 0.0);
  EXPECT_EQ(d.Radius[2], -1200.0);

  std::string bad = good;
  bad.replace(bad.find("-1200"), 5, "-12x0");
  Spit(Path("bad.ovn"), bad);
  try {
    ReadDesignFile(Path("bad.ovn"), DesignFormat::Current, d, sheet, media);
    FAIL() << "no error";
  } catch (const DesignFileError& e) {
    EXPECT_EQ(e.line(), 16);
    EXPECT_NE(e.expected().find("radius of surface 2"), std::string::npos);
  }

  std::string too_many = good;
  too_many.replace(0, too_many.find('\n') + 1, "\"x\"\r\n");
  too_many.replace(too_many.find('\n') + 1, 1, "7");  // 73 surfaces in line 2
  Spit(Path("count.ovn"), too_many);
  EXPECT_THROW(ReadDesignFile(Path("count.ovn"), DesignFormat::Current, d, sheet, media), DesignFileError);

  Spit(Path("probe.ovn"), "\"x\"\r\n1,1,0,0\r\n0.5,0,0,0,0,0\r\n0,0,0\r\n0,\"a\"\r\n");
  try {
    ReadDesignFile(Path("probe.ovn"), DesignFormat::Current, d, sheet, media);
    FAIL() << "no error";
  } catch (const DesignFileError& e) {
    EXPECT_EQ(e.line(), 5);
  }

  EXPECT_THROW(ReadDesignFile(Path("missing.ovn"), DesignFormat::Current, d, sheet, media), DesignFileError);
  Spit(Path("empty.ovn"), "");
  EXPECT_THROW(ReadDesignFile(Path("empty.ovn"), DesignFormat::Current, d, sheet, media), DesignFileError);
}

TEST_F(DesignFileTest, SaveReplacesTheFileWholeOrNotAtAll) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  const std::string saved = [&] {
    EXPECT_TRUE(WriteDesignFile(Path("ref.ovn"), d, sheet, media).ok);
    return Slurp(Path("ref.ovn"));
  }();

  // The old file's permissions stay, and no temporary is left behind.
  const std::string target = Path("keep.ovn");
  Spit(target, "old contents");
  fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  ASSERT_TRUE(WriteDesignFile(target, d, sheet, media).ok);
  EXPECT_EQ(Slurp(target), saved);
  EXPECT_EQ(fs::status(target).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  int files = 0;
  for (const auto& e : fs::directory_iterator(dir_)) files += e.is_regular_file();
  EXPECT_EQ(files, 2);  // ref.ovn and keep.ovn

  // Through a symbolic link: the link stays, the file it names gets the design.
  fs::create_directory(Path("real"));
  Spit(Path("real/design.ovn"), "old contents");
  fs::create_symlink("real/design.ovn", Path("link.ovn"));
  ASSERT_TRUE(WriteDesignFile(Path("link.ovn"), d, sheet, media).ok);
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(Path("link.ovn"))));
  EXPECT_EQ(Slurp(Path("real/design.ovn")), saved);

  // A read-only file is refused with a message, even for an account that could write it.
  Spit(Path("ro.ovn"), "old contents");
  fs::permissions(Path("ro.ovn"), fs::perms::owner_read | fs::perms::group_read);
  try {
    WriteDesignFile(Path("ro.ovn"), d, sheet, media);
    FAIL() << "a read-only file was replaced";
  } catch (const DesignFileError& e) {
    EXPECT_NE(std::string(e.what()).find("read-only"), std::string::npos) << e.what();
  }
  EXPECT_EQ(Slurp(Path("ro.ovn")), "old contents");

  // A folder in the way, or a missing folder: a message, nothing written.
  fs::create_directory(Path("dir.ovn"));
  EXPECT_THROW(WriteDesignFile(Path("dir.ovn"), d, sheet, media), DesignFileError);
  EXPECT_TRUE(fs::is_directory(Path("dir.ovn")));
  EXPECT_THROW(WriteDesignFile(Path("no/such/dir/x.ovn"), d, sheet, media), DesignFileError);
}

TEST_F(DesignFileTest, DesignThatFailsTheUpdateIsNotWritten) {
  // What a failed read leaves: an empty grid, or a half-read one. Saving it
  // must not put a one-surface plane or a mixture over a good file.
  const std::string target = Path("good.ovn");
  Spit(target, "old contents");
  DesignState empty;
  DesignSheet blank;
  try {
    WriteDesignFile(target, empty, blank, media);
    FAIL() << "an empty design was written";
  } catch (const DesignFileError& e) {
    EXPECT_NE(std::string(e.what()).find("nothing was written"), std::string::npos) << e.what();
  }
  EXPECT_EQ(Slurp(target), "old contents");

  ASSERT_TRUE(ReadDesignFile(ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  sheet.Cell(1, 3) = "0.0000001";  // a radius the near-axis ray cannot pass
  sheet.Cell(2, 3) = "0.0000001";
  EXPECT_THROW(WriteDesignFile(target, d, sheet, media), DesignFileError);
  EXPECT_EQ(Slurp(target), "old contents");
}

TEST_F(DesignFileTest, SurfaceTypeOutsideTheKnownTypesIsRefused) {
  // 1e30 fits a 32-bit float but no int; the reader refuses it with the line.
  std::string text = Slurp(ExamplePath("newtonian_200_f5.ovn"));
  const std::size_t at = text.find("\r\n4,0\r\n") + 2;  // surface 1's type line
  for (const char* type : {"1e30", "-1", "2.5", "5"}) {
    SCOPED_TRACE(type);
    std::string bad = text;
    bad.replace(at, 1, type);
    Spit(Path("type.ovn"), bad);
    try {
      ReadDesignFile(Path("type.ovn"), DesignFormat::Current, d, sheet, media);
      FAIL() << "accepted";
    } catch (const DesignFileError& e) {
      EXPECT_EQ(e.line(), 13);
      EXPECT_NE(e.expected().find("surface type"), std::string::npos);
    }
  }
  EXPECT_STREQ(SurfTypeText(1e30f), "SPHERE");
  EXPECT_STREQ(SurfTypeText(-1e30f), "SPHERE");
  EXPECT_STREQ(SurfTypeText(3.0f), "HIGH-ORDER");
}

TEST_F(DesignFileTest, ControlBytesOfAFieldAreShownWholeInTheMessage) {
  // A NUL inside a number used to end the message there: "...found \"0".
  try {
    ReadDesignFile(std::string(OVRIN_CORPUS_DIR) + "/nul_byte_in_number.ovn", DesignFormat::Current, d, sheet,
                   media);
    FAIL() << "accepted";
  } catch (const DesignFileError& e) {
    const std::string what = e.what();
    EXPECT_EQ(what.size(), std::strlen(e.what()));
    EXPECT_NE(what.find("found \"0\\x00\"."), std::string::npos) << what;
  }
}

}  // namespace
}  // namespace ovrin
