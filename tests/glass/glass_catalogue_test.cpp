#include "glass/glass_catalogue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "core/design_state.h"

namespace ovrin {
namespace {

constexpr double kD = 0.5875618, kF = 0.4861327, kC = 0.6562725;

double IndexOf(Catalogue c, const std::string& name, double wl) {
  GlassLookup g;
  g.GlassName = name;
  g.GlassWl = static_cast<float>(wl);
  EXPECT_TRUE(g.Lookup(c)) << name;
  return g.GlassIndex;
}

TEST(GlassCatalogue, RowCountsAndOrder) {
  const std::pair<Catalogue, std::size_t> counts[] = {
      {Catalogue::Schott, 297}, {Catalogue::Ohara, 140}, {Catalogue::Corning, 94},
      {Catalogue::Hoya, 132},   {Catalogue::Lzos, 54},   {Catalogue::Special, 12},
      {Catalogue::Chengdu, 143}};
  for (auto [c, n] : counts) {
    EXPECT_EQ(CatalogueRows(c).size(), n) << CatalogueName(c);
    std::set<std::string> names;
    for (const GlassRow& r : CatalogueRows(c)) names.insert(r.name);
    EXPECT_EQ(names.size(), n) << "duplicate names in " << CatalogueName(c);
  }
  EXPECT_STREQ(CatalogueRows(Catalogue::Schott).front().name, "BAF3");
  EXPECT_STREQ(CatalogueRows(Catalogue::Schott).back().name, "P-SK57");
  EXPECT_STREQ(CatalogueRows(Catalogue::Ohara)[122].name, "BAH32");
  EXPECT_STREQ(CatalogueRows(Catalogue::Special)[8].name, "SEAWATER");
  EXPECT_STREQ(CatalogueRows(Catalogue::Chengdu).back().name, "TF3");
  EXPECT_STREQ(CatalogueRows(Catalogue::Chengdu)[98].name, "H-ZF7lA");  // spelt as the catalogue list has it
}

// Every row with coefficients gives its catalogue nd and vd.
TEST(GlassCatalogue, EveryRowReproducesItsPublishedNdAndVd) {
  int checked = 0;
  for (int ci = 0; ci < kCatalogueCount; ++ci) {
    const Catalogue c = static_cast<Catalogue>(ci);
    for (const GlassRow& r : CatalogueRows(c)) {
      if (!r.HasCoefficients()) continue;
      const double nd = RowIndex(r.formula, r.coef, kD);
      const double nf = RowIndex(r.formula, r.coef, kF);
      const double nc = RowIndex(r.formula, r.coef, kC);
      EXPECT_NEAR(nd, r.nd, 2e-5) << CatalogueName(c) << " " << r.name;
      // A few CDGM rows list a nominal Abbe number 0.06..0.09 below their own dispersion.
      EXPECT_NEAR((nd - 1) / (nf - nc), r.vd, 0.1) << CatalogueName(c) << " " << r.name;
      ++checked;
    }
  }
  EXPECT_EQ(checked, 872);
}

// Figures from the makers' data sheets, typed here, not taken from the tables.
TEST(GlassCatalogue, WellKnownGlassesFromTheDataSheets) {
  EXPECT_NEAR(IndexOf(Catalogue::Schott, "N-BK7", kD), 1.51680, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Schott, "N-F2", kD), 1.62005, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Schott, "F2", kD), 1.62004, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Schott, "N-SF11", kD), 1.78472, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Schott, "BAF3", kD), 1.58267, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Ohara, "S-BSL7", kD), 1.51633, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Ohara, "S-FPL51", kD), 1.49700, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Ohara, "S-FPL53", kD), 1.43875, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Hoya, "BSC7", kD), 1.51680, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Hoya, "FCD1", kD), 1.49700, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Chengdu, "H-K9L", kD), 1.51680, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Special, "SILICA", kD), 1.45846, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Special, "CAF2", kD), 1.43385, 1e-5);
  EXPECT_NEAR(IndexOf(Catalogue::Special, "WATER", kD), 1.333, 1e-3);
  // CORNING names carry the glass code: B16-64 is nd 1.516, vd 64.
  EXPECT_NEAR(IndexOf(Catalogue::Corning, "B16-64", kD), 1.516, 1e-3);
  EXPECT_NEAR(IndexOf(Catalogue::Lzos, "K8", kD), 1.5163, 1e-4);
}

