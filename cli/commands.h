#pragma once
// The commands of ovrin-cli. Each returns the JSON object to print, or throws
// CliFailure with the program's own message.
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace ovrin::cli {

struct CliFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct TraceOptions {
  double px = 0, py = 0;
  int wavelength = 1;
  bool full_field = true;
  bool has_bfl = false;
  double bfl = 0;
};

struct SpotOptions {
  bool full_field = false;
  std::string rays = "558";
  std::vector<int> wavelengths{1};
  bool has_bfl = false;
  double bfl = 0;
  double focal_radius = 0;
  double zoom = 1;
  bool points = false;
  std::string png;
};

struct LayoutOptions {
  int rays = 3;
  double field = 0;
  bool full_field = false;
  bool vign = false;
  std::string png, svg;
};

nlohmann::json Update(const std::string& file);
nlohmann::json Trace(const std::string& file, const TraceOptions& opt);
nlohmann::json Index(const std::string& catalogue, const std::string& name, double wavelength);
nlohmann::json Wavelengths(const std::string& in, const std::string& out,
                           const std::vector<double>& set, const std::vector<double>& weights);
nlohmann::json Spot(const std::string& file, const SpotOptions& opt);
nlohmann::json AutoFocusCommand(const std::string& file, const SpotOptions& opt);
nlohmann::json LayoutCommand(const std::string& file, const LayoutOptions& opt);
nlohmann::json Resave(const std::string& in, const std::string& out, const std::string& import);

}  // namespace ovrin::cli
