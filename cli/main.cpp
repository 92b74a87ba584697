// ovrin-cli: every engine of the program from the command line. It prints one
// JSON object; on failure it prints {"error": "..."} and exits with status 2.
#include <clocale>
#include <iostream>
#include <map>

#include "cli_common.h"

namespace {

// Messages may quote bytes from a damaged file or a file name that is not
// UTF-8: they are written with such bytes replaced, never refused.
std::string Dump(const nlohmann::json& j) {
  return j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

int Fail(const std::string& message, const nlohmann::json& details = nlohmann::json::object()) {
  nlohmann::json j = {{"error", message}};
  for (const auto& [key, value] : details.items()) j[key] = value;
  std::cout << Dump(j) << std::endl;
  std::cerr << "ovrin-cli: " << Dump(nlohmann::json(message)) << std::endl;
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace ovrin::cli;
  std::setlocale(LC_ALL, "C");
  CLI::App app{"Ovrin command line: design update, ray trace and analyses as JSON"};
  app.require_subcommand(1);

  std::map<CLI::App*, Runner> runners;
  const std::vector<std::vector<Command>> tables = {
      DesignCommands(),
      AnalysisCommands(),
      GeometricCommands(),
      WaveCommands(),
      PredesignCommands(),
      OptimiseCommands(),
      ReportCommands(),
      DiffractionCommands(),
      GeometricFamilyCommands(),
      GlassCommands(),
      DrawingCommands(),
      MakerCommands(),
      ImageQualityCommands(),
  };
  for (const auto& table : tables) {
    for (const Command& c : table) {
      CLI::App* sub = app.add_subcommand(c.name, c.help);
      runners[sub] = c.setup(*sub);
    }
  }

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    return Fail(e.what());
  }

  try {
    for (auto& [sub, run] : runners) {
      if (!sub->parsed()) continue;
      const nlohmann::json out = run();
      // A command that answers with a plain string prints it as it is (a page for a terminal).
      if (out.is_string())
        std::cout << out.get<std::string>();
      else
        std::cout << Dump(out) << std::endl;
      return 0;
    }
    return Fail("No command given");
  } catch (const CliFailure& e) {
    return Fail(e.what(), e.details);
  } catch (const std::exception& e) {
    return Fail(e.what());
  }
}
