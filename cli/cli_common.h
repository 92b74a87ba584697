#pragma once
// What the commands of ovrin-cli share: the one design loader, the options
// every command of a kind takes, the picture files, and the table of commands.
#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/design_file.h"
#include "core/design_sheet.h"
#include "core/design_state.h"
#include "glass/catalogue_media.h"
#include "output/canvas.h"

namespace ovrin::cli {

// A failure with the program's own message; `details` are further keys of the
// error object (the surface and the reason of a failed ray).
struct CliFailure : std::runtime_error {
  explicit CliFailure(const std::string& message, nlohmann::json details = nlohmann::json::object())
      : std::runtime_error(message), details(std::move(details)) {}
  nlohmann::json details;
};

// The design a command works on, after its update.
struct LoadedDesign {
  DesignState design;
  DesignSheet sheet;
  CatalogueMedia media;
};

// FILE and --import, the options of every command that reads a design.
struct DesignInput {
  std::string file;
  std::string import = "current";
};
void AddDesignInput(CLI::App& c, DesignInput& in, const char* name = "FILE",
                    const char* help = "design file (.ovn)");

// Reads the design in the format asked for and runs its update: every way a
// design can fail to load ends in the program's message.
std::unique_ptr<LoadedDesign> LoadDesign(const DesignInput& in);
// Writes a design in the current format (temporary file, then rename).
void SaveDesign(LoadedDesign& s, const std::string& path);

// A failed ray as the error object shows it: "TraceError" with its surface and reason.
[[noreturn]] void FailRay(const std::exception& e, const std::string& message = "TraceError");

// --png and --svg, the options of every command that draws.
struct PictureOutput {
  std::string png, svg;
  bool wanted() const { return !png.empty() || !svg.empty(); }
  // Writes the picture to the files asked for and adds their names to `j`.
  void Write(const RecordingCanvas& picture, int width, int height, nlohmann::json& j) const;
  // When a picture is asked for: records what `draw` paints and writes it.
  template <typename Draw>
  void WriteIfWanted(int width, int height, nlohmann::json& j, Draw&& draw) const {
    if (!wanted()) return;
    RecordingCanvas picture;
    draw(picture);
    Write(picture, width, height, j);
  }
};
void AddPictureOutput(CLI::App& c, PictureOutput& out);

// One command: its name, its help line, and how it sets up its options. The
// setup returns what runs the command once the options are parsed.
using Runner = std::function<nlohmann::json()>;
struct Command {
  const char* name;
  const char* help;
  std::function<Runner(CLI::App&)> setup;
};

// The table, in the order the help lists them.
std::vector<Command> DesignCommands();    // update, trace, resave, index, wavelengths
std::vector<Command> AnalysisCommands();  // spot, autofocus, layout
std::vector<Command> GeometricCommands();  // seidel, spherical, fieldcurv, rayfan
std::vector<Command> WaveCommands();      // opd, wavefront, autofocus-opd, opdfan, versus
std::vector<Command> PredesignCommands();  // predesign KIND
std::vector<Command> OptimiseCommands();  // merit, optimise
std::vector<Command> DiffractionCommands();  // psf, mtf, mtf-focus, zernike
std::vector<Command> GeometricFamilyCommands();  // multispot ... best-focus

}  // namespace ovrin::cli

namespace ovrin::cli {
std::vector<Command> ReportCommands();  // report, export-opd, sagitta, allowances
// Writes a picture to a file whose type comes from its extension (.png, .svg, .pdf).
void WritePictureFile(const RecordingCanvas& picture, int width, int height, const std::string& path);
}  // namespace ovrin::cli

namespace ovrin::cli {
std::vector<Command> GlassCommands();  // glass-diagram, glass-list, environment
std::vector<Command> DrawingCommands();  // layout3d, element, solve-contact
std::vector<Command> MakerCommands();  // interferogram, ronchigram, foucault, star-test
std::vector<Command> ImageQualityCommands();  // diffraction-energy, colour-image, multi-analysis, ghosts
}  // namespace ovrin::cli
