#pragma once
// Design files (.ovn): comma-separated records, one a line, CRLF line ends,
// strings in double quotes. One reader serves the current format and the
// three imports of earlier releases; one writer writes the current format.
#include <stdexcept>
#include <string>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/media.h"
#include "core/system_update.h"

namespace ovrin {

enum class DesignFormat {
  Current,  // the format the program writes
  V35,      // "Import from old Ovrin version (<3.5 )"
  V40,      // "Import from Ovrin version 4.0-5.0"
  V51,      // "Import from Ovrin version 5.1-6.1"
};

// A design file that cannot be read or written. The message names the file,
// the line and what was expected there.
class DesignFileError : public std::runtime_error {
 public:
  DesignFileError(std::string file, int line, std::string expected);
  const std::string& file() const { return file_; }
  int line() const { return line_; }
  const std::string& expected() const { return expected_; }

 private:
  std::string file_;
  int line_;
  std::string expected_;
};

// Reads a design into the tables and the sheet and runs the system update.
// On a damaged file it throws DesignFileError, the tables keeping what was
// read up to the faulty line. Returns the update's result.
UpdateResult ReadDesignFile(const std::string& path, DesignFormat format, DesignState& d,
                            DesignSheet& sheet, MediaResolver& media);

// Writes the design in the current format, only if it passes the update (run
// before, so that what is on screen is what is saved, and after writing).
// The file is replaced whole or not at all: a temporary in the same folder,
// flushed and renamed over the target; the target's permissions are kept, a
// symbolic link is written through to its file, a read-only file is refused.
// Throws DesignFileError, with nothing written, on any failure.
UpdateResult WriteDesignFile(const std::string& path, DesignState& d, DesignSheet& sheet,
                             MediaResolver& media);

}  // namespace ovrin
