#pragma once
// The entry of the picture writer library that ovrin-cli loads on demand, so
// that commands which draw nothing start without the GUI libraries.
#include "output/canvas.h"

namespace ovrin {

// Writes `picture` at width x height to `path` (format from the extension).
// Returns null on success, otherwise the message (valid until the next call).
using OvrinSavePictureFn = const char* (*)(const RecordingCanvas* picture, int width, int height,
                                           const char* path);
inline constexpr const char* kSavePictureSymbol = "ovrin_save_picture";
inline constexpr const char* kPicturePluginFile = "libovrin_picture.so";

}  // namespace ovrin
