#include "analysis/wave/diffraction.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>

#include "analysis/wave/wavefront.h"
#include "core/number_text.h"

namespace ovrin {

namespace {

constexpr double kPi = 3.14159265358979;

// FFTW plans, made once per size and shape and kept for the program's life.
// Planning is not thread safe in FFTW, executing a plan is.
struct PlanCache {
  std::mutex lock;
  std::map<std::pair<int, int>, fftw_plan> plans;  // (size, dimensions)

  fftw_plan Get(int F, int dims) {
    std::lock_guard<std::mutex> guard(lock);
    auto it = plans.find({F, dims});
    if (it != plans.end()) return it->second;
    const size_t count = dims == 1 ? F : static_cast<size_t>(F) * F;
    auto* buffer = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * count));
    // FFTW_BACKWARD is the positive exponent; FFTW never scales.
    const unsigned flags = FFTW_ESTIMATE | FFTW_UNALIGNED;
    fftw_plan p = dims == 1 ? fftw_plan_dft_1d(F, buffer, buffer, FFTW_BACKWARD, flags)
                            : fftw_plan_dft_2d(F, F, buffer, buffer, FFTW_BACKWARD, flags);
    fftw_free(buffer);
    plans.emplace(std::make_pair(F, dims), p);
    return p;
  }
};

PlanCache& Plans() {
  static PlanCache cache;
  return cache;
}

void CheckSize(int F) {
  if (!IsPowerOfTwo(F) || F > 256) throw TraceError(0, TraceFault::NonFinite);
}

}  // namespace

bool IsPowerOfTwo(int n) { return n >= 2 && (n & (n - 1)) == 0; }

int NumberOfBitsNeeded(int n) {
  for (int i = 0; i <= 16; ++i)
    if (n & (1 << i)) return i;
  return 0;
}

int ReverseBits(int index, int bits) {
  int rev = 0;
  for (int i = 0; i < bits; ++i) {
    rev = (rev << 1) | (index & 1);
    index >>= 1;
  }
  return rev;
}

void Fourier(Complex* line, int F) {
  CheckSize(F);
  auto* p = reinterpret_cast<fftw_complex*>(line);
  fftw_execute_dft(Plans().Get(F, 1), p, p);
}

void Fourier2d(Complex* field, int F) {
  CheckSize(F);
  // The two-dimensional transform is the line transform along both indices.
  auto* p = reinterpret_cast<fftw_complex*>(field);
  fftw_execute_dft(Plans().Get(F, 2), p, p);
}

PupilSamples TracePupil(const DesignState& d, const OpdRun& run, int div, std::optional<double> zxp,
                        const Progress& progress) {
  PupilSamples p;
  p.a = d.EntrBeamSemiDiam;
  OpdEngine e(d, run);
  e.ChiefReference(zxp);
  p.grid = BuildWaveGrid(d.EntrBeamSemiDiam, div);
  const WaveGrid& g = p.grid;
  p.W.assign(static_cast<size_t>(g.rows) * g.cols, 0.0);
  const int total = std::max(g.rows * g.cols, 1);
  int done = 0, last = -1;
  std::vector<double> ys(g.cols);
  for (int i = 0; i < g.rows; ++i) {
    std::fill(ys.begin(), ys.end(), g.Y(i));
    e.RayOpds(g.colX.data(), ys.data(), g.cols, p.W.data() + static_cast<size_t>(i) * g.cols);
    for (int j = 0; j < g.cols; ++j) {
      ++done;
      if (progress) {
        const int percent = std::min(done * 100 / total, 100);
        if (percent != last) progress(last = percent);
      }
    }
  }
  return p;
}

bool SampleLit(const PupilSamples& p, int row, int col) {
  const double x = p.grid.X(col), y = p.grid.Y(row);
  if (x * x + y * y > p.a * p.a) return false;
  return p.At(row, col) != 0;
}

int PsfTransformSize(int n) { return n == 32 ? 128 : 256; }

