#include "optimise/error_function.h"

#include <algorithm>
#include <cmath>

#include "core/number_text.h"
#include "core/optics_math.h"
#include "output/canvas.h"

namespace ovrin {

// --- ray sets -------------------------------------------------------------------

namespace {

// The six blocks of the ring sets: for each block the signs of Y and X and
// whether Y is taken at 60 degrees (sin 60, cos 60) or on the X axis (0, 1).
struct Block {
  int sy, sx;
  bool slanted;
};
constexpr Block kBlocks[6] = {{1, 1, true},  {0, 1, false},  {-1, 1, true},
                              {1, -1, true}, {0, -1, false}, {-1, -1, true}};

void AddRings(RaySet& s, int first, double d, const double (&r)[3], const float (&w)[3]) {
  const double s60 = std::sin(60 * kDegree), c60 = std::cos(60 * kDegree);
  int i = first;
  for (const Block& b : kBlocks) {
    for (int ring = 0; ring < 3; ++ring, ++i) {
      const double radius = r[ring] * d;
      s.PupilY[i] = b.slanted ? b.sy * radius * s60 : 0.0;
      s.PupilX[i] = b.slanted ? b.sx * radius * c60 : b.sx * radius;
      s.RayWeight[i] = w[ring];
    }
  }
}

}  // namespace

RaySet BuildRaySet(RaySetKind kind, double d) {
  RaySet s;
  switch (kind) {
    case RaySetKind::Square: {
      s.RayCount = 13;
      // Row 8 repeats row 6: the point (D/2, 0) stays out of the set.
      const double y[14] = {0, 0, -d / 2, 0, d / 2, -d, -d / 2, 0, -d / 2, d, -d / 2, 0, d / 2, 0};
      const double x[14] = {0, d, d / 2, d / 2, d / 2, 0, 0, 0, 0, 0, -d / 2, -d / 2, -d / 2, -d};
      s.PupilY.assign(y, y + 14);
      s.PupilX.assign(x, x + 14);
      s.RayWeight.assign(14, 1.0f / 13.0f);
      break;
    }
    case RaySetKind::Gaussian: {
      s.RayCount = 18;
      s.PupilY.assign(19, 0.0);
      s.PupilX.assign(19, 0.0);
      s.RayWeight.assign(19, 0.0f);
      AddRings(s, 1, d, {0.3357, 0.7071, 0.942}, {0.0463f, 0.07407f, 0.0463f});
      break;
    }
    case RaySetKind::Radau: {
      s.RayCount = 20;
      s.PupilY.assign(21, 0.0);
      s.PupilX.assign(21, 0.0);
      s.RayWeight.assign(21, 0.0f);
      // The centre twice, as ray 1 and ray 20; the weights are not normalised.
      s.RayWeight[1] = s.RayWeight[20] = 0.0313f;
      AddRings(s, 2, d, {0.4608, 0.7684, 0.9546}, {0.0548f, 0.0647f, 0.03674f});
      break;
    }
  }
  return s;
}

// --- the window's model ---------------------------------------------------------------

namespace {

const char* const kHeads[8] = {"Srf.", " Half-D.", " Curv.Radius", "Var.",
                               " Ax.Thickness", "Var.", " Conic", "Var."};

}  // namespace

void LoadOptimiseSheet(OptimiseSheet& s, const DesignState& d) {
  const int n = d.SurfCount;
  s.cells.assign(n + 2, OptimiseSheet::Row{});
  for (int c = 0; c < OptimiseSheet::kCols; ++c) s.cells[0][c] = kHeads[c];
  for (int i = 1; i <= n; ++i) s.cells[i][0] = " " + std::to_string(i);
  s.cells[n + 1][0] = "Img";
  s.cells[n + 1][2] = "0";
  s.Text2 = FormatFixed(d.Efl, 3);
  for (int k = 0; k < 6; ++k) {
    s.checked[k] = d.Wavelength[k] != 0;
    s.weightEnabled[k] = s.checked[k];
  }
  RefreshOptimiseSheet(s, d);
}

void RefreshOptimiseSheet(OptimiseSheet& s, const DesignState& d) {
  const int n = d.SurfCount;
  if (s.SurfCount() != n) {
    OptimiseSheet::Row img = s.cells.empty() ? OptimiseSheet::Row{} : s.cells.back();
    s.cells.resize(n + 2);
    for (int i = 1; i <= n; ++i) s.cells[i][0] = " " + std::to_string(i);
    s.cells[n + 1] = img;
    s.cells[n + 1][0] = "Img";
    if (n >= 1) s.cells[n][4].clear();  // a new last surface: its target anew
  }
  for (int k = 0; k < 6; ++k) {
    s.checkCaption[k] = FormatFixed(d.Wavelength[k], 4);
    if (d.Wavelength[k] == 0) {
      s.checkVisible[k] = false;
      s.checked[k] = false;
      s.weightEnabled[k] = false;
    } else {
      s.checkVisible[k] = true;
      s.weightEnabled[k] = true;
    }
  }
  for (int i = 1; i <= n; ++i) {
    s.cells[i][1] = FormatFixed(d.SemiDiam[i], 4);
    const double r = std::fabs(d.Radius[i]) > 11111111 ? 0.0 : d.Radius[i];
    s.cells[i][2] = FormatFixed(r, 4);
    s.cells[i][6] = ShortestText(d.Conic[i]);
    if (i < n) s.cells[i][4] = FormatFixed(d.Thickness[i], 4);
  }
  // The last thickness is derived by the update: its cell holds the target of
  // the back focal length, the present one until the user types another, and
  // a refresh keeps what was typed.
  if (n >= 1 && s.cells[n][4].empty()) s.cells[n][4] = FormatFixed(d.Bfl, 4);
  s.Label9 = FormatFixed(d.Efl, 3);
}

void CommitOptimiseCell(OptimiseSheet& s) {
  if (s.txtDataEntryVisible && s.editRow >= 1 && s.editRow < static_cast<int>(s.cells.size()))
    s.Cell(s.editRow, s.editCol) = s.txtDataEntry;
  s.txtDataEntryVisible = false;
}

void SetWavelengthChecked(OptimiseSheet& s, int k, bool on) {
  s.checked[k] = on;
  s.weightEnabled[k] = on;
  if (!on) s.weights[k] = "1";
}

std::string CheckIterationText(OptimiseSheet& s) {
  if (ParseLeadingNumber(s.Text1) > 100) {
    s.Text1 = "100";
    return kMaxIterationsMessage;
  }
  return "";
}

// --- the error function ------------------------------------------------------------

ErrorContext::ErrorContext(const DesignState& d) : work(d), tracer(work), bundle(work) { ResetWork(d); }

void ErrorContext::ResetWork(const DesignState& d) {
  for (int i = 1; i <= d.SurfCount; ++i) {
    work.Radius[i] = d.Radius[i];
    work.Thickness[i] = d.Thickness[i];
    work.Conic[i] = d.Conic[i];
  }
  for (int k = 1; k <= 6; ++k) {
    index[k] = work.IndexWl[k];
    index[k][0] = 1.0;
  }
  work.IndexWl[1][0] = 1.0;
  // A conic surface is traced with its conic alone.
  for (int i = 1; i <= d.SurfCount; ++i)
    if (work.SurfType[i] == 2.0f) work.AsphA4[i] = work.AsphA6[i] = work.AsphA8[i] = 0.0;
}

void ErrorContext::Configure(const OptimiseSheet& s) {
  mode = s.Option2 && !s.Option1 ? ErrorMode::Wavefront : ErrorMode::Spot;
  bestFocus = s.OptionBestFocal && !s.OptionParaxial;
  const RaySetKind kind = s.OptionGaussian ? RaySetKind::Gaussian
                          : s.OptionRadau  ? RaySetKind::Radau
                                           : RaySetKind::Square;
  rays = BuildRaySet(kind, work.EntrBeamSemiDiam);
  fieldFrac = {ParseLeadingNumber(s.Text10), ParseLeadingNumber(s.Text11)};
  fieldWeight = {ParseLeadingNumber(s.Text12), ParseLeadingNumber(s.Text13)};
  for (int k = 0; k < 6; ++k) {
    checked[k] = s.checked[k];
    wlWeight[k] = ParseLeadingNumber(s.weights[k]);
  }
  angleY = ParseLeadingNumber(s.angleY);
  angleX = ParseLeadingNumber(s.angleX);
  const int img = s.SurfCount() + 1;
  imageRadius = img >= 1 && img < static_cast<int>(s.cells.size()) ? ParseLeadingNumber(s.Cell(img, 2)) : 0.0;
}

namespace {

void Require(bool ok) {
  if (!ok) throw NumericFault();
}

// The direction (object at infinity) or object height (finite object) of a field point.
void SetField(ErrorContext& c, double frac) {
  Tracer& t = c.tracer;
  const FieldDirection f = FieldDirectionOf(kDegree * c.angleY * frac, kDegree * c.angleX * frac);
  t.FieldCosZ = f.cosZ;
  t.FieldCosY = f.cosY;
  t.FieldCosX = f.cosX;
  t.ObjHeight = c.work.HalfFieldY * frac;
}

// The working system's surfaces, then the image surface of radius imageRadius
// at distance bfl, in the index of wavelength 1 on both sides.
void TraceToImage(ErrorContext& c, double bfl) {
  Tracer& t = c.tracer;
  t.CurRadius = c.imageRadius;
  t.CurN = t.CurNPrime = c.work.IndexWl[1][c.work.SurfCount];
  t.CurThick = bfl;
  t.EnterImageFrame();
  t.TraceSphere();
}

void TraceWork(ErrorContext& c, double px, double py, int k, double bfl) {
  Tracer& t = c.tracer;
  t.RayX = px;
  t.RayY = py;
  t.RayZ = 0.0;
  t.StartRay();
  SurfaceLoopPolicy p;
  p.indexTable = &c.index[k];
  p.testAperture = false;
  t.TraceSurfaces(p);
  TraceToImage(c, bfl);
}

// TraceWork for up to kBundleLanes rays at once, into c.bundle.
void TraceWorkBundle(ErrorContext& c, const double* px, const double* py, int count, int k, double bfl) {
  BundleTracer& b = c.bundle;
  const Tracer& t = c.tracer;
  b.FieldCosZ = t.FieldCosZ, b.FieldCosY = t.FieldCosY, b.FieldCosX = t.FieldCosX;
  b.ObjHeight = t.ObjHeight;
  b.StartRays(px, py, count);
  SurfaceLoopPolicy p;
  p.indexTable = &c.index[k];
  p.testAperture = false;
  b.TraceSurfaces(p);
  b.TraceToImageIn(c.work.IndexWl[1][c.work.SurfCount], bfl, c.imageRadius);
}

// The near-axis ray through the working system in wavelength 1: the slope
// leaving the last surface (0 becomes 1e-6) and the height there.
struct Parax {
  double u, y;
};
Parax ParaxialWork(ErrorContext& c, double y0, double u0) {
  Tracer& t = c.tracer;
  const DesignState& w = c.work;
  const SurfTable& n = c.index[1];
  t.ParaxY = y0;
  t.ParaxU = u0;
  for (int s = 1; s <= w.SurfCount; ++s) {
    t.LoopI = s;
    t.CurRadius = w.Radius[s];
    t.CurN = n[s - 1];
    t.CurNPrime = n[s];
    t.CurThick = w.Thickness[s];
    t.CurConic = w.Conic[s];
    const float type = w.SurfType[s];
    const bool high = type == 3.0f;
    t.ParaxA4 = high ? w.AsphA4[s] : 0.0;
    t.ParaxA6 = high ? w.AsphA6[s] : 0.0;
    t.ParaxA8 = high ? w.AsphA8[s] : 0.0;
    if (type == 1.0f || type == 4.0f) {
      t.ParaxTraceSphere();
    } else if (type == 2.0f || type == 3.0f) {
      t.ParaxTraceAsphere();
    }
  }
  double u = t.ParaxUOut;
  if (u == 0) u = 1e-6;
  return {u, t.ParaxYOut};
}

// The optical path of the ray now at the last surface, on to the exit pupil
// plane, and its remaining length to the reference sphere through the exit
// pupil vertex about the image point (cx, cy, cz), all from the last vertex.
struct PathEnd {
  double path, rest;
};
// The same for a ray given as its registers (X, Y, Z, cosX, cosY, cosZ and the
// path); false where FinishPath fails.
bool FinishPathOf(const double ray[6], double ray_path, double n_last, double exit_z, double cx, double cy,
                  double cz, PathEnd& end) {
  const double x = ray[0], y = ray[1], z = ray[2], kx = ray[3], ky = ray[4], kz = ray[5];
  const double t1 = (exit_z - z) / kz;
  const double px = x + t1 * kx, py = y + t1 * ky, pz = exit_z;
  const double dx = px - cx, dy = py - cy, dz = pz - cz;
  const double r2 = cx * cx + cy * cy + (exit_z - cz) * (exit_z - cz);
  const double a = kx * kx + ky * ky + kz * kz;
  const double b = 2 * (kx * dx + ky * dy + kz * dz);
  const double cc = dx * dx + dy * dy + dz * dz - r2;
  const double disc = b * b - 4 * a * cc;
  if (!(disc >= 0)) return false;
  const double rest = (-b - std::sqrt(disc)) / (2 * a);
  if (!(std::isfinite(rest) && std::isfinite(t1))) return false;
  end = {ray_path + n_last * t1, rest};
  return true;
}

PathEnd FinishPath(const Tracer& t, double n_last, double exit_z, double cx, double cy, double cz) {
  const double ray[6] = {t.RayX, t.RayY, t.RayZ, t.RayCosX, t.RayCosY, t.RayCosZ};
  PathEnd end{};
  Require(FinishPathOf(ray, t.RayPath, n_last, exit_z, cx, cy, cz, end));
  return end;
}

// The wavefront of one field and wavelength: the exit pupil, the image point,
// the reference path, and per ray its OPD against the chief ray.
struct WaveField {
  double exit_z = 0, cx = 0, cy = 0, cz = 0, chief_path = 0, chief_rest = 0, n_last = 0;
  double sin_a = 0, sin_b = 0;
};

double ExitPupilZ(ErrorContext& c) {
  const DesignState& w = c.work;
  const SurfTable& n = c.index[1];
  double y, u;
  if (w.ObjDistance == 0) {
    const double a = c.angleY, b = c.angleX;
    const double angle = std::fabs(b) > std::fabs(a) ? b : a;
    y = w.EntrPupilZ == 0 ? 0.0 : w.EntrPupilY;
    u = std::tan(angle * kDegree);
  } else {
    y = w.EntrPupilY;
    u = (w.HalfFieldY - w.EntrPupilY) / w.ObjDistance;
  }
  if (u == 0) u = 0.1;
  for (int s = 1; s <= w.SurfCount; ++s) {
    u = n[s - 1] * u / n[s] - (n[s] - n[s - 1]) * y / (n[s] * w.Radius[s]);
    y = y + w.Thickness[s] * u;
  }
  const double z = -y / u;
  Require(std::isfinite(z));
  return z;
}

// Path of the ray at pupil point (px, py) in wavelength k: the surfaces' sum
// (with the object side of a finite object), then its end at the reference sphere.
PathEnd RayPathOf(ErrorContext& c, const WaveField& f, double px, double py, int k) {
  Tracer& t = c.tracer;
  const DesignState& w = c.work;
  t.RayX = px;
  t.RayY = py;
  t.RayZ = 0.0;
  t.StartRay();
  double object_path = 0;
  if (w.ObjDistance != 0) {
    const double dy = t.RayY - t.ObjHeight, dz = t.RayZ + w.ObjDistance;
    object_path = std::sqrt(t.RayX * t.RayX + dy * dy + dz * dz);
    if (f.n_last < 0) object_path = -object_path;
  }
  SurfaceLoopPolicy p;
  p.indexTable = &c.index[k];
  p.testAperture = false;
  p.sumPath = true;
  t.TraceSurfaces(p);
  PathEnd e = FinishPath(t, f.n_last, f.exit_z, f.cx, f.cy, f.cz);
  e.path += object_path;
  return e;
}

WaveField PrepareWaveField(ErrorContext& c, double frac, int k, double bfl) {
  Tracer& t = c.tracer;
  const DesignState& w = c.work;
  WaveField f;
  f.exit_z = ExitPupilZ(c);
  SetField(c, frac);
  TraceWork(c, 0.0, 0.0, 1, bfl);
  f.cx = t.RayX;
  f.cy = t.RayY;
  f.cz = bfl + t.RayZ;
  f.n_last = c.index[k][w.SurfCount];
  const PathEnd chief = RayPathOf(c, f, 0.0, 0.0, k);
  f.chief_path = chief.path;
  f.chief_rest = chief.rest;
  if (w.ObjDistance == 0) {
    f.sin_a = std::sin(kDegree * c.angleY * frac);
    f.sin_b = std::sin(kDegree * c.angleX * frac);
  }
  return f;
}

double OpdOf(ErrorContext& c, const WaveField& f, double px, double py, int k) {
  const PathEnd e = RayPathOf(c, f, px, py, k);
  double opd = f.chief_path - e.path + f.n_last * (f.chief_rest - e.rest);
  if (c.work.ObjDistance == 0) opd -= f.sin_a * py + f.sin_b * px;
  Require(std::isfinite(opd));
  return opd;
}

// OpdOf at rays first .. first + count - 1 of the ray set, a bundle at a time,
// into out. A ray whose trace or path fails is traced again alone, which
// throws as OpdOf does and leaves the tracer's registers as it does.
void OpdsOf(ErrorContext& c, const WaveField& f, int first, int count, int k, double* out) {
  BundleTracer& b = c.bundle;
  const Tracer& t = c.tracer;
  const DesignState& w = c.work;
  b.FieldCosZ = t.FieldCosZ, b.FieldCosY = t.FieldCosY, b.FieldCosX = t.FieldCosX;
  b.ObjHeight = t.ObjHeight;
  const double* xs = &c.rays.PupilX[first];
  const double* ys = &c.rays.PupilY[first];
  b.StartRays(xs, ys, count);
  double object_path[kBundleLanes] = {};
  if (w.ObjDistance != 0) {
    for (int l = 0; l < count; ++l) {
      const double dy = b.Y[l] - b.ObjHeight, dz = b.Z[l] + w.ObjDistance;
      object_path[l] = std::sqrt(b.X[l] * b.X[l] + dy * dy + dz * dz);
      if (f.n_last < 0) object_path[l] = -object_path[l];
    }
  }
  SurfaceLoopPolicy p;
  p.indexTable = &c.index[k];
  p.testAperture = false;
  p.sumPath = true;
  b.TraceSurfaces(p);
  for (int l = 0; l < count; ++l) {
    const double ray[6] = {b.X[l], b.Y[l], b.Z[l], b.CosX[l], b.CosY[l], b.CosZ[l]};
    PathEnd e{};
    bool ok = !b.Failed[l] && FinishPathOf(ray, b.Path[l], f.n_last, f.exit_z, f.cx, f.cy, f.cz, e);
    double opd = 0;
    if (ok) {
      e.path += object_path[l];
      opd = f.chief_path - e.path + f.n_last * (f.chief_rest - e.rest);
      if (w.ObjDistance == 0) opd -= f.sin_a * ys[l] + f.sin_b * xs[l];
      ok = std::isfinite(opd);
    }
    if (!ok) {
      OpdOf(c, f, xs[l], ys[l], k);
      throw NumericFault();
    }
    out[l] = opd;
  }
}

// The spot-mode best focus: the defocus that minimises the spread of an axial
// D/4 grid about its centroid.
double SpotFocusShift(ErrorContext& c, double bfl) {
  Tracer& t = c.tracer;
  const DesignState& w = c.work;
  t.FieldCosZ = 1;
  t.FieldCosY = t.FieldCosX = 0;
  t.ObjHeight = 0;
  const double d = w.EntrBeamSemiDiam;
  const double step = d / 4;
  double sx = 0, sy = 0, stx = 0, sty = 0, sxtx = 0, syty = 0, stx2 = 0, sty2 = 0;
  int n = 0;
  for (int k = 1; k <= 6; ++k) {
    if (!c.checked[k - 1]) continue;
    const double wt = c.wlWeight[k - 1];
    for (int j = 0; j <= 8; ++j) {
      const double y = d - j * step;
      for (int i = 0; i <= 8; ++i) {
        const double x = -d + i * step;
        if (x * x + y * y > d * d) continue;
        t.RayX = x;
        t.RayY = y;
        t.RayZ = 0;
        t.StartRay();
        SurfaceLoopPolicy p;
        p.indexTable = &c.index[k];
        p.testAperture = true;
        p.apertureMargin = 0.1;
        p.stoppedRayEnds = true;
        t.TraceSurfaces(p);
        if (t.RayVignetted) continue;
        const double saved = c.imageRadius;
        c.imageRadius = 0;
        TraceToImage(c, bfl);
        c.imageRadius = saved;
        const double hx = t.RayX * wt, hy = t.RayY * wt;
        const double tx = t.RayCosX / t.RayCosZ * wt, ty = t.RayCosY / t.RayCosZ * wt;
        sx += hx, sy += hy, stx += tx, sty += ty;
        sxtx += hx * tx, syty += hy * ty;
        stx2 += tx * tx, sty2 += ty * ty;
        ++n;
      }
    }
  }
  const double dz = -((sxtx - sx * stx / n) + (syty - sy * sty / n)) /
                    ((stx2 - stx * stx / n) + (sty2 - sty * sty / n));
  Require(std::isfinite(dz));
  return dz;
}

// The wavefront-mode best focus: the regression of the axial OPD on the path
// change per unit of defocus. The last medium's index is taken from a table
// that holds only its object-space entry, so it is 0, every slope b is 0 and
// the regression divides 0 by 0: the caller keeps the paraxial focus.
double WaveFocusShift(ErrorContext& c, double bfl) {
  const DesignState& w = c.work;
  const RaySet g = BuildRaySet(RaySetKind::Gaussian, w.EntrBeamSemiDiam);
  std::array<double, kSurfTableSize> last_index{};
  last_index[0] = 1.0;
  const double n_last = last_index[w.SurfCount];
  const WaveField f = PrepareWaveField(c, 0.0, 1, bfl);
  std::vector<double> dv, bv;
  for (int i = 1; i <= g.RayCount; ++i) {
    const double opd = OpdOf(c, f, g.PupilX[i], g.PupilY[i], 1);
    if (opd == 0) continue;
    const Tracer& t = c.tracer;
    const double tt = (f.exit_z - t.RayZ) / t.RayCosZ;
    const double b = -(n_last * t.RayCosZ * tt) /
                     (t.RayCosY * t.RayY + t.RayCosX * t.RayX + (t.RayZ - f.cz) * t.RayCosZ);
    dv.push_back(opd);
    bv.push_back(b);
  }
  double md = 0, mb = 0;
  for (std::size_t i = 0; i < dv.size(); ++i) md += dv[i], mb += bv[i];
  md /= static_cast<double>(dv.size());
  mb /= static_cast<double>(bv.size());
  double num = 0, den = 0;
  for (std::size_t i = 0; i < dv.size(); ++i) {
    num += (dv[i] - md) * (bv[i] - mb);
    den += (bv[i] - mb) * (bv[i] - mb);
  }
  const double shift = -num / den;
  Require(std::isfinite(shift));
  return shift;
}

}  // namespace

void ComputeFocus(ErrorContext& c) {
  c.focusMessage.clear();
  const DesignState& w = c.work;
  try {
    const Parax p = ParaxialWork(c, 0.01, 0.0);
    const double efl = -0.01 / std::tan(p.u);
    double bfl = -p.y / std::sin(p.u);
    Require(std::isfinite(efl) && std::isfinite(bfl));
    c.FocusEfl = efl;
    c.FocusBfl = bfl;
    if (w.ObjDistance != 0) {
      const double u0 = std::atan(0.01 / w.ObjDistance);
      const Parax q = ParaxialWork(c, w.ObjDistance * std::sin(u0), u0);
      bfl = -q.y / std::sin(q.u);
      Require(std::isfinite(bfl));
      c.FocusBfl = bfl;
    }
    if (!c.bestFocus) return;
    if (c.mode == ErrorMode::Spot) {
      c.FocusBfl = bfl + SpotFocusShift(c, bfl);
    } else if (!c.checked[0]) {
      c.focusMessage = kReferenceWlMessage;
    } else {
      c.FocusBfl = bfl + WaveFocusShift(c, bfl);
    }
  } catch (const TraceError&) {
  } catch (const NumericFault&) {
  }
}

void EvaluateSpot(ErrorContext& c, double bfl) {
  const BundleTracer& b = c.bundle;
  int last_k = 0, last_i = 0;  // the last ray, whose registers the tracer keeps
  const int n = c.rays.RayCount;
  const std::size_t bound = 2 * 6 * (n + 1) + 3;
  std::vector<double> spot_y(bound), spot_x(bound), res_w(bound);
  c.residual.assign(bound, 0.0);
  int m = 0;
  bool have_ref = false;
  double ref_y = 0, ref_x = 0;
  for (int field = 0; field < 2; ++field) {
    SetField(c, c.fieldFrac[field]);
    const int start = m;
    double sy = 0, sx = 0, sw = 0;
    for (int k = 1; k <= 6; ++k) {
      if (!c.checked[k - 1]) continue;
      const double wl_weight = c.wlWeight[k - 1];
      for (int i = 0; i <= n; ++i) {
        // The rays go through the system a bundle at a time and are taken in turn.
        const int lane = i % kBundleLanes;
        double hit_y, hit_x;
        if (c.rayByRay) {
          TraceWork(c, c.rays.PupilX[i], c.rays.PupilY[i], k, bfl);
          hit_y = c.tracer.RayY, hit_x = c.tracer.RayX;
        } else {
          if (lane == 0)
            TraceWorkBundle(c, &c.rays.PupilX[i], &c.rays.PupilY[i], std::min(kBundleLanes, n + 1 - i), k, bfl);
          // A failed ray is traced again on its own: the run's message reads
          // the tracer's registers as the failure left them.
          if (b.Failed[lane]) {
            TraceWork(c, c.rays.PupilX[i], c.rays.PupilY[i], k, bfl);
            throw b.ErrorOf(lane);
          }
          last_k = k, last_i = i;
          hit_y = b.Y[lane], hit_x = b.X[lane];
        }
        if (i == 0) {
          if (!have_ref) {
            have_ref = true;
            ref_y = hit_y, ref_x = hit_x;
            spot_y[0] = spot_x[0] = res_w[0] = 0;
            m = 1;
          } else if (field == 1 && k == 1) {
            // Field 2 is measured from its own chief ray only when the first wavelength is in.
            ref_y = hit_y, ref_x = hit_x;
          }
        } else {
          const double w = wl_weight * c.rays.RayWeight[i];
          spot_y[m] = hit_y - ref_y;
          spot_x[m] = hit_x - ref_x;
          res_w[m] = w * c.fieldWeight[field];
          sy += w * spot_y[m];
          sx += w * spot_x[m];
          sw += w;
          ++m;
        }
        if (c.keepPictures) c.pictures[field].push_back({hit_y - ref_y, hit_x - ref_x, k});
      }
    }
    // The tracer's registers as a ray-by-ray loop leaves them: its last ray's.
    if (last_k != 0) TraceWork(c, c.rays.PupilX[last_i], c.rays.PupilY[last_i], last_k, bfl);
    Require(sw != 0);
    const double cy = sy / sw, cx = sx / sw;
    Require(std::isfinite(cy) && std::isfinite(cx));
    for (int j = start; j < m; ++j) {
      const double ey = spot_y[j] - cy, ex = spot_x[j] - cx;
      c.residual[j] = std::sqrt((ey * ey + ex * ex) * res_w[j]);
    }
  }
  c.M = m - 1;
}

void EvaluateWavefront(ErrorContext& c, double bfl) {
  const int n = c.rays.RayCount;
  const std::size_t bound = 2 * 6 * (n + 1) + 3;
  std::vector<double> opd(bound), res_w(bound), residual(bound, 0.0);
  int m = 1;
  WaveField last_f;
  int last_k = 0;  // the wavelength of the last ray traced, 0 before any
  for (int field = 0; field < 2; ++field) {
    const int start = m;
    double so = 0, sw = 0;
    for (int k = 1; k <= 6; ++k) {
      if (!c.checked[k - 1]) continue;
      const double wl_weight = c.wlWeight[k - 1];
      const WaveField f = PrepareWaveField(c, c.fieldFrac[field], k, bfl);
      double bundle_opd[kBundleLanes];
      for (int i = 1; i <= n; ++i) {
        const int lane = (i - 1) % kBundleLanes;
        if (lane == 0 && !c.rayByRay) OpdsOf(c, f, i, std::min(kBundleLanes, n + 1 - i), k, bundle_opd);
        const double w = wl_weight * c.rays.RayWeight[i];
        opd[m] = c.rayByRay ? OpdOf(c, f, c.rays.PupilX[i], c.rays.PupilY[i], k) : bundle_opd[lane];
        res_w[m] = w * c.fieldWeight[field];
        so += w * opd[m];
        sw += w;
        ++m;
      }
      if (n >= 1 && !c.rayByRay) last_f = f, last_k = k;
    }
    // The tracer's registers as a ray-by-ray loop leaves them: its last ray's.
    if (last_k != 0) OpdOf(c, last_f, c.rays.PupilX[n], c.rays.PupilY[n], last_k);
    Require(sw != 0);
    const double mean = so / sw;
    Require(std::isfinite(mean));
    for (int j = start; j < m; ++j) residual[j] = std::sqrt((opd[j] - mean) * (opd[j] - mean) * res_w[j]);
  }
  const int count = m - 1;
  // The spot evaluation keeps the pictures current; the wavefront residuals stay.
  EvaluateSpot(c, bfl);
  c.residual = std::move(residual);
  c.M = count;
}

// --- the spot pictures --------------------------------------------------------------------

void DrawOptimiseSpot(const std::vector<OptSpotPoint>& points, int field, const std::array<Rgb, 7>& colors,
                      Canvas& canvas) {
  constexpr double kUnit = 0.0008;  // mm per picture unit
  constexpr double kHalf = 190;
  canvas.Window(-kHalf - 20, -kHalf - 30, kHalf + 20, kHalf + 20);
  canvas.Clear({255, 255, 255});
  const Rgb black{0, 0, 0};
  canvas.Text(-kHalf, -kHalf - 28, "SpotDiagram -Field Point: " + std::to_string(field), black);
  canvas.Line(-kHalf, kHalf + 5, 0, kHalf + 5, black, 1);
  canvas.Text(-kHalf, kHalf - 12, FormatFixed(kUnit * kHalf, 3) + " mm", black);
  canvas.Line(-kHalf, 0, kHalf, 0, {192, 192, 192}, 1);
  canvas.Line(0, -kHalf, 0, kHalf, {192, 192, 192}, 1);
  std::array<std::vector<PlotPoint>, 7> by_wl;
  for (const OptSpotPoint& p : points) {
    if (p.wl < 1 || p.wl > 6) continue;
    const double x = p.dx / kUnit, y = -p.dy / kUnit;
    if (std::fabs(x) > kHalf || std::fabs(y) > kHalf) continue;
    by_wl[p.wl].push_back({x, y});
  }
  for (int k = 1; k <= 6; ++k)
    if (!by_wl[k].empty()) canvas.Points(by_wl[k], colors[k]);
}

}  // namespace ovrin
