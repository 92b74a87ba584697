#pragma once
// Damped least squares on the error function: the variables marked in the
// optimisation window's grid (curvatures, thicknesses but the last, conics),
// a forward-difference Jacobian, Marquardt's damping, and after every accepted
// iteration the design written back through the design window's grid and the
// system update, so that the next iteration starts from the design as rounded.
#include <memory>
#include <string>
#include <vector>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/media.h"
#include "core/system_update.h"
#include "optimise/error_function.h"

namespace ovrin {

inline constexpr const char* kMissedSurfaceMessage = "Ray failure: ray does not intersect surface !";
inline constexpr const char* kTotalReflectionMessage = "Ray failure: total internal reflection !";
inline constexpr const char* kRunErrorMessage = "ERROR !!";
inline constexpr const char* kLogHead = " Iter.       Error      % Change";

// Finite-difference steps: on the curvature, the thickness, the conic.
inline constexpr double kCurvatureStep = 1e-7;
inline constexpr double kThicknessStep = 1e-4;
inline constexpr double kConicStep = 1e-7;

enum class VarKind { Curvature, Thickness, Conic };
struct Variable {
  VarKind kind;
  int surface;
};
// The variables marked "V", curvatures, thicknesses (not the last) and conics,
// each by rising surface number.
std::vector<Variable> BuildVariableList(const OptimiseSheet& s, int surf_count);

// The residual vector of the design as it stands, as an iteration starts.
struct MeritResult {
  int M = 0;
  std::vector<double> residuals;  // 1..M+2 in [0..M+1]
  double ErrorBase = 0;
  double FocusEfl = 0, FocusBfl = 0;
  std::string error;  // the message of a failure, "" on success
  std::string focusMessage;
};
MeritResult ComputeMerit(const DesignState& d, const OptimiseSheet& s, const PickupTables& p);

// The inverse of (A with its diagonal times damping + 1) by Gauss-Jordan
// written as products with elementary matrices, without a pivot search, and
// the step -(inverse g). Matrices are row-major n by n; a zero pivot gives
// non-finite numbers.
std::vector<double> DampedStep(const std::vector<double>& a, const std::vector<double>& g, int n,
                               double damping);

enum class RunStop { Running, Iterations, Damping, Fault, User };

// One run of the OPTIMIZE button. The constructor does the set-up; Next runs
// one iteration. Between two calls the caller may let its event loop turn.
class OptimiseRun {
 public:
  OptimiseRun(DesignState& d, DesignSheet& sheet, MediaResolver& media, OptimiseSheet& opt,
              PickupTables& pick);

  // One iteration; false once the run has ended.
  bool Next();
  // Ends the run before the next iteration (the user's Stop).
  void Cancel();
  // Runs to the end.
  void RunAll() {
    while (Next()) {
    }
  }

  bool finished() const { return stop_ != RunStop::Running; }
  RunStop stop() const { return stop_; }
  // The message box of the run's end (a ray failure, "ERROR !!", an update
  // failure), or "" when none.
  const std::string& message() const { return message_; }
  // A box raised by the focus ("Error! Reference WL is not checked!"), once.
  const std::string& focusMessage() const { return focusMessage_; }
  // The rows of the log box, in order; the box text joins them with CRLF.
  const std::vector<std::string>& log() const { return log_; }
  std::string LogText() const;
  // The start error, then the error of every accepted iteration.
  const std::vector<double>& errors() const { return errors_; }
  int iteration() const { return iteration_; }
  int maxIterations() const { return maxIterations_; }
  int varCount() const { return static_cast<int>(vars_.size()); }
  double damping() const { return damping_; }
  // The Jacobian of the last iteration: rows 1..M+2, row-major, one column per variable.
  const std::vector<double>& jacobian() const { return jac_; }
  const std::vector<Variable>& variables() const { return vars_; }
  const ErrorContext& context() const { return *ctx_; }
  ErrorContext& context() { return *ctx_; }

 private:
  double Evaluate(std::vector<double>& r);
  void CopyDesign();
  void ImposePickups(int only_source, VarKind only_kind, bool all);
  void Apply(const std::vector<double>& x);
  void Solve(std::vector<double>& x) const;
  double TargetBfl() const;
  void WriteBack(const std::vector<double>& accepted);
  void Fail(const std::string& message);
  std::string FaultMessage() const;
  void Row(int iteration, double error, double percent);

  DesignState& d_;
  DesignSheet& sheet_;
  MediaResolver& media_;
  OptimiseSheet& opt_;
  PickupTables& pick_;
  std::unique_ptr<ErrorContext> ctx_;

  int iteration_ = 0, maxIterations_ = 10;
  double damping_ = 0, savedDamping_ = 0;
  double targetEfl_ = 0, weightEfl_ = 0, targetBfl_ = 0;
  std::vector<Variable> vars_;
  std::vector<double> residual0_, residualTrial_;
  std::vector<double> jac_, a_, g_;  // Jacobian, normal matrix and gradient of the iteration
  int m_ = 0;
  RunStop stop_ = RunStop::Running;
  std::string message_, focusMessage_;
  std::vector<std::string> log_;
  std::vector<double> errors_;
};

// The design as it stood before a run, and the way back to it through the update.
struct DesignSnapshot {
  DesignState design;
  DesignSheet sheet;
};
UpdateResult RestoreDesign(const DesignSnapshot& before, DesignState& d, DesignSheet& sheet,
                           MediaResolver& media);

}  // namespace ovrin
