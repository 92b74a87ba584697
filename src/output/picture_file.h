#pragma once
// Picture files of a plot: PNG, BMP, SVG and PDF, by the file name's extension.
#include <string>

#include "output/canvas.h"

namespace ovrin {

// Draws `picture` at width x height into `path`. Works with or without a
// running Qt application. Throws std::runtime_error with the message.
void SavePicture(const RecordingCanvas& picture, int width, int height, const std::string& path);

}  // namespace ovrin
