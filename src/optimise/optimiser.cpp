#include "optimise/optimiser.h"

#include <cmath>

#include "core/number_text.h"
#include "core/system_update.h"

namespace ovrin {

namespace {

bool Marked(const OptimiseSheet& s, int row, int col, const char* mark) {
  return row >= 1 && row < static_cast<int>(s.cells.size()) && s.Cell(row, col) == mark;
}

double Number(const std::string& text) { return ParseLeadingNumber(text); }

// The back focal length term's target and weight of the window's marks.
struct BflTerm {
  double target = 0;
  float weight = 1;
};
BflTerm BflTermOf(const OptimiseSheet& s, const PickupTables& p, int n, bool take_weight) {
  BflTerm b;
  b.weight = p.WeightBfl;
  auto column4 = [&](int row) {
    return row >= 1 && row <= n ? Number(s.Cell(row, 4)) : 0.0;
  };
  const std::string& mark = s.Cell(n, 5);
  if (mark == "P+") {
    b.target = column4(p.BflPickSourcePlus) + p.BflPickAdd;
  } else if (mark == "P-") {
    b.target = -(column4(p.BflPickSourceMinus) + p.BflPickAdd);
  } else {
    b.target = column4(n);
    if (mark.empty() && take_weight) b.weight = 1;
  }
  return b;
}

std::string Blanks(int n) { return std::string(static_cast<std::size_t>(n), ' '); }

}  // namespace

std::vector<Variable> BuildVariableList(const OptimiseSheet& s, int n) {
  std::vector<Variable> v;
  for (int i = 1; i <= n; ++i)
    if (Marked(s, i, 3, "V")) v.push_back({VarKind::Curvature, i});
  for (int i = 1; i <= n - 1; ++i)
    if (Marked(s, i, 5, "V")) v.push_back({VarKind::Thickness, i});
  for (int i = 1; i <= n; ++i)
    if (Marked(s, i, 7, "V")) v.push_back({VarKind::Conic, i});
  return v;
}

MeritResult ComputeMerit(const DesignState& d, const OptimiseSheet& sheet, const PickupTables& p) {
  MeritResult r;
  OptimiseSheet s = sheet;
  CommitOptimiseCell(s);
  ErrorContext c(d);
  c.keepPictures = false;
  c.Configure(s);
  const int n = d.SurfCount;
  const BflTerm bfl = BflTermOf(s, p, n, true);
  try {
    ComputeFocus(c);
    r.focusMessage = c.focusMessage;
    if (c.mode == ErrorMode::Spot) {
      EvaluateSpot(c, c.FocusBfl);
    } else {
      EvaluateWavefront(c, c.FocusBfl);
    }
  } catch (const TraceError&) {
    const Tracer& t = c.tracer;
    r.error = t.SphRadicand < 0                                         ? kMissedSurfaceMessage
              : t.SnellRadicand < 0 || t.SnellRadicandAsph < 0 ? kTotalReflectionMessage
                                                                 : kRunErrorMessage;
    return r;
  } catch (const NumericFault&) {
    r.error = kRunErrorMessage;
    return r;
  }
  r.M = c.M;
  r.FocusEfl = c.FocusEfl;
  r.FocusBfl = c.FocusBfl;
  r.residuals.assign(c.residual.begin() + 1, c.residual.begin() + 1 + c.M);
  r.residuals.push_back((c.FocusEfl - Number(s.Text2)) * Number(s.Text9));
  r.residuals.push_back((c.FocusBfl - bfl.target) * bfl.weight);
  for (double v : r.residuals) r.ErrorBase += v * v;
  return r;
}

std::vector<double> DampedStep(const std::vector<double>& a, const std::vector<double>& g, int n,
                               double damping) {
  const int w = 2 * n;
  // T = [B | I], B = A with its diagonal scaled by (damping + 1).
  std::vector<double> t(static_cast<std::size_t>(n) * w, 0.0), e(static_cast<std::size_t>(n) * n);
  std::vector<double> next(t.size());
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) t[i * w + j] = a[i * n + j];
    t[i * w + i] = (damping + 1) * a[i * n + i];
    t[i * w + n + i] = 1.0;
  }
  for (int k = 0; k < n; ++k) {
    const double pivot = t[k * w + k];
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) e[i * n + j] = i == j ? 1.0 : 0.0;
    e[k * n + k] = 1.0 / pivot;
    for (int i = 0; i < n; ++i)
      if (i != k) e[i * n + k] = -t[i * w + k] / pivot;
    // T = E T, the full product.
    for (int i = 0; i < n; ++i) {
      for (int c = 0; c < w; ++c) {
        double sum = 0;
        for (int m = 0; m < n; ++m) sum += e[i * n + m] * t[m * w + c];
        next[i * w + c] = sum;
      }
    }
    t.swap(next);
  }
  std::vector<double> x(n);
  for (int i = 0; i < n; ++i) {
    double sum = 0;
    for (int j = 0; j < n; ++j) sum += t[i * w + n + j] * g[j];
    x[i] = -sum;
  }
  return x;
}

