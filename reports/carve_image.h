// One raw image from its first byte to its last: what is found in it goes to two passes, one for
// each container.
#pragma once

#include "reports/log_pass.h"

namespace tarnlex {

// Searches the image of both passes and writes their rows: those of EVTX logs, then those of EVT
// logs, unless the form is a stream, which has them in order of place. False when the image cannot
// be opened.
bool CarveImage(LogPass& evtx, LogPass& evt);

// The same over an image that the caller has opened.
void CarveOpenImage(LogPass& evtx, LogPass& evt, const ImageFile& image);

}  // namespace tarnlex
