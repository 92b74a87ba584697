// ovrin-cli: every engine of the program from the command line. It prints one
// JSON object; on failure it prints {"error": "..."} and exits with status 2.
#include <CLI/CLI.hpp>
#include <iostream>
#include <nlohmann/json.hpp>

#include "commands.h"

namespace {

int Fail(const std::string& message) {
  std::cout << nlohmann::json{{"error", message}}.dump() << std::endl;
  std::cerr << "ovrin-cli: " << message << std::endl;
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace ovrin::cli;
  CLI::App app{"Ovrin command line: design update, ray trace and analyses as JSON"};
  app.require_subcommand(1);

  std::string file, out_file, import = "current";
  auto* update = app.add_subcommand("update", "Run the system update and print the first-order data");
  update->add_option("FILE", file, "design file (.ovn)")->required();

  TraceOptions topt;
  std::string field = "full";
  double bfl = 0;
  auto* trace = app.add_subcommand("trace", "Trace one ray to the image plane");
  trace->add_option("FILE", file, "design file (.ovn)")->required();
  trace->add_option("--py", topt.py, "entrance pupil Y")->required();
  trace->add_option("--px", topt.px, "entrance pupil X")->required();
  trace->add_option("--wl", topt.wavelength, "wavelength number, 1 to 6");
  trace->add_option("--field", field, "axis or full")->check(CLI::IsMember({"axis", "full"}));
  auto* bfl_opt = trace->add_option("--bfl", bfl, "image distance from the last surface (mm)");

  std::string in_file;
  auto* resave = app.add_subcommand("resave", "Read, update and write a design in the current format");
  resave->add_option("IN", in_file, "design file to read")->required();
  resave->add_option("OUT", out_file, "design file to write")->required();
  resave->add_option("--import", import, "format of IN: current, v35, v40 or v51");

  std::string catalogue, glass_name;
  double glass_wl = 0;
  auto* index = app.add_subcommand("index", "Refractive index of a catalogue glass");
  index->add_option("CATALOGUE", catalogue, "SCHOTT, OHARA, CORNING, HOYA, LZOS, SPECIAL or CHENGDU")->required();
  index->add_option("NAME", glass_name, "glass name, exactly as the catalogue spells it")->required();
  index->add_option("WAVELENGTH", glass_wl, "wavelength in microns")->required();

  std::vector<double> wl_set, wl_weights;
  auto* wavelengths = app.add_subcommand("wavelengths", "Store new wavelengths, update, and write the design");
  wavelengths->add_option("IN", in_file, "design file to read")->required();
  wavelengths->add_option("OUT", out_file, "design file to write")->required();
  wavelengths->add_option("--set", wl_set, "wavelengths in microns, comma separated")->required()->delimiter(',');
  wavelengths->add_option("--weights", wl_weights, "weights, comma separated")->delimiter(',');

  SpotOptions sopt;
  std::string spot_field = "axis", rays = "558";
  double spot_bfl = 0;
  std::vector<int> spot_wl{1};
  auto spot_options = [&](CLI::App* c) {
    c->add_option("FILE", file, "design file (.ovn)")->required();
    c->add_option("--wl", spot_wl, "checked wavelengths, comma separated (default 1)")->delimiter(',');
  };
  auto* spot = app.add_subcommand("spot", "Spot diagram: RMS radius, diameter, ray counts and labels");
  spot_options(spot);
  spot->add_option("--field", spot_field, "axis or full")->check(CLI::IsMember({"axis", "full"}));
  spot->add_option("--rays", rays, "rays per color: 128, 340, 558, 832, 1300, 2346, 3478 or 5100");
  auto* spot_bfl_opt = spot->add_option("--bfl", spot_bfl, "Actual B.F.L. (default: Bfl at 3 decimals)");
  spot->add_option("--focal-radius", sopt.focal_radius, "radius of the focal surface, 0 flat");
  spot->add_option("--zoom", sopt.zoom, "zoom of the picture");
  spot->add_flag("--points", sopt.points, "list every stored ray as [dx, dy, wavelength]");
  spot->add_option("--png", sopt.png, "write the picture as a PNG file");
  auto* autofocus = app.add_subcommand("autofocus", "Focus shift from Bfl of the smallest on-axis RMS spot");
  spot_options(autofocus);
  autofocus->add_option("--rays", rays, "rays per color");

  LayoutOptions lopt;
  auto* layout = app.add_subcommand("layout", "2D layout: total track, frame, and the picture");
  layout->add_option("FILE", file, "design file (.ovn)")->required();
  layout->add_option("--rays", lopt.rays, "rays per fan, 0 to 61 (default 3)");
  layout->add_option("--field", lopt.field, "field of the blue rays, degrees");
  layout->add_flag("--full-field", lopt.full_field, "draw the opposite half-field too");
  layout->add_flag("--vign", lopt.vign, "draw vignetted rays to the end");
  auto* png_opt = layout->add_option("--png", lopt.png, "write the picture as PNG");
  auto* svg_opt = layout->add_option("--svg", lopt.svg, "write the picture as SVG");
  png_opt->excludes(svg_opt);
  layout->callback([&] {
    if (lopt.png.empty() && lopt.svg.empty()) throw CLI::ValidationError("layout", "--png OUT.png or --svg OUT.svg is needed");
  });

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    return Fail(e.what());
  }

  try {
    nlohmann::json result;
    if (*update) {
      result = Update(file);
    } else if (*trace) {
      topt.full_field = field == "full";
      topt.has_bfl = bfl_opt->count() > 0;
      topt.bfl = bfl;
      result = Trace(file, topt);
    } else if (*index) {
      result = Index(catalogue, glass_name, glass_wl);
    } else if (*wavelengths) {
      result = Wavelengths(in_file, out_file, wl_set, wl_weights);
    } else if (*spot || *autofocus) {
      sopt.full_field = spot_field == "full";
      sopt.rays = rays;
      sopt.wavelengths = spot_wl;
      sopt.has_bfl = spot_bfl_opt->count() > 0;
      sopt.bfl = spot_bfl;
      result = *spot ? Spot(file, sopt) : AutoFocusCommand(file, sopt);
    } else if (*layout) {
      result = LayoutCommand(file, lopt);
    } else if (*resave) {
      result = Resave(in_file, out_file, import);
    }
    std::cout << result.dump() << std::endl;
    return 0;
  } catch (const CliFailure& e) {
    return Fail(e.what());
  } catch (const std::exception& e) {
    return Fail(e.what());
  }
}