// --- the run ---------------------------------------------------------------------------

OptimiseRun::OptimiseRun(DesignState& d, DesignSheet& sheet, MediaResolver& media,
                         OptimiseSheet& opt, PickupTables& pick)
    : d_(d), sheet_(sheet), media_(media), opt_(opt), pick_(pick) {
  // The click of OPTIMIZE: the iteration limit, the ray set, the weights.
  iteration_ = 0;
  maxIterations_ = static_cast<int>(std::floor(Number(opt.Text1)));
  // 0 means 10; a negative count would never be reached and means 10 as well.
  if (maxIterations_ <= 0) maxIterations_ = 10;
  CommitOptimiseCell(opt_);
  // A window model of another surface count is brought to this design first.
  if (opt_.SurfCount() != d_.SurfCount) RefreshOptimiseSheet(opt_, d_);
  ctx_ = std::make_unique<ErrorContext>(d_);
  ctx_->Configure(opt_);
  targetEfl_ = Number(opt_.Text2);
  weightEfl_ = Number(opt_.Text9);
  const BflTerm b = BflTermOf(opt_, pick_, d_.SurfCount, true);
  targetBfl_ = b.target;
  pick_.WeightBfl = b.weight;
  damping_ = Number(opt_.TxtDamping);
}

double OptimiseRun::TargetBfl() const { return targetBfl_; }

double OptimiseRun::Evaluate(std::vector<double>& r) {
  ErrorContext& c = *ctx_;
  ComputeFocus(c);
  if (!c.focusMessage.empty() && focusMessage_.empty()) focusMessage_ = c.focusMessage;
  if (c.mode == ErrorMode::Spot) {
    EvaluateSpot(c, c.FocusBfl);
  } else {
    EvaluateWavefront(c, c.FocusBfl);
  }
  const int m = c.M;
  r.assign(static_cast<std::size_t>(m) + 3, 0.0);
  for (int i = 1; i <= m; ++i) r[i] = c.residual[i];
  r[m + 1] = (c.FocusEfl - targetEfl_) * weightEfl_;
  r[m + 2] = (c.FocusBfl - targetBfl_) * pick_.WeightBfl;
  double sum = 0;
  for (int i = 1; i <= m + 2; ++i) sum += r[i] * r[i];
  if (!std::isfinite(sum)) throw NumericFault();
  return sum;
}

void OptimiseRun::CopyDesign() {
  DesignState& w = ctx_->work;
  for (int i = 1; i <= d_.SurfCount; ++i) {
    w.Radius[i] = d_.Radius[i];
    w.Thickness[i] = d_.Thickness[i];
    w.Conic[i] = d_.Conic[i];
  }
}

