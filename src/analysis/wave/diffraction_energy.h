#pragma once
// The diffraction encircled energy of one field point, taken from the FFT
// point spread function, beside the curve of a perfect circular aperture.
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/diffraction.h"
#include "output/canvas.h"

namespace ovrin {

// The fraction of the light of a perfect unobstructed circular aperture that
// falls within radius r, at v = pi r / (wavelength x focal ratio):
// 1 - J0(v)^2 - J1(v)^2.
double PerfectEncircledEnergy(double v);
// The first dark ring of a perfect aperture: 1.21967 wavelength x focal ratio.
double FirstDarkRing(double wave_len_mm, double focal_ratio);

// The spacing of the samples of a point spread function of N pupil samples
// across in an F x F transform: wavelength x focal ratio x N / F.
double PsfSampleSpacing(double wave_len_mm, double focal_ratio, int N, int F);

// The energy of an intensity array (F x F, zero order at (F/2, F/2)) within
// each radius, in samples, of a circle centred on the zero order, as a
// fraction of the whole array. The array is taken as samples of a smooth,
// band-limited picture and the circle is integrated exactly through the
// transform (a sum of J1 terms), so a small circle of a few samples is as
// good as a large one.
std::vector<double> EncircledFromArray(const std::vector<double>& P, int F, const std::vector<double>& radii);

// The point spread function of the settings, where a ray that meets the
// reference sphere exactly (W exactly 0, which the pupil grid otherwise takes
// for a ray that never arrived) still carries its light: such samples are
// told apart by a second trace a millionth of a millimetre further on, where
// a real ray's W is no longer exactly 0. The Strehl ratio counts them too.
// Throws TraceError.
PsfResult PsfOfEveryRay(const DesignState& d, const PsfSettings& s, const Progress& progress = {});

struct DiffEnergySettings {
  int wavelength = 1;
  int grid = 64;               // pupil samples across: 32, 64, 128
  double actualBfl = 0;
  double focalRadius = 0;
  bool fullField = false;
  double angleYDeg = 0, angleXDeg = 0;
  double rangeRings = 4;       // the curve runs to this many first dark rings
  int points = 80;             // radii of the curve
};

struct DiffEnergyResult {
  bool ok = false;
  std::optional<TraceError> error;
  int F = 0, N = 0;
  double waveLenMm = 0;
  double focalRatio = 0;
  double sampleMm = 0;         // spacing of the point spread samples
  double darkRingMm = 0;       // first dark ring of the perfect aperture
  float Strehl = 0;
  std::vector<double> radiusMm, energy, perfect;
  double atDarkRing = 0;       // the design's energy within the first dark ring
  double perfectAtDarkRing = 0;
  double radius50Mm = 0, radius80Mm = 0, radius90Mm = 0;  // 0 where the curve does not reach it
  std::vector<std::string> text;
};

DiffEnergyResult ComputeDiffractionEnergy(const DesignState& d, const DiffEnergySettings& s, const Progress& progress = {});
// The two curves against radius in microns: the design in red, the perfect aperture in black.
void DrawDiffractionEnergy(const DiffEnergyResult& r, Canvas& c, int background = 0);

}  // namespace ovrin
