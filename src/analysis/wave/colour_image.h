#pragma once
// The simulated colour image of a star: the diffraction point spread function
// of each wavelength in use, weighted by its weight, tinted with the colour
// the eye sees at that wavelength, added on a black sky.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/diffraction.h"
#include "output/canvas.h"

namespace ovrin {

// The colour of light of a wavelength in microns: the visible band from
// violet at 0.38 to deep red at 0.78, dimmed towards both ends; black outside.
Rgb SpectrumColour(double microns);

struct ColourImageSettings {
  std::array<bool, 6> checked{true, true, true, true, true, true};  // wavelengths 1..6; unused ones are skipped
  int grid = 64;               // pupil samples across: 32, 64, 128
  double actualBfl = 0;
  double focalRadius = 0;
  bool fullField = false;
  double angleYDeg = 0, angleXDeg = 0;
  double widthMm = 0;          // side of the picture; 0: twelve first dark rings of the longest wavelength
  int pixels = 160;            // picture side in pixels
  double gamma = 0.5;          // brightness curve: below 1 lifts the faint rings
};

struct ColourImageResult {
  bool ok = false;
  std::optional<TraceError> error;
  int pixels = 0;
  double widthMm = 0;
  std::vector<Rgb> image;      // pixels x pixels, row 0 at the top
  struct Layer {
    int wavelength = 0;
    double microns = 0, weight = 0;
    Rgb colour;
    float Strehl = 0;
  };
  std::vector<Layer> layers;
  std::vector<std::string> text;
};

ColourImageResult ComputeColourImage(const DesignState& d, const ColourImageSettings& s,
                                     const Progress& progress = {});
// The picture on its black sky, with a scale bar in microns.
void DrawColourImage(const ColourImageResult& r, Canvas& c);

}  // namespace ovrin
