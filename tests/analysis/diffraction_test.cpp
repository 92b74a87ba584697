// The transform against a plain sum and the textbook radix-2 routine, the
// point spread and transfer functions of ideal and obstructed apertures
// against their closed forms, and the Zernike fit of known wave fronts.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "../core/test_designs.h"
#include "analysis/wave/diffraction.h"
#include "analysis/wave/diffraction_draw.h"
#include "analysis/wave/zernike.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

constexpr double kTwoPi = 6.283185307179586;

// The decimation-in-time radix-2 transform with bit-reversed input order and
// the twiddle recurrence (two sines per stage): the reference for FFTW.
void RadixTwo(std::vector<double>& re, std::vector<double>& im, int n) {
  const int bits = NumberOfBitsNeeded(n);
  std::vector<double> r(n), i(n);
  for (int k = 0; k < n; ++k) {
    r[ReverseBits(k, bits)] = re[k];
    i[ReverseBits(k, bits)] = im[k];
  }
  int block_end = 1;
  for (int block = 2; block <= n; block <<= 1) {
    const double delta = 6.28318530717958 / block;
    const double alpha = 2 * std::sin(delta / 2) * std::sin(delta / 2);
    const double beta = std::sin(delta);
    for (int s = 0; s < n; s += block) {
      double ar = 1, ai = 0;
      for (int m = 0; m < block_end; ++m) {
        const int j = s + m, k = j + block_end;
        const double tr = ar * r[k] - ai * i[k];
        const double ti = ar * i[k] + ai * r[k];
        r[k] = r[j] - tr;
        i[k] = i[j] - ti;
        r[j] += tr;
        i[j] += ti;
        const double d_ar = alpha * ar + beta * ai;
        ai = ai - (alpha * ai - beta * ar);
        ar = ar - d_ar;
      }
    }
    block_end = block;
  }
  re = r;
  im = i;
}

std::vector<Complex> RandomLine(int n, std::mt19937& gen) {
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<Complex> v(n);
  for (auto& c : v) c = Complex(u(gen), u(gen));
  return v;
}

TEST(Transform, BitHelpers) {
  EXPECT_FALSE(IsPowerOfTwo(0));
  EXPECT_FALSE(IsPowerOfTwo(1));
  EXPECT_TRUE(IsPowerOfTwo(2));
  EXPECT_FALSE(IsPowerOfTwo(96));
  EXPECT_TRUE(IsPowerOfTwo(256));
  EXPECT_EQ(NumberOfBitsNeeded(256), 8);
  EXPECT_EQ(NumberOfBitsNeeded(0), 0);
  EXPECT_EQ(ReverseBits(1, 3), 4);
  EXPECT_EQ(ReverseBits(6, 3), 3);
  EXPECT_EQ(ReverseBits(1, 8), 128);
}

TEST(Transform, TwoSamplesIsSumAndDifference) {
  // One stage, delta = pi.
  std::vector<Complex> v{{3, 1}, {1, -2}};
  Fourier(v.data(), 2);
  EXPECT_DOUBLE_EQ(v[0].real(), 4);
  EXPECT_DOUBLE_EQ(v[0].imag(), -1);
  EXPECT_DOUBLE_EQ(v[1].real(), 2);
  EXPECT_DOUBLE_EQ(v[1].imag(), 3);
  std::vector<double> re{3, 1}, im{1, -2};
  RadixTwo(re, im, 2);
  EXPECT_DOUBLE_EQ(re[1], 2);
  EXPECT_DOUBLE_EQ(im[1], 3);
}

TEST(Transform, PositiveKernelNoScalingAgainstAPlainSumAndTheRadixTwoRoutine) {
  std::mt19937 gen(7);
  for (int n = 2; n <= 256; n *= 2) {
    const std::vector<Complex> in = RandomLine(n, gen);
    // A plain sum with the positive exponent and no 1/n.
    std::vector<Complex> dft(n);
    for (int k = 0; k < n; ++k)
      for (int m = 0; m < n; ++m) dft[k] += in[m] * std::polar(1.0, kTwoPi * m * k / n);
    std::vector<Complex> fast = in;
    Fourier(fast.data(), n);
    std::vector<double> re(n), im(n);
    for (int k = 0; k < n; ++k) re[k] = in[k].real(), im[k] = in[k].imag();
    RadixTwo(re, im, n);
    double scale = 0;
    for (const Complex& c : dft) scale = std::max(scale, std::abs(c));
    for (int k = 0; k < n; ++k) {
      EXPECT_NEAR(std::abs(fast[k] - dft[k]), 0, 1e-10 * scale) << n << " " << k;
      // FFTW and the recurrence agree to 1e-12 of the line's size.
      EXPECT_NEAR(std::abs(fast[k] - Complex(re[k], im[k])), 0, 1e-12 * scale) << n << " " << k;
    }
  }
}