TEST(GlassLookup, UnknownNameKeepsThePreviousCoefficients) {
  GlassLookup g;
  g.GlassName = "N-BK7";
  g.GlassWl = 0.5461f;
  ASSERT_TRUE(g.LookupSchott());
  const double bk7 = g.GlassIndex;
  g.GlassName = "S-BSL7";  // an OHARA name asked of SCHOTT
  EXPECT_FALSE(g.LookupSchott());
  EXPECT_EQ(g.GlassIndex, bk7);
  g.GlassName = "n-bk7";  // case matters
  EXPECT_FALSE(g.LookupSchott());
  EXPECT_EQ(g.GlassIndex, bk7);
  g.GlassWl = 0.4861f;
  EXPECT_FALSE(g.LookupHoya());  // still the BK7 record, at the new wavelength
  EXPECT_GT(g.GlassIndex, bk7);
}

TEST(GlassLookup, IndexIsRoundedToEightDecimalsAndRepeatable) {
  GlassLookup a, b;
  a.GlassName = b.GlassName = "N-SF11";
  a.GlassWl = b.GlassWl = 0.5876f;
  a.LookupSchott();
  b.LookupSchott();
  EXPECT_EQ(a.GlassIndex, b.GlassIndex);
  EXPECT_EQ(a.GlassIndex, std::round(a.GlassIndex * 1e8) / 1e8);
  // Sellmeier summed B2, B1, B3: the same value as the plain sum to 8 decimals.
  const GlassRow& r = CatalogueRows(Catalogue::Schott).front();
  const double l = 0.5875618 * 0.5875618;
  double n2 = 1 + r.coef[0] * l / (l - r.coef[3]) + r.coef[1] * l / (l - r.coef[4]) +
              r.coef[2] * l / (l - r.coef[5]);
  EXPECT_NEAR(RowIndex(r.formula, r.coef, 0.5875618), std::sqrt(n2), 5e-9);
}

TEST(GlassLookup, FarOutsideTheRangeIsAnArithmeticError) {
  const double coef[6] = {1.0, 0.0, 0.0, 1.0, 0.0, 0.0};  // a resonance at 1 micron
  EXPECT_THROW(RowIndex(GlassFormula::Sellmeier, coef, 0.9), GlassRangeError);
}

TEST(GlassCatalogue, OldRowsAndReferenceTemperatures) {
  EXPECT_STREQ(OldRowName(Catalogue::Schott, 1), "BAF3");
  EXPECT_STREQ(OldRowName(Catalogue::Schott, 200), CatalogueRows(Catalogue::Schott)[199].name);
  EXPECT_EQ(OldRowName(Catalogue::Schott, 201), nullptr);
  EXPECT_EQ(OldRowName(Catalogue::Ohara, 112), nullptr);
  EXPECT_EQ(OldRowName(Catalogue::Hoya, 3), nullptr);
  EXPECT_EQ(ReferenceTemperature(kMediumSchott), 20);
  EXPECT_EQ(ReferenceTemperature(kMediumOhara), 25);
  EXPECT_EQ(ReferenceTemperature(kMediumDirect), 20);
  EXPECT_EQ(ReferenceTemperature(kMediumChengdu), 0);
}

TEST(Environment, AirIndexAndTheMakersTemperatureFormula) {
  // Standard air near the d line: n - 1 is about 2.7e-4 at 20 C and 1 atm.
  const double air = AirIndex(kD, 20, 1);
  EXPECT_NEAR(air - 1, 2.72e-4, 0.03e-4);
  EXPECT_LT(AirIndex(kD, 40, 1), air);  // warmer air is thinner
  EXPECT_EQ(AirIndex(kD, 20, 0), 1.0);  // vacuum

  const GlassRow* bk7 = nullptr;
  for (const GlassRow& r : CatalogueRows(Catalogue::Schott))
    if (std::string(r.name) == "N-BK7") bk7 = &r;
  ASSERT_NE(bk7, nullptr);
  const double n20 = IndexOf(Catalogue::Schott, "N-BK7", 0.5461);
  EXPECT_NEAR(IndexAtEnvironment(n20, *bk7, 0.5461, 20, 20, 1), n20, 1e-12);
  // N-BK7's data sheet: relative dn/dT at the e line, 20..40 C, 3.0e-6 per kelvin.
  const double n40 = IndexAtEnvironment(n20, *bk7, 0.5461, 20, 40, 1);
  EXPECT_NEAR((n40 - n20) / 20, 3.0e-6, 0.2e-6);
  // In vacuum the relative index rises by n times the index of air, less one.
  const double vac = IndexAtEnvironment(n20, *bk7, 0.5461, 20, 20, 0);
  EXPECT_NEAR(vac - n20, n20 * (AirIndex(0.5461, 20, 1) - 1), 1e-9);
}

}  // namespace
}  // namespace ovrin
