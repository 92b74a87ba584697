#include "core/wavelength_store.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/number_text.h"
#include "glass/catalogue_media.h"
#include "glass_test_util.h"

namespace ovrin {
namespace {

// A cemented pair in front of a mirror: N-BK7 (SCHOTT), a DIRECT flint,
// air, and a mirror followed by a SCHOTT glass in the mirror's negative space.
struct Design {
  DesignState d;
  DesignSheet sheet;
  CatalogueMedia media;

  Design() {
    ClearDesign(d);
    ResetTiltDecenter(d);
    d.WlCount = 3;
    d.Wavelength = {0.5461f, 0.4861f, 0.6563f, 0, 0, 0};
    sheet.ApplySurfaceCount("5");
    const char* radius[] = {"300", "-200", "-900", "-2000", "0"};
    const char* thick[] = {"10", "5", "500", "-10", "0"};
    for (int i = 1; i <= 5; ++i) {
      sheet.Cell(i, 2) = "50";
      sheet.Cell(i, 3) = radius[i - 1];
      sheet.Cell(i, 4) = thick[i - 1];
      PickSurfaceType(d, sheet, i, kSphere);
    }
    Glass(1, "N-BK7", false);
    sheet.Cell(2, 5) = "DIRECT";
    d.MediumCode[2] = kMediumDirect;
    const double flint[] = {1.62408, 1.63208, 1.61503};  // typed at e, F, C
    for (int k = 1; k <= 3; ++k) d.IndexWl[k][2] = flint[k - 1];
    sheet.Cell(2, 6) = "1.62408";
    PickAir(d, sheet, 3, false);
    PickAir(d, sheet, 4, true);
    d.IndexWl[1][5] = -1;  // the space after the mirror is negative
    Glass(5, "N-BK7", true);
    sheet.Text1 = "40";
    EXPECT_TRUE(cmdupdate(d, sheet, media).ok);
  }
  void Glass(int row, const char* name, bool negative) {
    d.MediumCode[row] = kMediumSchott;
    d.GlassSchott[row] = name;
    sheet.Cell(row, 5) = "SCHOTT";
    sheet.Cell(row, 6) = std::string(negative ? "- " : "+ ") + name;
    media.RecomputeSurfaceIndices(d, row, kMediumSchott);
  }
  WavelengthForm Form(std::initializer_list<const char*> wl) {
    WavelengthForm f;
    f.Open(d);
    f.count = static_cast<int>(wl.size());
    int k = 0;
    for (const char* w : wl) {
      f.rows[k].ComboWL = w;
      f.rows[k].Text1 = "1";
      ++k;
    }
    return f;
  }
};

double Catalogue(const char* name, double wl) {
  return testing::CatalogueIndex(Catalogue::Schott, name, wl);
}

TEST(WavelengthStore, NewWavelengthsRecomputeEveryMediumAndKeepMirrorSigns) {
  Design t;
  EXPECT_EQ(t.d.IndexWl[1][1], Catalogue("N-BK7", 0.5461));
  EXPECT_EQ(t.d.IndexWl[1][5], -Catalogue("N-BK7", 0.5461));
  WavelengthStoreResult r = StoreWavelengths(t.Form({"0.5876", "0.4861", "0.6563", "0.4358"}), t.d, t.sheet, t.media);
  ASSERT_TRUE(r.ok);
  EXPECT_TRUE(r.warning.empty());
  EXPECT_TRUE(r.update.ok) << r.update.message;
  EXPECT_EQ(t.d.WlCount, 4);
  EXPECT_EQ(t.d.IndexWl[1][1], Catalogue("N-BK7", 0.5876));
  EXPECT_EQ(t.d.IndexWl[4][1], Catalogue("N-BK7", 0.4358));
  EXPECT_EQ(t.d.IndexWl[4][5], -Catalogue("N-BK7", 0.4358));  // still in the mirror's space
  EXPECT_EQ(t.d.IndexWl[4][4], -1.0);
  EXPECT_EQ(t.d.IndexWl[4][3], 1.0);
}

TEST(WavelengthStore, DirectIndicesFollowADispersionFit) {
  Design t;
  // The flint's three typed indices are refitted at the new wavelengths: the d line
  // lies between e and C, where a smooth dispersion curve must pass.
  ASSERT_TRUE(StoreWavelengths(t.Form({"0.5876", "0.5461", "0.4861"}), t.d, t.sheet, t.media).ok);
  EXPECT_NEAR(t.d.IndexWl[2][2], 1.62408, 1e-7);  // back at a typed wavelength
  EXPECT_NEAR(t.d.IndexWl[3][2], 1.63208, 1e-7);
  EXPECT_GT(t.d.IndexWl[1][2], 1.61503);
  EXPECT_LT(t.d.IndexWl[1][2], 1.62408);
  EXPECT_NEAR(t.d.IndexWl[1][2], 1.62004, 2e-4);  // F2's published nd

  // The same fit reproduces a real glass: N-BK7 typed at e, F, C predicts its d line.
  const double lam[] = {0.5461, 0.4861, 0.6563};
  const double n[] = {Catalogue("N-BK7", 0.5461), Catalogue("N-BK7", 0.4861), Catalogue("N-BK7", 0.6563)};
  const DispersionFit fit = FitDirectIndices(lam, n, 3);
  ASSERT_TRUE(fit.ok);
  EXPECT_NEAR(fit.At(0.5875618), 1.51680, 2e-5);
}

TEST(WavelengthStore, FewerWavelengthsZeroTheDroppedColumnsAndWarnAtADirectMedium) {
  Design t;
  const SurfTable schott_after = t.d.IndexWl[2];
  WavelengthStoreResult r = StoreWavelengths(t.Form({"0.5876", "0.6563"}), t.d, t.sheet, t.media);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.warning, kDirectNeedsThree);
  EXPECT_EQ(t.d.WlCount, 2);
  EXPECT_EQ(t.d.Wavelength[2], 0.0f);
  EXPECT_EQ(t.d.IndexWl[3][1], 0.0);  // surface 1 (before the DIRECT row) was recomputed
  EXPECT_EQ(t.d.IndexWl[1][1], Catalogue("N-BK7", 0.5876));
  // The rows from the DIRECT one on keep their old indices.
  EXPECT_EQ(t.d.IndexWl[2][5], schott_after[5]);
  EXPECT_EQ(t.d.IndexWl[1][2], 1.62408);
}

TEST(WavelengthStore, ZeroWavelengthIsRefusedAndNothingChanges) {
  Design t;
  const DesignState before = t.d;
  WavelengthStoreResult r = StoreWavelengths(t.Form({"0.5876", "junk"}), t.d, t.sheet, t.media);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.message, " Invalid wavelenght value! ");
  EXPECT_EQ(t.d.Wavelength, before.Wavelength);
  EXPECT_EQ(t.d.IndexWl, before.IndexWl);
  EXPECT_EQ(t.d.WlCount, before.WlCount);
}

