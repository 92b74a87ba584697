#pragma once
// A calculated system written into a fresh design, and its spot traced as the
// spot window first draws it.
#include <string>

#include "analysis/geometric/spot_diagram.h"
#include "core/number_text.h"
#include "predesign/predesign.h"

namespace ovrin::predesign {

struct Written {
  DesignState d;
  DesignSheet sheet;
  CatalogueMedia media;
  bool ok = false;
  std::string error;
};

inline Written Write(const Plan& p) {
  Written w;
  const auto e = WriteDesign(p, w.d, w.sheet, w.media);
  w.ok = !e;
  if (e) w.error = *e;
  return w;
}

// The RMS radius of the spot at the field angle (0: on the axis), focus at
// the back focus to three decimals on a focal surface of the given radius, 1300 rays of wavelength 1.
inline double OnAxisRms(const DesignState& d, double angle_deg, double focal_radius = 0) {
  SpotSettings s;
  s.rays = "1300";
  s.field = angle_deg > 0 ? 1 : 0;
  s.angleY = PlainDecimal(angle_deg);
  s.actualBfl = FormatFixed(d.Bfl, 3);
  s.focalRadius = PlainDecimal(focal_radius);
  const SpotResult spot = ComputeSpot(d, s);
  if (!spot.error.empty() || spot.GoodRays <= 0) return 1e9;
  return spot.RmsRadius;
}

}  // namespace ovrin::predesign
