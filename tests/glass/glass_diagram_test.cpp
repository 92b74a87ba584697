#include "glass/glass_diagram.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

namespace ovrin {
namespace {

GlassDiagramSettings AllCatalogues(GlassDiagramKind kind) {
  GlassDiagramSettings s;
  s.kind = kind;
  s.catalogues.fill(true);
  return s;
}

const GlassRow& Row(Catalogue c, const std::string& name) {
  for (const GlassRow& r : CatalogueRows(c))
    if (name == r.name) return r;
  throw std::runtime_error("no such glass " + name);
}

bool Inside(const PlotAxis& a, double v) { return v >= std::min(a.min, a.max) && v <= std::max(a.min, a.max); }

// Every glass with a formula is on the nd-vd map, at the nd and vd of its own
// formula, inside the frame, and the pointer finds it there; its numbers agree
// with the maker's published nd and vd, so a coefficient stored in the wrong
// place cannot hide.
TEST(GlassDiagram, EveryCatalogueGlassLiesAtItsOwnNdAndVd) {
  const GlassDiagramResult r = ComputeGlassDiagram(AllCatalogues(GlassDiagramKind::NdVd));
  std::set<const GlassRow*> on_map;
  for (const GlassMark& m : r.glasses) on_map.insert(m.row);
  int rows = 0;
  for (int ci = 0; ci < kCatalogueCount; ++ci) {
    for (const GlassRow& row : CatalogueRows(static_cast<Catalogue>(ci))) {
      if (!row.HasCoefficients() || std::string(row.name) == "VACUUM") continue;
      ++rows;
      EXPECT_TRUE(on_map.count(&row)) << row.name;
    }
  }
  ASSERT_EQ(static_cast<int>(r.glasses.size()), rows);
  for (const GlassMark& m : r.glasses) {
    const GlassDispersion g = DispersionOf(*m.row);
    EXPECT_EQ(m.x, g.vd);
    EXPECT_EQ(m.y, g.nd);
    EXPECT_TRUE(Inside(r.x, m.x) && Inside(r.y, m.y)) << m.row->name;
    const int near = GlassNear(r, m.x, m.y, 0.05, 0.0005);
    ASSERT_GE(near, 0) << m.row->name;
    EXPECT_NEAR(r.glasses[static_cast<std::size_t>(near)].x, m.x, 0.05);
    EXPECT_NEAR(r.glasses[static_cast<std::size_t>(near)].y, m.y, 0.0005);
    const std::string who = std::string(CatalogueName(m.catalogue)) + " " + m.row->name;
    if (!std::isnan(m.row->nd)) {
      EXPECT_NEAR(g.nd, m.row->nd, 2e-4) << who;
    }
    if (!std::isnan(m.row->vd)) {
      EXPECT_NEAR(g.vd, m.row->vd, 0.02 * m.row->vd) << who;
    }
  }
  EXPECT_TRUE(r.x.reversed);
}

// The makers' figures of three well-known glasses: a crown, a flint, and a
// fluor crown whose partial dispersion lies well above the normal line (the
// reason it goes into apochromats).
TEST(GlassDiagram, KnownGlassesAndTheNormalLine) {
  const GlassDispersion bk7 = DispersionOf(Row(Catalogue::Schott, "N-BK7"));
  EXPECT_NEAR(bk7.nd, 1.51680, 2e-5);
  EXPECT_NEAR(bk7.vd, 64.17, 0.03);
  EXPECT_NEAR(bk7.pgF, 0.5349, 5e-4);
  const GlassDispersion f2 = DispersionOf(Row(Catalogue::Schott, "F2"));
  EXPECT_NEAR(f2.nd, 1.62004, 2e-5);
  EXPECT_NEAR(f2.vd, 36.37, 0.03);
  // F2 is one of the two glasses that define the normal line.
  EXPECT_NEAR(f2.pgF - NormalPgF(f2.vd), 0.0, 1e-3);
  const GlassDispersion fk = DispersionOf(Row(Catalogue::Schott, "N-FK51A"));
  EXPECT_GT(fk.pgF - NormalPgF(fk.vd), 0.02);
  EXPECT_GT(fk.vd, 80);

  // The partial dispersion map draws the line over the frame.
  const GlassDiagramResult p = ComputeGlassDiagram(AllCatalogues(GlassDiagramKind::PgF));
  ASSERT_EQ(p.normal_line.size(), 2u);
  for (const PlotPoint& q : p.normal_line) EXPECT_DOUBLE_EQ(q.y, NormalPgF(q.x));
  for (const GlassMark& m : p.glasses) {
    EXPECT_EQ(m.x, m.disp.vd);
    EXPECT_EQ(m.y, m.disp.pgF);
    EXPECT_TRUE(Inside(p.x, m.x) && Inside(p.y, m.y)) << m.row->name;
  }
}

// On the P-P map a glass on both normal lines lies on the map's normal line.
TEST(GlassDiagram, PPMapPlacesGlassesByBothPartialDispersions) {
  const GlassDiagramResult r = ComputeGlassDiagram(AllCatalogues(GlassDiagramKind::PP));
  ASSERT_FALSE(r.glasses.empty());
  ASSERT_EQ(r.normal_line.size(), 2u);
  const PlotPoint a = r.normal_line[0], b = r.normal_line[1];
  const double vd = 50;
  const double x = NormalPCt(vd), y = NormalPgF(vd);
  // (x, y) is on the segment's line.
  EXPECT_NEAR((b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x), 0.0, 1e-12);
  for (const GlassMark& m : r.glasses) {
    EXPECT_EQ(m.x, m.disp.pCt);
    EXPECT_EQ(m.y, m.disp.pgF);
    EXPECT_TRUE(Inside(r.x, m.x) && Inside(r.y, m.y)) << m.row->name;
  }
  // K7 and F2 define both lines: each lies near the map's normal line.
  for (const char* name : {"K7", "F2"}) {
    const GlassDispersion g = DispersionOf(Row(Catalogue::Schott, name));
    const double t = (g.pCt - a.x) / (b.x - a.x);
    EXPECT_NEAR(g.pgF, a.y + t * (b.y - a.y), 2e-3) << name;
  }
}

TEST(GlassDiagram, CataloguesChosenAndMediaLeftOut) {
  GlassDiagramSettings s;
  s.catalogues.fill(false);
  s.catalogues[static_cast<std::size_t>(Catalogue::Special)] = true;
  const GlassDiagramResult r = ComputeGlassDiagram(s);
  for (const GlassMark& m : r.glasses) EXPECT_EQ(m.catalogue, Catalogue::Special);
  // Vacuum does not disperse: it has no vd and no place on the map.
  ASSERT_EQ(r.left_out.size(), 1u);
  EXPECT_EQ(r.left_out[0], "SPECIAL VACUUM");

  s.catalogues.fill(false);
  const GlassDiagramResult none = ComputeGlassDiagram(s);
  EXPECT_TRUE(none.glasses.empty());
  EXPECT_LT(none.x.min, none.x.max);
  RecordingCanvas c;
  DrawGlassDiagram(none, s, c);
  EXPECT_FALSE(c.empty());
}

TEST(GlassDiagram, PointerFindsTheNearestGlassOrNone) {
  GlassDiagramSettings s;  // SCHOTT only
  const GlassDiagramResult r = ComputeGlassDiagram(s);
  const GlassDispersion bk7 = DispersionOf(Row(Catalogue::Schott, "N-BK7"));
  const int i = GlassNear(r, bk7.vd + 0.01, bk7.nd - 0.00001, 0.3, 0.002);
  ASSERT_GE(i, 0);
  // N-BK7 and BK7 share a place; either one is a right answer.
  const std::string name = r.glasses[static_cast<std::size_t>(i)].row->name;
  EXPECT_TRUE(name == "N-BK7" || name == "BK7") << name;
  EXPECT_EQ(GlassNear(r, 95, 2.3, 0.3, 0.002), -1);
  EXPECT_NE(GlassReadout(r.glasses[static_cast<std::size_t>(i)]).find("nd 1.516"), std::string::npos);
}

TEST(GlassTable, FilterIndexAndData) {
  const auto t = GlassTable(Catalogue::Schott, "bk7", 0.5875618);
  std::set<std::string> names;
  for (const GlassTableRow& g : t) names.insert(g.row->name);
  EXPECT_EQ(names, (std::set<std::string>{"BK7", "N-BK7", "UBK7"}));
  for (const GlassTableRow& g : t) EXPECT_EQ(g.index, g.disp.nd);
  // Vacuum keeps its index in the table: below 1, against air.
  const auto v = GlassTable(Catalogue::Special, "VACUUM", 0.55);
  ASSERT_EQ(v.size(), 1u);
  EXPECT_NEAR(v[0].disp.nd, 1 / AirIndex(kLineD, 20, 1), 2e-6);
  const std::string text = GlassDataText(Catalogue::Schott, Row(Catalogue::Schott, "BAF3"), 0.5461);
  EXPECT_NE(text.find("B1 = 1.32064267"), std::string::npos);
  EXPECT_NE(text.find("C3 = 111.729167"), std::string::npos);
}

// A reversed axis puts the largest value at the left of the frame.
TEST(GlassDiagram, ReversedAxisRunsFromLargeToSmall) {
  RecordingCanvas c;
  PlotAxis x{20, 90, "vd"};
  x.reversed = true;
  const PlotBox box = DrawAxes(c, x, PlotAxis{1.4, 2.0, "nd"});
  EXPECT_EQ(box.left, 90);
  EXPECT_EQ(box.right, 20);
  const auto& w = c.items().front();
  ASSERT_EQ(w.op, RecordingCanvas::Op::Window);
  EXPECT_GT(w.a, 90);
  EXPECT_LT(w.c, 20);
}

}  // namespace
}  // namespace ovrin
