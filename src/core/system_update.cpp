#include "core/system_update.h"

#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"

namespace ovrin {

namespace {


// An arithmetic fault of the update itself (an overflow, a division by zero).
struct UpdateFault : std::runtime_error {
  UpdateFault() : std::runtime_error("update fault") {}
};

double Checked(double v) {
  if (!std::isfinite(v)) throw UpdateFault();
  return v;
}

double Div(double a, double b) {
  if (b == 0.0) throw UpdateFault();
  return Checked(a / b);
}

double Number(std::string_view text) { return Checked(ParseLeadingNumber(text)); }

// The near-axis ray through every surface, wavelength 1, no tilts.
void ParaxialLoop(DesignState& d, Tracer& t) {
  const SurfTable& n = d.IndexWl[1];
  for (int s = 1; s <= d.SurfCount; ++s) {
    t.LoopI = s;
    t.CurRadius = d.Radius[s];
    t.CurN = n[s - 1];
    t.CurNPrime = n[s];
    t.CurThick = d.Thickness[s];
    const float type = d.SurfType[s];
    t.ParaxA4 = d.AsphA4[s];
    t.ParaxA6 = d.AsphA6[s];
    t.ParaxA8 = d.AsphA8[s];
    t.CurConic = d.Conic[s];
    if (type == 1.0f || type == 4.0f) {
      t.ParaxTraceSphere();
    } else if (type == 2.0f || type == 3.0f) {
      t.ParaxTraceAsphere();
    }
  }
}

const Rgb kDefaultColors[7] = {{0, 0, 0},     {0, 255, 0},  {0, 0, 255},  {255, 0, 0},
                               {255, 0, 255}, {128, 64, 0}, {128, 0, 200}};

}  // namespace

void CommitCellEdit(DesignSheet& sheet) {
  if (sheet.txtDataEntryVisible && sheet.editRow >= 1 && sheet.editRow < sheet.Rows() &&
      sheet.editCol >= 0 && sheet.editCol < DesignSheet::kCols) {
    sheet.Cell(sheet.editRow, sheet.editCol) = sheet.txtDataEntry;
  }
  sheet.txtDataEntryVisible = false;
}

void ComputeEntrancePupil(DesignState& d, const DesignSheet& sheet) {
  SurfTable& n = d.IndexWl[1];
  n[0] = 1.0;
  const int stop = d.StopSurf;
  if (stop < 1 || stop > d.SurfCount) throw UpdateFault();
  std::array<double, kSurfTableSize> h{}, u{};
  h[stop] = 0.0;
  u[stop] = 0.01;
  for (int i = stop; i >= 1; --i) {
    u[i - 1] = Div((n[i] - n[i - 1]) * h[i], d.Radius[i] * n[i - 1]) + Div(u[i] * n[i], n[i - 1]);
    h[i - 1] = Checked(h[i] - u[i - 1] * d.Thickness[i - 1]);
  }
  d.EntrPupilZ = Div(h[1], u[0]);
  if (d.ObjDistance == 0.0) {
    const double a = Number(sheet.Txtangolo);
    const double b = Number(sheet.TxtangoloX);
    const double angle = std::fabs(b) > std::fabs(a) ? b : a;
    d.EntrPupilY = Checked(d.EntrPupilZ * std::tan(angle * kPi / 180.0));
  } else {
    d.EntrPupilY = Div(d.HalfFieldY * d.EntrPupilZ, -(d.ObjDistance - d.EntrPupilZ));
  }
}

UpdateResult cmdupdate(DesignState& d, DesignSheet& sheet, MediaResolver& media) {
  try {
    // 1. A fresh design takes the standard environment.
    if (d.EnvTempCurrent == 0.0f && d.EnvPressCurrent == 0.0f) {
      d.EnvTempCurrent = 20;
      d.EnvPressCurrent = 1;
      d.EnvTempActual = 20;
      d.EnvPressActual = 1;
      media.RecomputeForEnvironment(d);
    }
    // 2. An edit in progress is not lost.
    CommitCellEdit(sheet);
    sheet.ComboGlassVisible = false;
    sheet.CombotipoVisible = false;
    // 3.
    sheet.designCommandsEnabled = true;
    // 4.
    const double count = std::fabs(Number(sheet.txtnumsup));
    if (!(count >= 1 && count <= kMaxSurfaces)) throw UpdateFault();
    d.SurfCount = static_cast<int16_t>(count);
    if (sheet.SurfaceRows() != d.SurfCount) sheet.SetSurfaceRows(d.SurfCount);
    d.DesignNote = sheet.Txtcaratteristiche;
    // 5. The trace turns opposite to what the user typed.
    for (int i = 1; i <= d.SurfCount + 1; ++i) {
      d.TiltA[i] = -d.TiltAInput[i];
      d.TiltB[i] = -d.TiltBInput[i];
    }
    // 6.
    d.UncenteredFlag = 0;
    for (int i = 1; i <= d.SurfCount + 1; ++i) {
      if (d.TiltA[i] != 0 || d.TiltB[i] != 0 || d.DecY[i] != 0 || d.DecX[i] != 0) {
        d.UncenteredFlag = 1;
        break;
      }
    }
    sheet.Label4Visible = d.UncenteredFlag == 1;
    // 7.-9. Wavelength defaults.
    if (d.WlCount == 0) d.WlCount = 1;
    if (d.WlColorsSet != "SI") {
      for (int k = 1; k <= 6; ++k)
        if (d.WlColor[k].IsZero()) d.WlColor[k] = kDefaultColors[k];
    }
    for (int k = 1; k <= d.WlCount; ++k)
      if (d.WlWeight[k] == 0) d.WlWeight[k] = 1;
    // 10. The last surface has no thickness.
    sheet.Cell(d.SurfCount, 4) = "0";
    // 11. The grid into the tables.
    for (int k = 1; k <= d.SurfCount; ++k) {
      d.SemiDiam[k] = Number(sheet.Cell(k, 2));
      d.Radius[k] = Number(sheet.Cell(k, 3));
      if (d.Radius[k] == 0) d.Radius[k] = 1e11;
      d.Thickness[k] = Number(sheet.Cell(k, 4));
      const std::string& medium = sheet.Cell(k, 5);
      if (medium == "AIR (Posit)" || medium == "AIR (Negat)") {
        const double v = Number(sheet.Cell(k, 6));
        for (int w = 1; w <= 6; ++w) d.IndexWl[w][k] = w <= d.WlCount ? v : 0.0;
      }
      const float type = d.SurfType[k];
      if (type == 0) d.SurfType[k] = 1;
      if (d.SurfType[k] == 1 || d.SurfType[k] == 4) {
        d.Conic[k] = 0;
      } else if (d.SurfType[k] == 2) {
        d.AsphA2[k] = d.AsphA4[k] = d.AsphA6[k] = d.AsphA8[k] = 0;
      } else if (d.SurfType[k] == 3) {
        d.AsphA2[k] = 0;
      }
    }
    // 12.
    d.EntrBeamSemiDiam = Number(sheet.Text1);
    if (d.EntrBeamSemiDiam == 0) {
      d.EntrBeamSemiDiam = d.SemiDiam[1];
      sheet.Text1 = ShortestText(d.EntrBeamSemiDiam);
    }
    // 13.
    d.HalfFieldY = Number(sheet.Text3);
    if (d.HalfFieldY == 0) d.HalfFieldY = 0.001;
    if (sheet.Text2.empty()) sheet.Text2 = "0";
    d.ObjDistance = Number(sheet.Text2);
    if (d.ObjDistance > 1e8) d.ObjDistance = 0;

    Tracer t(d);
    // 14. The near-axis ray from infinity.
    d.PupilRadius = static_cast<float>(d.EntrBeamSemiDiam);
    t.ParaxY = 0.01;
    t.ParaxU = 0;
    d.IndexWl[1][0] = 1;
    ParaxialLoop(d, t);
    // 15.-20.
    if (t.ParaxUOut == 0) t.ParaxUOut = 1e-7;
    d.BflRaw = Div(-t.ParaxYOut, std::sin(t.ParaxUOut));
    d.Bfl = d.BflRaw;
    d.EntrBeamDiam = RoundTo(2 * d.EntrBeamSemiDiam, 3);
    d.Efl = Div(-0.01, std::tan(t.ParaxUOut));
    d.FRatio = RoundTo(std::fabs(Div(d.Efl, 2 * d.EntrBeamSemiDiam)), 2);
    d.AiryDiam = RoundTo(RoundTo(Checked(std::fabs(d.FRatio) * d.Wavelength[0] * 2.44 / 1000), 5), 4);
    d.AiryRadius = RoundTo(d.AiryDiam / 2, 4);
    // 21.
    sheet.Label15 = "Apert. Ratio";
    // 22. A finite object.
    const bool finite = d.ObjDistance != 0;
    if (finite) {
      t.ParaxU = std::atan(Div(d.EntrBeamSemiDiam, d.ObjDistance));
      t.ParaxY = d.ObjDistance * std::sin(t.ParaxU);
      d.IndexWl[1][0] = 1;
      ParaxialLoop(d, t);
      if (t.ParaxUOut == 0) t.ParaxUOut = 1e-6;
      d.EntrBeamDiam = RoundTo(2 * d.EntrBeamSemiDiam, 3);
      sheet.Label15 = "Image NA";
      d.ImageNA = static_cast<float>(Checked(std::fabs(t.CurNPrime * std::sin(t.ParaxUOut))));
      d.AiryDiam = Div((d.Wavelength[0] / 1000.0) * 1.22, d.ImageNA);
      d.AiryRadius = d.AiryDiam / 2;
      d.AiryDiam = RoundTo(d.AiryDiam, 5);

      t.ParaxU = std::atan(Div(0.01, d.ObjDistance));
      t.ParaxY = d.ObjDistance * std::sin(t.ParaxU);
      d.IndexWl[1][0] = 1;
      ParaxialLoop(d, t);
      if (t.ParaxUOut == 0) t.ParaxUOut = 1e-6;
      d.BflRaw = Div(-t.ParaxYOut, std::sin(t.ParaxUOut));
      d.Bfl = d.BflRaw;
    }
    // 23. Labels.
    if (std::fabs(d.Efl) < 999999) {
      sheet.Lblbfl = FormatFixed(d.Bfl, 3);
      sheet.Lblfocale = FormatFixed(d.Efl, 3);
      sheet.Lblrappfoc = finite ? FormatFixed(d.ImageNA, 5) : FormatFixed(d.FRatio, 3);
    } else {
      sheet.Lblbfl = FormatFixed(d.Bfl, 0);
      sheet.Lblfocale = FormatFixed(d.Efl, 0);
      sheet.Lblrappfoc = finite ? FormatFixed(d.ImageNA, 5) : FormatFixed(d.FRatio, 0);
    }
    // 24. The entrance pupil.
    if (sheet.Cell(1, 1).empty()) {
      ComputeEntrancePupil(d, sheet);
    } else {
      d.EntrPupilZ = 0;
      d.EntrPupilY = 0;
    }
    // 25. The chief ray's direction.
    const FieldDirection chief =
        FieldDirectionOf(Number(sheet.Txtangolo) * kPi / 180, Number(sheet.TxtangoloX) * kPi / 180);
    if (chief.norm == 0.0) throw UpdateFault();
    d.ChiefCosZ = Checked(chief.cosZ);
    d.ChiefCosY = Checked(chief.cosY);
    d.ChiefCosX = Checked(chief.cosX);
    // 26. The chief ray to the image.
    t.TraceChiefRay();
    d.ImageHeight = std::sqrt(t.RayX * t.RayX + t.RayY * t.RayY);
    if (t.RayY < 0) d.ImageHeight = -d.ImageHeight;
    sheet.LblImage = FormatFixed(d.ImageHeight, 3);
    return {};
  } catch (const TraceError&) {
    return {false, kDataInputError};
  } catch (const UpdateFault&) {
    return {false, kDataInputError};
  }
}

}  // namespace ovrin