PsfResult PsfOfPupil(const PupilSamples& p, int F) {
  PsfResult r;
  r.F = F;
  r.N = 2 * p.grid.div;
  std::vector<Complex> field(static_cast<size_t>(F) * F, Complex(0, 0));
  const int pad = (F - r.N) / 2;
  for (int row = 0; row < p.grid.rows; ++row)
    for (int col = 0; col < p.grid.cols; ++col) {
      const int a = F - 1 - (pad + row), b = F - 1 - (pad + col);
      if (a < 0 || b < 0 || a >= F || b >= F || !SampleLit(p, row, col)) continue;
      const double phase = 2 * kPi * p.At(row, col);
      field[static_cast<size_t>(a) * F + b] = Complex(std::sin(phase), std::cos(phase));
    }
  Fourier2d(field.data(), F);
  std::vector<double> P(field.size());
  double mx = 0, mn = 1e+15;
  for (size_t k = 0; k < field.size(); ++k) {
    P[k] = std::norm(field[k]);
    mx = std::max(mx, P[k]);
    mn = std::min(mn, P[k]);
  }
  r.Max = mx, r.Min = mn, r.Range = mx - mn;
  // The quadrant exchange brings the zero order to (F/2, F/2).
  const int h = F / 2;
  r.P.resize(P.size());
  for (int i = 0; i < F; ++i)
    for (int j = 0; j < F; ++j)
      r.P[static_cast<size_t>(i) * F + j] = P[static_cast<size_t>((i + h) % F) * F + (j + h) % F];
  r.ok = true;
  return r;
}

PsfResult ComputePsf(const DesignState& d, const PsfSettings& s, const Progress& progress) {
  try {
    if (s.wavelength < 1 || s.wavelength > 6) throw TraceError(0, TraceFault::NonFinite);
    const OpdRun run =
        WaveRunOf(d, s.wavelength, s.actualBfl, s.focalRadius, s.fullField, s.angleYDeg, s.angleXDeg);
    const PupilSamples p = TracePupil(d, run, s.grid / 2, std::nullopt, progress);
    const float strehl = static_cast<float>(ComputeWaveStats(p.W).Strehl);
    PsfResult r = PsfOfPupil(p, PsfTransformSize(s.grid));
    r.Strehl = strehl;
    return r;
  } catch (const TraceError& e) {
    PsfResult failed;
    failed.error = e;
    return failed;
  }
}

MtfCurve MtfOfPupil(const PupilSamples& p, int F) {
  std::vector<Complex> field(static_cast<size_t>(F) * F, Complex(0, 0));
  const int q = F / 4;
  for (int row = 0; row < p.grid.rows; ++row)
    for (int col = 0; col < p.grid.cols; ++col) {
      const int a = q + row, b = q + col;
      if (a >= F || b >= F || !SampleLit(p, row, col)) continue;
      const double phase = 2 * kPi * p.At(row, col);
      field[static_cast<size_t>(a) * F + b] = Complex(std::sin(phase), std::cos(phase));
    }
  Fourier2d(field.data(), F);
  for (Complex& v : field) v = Complex(std::norm(v), 0);
  Fourier2d(field.data(), F);
  // Only the magnitude of the real part is kept, not the modulus.
  const double a00 = std::fabs(field[0].real());
  if (!(a00 > 0)) throw TraceError(0, TraceFault::NonFinite);
  MtfCurve c;
  c.T.resize(F / 2);
  c.S.resize(F / 2);
  for (int i = 0; i < F / 2; ++i) {
    c.T[i] = std::fabs(field[static_cast<size_t>(i) * F].real()) / a00;
    c.S[i] = std::fabs(field[i].real()) / a00;
  }
  return c;
}

double IdealMtf(double x) {
  if (x == 1) x = 0.99999999;
  const double phi = std::atan(-x / std::sqrt(1 - x * x)) + 2 * std::atan(1.0);
  return (phi - std::sin(phi) * std::cos(phi)) * 2 / kPi;
}

std::vector<double> IdealCurve(double nc) {
  std::vector<double> m;
  if (!(nc > 0) || !std::isfinite(nc)) return m;
  for (int v = 0; v <= static_cast<int>(std::floor(nc)); ++v) m.push_back(IdealMtf(v / nc));
  return m;
}

namespace {

// nc = 1 / (focal ratio x wavelength); throws when it has no value.
double Cutoff(const DesignState& d, double wave_len_mm) {
  const double nc = 1 / (d.FRatio * wave_len_mm);
  if (!std::isfinite(nc) || nc <= 0) throw TraceError(0, TraceFault::NonFinite);
  return nc;
}

}  // namespace

