// EVTX records wherever they lie in a raw image: in chunks that are whole, in what is left of
// others, and by themselves. Nothing but what the bytes say tells what belongs together.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "event/carving.h"
#include "evtx/decoder.h"
#include "evtx/sound_stream.h"
#include "evtx/walk.h"

namespace tarnlex {

// The 64 KiB that a chunk takes in the image, or took, as far as they were in memory.
struct CarveSlot {
  bool known = false;
  bool has_head = false;      // it begins with the header of a chunk
  bool sound = false;         // whose checksums hold
  std::uint64_t begin = 0;    // in the image; of one that begins before the image this wraps around
  std::uint64_t source = 0;   // where what is known of it begins: its header, or its first record
  std::uint64_t records = 0;  // that were given of it
  std::uint32_t cut = 0;      // where the header of another chunk begins, or the bytes end
  std::vector<std::uint8_t> bytes;
  // The records that a sound chunk counts: identifier and place, in order.
  std::vector<std::pair<std::uint64_t, std::uint32_t>> live;
  std::uint32_t end = 0;      // of the last record in it
  std::uint64_t last_id = 0;  // and its identifier
};

struct EvtxCarver {
  EvtxDecoder& decoder;
  const EvtxHandlers& handlers;
  CarveCounts& counts;
  // Told of each chunk whose header was found, behind its last record; may be empty.
  std::function<void(const CarveSlot&)> left = {};
  CarveSlot slot = {};
  SoundChecks checks = {};
  DecodedEvent event = {};
};

// What must be in memory before and behind a place where something is looked for.
inline constexpr std::uint64_t kCarveBack = 0x10000;
inline constexpr std::uint64_t kCarveAhead = 0x10000;

// Looks at the mark of a chunk, or of a record, at `at` of the image. Where one begins, its records
// go to the handlers, with what is proved of each. Returns where the search goes on.
//
// A chunk whose checksums hold has the records that it counts; of any other it is only believed
// that it begins there. Records that follow, in either, are each judged by themselves, with the
// templates that stand in the 64 KiB of the last chunk that was met or, of a record that brings its
// own definition along, of the chunk that it was a part of. A record of neither stands alone.
std::uint64_t CarveChunk(EvtxCarver& carver, const ImagePart& part, std::uint64_t at);
std::uint64_t CarveRecord(EvtxCarver& carver, const ImagePart& part, std::uint64_t at);

// Behind the last of an image.
void EndCarving(EvtxCarver& carver);

}  // namespace tarnlex