TEST(Transform, TwoDimensionsAreTheLinesAlongBothIndices) {
  std::mt19937 gen(11);
  const int n = 16;
  std::vector<Complex> field = RandomLine(n * n, gen), lines = field;
  Fourier2d(field.data(), n);
  for (int b = 0; b < n; ++b) {  // along the first index
    std::vector<Complex> line(n);
    for (int a = 0; a < n; ++a) line[a] = lines[a * n + b];
    Fourier(line.data(), n);
    for (int a = 0; a < n; ++a) lines[a * n + b] = line[a];
  }
  for (int a = 0; a < n; ++a) Fourier(&lines[a * n], n);
  for (int k = 0; k < n * n; ++k) EXPECT_NEAR(std::abs(field[k] - lines[k]), 0, 1e-11);
}

// A pupil of constant W, as the grid of a design with a perfect but slightly
// defocused focus would give: light wherever the engine traces a ray.
PupilSamples Disc(int div, double w, double obstruction = 0) {
  PupilSamples p;
  p.a = 50;
  p.grid = BuildWaveGrid(p.a, div);
  p.W.assign(static_cast<size_t>(p.grid.rows) * p.grid.cols, 0);
  for (int i = 0; i < p.grid.rows; ++i)
    for (int j = 0; j < p.grid.cols; ++j) {
      const double r2 = p.grid.X(j) * p.grid.X(j) + p.grid.Y(i) * p.grid.Y(i);
      if (r2 <= p.a * p.a + 0.0001 && r2 >= obstruction * obstruction * p.a * p.a)
        p.W[static_cast<size_t>(i) * p.grid.cols + j] = w;
    }
  return p;
}

int LitCount(const PupilSamples& p) {
  int n = 0;
  for (int i = 0; i < p.grid.rows; ++i)
    for (int j = 0; j < p.grid.cols; ++j) n += SampleLit(p, i, j);
  return n;
}

TEST(Psf, PerfectPupilPeaksAtTheCentreWithTheWholeEnergy) {
  for (int n : {32, 64, 128}) {
    const PupilSamples p = Disc(n / 2, 0.3);
    const int F = PsfTransformSize(n);
    const PsfResult r = PsfOfPupil(p, F);
    ASSERT_TRUE(r.ok);
    const double count = LitCount(p);
    // Unit amplitudes in phase: the zero order is the count squared, and the
    // energy of the unscaled transform is F^2 times the pupil's.
    EXPECT_NEAR(r.At(F / 2, F / 2), count * count, 1e-6 * count * count) << n;
    EXPECT_DOUBLE_EQ(r.Max, r.At(F / 2, F / 2));
    double sum = 0;
    for (double v : r.P) sum += v;
    EXPECT_NEAR(sum, double(F) * F * count, 1e-9 * F * F * count);
    EXPECT_EQ(r.Range, r.Max - r.Min);
  }
}

TEST(Psf, PupilEdgeHasNoToleranceAndZeroWIsDark) {
  PupilSamples p = Disc(16, 0.1);
  const int lit = LitCount(p);
  // A sample just beyond a^2 keeps a W from the engine's 0.0001 allowance but is dark.
  p.a = std::sqrt(p.grid.X(0) * p.grid.X(0) + p.grid.Y(15) * p.grid.Y(15)) - 1e-9;
  EXPECT_LT(LitCount(p), lit);
  const PsfResult r = PsfOfPupil(Disc(16, 0), 128);
  EXPECT_EQ(r.Max, 0);  // every W exactly 0: no light
}

