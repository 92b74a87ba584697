// The report, the sagitta and allowance tables and the wavefront export,
// checked against closed forms: a paraboloid is perfect on axis, a spherical
// mirror has its fourth-order wave front, a sphere and a paraboloid have the
// sags of their equations, and the quarter-wave depth of focus is 2 lambda N^2.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <set>
#include <sstream>

#include "../core/test_designs.h"
#include "core/design_file.h"
#include "glass/catalogue_media.h"
#include "analysis/wave/wavefront.h"
#include "core/optics_math.h"
#include "output/aberrator_export.h"
#include "output/report.h"
#include "output/sagitta.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::ExamplePath;
using testing::SurfaceSpec;
using testing::TestDesign;

constexpr double kLambdaMm = 0.5461e-3;

// A concave mirror of diameter 200 at f/8 (radius -3200).
TestDesign Mirror(double conic) {
  TestDesign t;
  SurfaceSpec s{101, -3200, 0, SurfaceSpec::AirNegat};
  if (conic != 0) s.type = kConic, s.conic = conic;
  Build(t, {s}, 100);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

struct OpdFile {
  std::string head;
  std::vector<std::array<double, 3>> data, mask;
  bool marked = false;
};

OpdFile ReadOpd(const std::string& text) {
  OpdFile f;
  std::istringstream in(text);
  std::string line;
  std::getline(in, f.head);
  while (std::getline(in, line)) {
    if (line == "MASK") {
      f.marked = true;
      continue;
    }
    std::array<double, 3> v{};
    char c1 = 0, c2 = 0;
    std::istringstream l(line);
    l >> v[0] >> c1 >> v[1] >> c2 >> v[2];
    EXPECT_TRUE(l && c1 == ',' && c2 == ',') << line;
    (f.marked ? f.mask : f.data).push_back(v);
  }
  return f;
}

OpdExportSettings Export(const DesignState& d, int grid) {
  OpdExportSettings s;
  s.grid = grid;
  s.actualBfl = d.Bfl;
  return s;
}

TEST(AberratorExport, ParaboloidFileIsFlatAndTheMaskListsTheSameSamples) {
  TestDesign t = Mirror(-1);
  std::vector<int> progress;
  const OpdExport e = ComputeOpdExport(t.d, Export(t.d, 101), [&](int p) { progress.push_back(p); });
  ASSERT_EQ(e.error, "");
  EXPECT_EQ(e.gridDiv, 50);
  EXPECT_EQ(static_cast<int>(e.samples.size()), e.pupilRayCount + 1);
  EXPECT_EQ(progress.back(), 100);
  for (const OpdSample& s : e.samples) EXPECT_NEAR(s.waves, 0, 1e-3);

  const std::string path = ::testing::TempDir() + "/paraboloid.OPD";
  ASSERT_TRUE(WriteOpdFile(e, path));
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  const OpdFile f = ReadOpd(text.str());
  EXPECT_EQ(f.head, "546.1,200");
  ASSERT_TRUE(f.marked);
  ASSERT_EQ(f.data.size(), e.samples.size());
  ASSERT_EQ(f.mask.size(), f.data.size());
  for (std::size_t i = 0; i < f.data.size(); ++i) {
    EXPECT_EQ(f.mask[i][0], f.data[i][0]);
    EXPECT_EQ(f.mask[i][1], f.data[i][1]);
    EXPECT_EQ(f.mask[i][2], 1);
    EXPECT_NEAR(f.data[i][2], 0, 1e-3);
  }
}

// The file reads back into the integer cells of the half pupil of a centred
// system: columns 0..div, rows div..-div, inside the circle, each cell once
// (the chief ray and the centre cell aside).
TEST(AberratorExport, FileReadsBackIntoTheGridCells) {
  TestDesign t = Mirror(0);
  const OpdExport e = ComputeOpdExport(t.d, Export(t.d, 201));
  ASSERT_EQ(e.error, "");
  ASSERT_EQ(e.gridDiv, 100);
  const OpdFile f = ReadOpd(OpdFileText(e));
  std::set<std::pair<int, int>> cells;
  int max_row = -1000, min_row = 1000;
  for (std::size_t i = 1; i < f.data.size(); ++i) {
    const double col = f.data[i][0], row = f.data[i][1];
    ASSERT_EQ(col, std::round(col));
    ASSERT_EQ(row, std::round(row));
    EXPECT_GE(col, 0);
    EXPECT_LE(col * col + row * row, 100.0 * 100.0 + 1);
    EXPECT_TRUE(cells.insert({static_cast<int>(col), static_cast<int>(row)}).second) << col << "," << row;
    max_row = std::max(max_row, static_cast<int>(row));
    min_row = std::min(min_row, static_cast<int>(row));
  }
  EXPECT_EQ(max_row, 100);
  EXPECT_EQ(min_row, -100);
  // About half the disc of radius 100 cells.
  EXPECT_NEAR(static_cast<double>(cells.size()), 3.14159 * 100 * 100 / 2, 250);

  // The spherical mirror at its paraxial focus: W = h^4 / (4 |R|^3) at the rim.
  const double rim = std::pow(100.0, 4) / (4 * std::pow(3200.0, 3)) / kLambdaMm;
  double largest = 0;
  for (const OpdSample& s : e.samples) largest = std::max(largest, std::fabs(s.waves));
  EXPECT_NEAR(largest, rim, 0.03 * rim);
}

// The finest grid passes the 32000 entries of the spot diagram's arrays.
TEST(AberratorExport, FinestGridHoldsMoreSamplesThanTheSpotArrays) {
  TestDesign t = Mirror(-1);
  const OpdExport e = ComputeOpdExport(t.d, Export(t.d, 401));
  ASSERT_EQ(e.error, "");
  EXPECT_GT(e.pupilRayCount, 32000);
}

TEST(AberratorExport, WavelengthNotInUseIsAnError) {
  TestDesign t = Mirror(-1);
  OpdExportSettings s = Export(t.d, 101);
  s.wavelength = 3;
  const OpdExport e = ComputeOpdExport(t.d, s);
  EXPECT_EQ(e.error, "ERROR!");
  EXPECT_FALSE(WriteOpdFile(e, ::testing::TempDir() + "/never.OPD"));
}

SagSurface SagOf(double radius, int type, double conic, double a4 = 0) {
  TestDesign t;
  SurfaceSpec s{100, radius, 10, SurfaceSpec::AirNegat, 1, type, conic, a4};
  Build(t, {s}, 100);
  t.Update();
  const SagittaResult r = ComputeSagitta(t.d);
  EXPECT_EQ(r.surfaces.size(), 1u);
  return r.surfaces.at(0);
}

TEST(Sagitta, SphereAndParaboloidFollowTheirEquations) {
  const SagSurface sphere = SagOf(500, kSphere, 0);
  ASSERT_EQ(sphere.zones.size(), 11u);
  EXPECT_DOUBLE_EQ(sphere.zones.back().height, 100);
  for (const SagZone& z : sphere.zones) {
    EXPECT_NEAR(z.surface, 500 - std::sqrt(500.0 * 500 - z.height * z.height), 1e-12);
    EXPECT_EQ(z.departure, 0);
  }

  // A paraboloid of vertex radius 1000 against the sphere through its rim:
  // departure r^2 (h^2 - r^2) / (8 R^3), largest h^4 / (32 R^3) at h / sqrt 2.
  const SagSurface para = SagOf(1000, kConic, -1);
  EXPECT_TRUE(para.aspheric);
  for (const SagZone& z : para.zones) {
    const double r = z.height;
    EXPECT_NEAR(z.surface, r * r / 2000, 1e-12);
    EXPECT_NEAR(z.sphere, 1000 - std::sqrt(1e6 - r * r), 1e-12);
    EXPECT_NEAR(z.departure, r * r * (1e4 - r * r) / 8e9, 2e-5);
  }
  EXPECT_NEAR(para.zones.back().departure, 0, 1e-12);
  EXPECT_NEAR(para.maxDeparture, 1e8 / 32e9, 3e-5);
  EXPECT_NEAR(para.bestFitRadius, 1000 + 2.5, 0.01);  // R + h^2 / (4 R) to first order
}

TEST(Sagitta, CorrectorPlateIsItsFourthOrderTerm) {
  const SagSurface plate = SagOf(0, kHighOrder, 0, 2e-9);
  EXPECT_NEAR(plate.zones.back().surface, 2e-9 * 1e8, 1e-12);
  EXPECT_NEAR(plate.zones[5].surface, 2e-9 * std::pow(50.0, 4), 1e-12);
  EXPECT_EQ(plate.zones.back().sphere, 0);
}

TEST(Sagitta, HyperboloidPastItsRimIsMarked) {
  // An oblate ellipsoid of radius 100 and conic 3 ends at height 50.
  const SagSurface s = SagOf(100, kConic, 3);
  EXPECT_FALSE(s.error.empty());
  EXPECT_FALSE(std::isfinite(s.zones.back().surface));
}

TEST(Allowances, QuarterWaveDepthOfFocusIsTwoLambdaNSquared) {
  TestDesign t = Mirror(-1);  // f/8
  const Allowances a = ComputeAllowances(t.d, {});
  ASSERT_EQ(a.error, "");
  EXPECT_NEAR(a.fNumber, 8, 1e-9);
  EXPECT_NEAR(a.defocus, 2 * kLambdaMm * 64, 1e-9);
  // Refocused spherical aberration: eight times the depth of focus.
  EXPECT_NEAR(a.sphericalLong / a.defocus, 8, 1e-12);
  EXPECT_FALSE(a.twoMirror);
  AllowanceSettings s;
  s.wavelength = 4;
  EXPECT_NE(ComputeAllowances(t.d, s).error, "");
}

struct Loaded {
  DesignState d;
  DesignSheet sheet;
  CatalogueMedia media;
};

void Load(Loaded& l, const std::string& name) {
  ASSERT_TRUE(ReadDesignFile(ExamplePath(name), DesignFormat::Current, l.d, l.sheet, l.media).ok);
}

TEST(Allowances, TwoMirrorDesignsGetSecondaryTolerances) {
  Loaded rc;
  Load(rc, "ritchey_chretien_200_f8.ovn");
  const Allowances a = ComputeAllowances(rc.d, {});
  ASSERT_TRUE(a.twoMirror);
  EXPECT_EQ(a.secondary, 3);  // behind the obstruction screen and the primary
  ASSERT_TRUE(a.secondaryDecenter && a.secondaryTilt);
  EXPECT_GT(*a.secondaryDecenter, 0.001);
  EXPECT_LT(*a.secondaryDecenter, 10);

  // Shifted or tilted by its allowance, the secondary leaves an on-axis wave
  // front of coma W131 = 3/8 wave, 3/4 wave peak to valley about the chief ray
  // (a quarter wave once the image is recentred).
  WavefrontSettings ws;
  ws.gridDiv = 32;
  ws.actualBfl = rc.d.Bfl;
  EXPECT_LT(ComputeWavefront(rc.d, ws).stats.PV, 0.05);
  DesignState shifted = rc.d;
  shifted.DecY[3] = static_cast<float>(*a.secondaryDecenter);
  shifted.UncenteredFlag = 1;
  EXPECT_NEAR(ComputeWavefront(shifted, ws).stats.PV, 0.75, 0.075);
  DesignState tilted = rc.d;
  tilted.TiltAInput[3] = *a.secondaryTilt;
  tilted.TiltA[3] = *a.secondaryTilt * kDegree;
  tilted.UncenteredFlag = 1;
  EXPECT_NEAR(ComputeWavefront(tilted, ws).stats.PV, 0.75, 0.075);

  // The Newtonian's diagonal is flat: a shift or a tilt brings no coma.
  Loaded newt;
  Load(newt, "newtonian_200_f5.ovn");
  const Allowances b = ComputeAllowances(newt.d, {});
  EXPECT_FALSE(b.secondaryTilt);
  EXPECT_FALSE(b.secondaryDecenter);
}

TEST(Report, MirrorFirstOrderDataAndPetzvalRadius) {
  TestDesign t = Mirror(-1);
  t.sheet.Txtangolo = "0.5";
  t.Update();
  const ReportResult r = ComputeReport(t.d, t.sheet);
  ASSERT_EQ(r.surfaces.size(), 1u);
  EXPECT_NEAR(std::fabs(r.efl), 1600, 1e-6);
  // A single mirror's Petzval surface has half the mirror's radius.
  ASSERT_TRUE(r.petzvalRadius);
  EXPECT_NEAR(std::fabs(*r.petzvalRadius), 1600, 1e-6);
  ASSERT_TRUE(r.seidel);
  EXPECT_EQ(r.surfaces[0].type, "CONIC");
  EXPECT_NEAR(r.surfaces[0].conic, -1, 0);
}

TEST(Report, ExampleLensListsGlassesIndicesAndSums) {
  Loaded l;
  Load(l, "achromat_80_f12_schott.ovn");
  const ReportResult r = ComputeReport(l.d, l.sheet);
  ASSERT_GE(r.surfaces.size(), 3u);
  ASSERT_FALSE(r.wavelengths.empty());
  EXPECT_FALSE(r.surfaces[0].glass.empty());
  EXPECT_EQ(r.surfaces[0].index.size(), r.wavelengths.size());
  EXPECT_GT(r.surfaces[0].index[0], 1.4);
  EXPECT_TRUE(r.seidel);
  const std::string text = PageText(ReportPage(r));
  EXPECT_NE(text.find("Efl"), std::string::npos);
  EXPECT_NE(text.find(r.surfaces[0].glass), std::string::npos);
  EXPECT_NE(text.find("Seidel sums"), std::string::npos);
}

}  // namespace
}  // namespace ovrin
