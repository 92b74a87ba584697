#include "cli_common.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <filesystem>

#include "core/ray_tracer.h"
#include "core/system_update.h"
#include "glass/glass_catalogue.h"
#include "output/picture_plugin.h"

namespace ovrin::cli {

namespace {

DesignFormat FormatOf(const std::string& name) {
  if (name == "current") return DesignFormat::Current;
  if (name == "v35") return DesignFormat::V35;
  if (name == "v40") return DesignFormat::V40;
  if (name == "v51") return DesignFormat::V51;
  throw CliFailure("Unknown import format \"" + name + "\": use current, v35, v40 or v51");
}

// The picture writer lives in a small library of its own, beside the program,
// so that only the commands that draw load the GUI libraries.
OvrinSavePictureFn PictureWriter() {
  static OvrinSavePictureFn fn = [] () -> OvrinSavePictureFn {
    std::filesystem::path lib;
    if (const char* env = std::getenv("OVRIN_PICTURE_PLUGIN"); env && *env) {
      lib = env;
    } else {
      char self[PATH_MAX];
      const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
      if (n <= 0) return nullptr;
      self[n] = '\0';
      const std::filesystem::path dir = std::filesystem::path(self).parent_path();
      lib = dir / kPicturePluginFile;
      if (!std::filesystem::exists(lib)) lib = dir / ".." / "lib" / "ovrin" / kPicturePluginFile;
    }
    void* handle = dlopen(lib.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) return nullptr;
    return reinterpret_cast<OvrinSavePictureFn>(dlsym(handle, kSavePictureSymbol));
  }();
  return fn;
}

}  // namespace

void AddDesignInput(CLI::App& c, DesignInput& in, const char* name, const char* help) {
  c.add_option(name, in.file, help)->required();
  c.add_option("--import", in.import, "format of the design file: current, v35, v40 or v51")
      ->check(CLI::IsMember({"current", "v35", "v40", "v51"}));
}

std::unique_ptr<LoadedDesign> LoadDesign(const DesignInput& in) {
  const DesignFormat format = FormatOf(in.import);
  auto s = std::make_unique<LoadedDesign>();
  try {
    const UpdateResult r = ReadDesignFile(in.file, format, s->design, s->sheet, s->media);
    if (!r.ok) throw CliFailure(r.message);
  } catch (const DesignFileError& e) {
    throw CliFailure(e.what());
  } catch (const GlassRangeError&) {
    // A glass asked for far outside its range: the data error of the update.
    throw CliFailure(kDataInputError);
  } catch (const TraceError&) {
    throw CliFailure(kDataInputError);
  }
  return s;
}

void SaveDesign(LoadedDesign& s, const std::string& path) {
  try {
    const UpdateResult r = WriteDesignFile(path, s.design, s.sheet, s.media);
    if (!r.ok) throw CliFailure(r.message);
  } catch (const DesignFileError& e) {
    throw CliFailure(e.what());
  } catch (const GlassRangeError&) {
    throw CliFailure(kDataInputError);
  }
}

void FailRay(const std::exception& e, const std::string& message) {
  nlohmann::json details = nlohmann::json::object();
  if (const auto* t = dynamic_cast<const TraceError*>(&e)) {
    details["surface"] = t->surface;
    details["reason"] = TraceFaultText(t->reason);
  }
  throw CliFailure(message, details);
}

void AddPictureOutput(CLI::App& c, PictureOutput& out) {
  c.add_option("--png", out.png, "write the picture as a PNG file");
  c.add_option("--svg", out.svg, "write the picture as an SVG file");
}

void PictureOutput::Write(const RecordingCanvas& picture, int width, int height, nlohmann::json& j) const {
  if (!wanted()) return;
  OvrinSavePictureFn save = PictureWriter();
  if (!save) throw CliFailure(std::string("The picture writer ") + kPicturePluginFile + " cannot be loaded");
  for (const std::string* path : {&png, &svg}) {
    if (path->empty()) continue;
    if (const char* error = save(&picture, width, height, path->c_str())) throw CliFailure(error);
  }
  if (!png.empty()) j["png"] = png;
  if (!svg.empty()) j["svg"] = svg;
}

}  // namespace ovrin::cli

namespace ovrin::cli {

void WritePictureFile(const RecordingCanvas& picture, int width, int height, const std::string& path) {
  OvrinSavePictureFn save = PictureWriter();
  if (!save) throw CliFailure(std::string("The picture writer ") + kPicturePluginFile + " cannot be loaded");
  if (const char* error = save(&picture, width, height, path.c_str())) throw CliFailure(error);
}

}  // namespace ovrin::cli
