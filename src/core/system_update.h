#pragma once
// The system update: the one gate between what was typed in the design window
// and the state that every analysis reads.
#include <string>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/media.h"

namespace ovrin {

inline constexpr const char* kDataInputError = " Data Input ERROR ! ";

struct UpdateResult {
  bool ok = true;
  std::string message;  // the message box text on failure
};

// Writes the edit box's text into the cell it covers and hides it.
void CommitCellEdit(DesignSheet& sheet);

// The entrance pupil by a near-axis ray traced backwards from the stop.
void ComputeEntrancePupil(DesignState& d, const DesignSheet& sheet);

// The whole update. What was computed before a fault stays; the labels keep
// their old text when the fault comes before they are written.
UpdateResult cmdupdate(DesignState& d, DesignSheet& sheet, MediaResolver& media);

}  // namespace ovrin