TEST(Psf, AberrationLowersThePeak) {
  PupilSamples p = Disc(32, 0.2);
  const double perfect = PsfOfPupil(p, 256).Max;
  for (int i = 0; i < p.grid.rows; ++i)
    for (int j = 0; j < p.grid.cols; ++j) {
      double& w = p.W[static_cast<size_t>(i) * p.grid.cols + j];
      if (w != 0) w += 0.3 * (p.grid.Y(i) / p.a) * (p.grid.Y(i) / p.a);
    }
  EXPECT_LT(PsfOfPupil(p, 256).Max, 0.9 * perfect);
}

// The highest and lowest vertical coordinate of the relief's cells.
std::pair<double, double> ReliefSpan(const PsfResult& r, const PsfView& v) {
  RecordingCanvas c;
  DrawPsfSurface(r, v, c);
  double lo = 1e300, hi = -1e300;
  for (const auto& item : c.items())
    for (const PlotPoint& p : item.points) lo = std::min(lo, p.y), hi = std::max(hi, p.y);
  return {lo, hi};
}

TEST(PsfPictures, UnaberratedScaleHalvesTheReliefAndLeavesTheMap) {
  PsfResult r = PsfOfPupil(Disc(16, 0.2), 128);
  r.Strehl = 0.5f;
  PsfView unity;
  unity.rotX = unity.rotY = unity.rotZ = 0;  // seen from the side: heights only
  PsfView scaled = unity;
  scaled.unaberrated = true;
  // The peak stands F/4 high against unity and half that against the Strehl scale.
  EXPECT_NEAR(ReliefSpan(r, unity).first, -32, 1e-9);
  EXPECT_NEAR(ReliefSpan(r, scaled).first, -16, 1e-9);
  RecordingCanvas a, b;
  DrawPsfMap(r, unity, a);
  DrawPsfMap(r, scaled, b);
  ASSERT_EQ(a.items().size(), b.items().size());
  EXPECT_EQ(a.items().back().pixels, b.items().back().pixels);
}

TEST(PsfPictures, GreyCapAndThePaleFirstBandOnWhite) {
  PsfResult r = PsfOfPupil(Disc(16, 0.2), 128);
  PsfView v;
  // Surface grey: P / R x 255 + 50, capped at 255; the dark floor is 50.
  EXPECT_EQ(PsfSurfaceColour(r.Max, r, v), (Rgb{255, 255, 255}));
  EXPECT_EQ(PsfSurfaceColour(0, r, v), (Rgb{50, 50, 50}));
  // Map grey has no offset.
  EXPECT_EQ(PsfMapColour(0, r, v), (Rgb{0, 0, 0}));
  v.falseColour = true;
  // The first band on a white back runs from white to blue; on black from black.
  const double p = r.Range / 10;  // half way up the first band
  const Rgb pale = PsfMapColour(p, r, v);
  EXPECT_EQ(pale.b, 255);
  EXPECT_NEAR(pale.r, 127, 1);
  EXPECT_EQ(pale.r, pale.g);
  v.black = true;
  EXPECT_NEAR(PsfMapColour(p, r, v).b, 127, 1);
  EXPECT_EQ(PsfMapColour(p, r, v).r, 0);
  // The top band ends in red.
  EXPECT_EQ(PsfMapColour(r.Max, r, v), (Rgb{255, 0, 0}));
}

double ClosedFormMtf(double x) {
  const double phi = std::acos(x);
  return 2 / M_PI * (phi - std::cos(phi) * std::sin(phi));
}

TEST(Mtf, PerfectApertureFollowsTheClosedForm) {
  for (int F : {128, 256}) {
    const MtfCurve c = MtfOfPupil(Disc(F / 4, 0.37), F);
    ASSERT_EQ(static_cast<int>(c.T.size()), F / 2);
    EXPECT_EQ(c.T[0], 1);
    EXPECT_EQ(c.S[0], 1);
    for (int i = 0; i < F / 2; ++i) {
      const double x = i / (F / 2.0);
      EXPECT_NEAR(c.T[i], ClosedFormMtf(x), 0.02) << F << " " << i;
      EXPECT_NEAR(c.S[i], ClosedFormMtf(x), 0.02) << F << " " << i;
    }
  }
}

