#pragma once
// The pictures of the diffraction analyses: the point spread surface and map,
// the intensity scale, the transfer curves and the Zernike table.
#include "analysis/wave/diffraction.h"
#include "analysis/wave/zernike.h"
#include "output/canvas.h"

namespace ovrin {

// How the point spread function is shown.
struct PsfView {
  bool falseColour = false;    // Combo1: "Grey Scale" or "False Color"
  bool transparent = false;    // Combo2: "Solid" or "Transparent"
  bool black = false;          // Combo3: "White" or "Black" back
  bool unaberrated = false;    // "Unaberrated PSF": heights scaled by the Strehl factor
  double rotX = 20, rotY = 0, rotZ = 0;  // degrees
  double surfaceZoom = 1, mapZoom = 1;    // > 1 zooms in
};

// The colour of intensity p on the surface and on the map.
Rgb PsfSurfaceColour(double p, const PsfResult& r, const PsfView& v);
Rgb PsfMapColour(double p, const PsfResult& r, const PsfView& v);

// Picture1: the relief of the central half of the array.
void DrawPsfSurface(const PsfResult& r, const PsfView& v, Canvas& c);
// Picture2: the map of the central half.
void DrawPsfMap(const PsfResult& r, const PsfView& v, Canvas& c);
// Picture4: 256 grey steps with their ticks and title.
void DrawIntensityScale(Canvas& c);

// The standard 16-colour table's light red, light blue and black.
constexpr Rgb kTangColour{255, 0, 0};
constexpr Rgb kSagColour{0, 0, 255};
constexpr Rgb kIdealColour{0, 0, 0};

// One field's transfer curves with the ideal points; `title` above them.
void DrawMtfCurves(const MtfCurve& curve, const std::vector<double>& ideal, double cutoff, int F,
                   const std::string& title, Canvas& c);
// Field k (0, 1, 2) of an update, with its title.
void DrawMtfField(const MtfResult& r, int k, Canvas& c);
// The titles of the three field pictures.
std::string MtfFieldTitle(int k);
// The three focus runs in one picture: +d thick, 0 middle, -d thin.
void DrawMtfFocus(const MtfFocusResult& r, Canvas& c);
// The Zernike table as a text picture.
void DrawZernikeTable(const ZernikeResult& r, Canvas& c);

}  // namespace ovrin
