#include "output/element_drawing.h"

#include <algorithm>
#include <cmath>

#include "core/edge_contact.h"
#include "core/number_text.h"
#include "core/optics_math.h"

namespace ovrin {

namespace {

bool IsGlass(double index) { return index != 0 && std::fabs(index) != 1.0; }

double IndexBefore(const DesignState& d, int i) { return i == 1 ? 1.0 : d.IndexWl[1][i - 1]; }

bool IsMirror(const DesignState& d, int i) {
  const double before = IndexBefore(d, i), after = d.IndexWl[1][i];
  return before != 0 && after != 0 && (before < 0) != (after < 0);
}

// The largest height up to h at which surface i still has a sag.
double Reach(const DesignState& d, int i, double h) {
  if (std::isfinite(SurfaceSagAt(d, i, h))) return h;
  double lo = 0, hi = h;
  for (int k = 0; k < 60; ++k) {
    const double mid = (lo + hi) / 2;
    (std::isfinite(SurfaceSagAt(d, i, mid)) ? lo : hi) = mid;
  }
  return lo;
}

ElementFace FaceOf(const DesignState& d, int i, double direction) {
  ElementFace f;
  f.surface = i;
  f.radius = std::fabs(d.Radius[i]) >= 1e10 ? 0.0 : d.Radius[i];
  // Compared as stored: a damaged file's value need not fit an int.
  const float type = d.SurfType[i];
  f.type = type == 2.0f ? kConic : type == 3.0f ? kHighOrder : type == 4.0f ? kObsScreen : kSphere;
  if (f.type == kConic || f.type == kHighOrder) f.conic = d.Conic[i];
  if (f.type == kHighOrder) f.a4 = d.AsphA4[i], f.a6 = d.AsphA6[i], f.a8 = d.AsphA8[i];
  f.semiDiam = Reach(d, i, std::fabs(d.SemiDiam[i]));
  f.edgeSag = direction * SurfaceSagAt(d, i, f.semiDiam);
  return f;
}

std::string GlassText(const DesignState& d, int i) {
  const int code = d.MediumCode[i];
  if (const NameTable* names = d.GlassNames(code); names && !(*names)[i].empty())
    return std::string(MediumEntryText(code)) + " " + (*names)[i];
  return "n = " + FormatFixed(std::fabs(d.IndexWl[1][i]), 5);
}

// The largest standard scale that fits the part into a box of paper.
void ChooseScale(double length, double height, ElementDrawing& e) {
  struct S {
    double scale;
    const char* text;
  };
  static const S kScales[] = {{10, "10:1"}, {5, "5:1"},    {2, "2:1"},     {1, "1:1"},     {0.5, "1:2"},
                              {0.4, "1:2.5"}, {0.2, "1:5"}, {0.1, "1:10"}, {0.05, "1:20"}, {0.02, "1:50"},
                              {0.01, "1:100"}};
  for (const S& s : kScales) {
    if (length * s.scale <= 110 && height * s.scale <= 130) {
      e.scale = s.scale;
      e.scaleText = s.text;
      return;
    }
  }
  e.scale = 0.005;
  e.scaleText = "1:200";
}

std::string Num(double v, int decimals) { return FormatFixed(v, decimals); }

}  // namespace

std::vector<ElementRef> ListElements(const DesignState& d) {
  std::vector<ElementRef> list;
  const int n = d.SurfCount;
  for (int i = 1; i <= n; ++i) {
    if (i < n && IsGlass(d.IndexWl[1][i]) && d.SurfType[i] != 4.0f && d.SurfType[i + 1] != 4.0f) {
      list.push_back({i, i + 1, false});
    } else if (IsMirror(d, i) && !IsGlass(IndexBefore(d, i)) && !IsGlass(d.IndexWl[1][i])) {
      list.push_back({i, i, true});
    }
  }
  return list;
}

ElementDrawing ComputeElement(const DesignState& d, const ElementSettings& s) {
  ElementDrawing e;
  const std::vector<ElementRef> list = ListElements(d);
  const ElementRef* found = nullptr;
  for (const ElementRef& r : list)
    if (r.first == s.surface) {
      found = &r;
      break;
    }
  if (!found)
    for (const ElementRef& r : list)
      if (r.last == s.surface) found = &r;
  if (!found) {
    e.error = "Surface " + std::to_string(s.surface) + " is not a face of a lens or a mirror.";
    return e;
  }
  e.ref = *found;
  e.title = d.DesignFileTitle;
  const int i = e.ref.first;
  std::vector<double> frontZ, backZ;  // profiles sampled at the same heights
  if (!e.ref.mirror) {
    // The light runs towards +z in a space of positive index; the part is drawn in its direction.
    const double dir = d.IndexWl[1][i] < 0 ? -1.0 : 1.0;
    e.front = FaceOf(d, i, dir);
    e.back = FaceOf(d, i + 1, dir);
    e.glass = GlassText(d, i);
    e.centreThickness = dir * d.Thickness[i];
  } else {
    const double dir = IndexBefore(d, i) < 0 ? -1.0 : 1.0;
    e.front = FaceOf(d, i, dir);
    e.back = ElementFace{};
    e.back.semiDiam = e.front.semiDiam;
    const double diameter = 2 * e.front.semiDiam;
    // The blank behind the face: a sixth of the diameter, more where a convex face rises.
    double blank = s.mirrorBlank > 0 ? s.mirrorBlank : RoundTo(diameter / 6, 1);
    if (s.mirrorBlank <= 0) blank += std::max(0.0, e.front.edgeSag);
    e.centreThickness = blank;
    e.glass = "mirror blank (glass to choose)";
  }
  if (e.front.semiDiam <= 0 || e.back.semiDiam <= 0) {
    e.error = "The element has no half-diameter.";
    return e;
  }
  e.rimSemiDiam = std::max(e.front.semiDiam, e.back.semiDiam);
  // Heights of the faces; a face smaller than the part is carried flat out to the rim.
  auto front_at = [&](double y) {
    const double h = std::min(y, e.front.semiDiam);
    const double dir = e.ref.mirror ? (IndexBefore(d, i) < 0 ? -1.0 : 1.0) : (d.IndexWl[1][i] < 0 ? -1.0 : 1.0);
    return dir * SurfaceSagAt(d, i, h);
  };
  auto back_at = [&](double y) {
    if (e.ref.mirror) return e.centreThickness;
    const double h = std::min(y, e.back.semiDiam);
    const double dir = d.IndexWl[1][i] < 0 ? -1.0 : 1.0;
    return e.centreThickness + dir * SurfaceSagAt(d, i + 1, h);
  };
  e.edgeThickness = back_at(e.rimSemiDiam) - front_at(e.rimSemiDiam);
  // Volume of revolution of the thickness: Simpson's rule over the radius.
  constexpr int kSteps = 400;  // even
  const double step = e.rimSemiDiam / kSteps;
  double sum = 0;
  for (int k = 0; k <= kSteps; ++k) {
    const double r = step * k;
    const double w = (k == 0 || k == kSteps) ? 1 : (k % 2 ? 4 : 2);
    sum += w * r * (back_at(r) - front_at(r));
  }
  e.volume = 2 * kPi * sum * step / 3;

  // The section: the front face bottom to top, then the back face top to bottom.
  constexpr int kPoints = 121;
  for (int k = 0; k < kPoints; ++k) {
    const double y = -e.rimSemiDiam + 2 * e.rimSemiDiam * k / (kPoints - 1);
    e.section.push_back({front_at(std::fabs(y)), y});
  }
  for (int k = kPoints - 1; k >= 0; --k) {
    const double y = -e.rimSemiDiam + 2 * e.rimSemiDiam * k / (kPoints - 1);
    e.section.push_back({back_at(std::fabs(y)), y});
  }
  double zmin = 0, zmax = 0;
  for (const PlotPoint& p : e.section) zmin = std::min(zmin, p.x), zmax = std::max(zmax, p.x);
  ChooseScale(zmax - zmin, 2 * e.rimSemiDiam, e);

  // The table.
  auto& t = e.table;
  t.push_back(e.ref.mirror ? "Mirror, surface " + std::to_string(i)
                           : "Lens, surfaces " + std::to_string(i) + " - " + std::to_string(i + 1));
  t.push_back("Glass: " + e.glass);
  t.push_back("Diameter: " + Num(2 * e.rimSemiDiam, 3));
  t.push_back("Centre thickness: " + Num(e.centreThickness, 3));
  t.push_back("Edge thickness: " + Num(e.edgeThickness, 3));
  if (e.edgeThickness <= 0) t.push_back("WARNING: the faces meet inside the rim");
  t.push_back("Volume: " + Num(e.volume / 1000, 3) + " cm3");
  // A face is convex where its centre stands out of the part: a front face
  // whose edge lies behind its vertex, a back face whose edge lies before it.
  auto face_lines = [&](const ElementFace& f, const char* title, bool front) {
    t.push_back("");
    t.push_back(std::string(title) + (f.surface ? " (surface " + std::to_string(f.surface) + ")" : " (flat back)"));
    if (f.surface == 0) return;
    const std::string shape = (front ? f.edgeSag > 0 : f.edgeSag < 0) ? "convex" : "concave";
    t.push_back("  Radius: " + (f.radius == 0 ? std::string("plane") : Num(f.radius, 4) + " (" + shape + ")"));
    t.push_back("  Clear diameter: " + Num(2 * f.semiDiam, 3));
    if (f.type == kConic || f.type == kHighOrder) t.push_back("  Conic: " + Num(f.conic, 8));
    if (f.type == kHighOrder) {
      t.push_back("  A4: " + ShortestText(f.a4));
      t.push_back("  A6: " + ShortestText(f.a6));
      t.push_back("  A8: " + ShortestText(f.a8));
    }
    t.push_back("  Sag at edge: " + Num(std::fabs(f.edgeSag), 4));
  };
  face_lines(e.front, "Face 1", true);
  face_lines(e.back, "Face 2", false);
  e.ok = true;
  return e;
}

namespace {

const Rgb kInk{0, 0, 0}, kSectionFill{205, 220, 235}, kAxisInk{90, 90, 90}, kDimInk{0, 0, 160};

void Arrow(Canvas& c, double x, double y, double dx, double dy) {
  // An arrow head at (x, y) pointing along (dx, dy), 2.5 mm long.
  const double len = std::hypot(dx, dy);
  if (len == 0) return;
  const double ux = dx / len, uy = dy / len;
  const double bx = x - 2.5 * ux, by = y - 2.5 * uy;
  c.Polygon({{x, y}, {bx - 0.8 * uy, by + 0.8 * ux}, {bx + 0.8 * uy, by - 0.8 * ux}}, kDimInk);
}

// A dimension line between two points with arrows at both ends and its text.
void Dimension(Canvas& c, double x1, double y1, double x2, double y2, const std::string& text, double tx,
               double ty) {
  c.Line(x1, y1, x2, y2, kDimInk, 1);
  Arrow(c, x1, y1, x1 - x2, y1 - y2);
  Arrow(c, x2, y2, x2 - x1, y2 - y1);
  c.Text(tx, ty, text, kDimInk);
}

void DashedLine(Canvas& c, double x1, double y1, double x2, double y2, Rgb color) {
  const double len = std::hypot(x2 - x1, y2 - y1);
  if (len == 0) return;
  const double ux = (x2 - x1) / len, uy = (y2 - y1) / len;
  // Long dash, gap, dot, gap: the centre line of a drawing.
  for (double s = 0; s < len; s += 9) {
    const double e = std::min(len, s + 5);
    c.Line(x1 + ux * s, y1 + uy * s, x1 + ux * e, y1 + uy * e, color, 1);
    if (s + 7 < len) c.Line(x1 + ux * (s + 6.5), y1 + uy * (s + 6.5), x1 + ux * (s + 7), y1 + uy * (s + 7), color, 1);
  }
}

}  // namespace

void DrawElement(const ElementDrawing& e, Canvas& c) {
  c.Window(0, kElementSheetHeight, kElementSheetWidth, 0);
  c.Clear({255, 255, 255});
  // The frame of the sheet and the title block.
  const std::vector<PlotPoint> frame{{10, 10}, {287, 10}, {287, 200}, {10, 200}, {10, 10}};
  c.Polyline(frame, kInk, 2);
  c.Line(190, 10, 190, 200, kInk, 1);
  c.Line(190, 40, 287, 40, kInk, 1);
  if (!e.ok) {
    c.Text(20, 190, e.error, kInk);
    return;
  }
  c.Text(193, 37, e.ref.mirror ? "ELEMENT DRAWING - MIRROR" : "ELEMENT DRAWING - LENS", kInk);
  c.Text(193, 30, "Scale " + e.scaleText + "   (lengths in mm)", kInk);
  c.Text(193, 23, "Sheet A4", kInk);
  if (!e.title.empty()) c.Text(193, 16, e.title.size() > 30 ? e.title.substr(0, 27) + "..." : e.title, kInk);
  // The data table.
  double y = 196;
  for (const std::string& line : e.table) {
    c.Text(193, y, line, kInk);
    y -= 5.6;
  }

  // The section, centred in the drawing area.
  double zmin = 0, zmax = 0;
  for (const PlotPoint& p : e.section) zmin = std::min(zmin, p.x), zmax = std::max(zmax, p.x);
  const double s = e.scale;
  const double cx = 100 - s * (zmin + zmax) / 2, cy = 105;
  auto X = [&](double z) { return cx + s * z; };
  auto Y = [&](double yy) { return cy + s * yy; };
  std::vector<PlotPoint> section;
  for (const PlotPoint& p : e.section) section.push_back({X(p.x), Y(p.y)});
  c.Polygon(section, kSectionFill);
  std::vector<PlotPoint> outline = section;
  outline.push_back(section.front());
  c.Polyline(outline, kInk, 2);
  const double h = e.rimSemiDiam;
  DashedLine(c, X(zmin) - 12, cy, X(zmax) + 12, cy, kAxisInk);

  // Diameter, to the left of the part.
  const double left = X(zmin) - 14;
  c.Line(X(e.section.front().x), Y(-h), left - 2, Y(-h), kAxisInk, 1);
  c.Line(X(e.section.front().x), Y(h), left - 2, Y(h), kAxisInk, 1);
  Dimension(c, left, Y(-h), left, Y(h), "D " + FormatFixed(2 * h, 2), left - 24, cy + 6);
  // Centre thickness, below the part, from the two vertices.
  const double below = Y(-h) - 10;
  const std::size_t half = e.section.size() / 2;  // the back face starts here, at the top
  const double back0 = e.section[half + half / 2].x;  // the back face on the axis
  c.Line(X(0), cy, X(0), below - 2, kAxisInk, 1);
  c.Line(X(back0), cy, X(back0), below - 2, kAxisInk, 1);
  Dimension(c, X(0), below, X(back0), below, "CT " + FormatFixed(e.centreThickness, 3),
            std::min(X(0), X(back0)), below - 2);
  // Edge thickness, above the part, from the two corners of the rim.
  const double above = Y(h) + 8;
  const double zf = e.section[half - 1].x, zb = e.section[half].x;  // the top corners
  c.Line(X(zf), Y(h), X(zf), above + 2, kAxisInk, 1);
  c.Line(X(zb), Y(h), X(zb), above + 2, kAxisInk, 1);
  Dimension(c, X(zf), above, X(zb), above, "ET " + FormatFixed(e.edgeThickness, 3), std::min(X(zf), X(zb)),
            above + 6);
  // The light comes from the left.
  c.Line(20, 190, 34, 190, kAxisInk, 1);
  Arrow(c, 34, 190, 1, 0);
  c.Text(37, 192, "light", kAxisInk);
}

}  // namespace ovrin
