#include "core/design_state.h"

#include <gtest/gtest.h>

#include "core/design_sheet.h"

namespace ovrin {
namespace {

TEST(DesignState, ClearDesignEmptiesEveryTableAndResetTiltDecenterSetsOrderOne) {
  DesignState d;
  d.Radius[5] = 10;
  d.IndexWl[3][7] = 1.5;
  d.GlassOhara[2] = "S-BSL7";
  d.SurfType[1] = 3;
  d.TiltAInput[4] = 0.1;
  d.TiltOrder[9] = 2;
  d.DecX[102] = 1;
  ClearDesign(d);
  EXPECT_EQ(d.Radius[5], 0.0);
  EXPECT_EQ(d.IndexWl[3][7], 0.0);
  EXPECT_TRUE(d.GlassOhara[2].empty());
  EXPECT_EQ(d.SurfType[1], 0.0f);
  EXPECT_EQ(d.TiltAInput[4], 0.0);
  EXPECT_EQ(d.TiltOrder[9], 0.0f);  // the full clear leaves no order at all
  EXPECT_EQ(d.DecX[102], 0.0f);

  d.TiltA[3] = 0.2;
  d.TiltAInput[3] = 0.2;
  ResetTiltDecenter(d);
  EXPECT_EQ(d.TiltA[3], 0.0);
  EXPECT_EQ(d.TiltAInput[3], 0.2);  // the user's input is not the trace's table
  EXPECT_EQ(d.TiltOrder[0], 1.0f);
  EXPECT_EQ(d.TiltOrder[102], 1.0f);
}

TEST(DesignState, MediumListOrderDiffersFromTheCodes) {
  // List positions 4..8 hold CORNING, HOYA, LZOS, SPECIAL, DIRECT; their codes are 5..8, 4.
  EXPECT_STREQ(kComboGlassEntries[4], "CORNING");
  EXPECT_EQ(MediumCodeOfEntry(kComboGlassEntries[4]), kMediumCorning);
  EXPECT_EQ(MediumCodeOfEntry(kComboGlassEntries[8]), kMediumDirect);
  EXPECT_EQ(MediumCodeOfEntry(kComboGlassEntries[9]), kMediumChengdu);
  for (int code = 0; code <= 9; ++code) EXPECT_EQ(MediumCodeOfEntry(MediumEntryText(code)), code);
  EXPECT_EQ(MediumCodeOfEntry("GLASS"), -1);
  DesignState d;
  EXPECT_EQ(d.GlassNames(kMediumAirPosit), nullptr);
  EXPECT_EQ(d.GlassNames(kMediumDirect), nullptr);
  EXPECT_EQ(d.GlassNames(kMediumSpecial), &d.GlassSpecial);
}

}  // namespace
}  // namespace ovrin
