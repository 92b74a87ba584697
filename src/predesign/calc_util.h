#pragma once
// What the calculators share: the fault trap, the reading of the boxes and
// the result labels that round what they show and give back the rounded number.
#include <array>
#include <cmath>
#include <vector>
#include <stdexcept>
#include <string>

#include "core/number_text.h"
#include "predesign/predesign.h"

namespace ovrin::predesign::detail {

// A calculation fault: a division by zero or a number that is not finite.
struct Fault : std::runtime_error {
  Fault() : std::runtime_error("fault") {}
};
// A refusal with the window's own message.
struct Refusal : std::runtime_error {
  explicit Refusal(const std::string& m) : std::runtime_error(m) {}
};

inline double Fin(double v) {
  if (!std::isfinite(v)) throw Fault();
  return v;
}
inline double Div(double a, double b) {
  if (b == 0.0) throw Fault();
  return Fin(a / b);
}
inline double Sqrt(double v) {
  if (v < 0) throw Fault();
  return std::sqrt(v);
}

// The boxes of a window.
class Boxes {
 public:
  explicit Boxes(const Inputs& in) : in_(in) {}
  double operator()(const char* key) const {
    const auto it = in_.text.find(key);
    return it == in_.text.end() ? 0.0 : Fin(ParseLeadingNumber(it->second));
  }
  // A box that must not be 0 (its quantity divides somewhere).
  double NonZero(const char* key) const {
    const double v = (*this)(key);
    if (v == 0) throw Fault();
    return v;
  }

 private:
  const Inputs& in_;
};

// Shows v with `decimals` and returns the number the label reads back.
inline double Show(Plan& p, const std::string& key, double v, int decimals, const std::string& caption = "") {
  Fin(v);
  p.results.push_back({key, caption.empty() ? key : caption, FormatFixed(v, decimals)});
  return RoundTo(v, decimals);
}
inline void Extra(Plan& p, const std::string& caption, double v, int decimals, const std::string& unit = "") {
  Fin(v);
  p.extras.push_back({caption, caption, FormatFixed(v, decimals) + unit});
}

// The corrector glass: the index at each wavelength of the choice, from the
// catalogue or as typed. The first index below 1 gives "Invalid Index value!".
std::vector<double> CorrectorIndices(const GlassChoice& g);

// Calculators of the families (mirror_designs.cpp and corrector_designs.cpp).
Plan Newtonian(const Inputs& in);
Plan TwoMirror(const Inputs& in, bool gregorian);
Plan Couder(const Inputs& in);
Plan Schmidt(const Inputs& in, bool wright);
Plan SchmidtCassegrain(const Inputs& in, Kind kind);
Plan Maksutov(const Inputs& in);
Plan MaksutovCassegrain(const Inputs& in);
Plan Houghton(const Inputs& in, Kind kind);
Plan Doublet(const Inputs& in);
Plan Triplet(const Inputs& in);

// The spacing of the secondary that moves the focus by a quarter wave of
// defocus, for a secondary of magnification m in a beam of f-ratio N.
double SpacingTolerance(double m, double f_ratio, double lambda_mm);

}  // namespace ovrin::predesign::detail

namespace ovrin::predesign::detail {

// Third-order sums of a system of centred surfaces, object at infinity,
// stop on surface `stop` (0-based). Each surface: curvature, the distance to
// the next vertex, the index after it (negative after a mirror, the space
// before surface 0 has index 1) and its fourth-order aspheric sag coefficient
// (K c^3 / 8 of a conic plus A4).
struct SeidelSurface {
  double c = 0, t = 0, n = 1, a4 = 0;
};
struct SeidelSums {
  double S[5] = {0, 0, 0, 0, 0};
  // What one unit of fourth-order sag coefficient on each surface adds to S1, S2, S3.
  std::vector<std::array<double, 3>> unit;
  double efl = 0;
  double bfl = 0;  // from the last surface to the paraxial focus
  double H = 0, u_out = 0, n_out = 1;  // Lagrange invariant, last marginal slope and index
};
SeidelSums Seidel(const std::vector<SeidelSurface>& s, int stop);

// The third-order sums of a plan's rows (stop on row 1).
SeidelSums SeidelOf(const Plan& p);
// The radius of the medial image surface (between the sagittal and the
// tangential one) from the third-order sums; 0 for a flat one.
double MedialFieldRadius(const Plan& p);

// Solves the small linear system a x = b (rows of equal length); Fault when singular.
std::vector<double> SolveLinear(std::vector<std::vector<double>> a, std::vector<double> b);

}  // namespace ovrin::predesign::detail
