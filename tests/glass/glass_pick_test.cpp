#include "glass/glass_pick.h"

#include <gtest/gtest.h>

#include "core/design_edit.h"
#include "core/system_update.h"
#include "glass_test_util.h"

namespace ovrin {
namespace {

struct Picked {
  DesignState d;
  DesignSheet sheet;
  CatalogueMedia media;
  Picked() {
    NewDesign(d, sheet, "3");
    d.WlCount = 3;
    d.Wavelength = {0.5461f, 0.4861f, 0.6563f, 0, 0, 0};
    EXPECT_TRUE(cmdupdate(d, sheet, media).ok);
  }
};

TEST(GlassPick, WritesNameCodeCellsAndEveryIndex) {
  Picked p;
  ASSERT_TRUE(PickCatalogueGlass(p.d, p.sheet, p.media, 1, Catalogue::Ohara, "S-BSL7"));
  EXPECT_EQ(p.d.MediumCode[1], kMediumOhara);
  EXPECT_EQ(p.d.GlassOhara[1], "S-BSL7");
  EXPECT_EQ(p.sheet.Cell(1, 5), "OHARA");
  EXPECT_EQ(p.sheet.Cell(1, 6), "+ S-BSL7");
  for (int k = 1; k <= 3; ++k)
    EXPECT_EQ(p.d.IndexWl[k][1], testing::CatalogueIndex(Catalogue::Ohara, "S-BSL7", p.d.Wavelength[k - 1]));
  EXPECT_EQ(p.d.IndexWl[4][1], 0.0);
  // The update keeps what the picker set.
  ASSERT_TRUE(cmdupdate(p.d, p.sheet, p.media).ok);
  EXPECT_EQ(p.d.GlassOhara[1], "S-BSL7");
  EXPECT_GT(p.d.IndexWl[1][1], 1.5);
}

TEST(GlassPick, MirrorSpaceKeepsItsSignBeforeAndAfterAnUpdate) {
  Picked p;
  // The user has just chosen negative air for row 2, without an update yet.
  PickAir(p.d, p.sheet, 2, true);
  ASSERT_TRUE(PickCatalogueGlass(p.d, p.sheet, p.media, 2, Catalogue::Schott, "N-BK7"));
  EXPECT_LT(p.d.IndexWl[1][2], -1.5);
  EXPECT_EQ(p.sheet.Cell(2, 6), "- N-BK7");
  // Choosing another glass for the same negative space stays negative.
  ASSERT_TRUE(PickCatalogueGlass(p.d, p.sheet, p.media, 2, Catalogue::Hoya, "BSC7"));
  EXPECT_LT(p.d.IndexWl[3][2], -1.5);
  // Row 1 still shows positive air although its table could say otherwise.
  p.d.IndexWl[1][1] = -1;
  ASSERT_TRUE(PickDirectIndices(p.d, p.sheet, 1, {1.6, 1.61, 1.59, 0, 0, 0}));
  EXPECT_EQ(p.d.IndexWl[2][1], 1.61);
  EXPECT_EQ(p.sheet.Cell(1, 5), "DIRECT");
  EXPECT_EQ(p.sheet.Cell(1, 6), "1.6");
}

TEST(GlassPick, RefusalsChangeNothing) {
  Picked p;
  const DesignSheet before = p.sheet;
  EXPECT_FALSE(PickCatalogueGlass(p.d, p.sheet, p.media, 1, Catalogue::Schott, "NO-SUCH"));
  EXPECT_FALSE(PickCatalogueGlass(p.d, p.sheet, p.media, 4, Catalogue::Schott, "N-BK7"));
  EXPECT_FALSE(PickDirectIndices(p.d, p.sheet, 1, {1.6, 0, 1.59, 0, 0, 0}));  // wavelength 2 missing
  EXPECT_EQ(p.sheet.cells, before.cells);
  EXPECT_EQ(p.d.MediumCode[1], kMediumAirPosit);
}

TEST(GlassList, FilterAndAvailability) {
  const auto all = GlassList(Catalogue::Schott, "");
  EXPECT_EQ(all.size(), CatalogueRows(Catalogue::Schott).size());
  const auto bk = GlassList(Catalogue::Schott, "bk7");
  ASSERT_FALSE(bk.empty());
  for (const auto& e : bk) EXPECT_NE(std::string(e.row->name).find("BK7"), std::string::npos);
  EXPECT_TRUE(GlassList(Catalogue::Hoya, "zzz").empty());
}

}  // namespace
}  // namespace ovrin
