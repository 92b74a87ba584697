#pragma once
// The one design of a program run, as the windows share it: the tables, what
// the design window's grid and boxes hold, and the glass catalogues.
#include <string>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "glass/catalogue_media.h"

namespace ovrin::shell {

struct Session {
  DesignState design;
  DesignSheet sheet;
  CatalogueMedia media;
  bool lastUpdateOk = true;
  bool hasUpdated = false;
  // The last Open failed: the tables hold what was read before the fault, and
  // the design belongs to no file; Save proposes no name until it has one.
  bool readFailed = false;
  std::string failedFile;  // the file that could not be read, without its folder
};

}  // namespace ovrin::shell
