#include "design_input.h"

#include "analysis/geometric/spot_diagram.h"
#include "core/design_file.h"
#include "core/ray_tracer.h"
#include "glass/catalogue_media.h"
#include "output/canvas.h"
#include "output/layout.h"

namespace ovrin::fuzz {

namespace {

// The analyses, through their present interfaces: kept in this one function
// so that a change of an engine's interface is one edit here.
void RunAnalyses(DesignState& d, const DesignSheet& sheet) {
  SpotSettings spot;
  spot.rays = "128";
  spot.actualBfl = std::to_string(d.Bfl);
  spot.angleY = sheet.Txtangolo;
  spot.angleX = sheet.TxtangoloX;
  // As the window does: the last diameter carried to the next drawing, and
  // the uncentered flag applied to the design.
  SpotResult last;
  for (int field = 0; field <= 1; ++field) {
    spot.field = field;
    spot.previousSpotDiameter = last.SpotDiameter;
    last = ComputeSpot(d, spot);
    if (last.raiseUncenteredFlag) d.UncenteredFlag = 1;
    RecordingCanvas canvas;
    DrawSpot(last, spot, canvas);
  }
  LayoutSettings layout;
  layout.rays = 5;
  layout.field_fraction = 1;
  layout.both_half_fields = true;
  const Layout l = ComputeLayout(d, layout);
  RecordingCanvas canvas;
  DrawLayout(l, layout, l.frame, canvas);
}

}  // namespace

Outcome ExerciseDesignFile(const std::string& path) {
  DesignState d;
  DesignSheet sheet;
  CatalogueMedia media;
  try {
    const UpdateResult r = ReadDesignFile(path, DesignFormat::Current, d, sheet, media);
    // A failed update still leaves the analysis commands open, as in the program.
    RunAnalyses(d, sheet);
    return r.ok ? Outcome::Result : Outcome::Message;
  } catch (const DesignFileError&) {
    return Outcome::Message;
  } catch (const GlassRangeError&) {
    return Outcome::Message;
  } catch (const TraceError&) {
    return Outcome::Message;
  }
}

}  // namespace ovrin::fuzz
