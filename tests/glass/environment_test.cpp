#include "glass/environment.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "core/design_file.h"
#include "core/design_sheet.h"
#include "glass/catalogue_media.h"
#include "glass/glass_catalogue.h"

namespace ovrin {
namespace {

struct Loaded {
  DesignState d;
  DesignSheet sheet;
  CatalogueMedia media;
};

void Load(Loaded& l, const std::string& name) {
  const std::string path = std::string(OVRIN_EXAMPLES_DIR) + "/" + name;
  ASSERT_TRUE(ReadDesignFile(path, DesignFormat::Current, l.d, l.sheet, l.media).ok) << name;
}

const char* const kExamples[] = {"achromat_80_f12_schott.ovn", "cemented_doublet_100_f10.ovn",
                                 "cooke_triplet_50_f4.5.ovn",  "newtonian_200_f5.ovn",
                                 "ritchey_chretien_200_f8.ovn", "schmidt_camera_200_f3.ovn"};

// At the design's own conditions nothing changes, whatever the expansions.
TEST(Environment, TheDesignsOwnConditionsChangeNothing) {
  for (const char* name : kExamples) {
    Loaded l;
    Load(l, name);
    EnvironmentSettings s;
    DesignConditions(l.d, s.temperature, s.pressure);
    s.mirrorExpansion = 3.3;
    s.tubeExpansion = 23;
    const EnvironmentResult r = ComputeEnvironment(l.d, s);
    ASSERT_TRUE(r.error.empty()) << name;
    for (const auto& line : r.indices) EXPECT_EQ(line.nActual, line.nDesign) << name;
    ASSERT_EQ(static_cast<int>(r.firstOrder.size()), l.d.WlCount);
    for (const auto& f : r.firstOrder) {
      EXPECT_EQ(f.eflActual, f.eflDesign) << name;
      EXPECT_EQ(f.FocusShift(), 0.0) << name;
    }
    for (int i = 1; i <= l.d.SurfCount; ++i) {
      EXPECT_EQ(r.radius[static_cast<std::size_t>(i)], l.d.Radius[static_cast<std::size_t>(i)]);
      EXPECT_EQ(r.thickness[static_cast<std::size_t>(i)], l.d.Thickness[static_cast<std::size_t>(i)]);
    }
  }
}

// The paraxial trace of the analysis agrees with the system update's focal
// length and back focus: the same conventions of sign, mirrors included.
TEST(Environment, FirstOrderDataAgreeWithTheUpdate) {
  for (const char* name : kExamples) {
    Loaded l;
    Load(l, name);
    const EnvironmentResult r = ComputeEnvironment(l.d, EnvironmentSettings{});
    ASSERT_FALSE(r.firstOrder.empty());
    EXPECT_NEAR(r.firstOrder[0].eflDesign, l.d.Efl, 1e-5 * std::fabs(l.d.Efl)) << name;
    EXPECT_NEAR(r.firstOrder[0].bflDesign, l.d.Bfl, 1e-5 * std::fabs(l.d.Efl)) << name;
  }
}

// Edlen's dispersion formula for standard air (15 C, 101325 Pa), written
// with the wave number sigma in 1/micron, against the air index used.
TEST(Environment, AirIndexAgreesWithEdlenAtStandardConditions) {
  for (double lambda : {0.40, 0.4861, 0.5461, 0.5876, 0.6563, 0.80, 1.0}) {
    const double s2 = 1 / (lambda * lambda);
    const double edlen = 1 + 1e-8 * (8342.13 + 2406030 / (130 - s2) + 15997 / (38.9 - s2));
    EXPECT_NEAR(AirIndex(lambda, 15, 1), edlen, 2e-8) << lambda;
  }
  // A gas near ideal: n - 1 grows with the pressure and falls as 1/T.
  const double n15 = AirIndex(0.55, 15, 1) - 1;
  EXPECT_NEAR(AirIndex(0.55, 15, 2) - 1, 2 * n15, 1e-12);
  EXPECT_NEAR((AirIndex(0.55, 35, 1) - 1) / n15, 288.15 / 308.15, 1e-3);
}

// A crown's index rises with the temperature, a fluor crown's falls; and at
// one temperature a lower pressure raises a relative index exactly by the
// ratio of the two air indices.
TEST(Environment, SignsOfTheIndexChange) {
  Loaded l;
  Load(l, "achromat_80_f12_schott.ovn");
  EnvironmentSettings warm;
  warm.temperature = 40;
  const EnvironmentResult r = ComputeEnvironment(l.d, warm);
  ASSERT_FALSE(r.indices.empty());
  for (const auto& line : r.indices) {
    ASSERT_TRUE(line.thermalData);
    const double per_kelvin = (line.nActual - line.nDesign) / 20;
    if (line.glass == "N-BK7") {
      // About 3e-6/K against air: 1.5e-6 of the glass and 1.4e-6 of the thinner air.
      EXPECT_GT(per_kelvin, 2e-6);
      EXPECT_LT(per_kelvin, 4e-6);
    }
  }

  l.d.GlassSchott[1] = "N-FK51A";
  l.media.RecomputeSurfaceIndices(l.d, 1, kMediumSchott);
  const EnvironmentResult fk = ComputeEnvironment(l.d, warm);
  EXPECT_EQ(fk.indices[0].glass, "N-FK51A");
  EXPECT_LT(fk.indices[0].nActual - fk.indices[0].nDesign, -20 * 3e-6);

  EnvironmentSettings high;
  high.pressure = 0.7;  // a mountain site
  const EnvironmentResult h = ComputeEnvironment(l.d, high);
  for (const auto& line : h.indices) {
    const double ratio = AirIndex(line.wavelength, 20, 1) / AirIndex(line.wavelength, 20, 0.7);
    EXPECT_NEAR(line.nActual, line.nDesign * ratio, 2e-8);
    EXPECT_GT(line.nActual, line.nDesign);
  }
}

// A mirror does not care for the index of the air: a Newtonian keeps its focus
// when only the air changes. Its blank's expansion alone moves the focus by the
// change of the focal length, and a tube of the same material scales the whole.
TEST(Environment, MirrorSystemFocusMovesOnlyWithExpansion) {
  Loaded l;
  Load(l, "newtonian_200_f5.ovn");
  EnvironmentSettings s;
  s.temperature = -10;
  s.pressure = 0.8;
  const EnvironmentResult air = ComputeEnvironment(l.d, s);
  ASSERT_TRUE(air.indices.empty());
  EXPECT_EQ(air.firstOrder[0].FocusShift(), 0.0);
  EXPECT_EQ(air.firstOrder[0].eflActual, air.firstOrder[0].eflDesign);

  s.mirrorExpansion = 3.25;  // a borosilicate blank
  const double scale = 1 + 3.25e-6 * (-30);
  const EnvironmentResult blank = ComputeEnvironment(l.d, s);
  const auto& f = blank.firstOrder[0];
  EXPECT_NEAR(f.eflActual, f.eflDesign * scale, 1e-9 * std::fabs(f.eflDesign));
  EXPECT_NEAR(std::fabs(f.FocusShift()), std::fabs(f.eflActual - f.eflDesign), 1e-9);
  EXPECT_NE(f.FocusShift(), 0.0);

  s.tubeExpansion = 3.25;
  const EnvironmentResult whole = ComputeEnvironment(l.d, s);
  const auto& w = whole.firstOrder[0];
  EXPECT_NEAR(w.eflActual, w.eflDesign * scale, 1e-9 * std::fabs(w.eflDesign));
  EXPECT_NEAR(w.bflActual, w.bflDesign * scale, 1e-9 * std::fabs(w.bflDesign));
}

// A thin singlet: f is proportional to R / (n - 1), so the new focal length
// follows from the new index and the grown radii alone.
TEST(Environment, ThinLensFollowsTheLensMakersFormula) {
  Loaded l;
  Load(l, "achromat_80_f12_schott.ovn");
  DesignState& d = l.d;
  // Surface 1 N-BK7 to surface 2, then air: a thin biconvex lens.
  d.SurfCount = 2;
  d.Radius[1] = 200, d.Radius[2] = -200;
  d.Thickness[1] = 1e-4;
  d.Thickness[2] = 190;
  d.MediumCode[2] = kMediumAirPosit;
  for (int k = 1; k <= d.WlCount; ++k) d.IndexWl[k][2] = 1;
  EnvironmentSettings s;
  s.temperature = 45;
  const EnvironmentResult r = ComputeEnvironment(d, s);
  ASSERT_TRUE(r.error.empty());
  const auto& n = r.indices[0];
  const double alpha = n.expansion * 1e-6;
  ASSERT_GT(alpha, 0);
  const auto& f = r.firstOrder[0];
  EXPECT_NEAR(f.eflDesign, 1 / ((n.nDesign - 1) * (2.0 / 200)), 1e-3);
  const double expected = f.eflDesign * (n.nDesign - 1) / (n.nActual - 1) * (1 + alpha * 25);
  EXPECT_NEAR(f.eflActual, expected, 1e-6 * f.eflDesign);
  // Without the glass' growth only the index acts.
  s.glassExpansion = false;
  const EnvironmentResult g = ComputeEnvironment(d, s);
  EXPECT_NEAR(g.firstOrder[0].eflActual, f.eflDesign * (n.nDesign - 1) / (n.nActual - 1), 1e-6 * f.eflDesign);
}

TEST(Environment, ABadPressureIsAnError) {
  Loaded l;
  Load(l, "achromat_80_f12_schott.ovn");
  EnvironmentSettings s;
  s.pressure = 0;
  const EnvironmentResult r = ComputeEnvironment(l.d, s);
  EXPECT_FALSE(r.error.empty());
  EXPECT_NE(EnvironmentText(r).find(r.error), std::string::npos);
}

}  // namespace
}  // namespace ovrin
