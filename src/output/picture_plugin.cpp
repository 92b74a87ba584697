// The picture writer library: the one C entry that ovrin-cli looks up.
#include "output/picture_plugin.h"

#include <string>

#include "output/picture_file.h"

extern "C" __attribute__((visibility("default"))) const char* ovrin_save_picture(
    const ovrin::RecordingCanvas* picture, int width, int height, const char* path) {
  static std::string error;
  try {
    ovrin::SavePicture(*picture, width, height, path);
    return nullptr;
  } catch (const std::exception& e) {
    error = e.what();
    return error.c_str();
  }
}
