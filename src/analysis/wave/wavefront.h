#pragma once
// The wave front of one field point over the whole pupil: the OPD grid, its
// peak-to-valley, RMS and Strehl numbers, the colour scale, and the drawings
// of the map, the colour bar and the relief surface.
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/opd_engine.h"
#include "output/canvas.h"

namespace ovrin {

// Statistics over the samples that are not exactly 0.
struct WaveStats {
  int count = 0;
  double max = -999999999, min = 999999999;
  double PV = 0, mean = 0, RMS = 0, Strehl = 0;
};
// Throws TraceError when no sample survives (the mean has no count).
WaveStats ComputeWaveStats(const std::vector<double>& w);
// e^(-(2 pi rms)^2), with the program's constants.
double StrehlOfRms(double rms);

// The five-band colour scale shared by the map and the point spread pictures;
// a value of exactly 0 (no ray) is white.
Rgb WaveColor(double w, double min, double pv);
// The colour of step v (0..255) of band j (0..4) of the bar.
Rgb BandColor(int band, int v);

// What FrmWFront's controls hold when Update is pressed.
struct WavefrontSettings {
  int wavelength = 1;          // first option on, 1..6; 0 when none is on
  int gridDiv = 32;            // 16, 32, 64, 128 for 32x32 .. 256x256
  double actualBfl = 0;        // Text1
  double focalRadius = 0;      // Text2
  bool fullField = false;      // ComboField index 1
  double angleYDeg = 0, angleXDeg = 0;  // the design window's field angles
  bool reverse = false;        // CheckReverse
};

struct WavefrontResult {
  bool ok = false;             // false: the run failed; nothing is shown
  std::optional<TraceError> error;  // why the run failed
  int N = 0;                   // 2 x PupilGridDiv
  int div = 0;
  int rows = 0, cols = 0;
  std::vector<double> W;       // rows x cols, row 0 at the top of the pupil
  WaveStats stats;
  double Zxp = 0, Xc = 0, Yc = 0, Zc0 = 0, Pc = 0, Lc = 0;
  // Label19 PV, Label20 RMS, Label21 Strehl, Label22 max, Label23 min,
  // Label26 min + 0.333 PV, Label27 min + 0.666 PV.
  std::string Label19, Label20, Label21, Label22, Label23, Label26, Label27;
  double At(int row, int col) const { return W[static_cast<size_t>(row) * cols + col]; }
};

// The OPD run of the settings for a field point: on axis (object height 0.01)
// or the full field of the design window's angles (object height HalfFieldY).
OpdRun WaveRunOf(const DesignState& d, int k, double actual_bfl, double focal_radius, bool full_field,
                 double angle_y_deg, double angle_x_deg);

WavefrontResult ComputeWavefront(const DesignState& d, const WavefrontSettings& s, const Progress& progress = {});

// How the relief surface is looked at.
struct ReliefView {
  double rotX = 0, rotY = 0, rotZ = 0;  // degrees, HScroll1..3
  int relief = 4;                       // SliderRelief
  bool black = false;                   // OptionBlack
  double zoom = 1;                      // > 1 zooms in
};

// Picture5: the map, a box per cell, +Y of the pupil up.
void DrawWavefrontMap(const WavefrontResult& r, Canvas& c);
// Picture4: the colour bar with PEAK and VALLEY at its ends.
void DrawColourBar(const WavefrontResult& r, Canvas& c);
// Picture1: the relief surface.
void DrawWavefrontSurface(const WavefrontResult& r, const ReliefView& v, Canvas& c);

// A grid of coloured cells drawn as one picture: row 0 at the top, each cell
// the box from (col, row) to (col + 1, row + 1) in the canvas' coordinates.
void PaintCells(Canvas& c, int rows, int cols, const std::vector<Rgb>& colors);

}  // namespace ovrin
