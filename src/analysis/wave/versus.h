#pragma once
// RMS wave front and Strehl ratio along a scan of field, focus or wavelength:
// the six versus windows share this one computation.
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/opd_engine.h"
#include "output/canvas.h"

namespace ovrin {

enum class VersusScan { Field, Focus, Wavelength };
enum class VersusMeasure { Strehl, Rms };

struct VersusSettings {
  VersusScan scan = VersusScan::Field;
  VersusMeasure measure = VersusMeasure::Strehl;
  int wavelength = 1;                   // the selected wavelength, 1..6
  double actualBfl = 0;                 // the Actual B.F.L. box
  double angleYDeg = 0, angleXDeg = 0;  // the design window's field angles
  double defocus = 0.1;                 // the focus scan's half range D
  double shortWl = 0, longWl = 0;       // the wavelength scan's ends, microns
};

struct VersusResult {
  bool ok = false;
  std::optional<TraceError> error;  // why the run failed
  std::vector<std::pair<double, double>> rows;  // (x, value)
  std::vector<std::string> text;                // Text3: the header, then one line a step
  double range = 0;                             // the horizontal span of the graph's x
  double xMin = 0, xMax = 0;
};

// Default ends of the wavelength scan: the smallest and largest wavelength in
// use, each at 4 decimals.
std::pair<double, double> DefaultWavelengthRange(const DesignState& d);

// The index column at wavelength `microns` for every surface, rebuilt through
// the catalogues from the media: air 1, a mirror space -1, a catalogue glass
// its index at 8 decimals with the sign of the space; a DIRECT index stays as
// column k has it.
SurfTable IndicesAtWavelength(const DesignState& d, int k, double microns);

VersusResult ComputeVersus(const DesignState& d, const VersusSettings& s, const Progress& progress = {});

// The graph with its grey quarter ticks and labels.
void DrawVersus(const VersusResult& r, const VersusSettings& s, Canvas& c);

// The window's caption prefix, and the read-out of a value under the pointer.
std::string VersusCaptionPrefix(const VersusSettings& s);
std::string VersusReadout(const VersusSettings& s, double x, double value);
// The windows' names and captions (FrmStrehlVSField ... FrmRMSwavefrontVSWL).
const char* VersusWindowName(VersusScan scan, VersusMeasure m);
const char* VersusCaption(VersusScan scan, VersusMeasure m);

}  // namespace ovrin
