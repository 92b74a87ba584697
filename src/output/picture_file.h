#pragma once
// A recorded plot written as a picture file: PNG, BMP, SVG or PDF, chosen by
// the file name's extension. Shared by the windows' Save menu and ovrin-cli.
#include <string>

#include "output/canvas.h"

namespace ovrin {

// Draws `picture` on a `width` x `height` page and writes it to `path`. Works
// without a running application (one is started on the offscreen platform).
// Throws std::runtime_error when the type is unknown or the file cannot be written.
void SavePicture(const RecordingCanvas& picture, int width, int height, const std::string& path);

}  // namespace ovrin
