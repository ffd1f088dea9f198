// The account of an EVT walk, as -diags writes it.
#pragma once

#include "evt/walk.h"
#include "logs/text_sink.h"

namespace tarnlex {

// Writes what was read of the log and what was not, as lines of text.
void WriteAccount(TextSink& out, const EvtAccount& account);

}  // namespace tarnlex