// The pick-ups from their sources' working values: all of them (by the marks
// alone), or only those of one kind whose source is `only_source`.
void OptimiseRun::ImposePickups(int only_source, VarKind only_kind, bool all) {
  DesignState& w = ctx_->work;
  const int n = d_.SurfCount;
  auto valid = [&](int src) { return src >= 1 && src <= n; };
  auto wanted = [&](int src, VarKind kind) {
    return valid(src) && (all || (src == only_source && kind == only_kind));
  };
  for (int i = 1; i <= n; ++i) {
    if (Marked(opt_, i, 3, "P+") && wanted(pick_.curvPlus[i], VarKind::Curvature))
      w.Radius[i] = w.Radius[pick_.curvPlus[i]];
    if (Marked(opt_, i, 3, "P-") && wanted(pick_.curvMinus[i], VarKind::Curvature))
      w.Radius[i] = -w.Radius[pick_.curvMinus[i]];
    if (i < n) {
      if (Marked(opt_, i, 5, "P+") && wanted(pick_.thickPlus[i], VarKind::Thickness))
        w.Thickness[i] = pick_.thickScale[i] * w.Thickness[pick_.thickPlus[i]] + pick_.thickAdd[i];
      if (Marked(opt_, i, 5, "P-") && wanted(pick_.thickMinus[i], VarKind::Thickness))
        w.Thickness[i] = -(pick_.thickScale[i] * w.Thickness[pick_.thickMinus[i]] + pick_.thickAdd[i]);
    }
    if (Marked(opt_, i, 7, "P+") && wanted(pick_.conicPlus[i], VarKind::Conic))
      w.Conic[i] = w.Conic[pick_.conicPlus[i]];
  }
}

void OptimiseRun::Apply(const std::vector<double>& x) {
  DesignState& w = ctx_->work;
  CopyDesign();
  for (std::size_t j = 0; j < vars_.size(); ++j) {
    const int s = vars_[j].surface;
    switch (vars_[j].kind) {
      case VarKind::Curvature: w.Radius[s] = 1 / (1 / d_.Radius[s] + x[j]); break;
      case VarKind::Thickness: w.Thickness[s] = x[j] + d_.Thickness[s]; break;
      case VarKind::Conic: w.Conic[s] = x[j] + d_.Conic[s]; break;
    }
  }
  ImposePickups(0, VarKind::Curvature, true);
}

void OptimiseRun::Solve(std::vector<double>& x) const {
  x = DampedStep(a_, g_, static_cast<int>(vars_.size()), damping_);
  for (double v : x)
    if (!std::isfinite(v)) throw NumericFault();
}

void OptimiseRun::Row(int iteration, double error, double percent) {
  const std::string it = std::to_string(iteration);
  log_.push_back(it + Blanks(iteration >= 10 ? 9 : 11) + FormatFixed(error, 10) + Blanks(9) +
                 FormatFixed(percent, 4));
}

std::string OptimiseRun::LogText() const {
  std::string text;
  for (const std::string& row : log_) text += row + "\r\n";
  return text;
}

std::string OptimiseRun::FaultMessage() const {
  const Tracer& t = ctx_->tracer;
  if (t.SphRadicand < 0) return kMissedSurfaceMessage;
  if (t.SnellRadicand < 0) return kTotalReflectionMessage;
  if (t.SnellRadicandAsph < 0) return kTotalReflectionMessage;
  return kRunErrorMessage;
}

void OptimiseRun::Fail(const std::string& message) {
  message_ = message;
  stop_ = RunStop::Fault;
}

void OptimiseRun::Cancel() {
  if (finished()) return;
  stop_ = RunStop::User;
  log_.push_back("");
}