TEST(WavelengthStore, WeightZeroIsStoredAsOneAndColoursAreKept) {
  Design t;
  WavelengthForm f = t.Form({"0.5876", "0.4861", "0.6563"});
  f.rows[1].Text1 = "0";
  f.rows[2].Text1 = ".25";
  f.rows[0].color = Rgb{1, 2, 3};
  ASSERT_TRUE(StoreWavelengths(f, t.d, t.sheet, t.media).ok);
  EXPECT_EQ(t.d.WlWeight[1], 1.0f);
  EXPECT_EQ(t.d.WlWeight[2], 0.25f);
  EXPECT_EQ(t.d.WlColorsSet, "SI");  // opening the window marks the colours as chosen
  EXPECT_EQ(t.d.WlColor[1], (Rgb{1, 2, 3}));
}

TEST(WavelengthForm, PresetsAndPenColours) {
  WavelengthForm f;
  f.ApplyPreset(WavelengthPreset::Visible);
  EXPECT_EQ(f.count, 3);
  EXPECT_EQ(f.rows[0].ComboWL, "0.5460 ");
  EXPECT_EQ(f.rows[1].ComboWL, "0.4861 ");
  EXPECT_EQ(f.rows[2].ComboWL, "0.6562 ");
  f.ApplyPreset(WavelengthPreset::Scotopic);
  EXPECT_EQ(f.count, 5);
  EXPECT_EQ(f.rows[0].ComboWL, "0.5100 ");
  EXPECT_EQ(f.rows[4].ComboWL, "0.4200 ");
  EXPECT_EQ(f.rows[2].Text1, "0.12");
  f.ApplyPreset(WavelengthPreset::Photopic);
  EXPECT_EQ(f.rows[3].ComboWL, "0.6100 ");
  EXPECT_EQ(f.rows[4].Text1, "0.1");
  EXPECT_EQ(f.preset_label, WavelengthPreset::Photopic);

  // Far ultraviolet and far infrared land on the same column near the red end.
  EXPECT_EQ(SpectrumColumn(0.25, 340), 330);
  EXPECT_EQ(SpectrumColumn(1.0139, 340), 330);
  EXPECT_NEAR(SpectrumColumn(0.55, 340), 170, 1e-9);
  f.count = 3;
  f.rows[0].ComboWL = "0.5460";
  f.rows[1].ComboWL = "0.4861";
  f.rows[2].ComboWL = "0.6562";
  f.AutoPenColors(340);
  EXPECT_GT(f.rows[0].color.g, f.rows[0].color.r);  // e line: green
  EXPECT_GT(f.rows[1].color.b, f.rows[1].color.r);  // F line: blue
  EXPECT_GT(f.rows[2].color.r, f.rows[2].color.g);  // C line: red
}

}  // namespace
}  // namespace ovrin
