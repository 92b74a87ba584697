#pragma once
// Diffraction from the pupil function: the program's Fourier transform, the
// point spread function of one field point, and the modulation transfer
// function at three field points or three focus positions.
#include <array>
#include <complex>
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/opd_engine.h"

namespace ovrin {

// --- the transform --------------------------------------------------------------

// False under 2, else whether n has a single bit set.
bool IsPowerOfTwo(int n);
// The first bit position 0..16 at which n has a bit set; 0 if none.
int NumberOfBitsNeeded(int n);
// The lowest `bits` bits of index in reverse order.
int ReverseBits(int index, int bits);

using Complex = std::complex<double>;

// The transform of a line of F samples in place: out(k) = sum in(n) e^(+2 pi i n k / F),
// no scaling, natural order in and out. F a power of two up to 256.
void Fourier(Complex* line, int F);
// The same over both indices of an F x F array (element (a, b) at a F + b):
// every line along the first index, then every line along the second.
void Fourier2d(Complex* field, int F);

// --- the pupil grid of a run ---------------------------------------------------

// W of every grid point of one run (row 0 at the top, 0 where no ray arrives).
struct PupilSamples {
  WaveGrid grid;
  std::vector<double> W;  // rows x cols
  double a = 0;           // entrance beam half-diameter
  double At(int row, int col) const { return W[static_cast<size_t>(row) * grid.cols + col]; }
};
// Traces the grid of `div` (N = 2 div) for the run; `zxp` keeps an exit pupil
// found before. Throws TraceError.
PupilSamples TracePupil(const DesignState& d, const OpdRun& run, int div, std::optional<double> zxp = std::nullopt,
                        const Progress& progress = {});
// Whether a sample carries light into the transform: inside a^2 (no tolerance)
// and W not exactly 0.
bool SampleLit(const PupilSamples& p, int row, int col);

// --- point spread function -----------------------------------------------------

// The transform size of a pupil grid of N samples across: 128 for 32, else 256.
int PsfTransformSize(int n);

struct PsfSettings {
  int wavelength = 1;
  int grid = 64;               // N: 32, 64, 128, 256
  double actualBfl = 0;
  double focalRadius = 0;
  bool fullField = false;
  double angleYDeg = 0, angleXDeg = 0;
};

struct PsfResult {
  bool ok = false;
  std::optional<TraceError> error;
  int F = 0, N = 0;
  float Strehl = 0;
  double Max = 0, Min = 0, Range = 0;
  std::vector<double> P;  // F x F intensity after the quadrant exchange, (i, j) at i F + j
  double At(int i, int j) const { return P[static_cast<size_t>(i) * F + j]; }
};

// The intensity of a pupil in an F x F transform: pupil reversed in both axes
// in the centre of the array, amplitude sin 2 pi W + i cos 2 pi W.
PsfResult PsfOfPupil(const PupilSamples& p, int F);
PsfResult ComputePsf(const DesignState& d, const PsfSettings& s, const Progress& progress = {});

// --- modulation transfer function ----------------------------------------------

// One curve pair, F/2 values each: tangential along the first index, sagittal along the second.
struct MtfCurve {
  std::vector<double> T, S;
};
// The pupil at offset F/4 of the F x F array, transform, intensity, transform,
// |real part| normalised by the zero frequency. Throws TraceError when no
// light arrives.
MtfCurve MtfOfPupil(const PupilSamples& p, int F);

// The modulation of a perfect unobstructed aperture at x = frequency / cut-off.
double IdealMtf(double x);
// M(v) for whole frequencies v = 0..floor(nc).
std::vector<double> IdealCurve(double nc);

struct MtfSettings {
  int wavelength = 1;
  int sampling = 64;           // F: 32, 64, 128, 256
  double actualBfl = 0;
  double focalRadius = 0;
  double angleYDeg = 0, angleXDeg = 0;  // the design window's field
};

struct MtfResult {
  bool ok = false;
  std::optional<TraceError> error;
  int F = 0;
  double cutoff = 0;           // nc, cycles per millimetre
  double waveLenMm = 0;
  std::array<MtfCurve, 3> fields;  // 0, 0.7 field, full field
  std::vector<double> ideal;
  std::vector<std::string> text;   // the lines of the text window
};
MtfResult ComputeMtf(const DesignState& d, const MtfSettings& s, const Progress& progress = {});
// The text window's lines of a result.
std::vector<std::string> MtfTextLines(const MtfResult& r);

struct MtfFocusSettings {
  int wavelength = 1;
  int sampling = 64;
  double actualBfl = 0;
  double focalRadius = 0;
  bool fullField = false;
  double angleYDeg = 0, angleXDeg = 0;
  double defocus = 0.1;
};

struct MtfFocusResult {
  bool ok = false;
  std::optional<TraceError> error;
  int F = 0;
  double cutoff = 0;
  std::array<double, 3> defocus{};  // +d, 0, -d
  std::array<MtfCurve, 3> runs;
  std::vector<double> ideal;
};
MtfFocusResult ComputeMtfFocus(const DesignState& d, const MtfFocusSettings& s, const Progress& progress = {});

}  // namespace ovrin