bool OptimiseRun::Next() {
  if (finished()) return false;
  ErrorContext& c = *ctx_;
  try {
    // 1.-3.
    ++iteration_;
    c.pictures[0].clear();
    c.pictures[1].clear();
    const int n = d_.SurfCount;
    const std::string bfl_mark = opt_.Cell(n, 5);
    if (bfl_mark == "P+" || bfl_mark == "P-") targetBfl_ = BflTermOf(opt_, pick_, n, false).target;
    CopyDesign();
    c.imageRadius = Number(opt_.Cell(n + 1, 2));
    // 4.-5.
    const double error_base = Evaluate(residual0_);
    m_ = c.M;
    if (iteration_ == 1) {
      log_.push_back("0" + Blanks(11) + FormatFixed(error_base, 10) + "             --  ");
      errors_.push_back(error_base);
    }
    // 6.-7. The Jacobian, rows 1..M+2 by the variables.
    vars_ = BuildVariableList(opt_, n);
    const int nv = static_cast<int>(vars_.size());
    const int rows = m_ + 2;
    std::vector<double>& jac = jac_;
    jac.assign(static_cast<std::size_t>(rows) * nv, 0.0);
    std::vector<double> r;
    for (int j = 0; j < nv; ++j) {
      CopyDesign();
      const int s = vars_[j].surface;
      double delta = 0;
      DesignState& w = c.work;
      switch (vars_[j].kind) {
        case VarKind::Curvature:
          delta = kCurvatureStep;
          w.Radius[s] = 1 / (1 / d_.Radius[s] + kCurvatureStep);
          break;
        case VarKind::Thickness:
          delta = kThicknessStep;
          w.Thickness[s] = d_.Thickness[s] + kThicknessStep;
          break;
        case VarKind::Conic:
          delta = kConicStep;
          w.Conic[s] = d_.Conic[s] + kConicStep;
          break;
      }
      ImposePickups(s, vars_[j].kind, false);
      Evaluate(r);
      if (c.M != m_) throw NumericFault();
      for (int i = 1; i <= rows; ++i) {
        double v = (r[i] - residual0_[i]) / delta;
        // A ray row that did not move at all gets a trace of slope, so that
        // the normal matrix has no empty column.
        if (i <= m_ && v == 0) v = 1e-15;
        jac[static_cast<std::size_t>(i - 1) * nv + j] = v;
      }
    }
    // 8. g = J'r0, A = J'J.
    a_.assign(static_cast<std::size_t>(nv) * nv, 0.0);
    g_.assign(nv, 0.0);
    for (int p = 0; p < nv; ++p) {
      double sg = 0;
      for (int i = 0; i < rows; ++i) sg += jac[static_cast<std::size_t>(i) * nv + p] * residual0_[i + 1];
      g_[p] = sg;
      for (int q = 0; q < nv; ++q) {
        double sa = 0;
        for (int i = 0; i < rows; ++i)
          sa += jac[static_cast<std::size_t>(i) * nv + p] * jac[static_cast<std::size_t>(i) * nv + q];
        a_[static_cast<std::size_t>(p) * nv + q] = sa;
      }
    }
    // 9. Trial loop: the damping grows tenfold while a step does not help.
    std::vector<double> x;
    Solve(x);
    Apply(x);
    double error_trial = Evaluate(residualTrial_);
    while (!(error_trial < error_base) && !(damping_ > 1e4)) {
      damping_ *= 10;
      Solve(x);
      Apply(x);
      error_trial = Evaluate(residualTrial_);
    }
    // 10.
    if (damping_ > 1e4 && error_trial > error_base) {
      log_.push_back(std::to_string(iteration_) + Blanks(11) + FormatFixed(error_trial, 10) + Blanks(9) +
                     FormatFixed(0.0, 4));
      log_.push_back("");
      RefreshOptimiseSheet(opt_, d_);
      stop_ = RunStop::Damping;
      return false;
    }
    // 11. Refinement loop: the damping shrinks while the steps keep helping.
    std::vector<double> accepted(nv);
    for (;;) {
      for (int j = 0; j < nv; ++j) {
        const int s = vars_[j].surface;
        switch (vars_[j].kind) {
          case VarKind::Curvature: accepted[j] = c.work.Radius[s]; break;
          case VarKind::Thickness: accepted[j] = c.work.Thickness[s]; break;
          case VarKind::Conic: accepted[j] = c.work.Conic[s]; break;
        }
      }
      savedDamping_ = damping_;
      damping_ *= 0.615;
      Solve(x);
      Apply(x);
      const double error_next = Evaluate(residualTrial_);
      const double change = std::fabs((error_trial - error_next) / error_trial) * 100;
      if (error_next <= error_trial && change > 1e-4) {
        error_trial = error_next;
        continue;
      }
      break;
    }
    // 12.-13.
    Row(iteration_, error_trial, std::fabs((error_base - error_trial) / error_base) * 100);
    errors_.push_back(error_trial);
    WriteBack(accepted);
    if (finished()) return false;
    // 14.
    if (iteration_ >= maxIterations_) {
      log_.push_back("");
      stop_ = RunStop::Iterations;
      return false;
    }
    damping_ = savedDamping_;
    return true;
  } catch (const TraceError&) {
    Fail(FaultMessage());
  } catch (const NumericFault&) {
    Fail(FaultMessage());
  }
  return false;
}

