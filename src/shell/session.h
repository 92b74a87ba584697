#pragma once
// The one design of a program run, as the windows share it: the tables, what
// the design window's grid and boxes hold, and the glass catalogues.
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
};

}  // namespace ovrin::shell
