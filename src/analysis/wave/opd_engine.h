#pragma once
// The optical path difference of pupil rays against the chief ray, measured on
// a reference sphere centred on the chief ray's image point and passing through
// the centre of the paraxial exit pupil. One engine object is one run: one
// wavelength, one field point, one image distance, one focal surface radius.
// Every wavefront and diffraction analysis runs it; they differ only in the
// pupil points they ask for and in what they do with the values.
#include <functional>
#include <optional>
#include <vector>

#include "core/design_state.h"
#include "core/ray_bundle.h"
#include "core/ray_tracer.h"

namespace ovrin {

// One run's choices, as the calling window prepares them.
struct OpdRun {
  int wavelength = 1;                       // k, 1..6: the index column and the wavelength
  IndexWidth width = IndexWidth::Single;    // 32-bit for the map family and the focus fit, 64-bit for the fans
  double actualBfl = 0;                     // last surface to the image surface
  double focalRadius = 0;                   // 0: a plane image surface
  bool field = false;                       // false: on axis
  double fieldAngleY = 0, fieldAngleX = 0;  // radians, object at infinity
  double objHeight = 0.01;                  // finite object: the object point's height
  // The chief ray's height on the first vertex plane for a field run
  // (the update's EntrPupilY unless the window recomputes it).
  std::optional<double> entrPupilY;
  // The paraxial start slope that replaces an exact 0 (0.1 in the focus fit).
  double zeroSlope = 0.001;
  // On equal field angles the exit pupil takes the Y angle (the fan window)
  // instead of the X angle.
  bool yAngleOnTie = false;
  // A scan may bring its own index column and wavelength (microns).
  std::optional<SurfTable> indexTable;
  std::optional<double> wavelengthMicrons;
};

// The pupil grid of the map family: N = 2 div points a side, no sample on
// either axis, row 0 at the top.
struct WaveGrid {
  int div = 0;
  int rows = 0, cols = 0;         // from the loop counters
  std::vector<double> rowY;       // Y of each row, before the |Y| < 0.005 rule
  std::vector<double> colX;       // X of each column
  // The pupil point of a cell, with Y = 5e-07 where |Y| is under 0.005.
  double Y(int row) const;
  double X(int col) const { return colX[col]; }
};
WaveGrid BuildWaveGrid(double entr_beam_semi_diam, int div);

// The paraxial exit pupil: signed distance from the last surface vertex.
// `index` is the run's index column (entry 0 taken as 1). Throws TraceError
// when the near-axis ray cannot be carried (a zero radius or slope).
double ParaxialExitPupil(const DesignState& d, const SurfTable& index, double y1, double u1);

class OpdEngine {
 public:
  // Prepares the run: the private index column, the wavelength and the field.
  OpdEngine(const DesignState& d, const OpdRun& run);

  // The chief reference (chief direction, exit pupil, image point, chief
  // path and its length to the reference sphere). `fixed_zxp` keeps an exit
  // pupil computed by an earlier run. Throws TraceError.
  void ChiefReference(std::optional<double> fixed_zxp = std::nullopt);

  // W in waves at entrance pupil point (xg, yg); exactly 0 when the point is
  // outside the pupil or the ray is clipped or obstructed. Throws TraceError
  // when the ray fails or the reference sphere cannot be reached.
  double RayOpd(double xg, double yg);
  // The same in millimetres, before the division by the wavelength.
  double RayOpdMm(double xg, double yg);
  // RayOpd at n points in turn, w[j] for (xg[j], yg[j]), the same numbers;
  // the rays go through the surfaces a bundle at a time. The first point whose
  // ray fails throws as RayOpd would, the points before it having their
  // values. The last* values below are RayOpd's alone.
  void RayOpds(const double* xg, const double* yg, int n, double* w);

  // --- the chief reference ---
  double Zxp = 0;
  double Xc = 0, Yc = 0, Zc0 = 0;
  double Pc = 0, Lc = 0, Dc = 0;
  double cZ = 1, cY = 0, cX = 0;  // chief direction
  double WaveLenMm = 0;

  // --- the last ray on the exit pupil plane, for the focus fit ---
  double lastX = 0, lastY = 0, lastZ = 0;           // X, Y on the pupil plane; Z as the last surface left it
  double lastCosX = 0, lastCosY = 0, lastCosZ = 1;
  double lastS = 0;                                  // its root on the reference sphere
  double Zs() const { return Zc0 + run_.actualBfl - Zxp; }

  const SurfTable& index() const { return n_; }
  double lastIndex() const { return n_[design_.SurfCount]; }

 private:
  // Starts a ray at (x, y) on the entrance pupil plane; returns its distance
  // from the object point (finite object).
  double Start(double x, double y);
  // The carry to the exit pupil plane and the root on the sphere: L.
  double ToSphere();
  // The same for a ray given as X, Y, Z, cosX, cosY, cosZ after the last
  // surface; `keep` receives the values the focus fit reads.
  double ToSphereOf(const double ray[6], bool keep);
  // ToSphereOf for every lane of a bundle, its failures as codes (1: no root, 2: not finite).
  void SphereDistances(const BundleTracer& b, double* len, int64_t* miss) const;

  const DesignState& design_;
  OpdRun run_;
  SurfTable n_;
  Tracer tracer_;
  BundleTracer bundle_;
  SurfaceLoopPolicy chiefPolicy_, rayPolicy_;
  double a_ = 0;  // entrance beam half-diameter
};

// The shift from `bfl` of the focus that takes the defocus out of the on-axis
// wavefront of wavelength k (a least-squares fit over a 32 x 32 grid), held
// as a 32-bit float. Throws TraceError.
float AutoFocusOpd(const DesignState& d, int k, double bfl);

// Wavelength k is in use: k = 1 always, the others where their index on
// surface 1 is not 0.
bool WavelengthInUse(const DesignState& d, int k);

// A progress report: percent done, 0..100.
using Progress = std::function<void(int)>;

}  // namespace ovrin