void OptimiseRun::WriteBack(const std::vector<double>& accepted) {
  DesignSheet& g = sheet_;
  const int n = d_.SurfCount;
  for (std::size_t j = 0; j < vars_.size(); ++j) {
    const int s = vars_[j].surface;
    switch (vars_[j].kind) {
      case VarKind::Curvature: g.Cell(s, 3) = FormatFixed(accepted[j], 4); break;
      case VarKind::Thickness: g.Cell(s, 4) = FormatFixed(accepted[j], 4); break;
      case VarKind::Conic:
        d_.Conic[s] = RoundTo(accepted[j], 8);
        g.Cell(s, 7) = d_.Conic[s] != 0 ? "CONIC" : "SPHERE";
        break;
    }
  }
  auto valid = [&](int src) { return src >= 1 && src <= n; };
  for (int i = 1; i <= n; ++i) {
    if (Marked(opt_, i, 3, "P+") && valid(pick_.curvPlus[i])) {
      g.Cell(i, 3) = g.Cell(pick_.curvPlus[i], 3);
    } else if (Marked(opt_, i, 3, "P-") && valid(pick_.curvMinus[i])) {
      g.Cell(i, 3) = ShortestText(-Number(g.Cell(pick_.curvMinus[i], 3)));
    }
    if (i < n) {
      if (Marked(opt_, i, 5, "P+") && valid(pick_.thickPlus[i])) {
        g.Cell(i, 4) = FormatFixed(Number(g.Cell(pick_.thickPlus[i], 4)) * pick_.thickScale[i] + pick_.thickAdd[i], 4);
      } else if (Marked(opt_, i, 5, "P-") && valid(pick_.thickMinus[i])) {
        g.Cell(i, 4) =
            FormatFixed(-(Number(g.Cell(pick_.thickMinus[i], 4)) * pick_.thickScale[i] + pick_.thickAdd[i]), 4);
      }
    }
    if (Marked(opt_, i, 7, "P+") && valid(pick_.conicPlus[i])) {
      d_.Conic[i] = d_.Conic[pick_.conicPlus[i]];
      g.Cell(i, 7) = "CONIC";
      d_.SurfType[i] = 2;
    }
  }
  g.Cell(n, 4) = "0";
  const UpdateResult u = cmdupdate(d_, sheet_, media_);
  RefreshOptimiseSheet(opt_, d_);
  if (!u.ok) Fail(u.message);
}

UpdateResult RestoreDesign(const DesignSnapshot& before, DesignState& d, DesignSheet& sheet,
                           MediaResolver& media) {
  d = before.design;
  sheet = before.sheet;
  return cmdupdate(d, sheet, media);
}

}  // namespace ovrin