TEST(Mtf, CentralObstructionLowersTheMidFrequencies) {
  const int F = 128;
  const MtfCurve open = MtfOfPupil(Disc(F / 4, 0.1), F);
  const MtfCurve obstructed = MtfOfPupil(Disc(F / 4, 0.1, 0.4), F);
  for (int i = F / 8; i <= 3 * F / 16; ++i) {
    EXPECT_LT(obstructed.T[i], open.T[i] - 0.05) << i;
    EXPECT_LT(obstructed.S[i], open.S[i] - 0.05) << i;
  }
}

TEST(Mtf, OnlyTheRealPartIsKeptSoAnOddWaveFrontFoldsTheCurveUp) {
  // A tilt of 2 waves at the pupil edge shifts the image by 8 samples of a
  // 128 transform: the transfer function takes the phase 2 pi 8 i / 128, so
  // its real part is 0 at i = 4 and whole again (negative) at i = 8.
  const int F = 128;
  PupilSamples p = Disc(F / 4, 0.1);
  for (int i = 0; i < p.grid.rows; ++i)
    for (int j = 0; j < p.grid.cols; ++j) {
      double& w = p.W[static_cast<size_t>(i) * p.grid.cols + j];
      if (w != 0) w += 2 * p.grid.Y(i) / p.a;
    }
  const MtfCurve c = MtfOfPupil(p, F);
  EXPECT_LT(c.T[4], 0.02);
  EXPECT_NEAR(c.T[8], ClosedFormMtf(8.0 / 64), 0.03);
  // Across the tilt nothing moves.
  for (int i = 0; i < F / 2; ++i) EXPECT_NEAR(c.S[i], ClosedFormMtf(i / 64.0), 0.02) << i;
}

TEST(Mtf, NoLightFailsAndTheIdealCurveHasNoPoleAtTheCutoff) {
  EXPECT_THROW(MtfOfPupil(Disc(8, 0), 32), TraceError);
  EXPECT_DOUBLE_EQ(IdealMtf(0), 1);
  EXPECT_TRUE(std::isfinite(IdealMtf(1)));
  EXPECT_NEAR(IdealMtf(1), 0, 1e-6);
  EXPECT_NEAR(IdealMtf(0.5), ClosedFormMtf(0.5), 1e-12);
  const std::vector<double> m = IdealCurve(10);  // v = 0..10, the last exactly at the cut-off
  ASSERT_EQ(m.size(), 11u);
  EXPECT_NEAR(m.back(), 0, 1e-6);
  EXPECT_EQ(IdealCurve(9.7).size(), 10u);
}

