#include "core/edge_contact.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/number_text.h"
#include "core/optics_math.h"

namespace ovrin {

double SurfaceSagAt(const DesignState& d, int i, double h) {
  const double r = d.Radius[i];
  const bool plane = r == 0 || std::fabs(r) >= 1e10;
  const float type = d.SurfType[i];
  const bool conic = type == 2.0f || type == 3.0f, high = type == 3.0f;
  const double z = SurfaceSag(h, plane ? 0.0 : 1 / r, conic ? d.Conic[i] : 0.0, high ? d.AsphA4[i] : 0.0,
                              high ? d.AsphA6[i] : 0.0, high ? d.AsphA8[i] : 0.0);
  return std::isfinite(z) ? z : std::numeric_limits<double>::quiet_NaN();
}

EdgeContact SolveEdgeContact(const DesignState& d, const EdgeContactSettings& s) {
  EdgeContact c;
  c.surface = s.surface;
  if (s.surface < 1 || s.surface >= d.SurfCount) {
    c.error = "Choose a surface from 1 to " + std::to_string(std::max(1, d.SurfCount - 1)) +
              ": the space after it must end on another surface.";
    return c;
  }
  const int i = s.surface, j = s.surface + 1;
  c.h1 = s.semiDiam1 > 0 ? s.semiDiam1 : std::fabs(d.SemiDiam[i]);
  c.h2 = s.semiDiam2 > 0 ? s.semiDiam2 : std::fabs(d.SemiDiam[j]);
  if (c.h1 <= 0 || c.h2 <= 0) {
    c.error = "Both surfaces need a half-diameter.";
    return c;
  }
  c.sag1 = SurfaceSagAt(d, i, c.h1);
  c.sag2 = SurfaceSagAt(d, j, c.h2);
  if (!std::isfinite(c.sag1) || !std::isfinite(c.sag2)) {
    c.error = "A surface does not reach the half-diameter asked for.";
    return c;
  }
  c.oldThickness = d.Thickness[i];
  // The vertex of j stands `thickness` from the vertex of i along the axis:
  // the rims meet where sag_i(h1) = thickness + sag_j(h2).
  c.thickness = c.sag1 - c.sag2;
  // The light runs towards +z in a space of positive index and back after a mirror.
  const double direction = d.IndexWl[1][i] < 0 ? -1.0 : 1.0;
  const double reach = std::min(c.h1, c.h2);
  c.leastGap = std::numeric_limits<double>::infinity();
  constexpr int kSteps = 200;
  for (int k = 0; k <= kSteps; ++k) {
    const double y = reach * k / kSteps;
    const double a = SurfaceSagAt(d, i, y), b = SurfaceSagAt(d, j, y);
    if (!std::isfinite(a) || !std::isfinite(b)) continue;
    const double gap = direction * (c.thickness + b - a);
    if (gap < c.leastGap) {
      c.leastGap = gap;
      c.leastGapHeight = y;
    }
  }
  // Rounding noise at the rim itself is no crossing.
  c.facesCross = c.leastGap < -1e-9 * std::max(1.0, std::fabs(c.thickness));
  c.ok = true;
  return c;
}

void ApplyEdgeContact(DesignState& d, DesignSheet& sheet, const EdgeContact& c) {
  if (!c.ok || c.surface < 1 || c.surface >= sheet.Rows()) return;
  const double t = RoundTo(c.thickness, 4);
  d.Thickness[c.surface] = t;
  sheet.Cell(c.surface, 4) = ShortestText(t);
}

}  // namespace ovrin