MtfResult ComputeMtf(const DesignState& d, const MtfSettings& s, const Progress& progress) {
  MtfResult r;
  try {
    if (s.wavelength < 1 || s.wavelength > 6 || !IsPowerOfTwo(s.sampling) || s.sampling < 32 || s.sampling > 256)
      throw TraceError(0, TraceFault::NonFinite);
    const int F = s.sampling;
    const int div = F / 4;
    // One exit pupil for the update, found with the design's full field.
    const OpdRun full = WaveRunOf(d, s.wavelength, s.actualBfl, s.focalRadius, true, s.angleYDeg, s.angleXDeg);
    OpdEngine probe(d, full);
    probe.ChiefReference();
    const double zxp = probe.Zxp;
    r.waveLenMm = probe.WaveLenMm;
    OpdRun runs[3] = {
        WaveRunOf(d, s.wavelength, s.actualBfl, s.focalRadius, false, 0, 0),
        WaveRunOf(d, s.wavelength, s.actualBfl, s.focalRadius, true, 0.7 * s.angleYDeg, 0.7 * s.angleXDeg),
        full,
    };
    runs[1].objHeight = 0.7 * d.HalfFieldY;
    for (int k = 0; k < 3; ++k) {
      Progress part;
      if (progress) part = [&progress, k](int pc) { progress((k * 100 + pc) / 3); };
      const PupilSamples p = TracePupil(d, runs[k], div, zxp, part);
      r.fields[k] = MtfOfPupil(p, F);
    }
    r.F = F;
    r.cutoff = Cutoff(d, r.waveLenMm);
    r.ideal = IdealCurve(r.cutoff);
  } catch (const TraceError& e) {
    MtfResult failed;
    failed.error = e;
    return failed;
  }
  r.ok = true;
  r.text = MtfTextLines(r);
  return r;
}

std::vector<std::string> MtfTextLines(const MtfResult& r) {
  std::vector<std::string> lines;
  if (!r.ok || r.F < 32 || r.F > 256) return lines;
  lines.push_back("WaveLength " + FormatFixed(static_cast<float>(r.waveLenMm), 6));
  static const char* const kTitles[3] = {"Diffraction MTF at 0 degree", "Diffraction MTF at 0.7 Field",
                                         "Diffraction MTF at Full Field"};
  const int half = r.F / 2;
  for (int k = 0; k < 3; ++k) {
    lines.push_back(kTitles[k]);
    lines.push_back("FREQ.\tTANG.\tSAG.\tIDEAL");
    for (int i = 0; i < half; ++i) {
      const double f = i * r.cutoff / (half - 1);
      const double ideal = IdealMtf(std::trunc(f) / r.cutoff);
      lines.push_back(FormatFixed(f, 2) + "\t" + FormatFixed(r.fields[k].T[i], 3) + "\t" +
                      FormatFixed(r.fields[k].S[i], 3) + "\t" + FormatFixed(ideal, 3));
    }
  }
  return lines;
}

MtfFocusResult ComputeMtfFocus(const DesignState& d, const MtfFocusSettings& s, const Progress& progress) {
  MtfFocusResult r;
  try {
    if (s.wavelength < 1 || s.wavelength > 6 || !IsPowerOfTwo(s.sampling) || s.sampling < 32 || s.sampling > 256)
      throw TraceError(0, TraceFault::NonFinite);
    const int F = s.sampling;
    r.defocus = {s.defocus, 0.0, -s.defocus};
    std::optional<double> zxp;
    double wave_len_mm = 0;
    for (int k = 0; k < 3; ++k) {
      const OpdRun run = WaveRunOf(d, s.wavelength, s.actualBfl + r.defocus[k], s.focalRadius, s.fullField,
                                   s.angleYDeg, s.angleXDeg);
      if (!zxp) {
        // The exit pupil of the chosen field, kept for the three runs.
        OpdEngine probe(d, run);
        probe.ChiefReference();
        zxp = probe.Zxp;
        wave_len_mm = probe.WaveLenMm;
      }
      Progress part;
      if (progress) part = [&progress, k](int pc) { progress((k * 100 + pc) / 3); };
      r.runs[k] = MtfOfPupil(TracePupil(d, run, F / 4, zxp, part), F);
    }
    r.F = F;
    r.cutoff = Cutoff(d, wave_len_mm);
    r.ideal = IdealCurve(r.cutoff);
  } catch (const TraceError& e) {
    MtfFocusResult failed;
    failed.error = e;
    return failed;
  }
  r.ok = true;
  return r;
}

}  // namespace ovrin