// A concave paraboloid of diameter 200 at f/8, stop on the mirror.
TestDesign Paraboloid(double angle_deg = 0) {
  TestDesign t;
  SurfaceSpec s{101, -3200, 0, SurfaceSpec::AirNegat};
  s.type = kConic, s.conic = -1;
  Build(t, {s}, 100, angle_deg);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

TEST(Mtf, DefocusedParaboloidNearTheIdealCurveOnAxis) {
  TestDesign t = Paraboloid(0.2);
  MtfSettings s;
  s.sampling = 128;
  s.actualBfl = t.d.Bfl + 0.002;  // a hundredth of a wave: no sample comes out exactly 0
  s.angleYDeg = 0.2;
  const MtfResult r = ComputeMtf(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_NEAR(r.cutoff, 1 / (8 * 0.5461e-3), 0.5);
  EXPECT_EQ(r.fields[0].T[0], 1);
  for (int i = 0; i < 64; ++i) EXPECT_NEAR(r.fields[0].T[i], ClosedFormMtf(i / 64.0), 0.02) << i;
  // Off axis the paraboloid has coma: the full field falls below the axis.
  double axis = 0, full = 0;
  for (int i = 0; i < 64; ++i) axis += r.fields[0].T[i], full += r.fields[2].T[i];
  EXPECT_LT(full, axis);
  // The text: the wavelength, then per field a title, a header and F/2 rows.
  ASSERT_EQ(r.text.size(), 1u + 3 * (2 + 64));
  EXPECT_EQ(r.text[0], "WaveLength 0.000546");
  EXPECT_EQ(r.text[1], "Diffraction MTF at 0 degree");
  EXPECT_EQ(r.text[2], "FREQ.\tTANG.\tSAG.\tIDEAL");
  EXPECT_EQ(r.text[3], "0.00\t1.000\t1.000\t1.000");
  EXPECT_EQ(r.text[67], "Diffraction MTF at 0.7 Field");
}

TEST(Mtf, PointSevenFieldScalesBothAngles) {
  TestDesign t = Paraboloid(0.5);
  MtfSettings s;
  s.sampling = 64;
  s.actualBfl = t.d.Bfl + 0.002;
  s.angleYDeg = 0.5, s.angleXDeg = 0.3;
  const MtfResult r = ComputeMtf(t.d, s);
  ASSERT_TRUE(r.ok);
  MtfFocusSettings f;
  f.sampling = 64;
  f.actualBfl = s.actualBfl;
  f.fullField = true;
  f.angleYDeg = 0.35, f.angleXDeg = 0.21;
  f.defocus = 0;
  const MtfFocusResult at = ComputeMtfFocus(t.d, f);
  ASSERT_TRUE(at.ok);
  for (int i = 0; i < 32; ++i) {
    EXPECT_NEAR(r.fields[1].T[i], at.runs[1].T[i], 1e-9) << i;
    EXPECT_NEAR(r.fields[1].S[i], at.runs[1].S[i], 1e-9) << i;
  }
}

TEST(MtfFocus, DefocusEitherSideLowersTheCurveAlike) {
  TestDesign t = Paraboloid();
  MtfFocusSettings f;
  f.sampling = 64;
  f.actualBfl = t.d.Bfl + 0.002;
  f.defocus = 0.2;
  const MtfFocusResult r = ComputeMtfFocus(t.d, f);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.defocus[0], 0.2);
  EXPECT_EQ(r.defocus[2], -0.2);
  for (int i = 4; i < 20; ++i) {
    EXPECT_LT(r.runs[0].T[i], r.runs[1].T[i]) << i;
    EXPECT_NEAR(r.runs[0].T[i], r.runs[2].T[i], 0.03) << i;
  }
}

TEST(Psf, DesignStrehlAndFailure) {
  TestDesign t = Paraboloid();
  PsfSettings s;
  s.grid = 32;
  s.actualBfl = t.d.Bfl + 0.002;
  const PsfResult r = ComputePsf(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.F, 128);
  EXPECT_GT(r.Strehl, 0.999f);
  EXPECT_EQ(r.Max, r.At(64, 64));
  // Defocus by 0.3 mm (about half a wave of W020) lowers the Strehl and the peak.
  s.actualBfl = t.d.Bfl + 0.3;
  const PsfResult d = ComputePsf(t.d, s);
  ASSERT_TRUE(d.ok);
  EXPECT_LT(d.Strehl, 0.5f);
  EXPECT_LT(d.Max, 0.5 * r.Max);
  s.wavelength = 0;
  EXPECT_FALSE(ComputePsf(t.d, s).ok);
}

// --- Zernike -------------------------------------------------------------------

TEST(Zernike, CartesianFormsOfThePolarTerms) {
  for (double x : {-0.7, 0.1, 0.45})
    for (double y : {-0.3, 0.2, 0.6}) {
      const double r = std::hypot(x, y), t = std::atan2(y, x);
      const double r2 = r * r, r4 = r2 * r2, r6 = r4 * r2, r8 = r4 * r4;
      EXPECT_NEAR(ZernikeTerm(27, x, y), (6 * r6 - 5 * r4) * std::cos(4 * t), 1e-12);
      EXPECT_NEAR(ZernikeTerm(28, x, y), (6 * r6 - 5 * r4) * std::sin(4 * t), 1e-12);
      const double q3 = 21 * r6 * r - 30 * r4 * r + 10 * r2 * r;
      EXPECT_NEAR(ZernikeTerm(29, x, y), q3 * std::cos(3 * t), 1e-12);
      EXPECT_NEAR(ZernikeTerm(30, x, y), q3 * std::sin(3 * t), 1e-12);
      const double q2 = 56 * r8 - 105 * r6 + 60 * r4 - 10 * r2;
      EXPECT_NEAR(ZernikeTerm(31, x, y), q2 * std::cos(2 * t), 1e-12);
      EXPECT_NEAR(ZernikeTerm(32, x, y), q2 * std::sin(2 * t), 1e-12);
      // Fringe terms at the edge of the circle: every radial polynomial is 1 there.
      const double ex = x / r, ey = y / r;
      EXPECT_NEAR(ZernikeTerm(8, ex, ey), 1, 1e-12);
      EXPECT_NEAR(ZernikeTerm(36, ex, ey), 1, 1e-9);
      EXPECT_NEAR(ZernikeTerm(33, ex, ey), ex, 1e-9);
    }
  EXPECT_STREQ(ZernikeName(8), "  Primary Spherical Aberration");
}

std::vector<ZernikeSample> UnitGrid(double (*w)(double, double)) {
  std::vector<ZernikeSample> s;
  const WaveGrid g = BuildWaveGrid(1, 16);
  for (int i = 0; i < g.rows; ++i)
    for (int j = 0; j < g.cols; ++j) {
      const double x = g.X(j), y = g.Y(i);
      if (x * x + y * y <= 1) s.push_back({x, y, w(x, y)});
    }
  return s;
}

TEST(Zernike, DefocusAndSphericalLandInTheirTerms) {
  // W020 r^2 = W020 / 2 (Z3 + 1): terms 3 and 0 only.
  auto defocus = UnitGrid([](double x, double y) { return 0.8 * (x * x + y * y); });
  std::array<double, kZernikeTerms> c = FitZernike(defocus);
  EXPECT_NEAR(c[0], 0.4, 1e-9);
  EXPECT_NEAR(c[3], 0.4, 1e-9);
  for (int t = 0; t < kZernikeTerms; ++t)
    if (t != 0 && t != 3) {
      EXPECT_NEAR(c[t], 0, 1e-9) << t;
    }
  // W040 r^4 = W040 (Z8 / 6 + Z3 / 2 + 1 / 3).
  auto spherical = UnitGrid([](double x, double y) { return 0.6 * (x * x + y * y) * (x * x + y * y); });
  c = FitZernike(spherical);
  EXPECT_NEAR(c[8], 0.1, 1e-9);
  EXPECT_NEAR(c[3], 0.3, 1e-9);
  EXPECT_NEAR(c[0], 0.2, 1e-9);
  // Coma along Y: W131 y r^2 = W131 (Z7 / 3 + 2 y / 3).
  c = FitZernike(UnitGrid([](double x, double y) { return 0.9 * y * (x * x + y * y); }));
  EXPECT_NEAR(c[7], 0.3, 1e-9);
  EXPECT_NEAR(c[2], 0.6, 1e-9);
  EXPECT_NEAR(c[6], 0, 1e-9);
}

TEST(Zernike, TooFewSamplesFailAndZeroSamplesPullThePiston) {
  std::vector<ZernikeSample> few(10, ZernikeSample{0.1, 0.2, 1});
  EXPECT_THROW(FitZernike(few), TraceError);
  auto flat = UnitGrid([](double, double) { return 1.0; });
  EXPECT_NEAR(FitZernike(flat)[0], 1, 1e-9);
  // Samples kept with W = 0 (vignetted rays) pull the fit.
  for (size_t k = 0; k < flat.size(); k += 7) flat[k].W = 0;
  EXPECT_LT(FitZernike(flat)[0], 0.99);
}

TEST(Zernike, DefocusedParaboloidShowsPowerOfTheClosedForm) {
  // A focus shift dz at f/8 adds about dz r^2 / (8 N^2) to W: Z3 takes half of it.
  TestDesign t = Paraboloid();
  ZernikeSettings s;
  s.actualBfl = t.d.Bfl + 0.1;
  const ZernikeResult r = ComputeZernike(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_GT(r.samples, 700);
  EXPECT_LT(r.samples, 32 * 32);
  const double w020 = 0.1 / (8 * 64) / 0.5461e-3;
  EXPECT_NEAR(std::fabs(r.c[3]), w020 / 2, 0.01 * w020);
  EXPECT_NEAR(r.c[0], r.c[3], 0.01 * w020);
  for (int k = 4; k < kZernikeTerms; ++k) EXPECT_LT(std::fabs(r.c[k]), 0.01 * w020) << k;
  EXPECT_EQ(r.texts[3].find('.') != std::string::npos, true);
}

}  // namespace
}  // namespace ovrin
