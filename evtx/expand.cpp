#include "evtx/expand.h"

#include <algorithm>

#include "evtx/trace.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr StreamLayout kBodyLayout{true, false};
constexpr StreamLayout kFragmentLayout{false, false};
constexpr std::uint32_t kBytesPerToken = 16;  // of a typical stream

bool ChargeOrNote(EvtxDecoder& decoder, std::size_t work) {
  const bool enough = Charge(decoder, static_cast<std::uint32_t>(work));
  if (!enough) NoteFault(decoder, RecordFault::kLimit);
  return enough;
}

bool ChargeComputedName(EvtxDecoder& decoder) {
  std::uint64_t& of_chunk = decoder.chunk.work_left;
  if (of_chunk < kWorkPerComputedName) return ChargeOrNote(decoder, kWorkPerComputedName);
  of_chunk -= kWorkPerComputedName;
  return true;
}

// One stream being run over one array.
struct Expansion {
  EvtxDecoder& decoder;
  DecodedEvent& event;
  const TemplateProgram& program;
  const SubstitutionArray& array;
  int depth;
  std::uint32_t reached = 0;  // bits of the binary XML slots decoded so far
};

void DecodeBinaryXml(EvtxDecoder& decoder, DecodedEvent& event, const SubstitutionValue& value,
                     int depth);
std::uint32_t ExpandInstance(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t token,
                             int depth);
bool IsBinaryXml(const Expansion& run, std::uint16_t slot) {
  return slot < run.array.count && (run.array.binary_xml >> slot & 1) != 0;
}

void DecodeSlot(Expansion& run, std::uint16_t slot) {
  if (!IsBinaryXml(run, slot)) return;
  run.reached |= 1U << slot;
  DecodeBinaryXml(run.decoder, run.event, run.array.values[slot], run.depth + 1);
}

// Puts a value under its name unless the record has one already; null when it has.
NamedValue* AddNamed(DecodedEvent& event, Name* name) {
  if (name->record_serial == event.serial) return nullptr;
  name->record_serial = event.serial;
  name->value_index = static_cast<std::uint32_t>(event.values.size());
  NamedValue& value = event.values.emplace_back();
  value.name = name;
  return &value;
}

ValuePart SlotPart(const SubstitutionValue& value) {
  return {nullptr, value.offset, value.size, value.type, kOriginUnknown, false};
}

// Plans reach as far as kept templates, the record's own and one nested in it.
std::uint8_t SlotOrigin(const Expansion& run, std::uint16_t slot) {
  if (!run.program.cached || run.depth > 1) return kOriginUnknown;
  const std::uint8_t array = run.depth == 0 ? kOriginOwnSlot : kOriginNestedSlot;
  return static_cast<std::uint8_t>(array | slot);
}

ValuePart LiteralPart(std::string_view text) {
  // An empty literal still needs an address, since a null one means a slot.
  return {text.empty() ? "" : text.data(),
          static_cast<std::uint32_t>(text.size()),
          0,
          0,
          kOriginUnknown,
          false};
}

// The part that a piece gives. False when it gives none: a slot past the array, binary XML, or an
// empty slot of an optional substitution, which leaves the value `unresolved`.
bool PieceValue(const Expansion& run, const TextPiece& piece, ValuePart& part, bool& unresolved) {
  if (!piece.is_slot) {
    part = LiteralPart(piece.literal);
    return true;
  }
  if (piece.slot >= run.array.count || IsBinaryXml(run, piece.slot)) return false;
  const SubstitutionValue& value = run.array.values[piece.slot];
  if (piece.optional && value.type == kEvtVarTypeNull) {
    unresolved = true;
    return false;
  }
  part = SlotPart(value);
  return true;
}

// Counts what a text may take. A single-byte string has to be looked through to its end for that,
// wherever it ends.
void AddRoom(Expansion& run, std::size_t room, std::size_t counted) {
  run.event.max_text += room;
  run.event.counted_text += counted;
  if (run.array.has_ansi) ChargeOrNote(run.decoder, room / kSearchedPerToken);
}

void AddSlotValue(Expansion& run, const Step& step) {
  if (step.slot >= run.array.count) return;
  const SubstitutionValue& value = run.array.values[step.slot];
  if (value.type == kEvtVarTypeEvtBXml) {
    DecodeSlot(run, step.slot);
    return;
  }
  NamedValue* named = AddNamed(run.event, step.name);
  if (!named) return;
  named->part = SlotPart(value);
  named->part.origin = SlotOrigin(run, step.slot);
  named->part.optional = step.optional;
  named->unresolved = step.optional && value.type == kEvtVarTypeNull;
  if (named->unresolved) return;
  AddRoom(run, MaxValueText(run.event.chunk, value), MaxProportionalText(run.event.chunk, value));
}

void SetOrigin(const Expansion& run, const TextPiece& piece, ValuePart& part) {
  part.optional = piece.optional;
  if (piece.is_slot) {
    part.origin = SlotOrigin(run, piece.slot);
  } else if (run.program.cached) {
    part.origin = kOriginLiteral;
  }
}

// Joins the pieces of a step under `name`; a value without any piece that gives something is none.
void AddJoined(Expansion& run, const Step& step, Name* name) {
  if (name->record_serial == run.event.serial) return;
  const TextPiece* pieces = run.program.pieces.data() + step.first_piece;
  const auto begin = static_cast<std::uint32_t>(run.event.parts.size());
  ValuePart first;
  bool resolved = false;
  bool unresolved = false;
  for (std::uint32_t i = 0; i < step.piece_count; ++i) {
    ValuePart part;
    if (!PieceValue(run, pieces[i], part, unresolved)) continue;
    if (resolved) run.event.parts.push_back(part);
    if (!resolved) first = part;
    resolved = true;
  }
  if (!resolved && !unresolved) return;
  if (step.piece_count == 1) SetOrigin(run, pieces[0], first);
  NamedValue* named = AddNamed(run.event, name);
  named->part = first;
  named->more_begin = begin;
  named->more_count = static_cast<std::uint32_t>(run.event.parts.size()) - begin;
  named->unresolved = !resolved;
  AddRoom(run, MaxTextSize(run.event, *named), CountedTextSize(run.event, *named));
}

void DecodeSlotsOf(Expansion& run, const Step& step) {
  for (std::uint32_t i = step.decoded_pieces; i < step.piece_count; ++i) {
    const TextPiece& piece = run.program.pieces[step.first_piece + i];
    if (piece.is_slot) DecodeSlot(run, piece.slot);
  }
}

// Null when there is nothing left to pay for a name.
Name* ComputeName(Expansion& run, const Step& step) {
  run.event.plannable = false;
  if (!ChargeComputedName(run.decoder)) return nullptr;
  std::string text;
  std::string scratch;
  for (std::uint32_t i = 0; i < step.name_piece_count; ++i) {
    ValuePart part;
    bool unresolved = false;
    if (!PieceValue(run, run.program.pieces[step.first_name_piece + i], part, unresolved)) continue;
    NamedValue piece;
    piece.part = part;
    // The text is made whether or not the record keeps it.
    const std::size_t work = MaxTextSize(run.event, piece) / kTextPerToken;
    if (!ChargeOrNote(run.decoder, work)) return nullptr;
    text += TextOf(run.event, piece, scratch);
    if (text.size() > kMaxChunkNameText) break;
  }
  return InternComputedName(run.decoder.names, text);
}

void AddUnnamedData(Expansion& run, const Step& step, std::size_t number) {
  if (step.piece_count > 0) AddJoined(run, step, UnnamedDataName(run.decoder.names, number));
}

void RunStep(Expansion& run, const Step& step) {
  EvtxDecoder& decoder = run.decoder;
  switch (step.kind) {
    case StepKind::kSlotValue: AddSlotValue(run, step); return;
    case StepKind::kDecodeSlot: DecodeSlot(run, step.slot); return;
    case StepKind::kInstance:
      ExpandInstance(decoder, run.event, step.offset, run.depth + 1);
      return;
    case StepKind::kCountData: decoder.counted_data.push_back(++decoder.unnamed_data); return;
    default: break;
  }
  if (step.kind == StepKind::kUnnamedData) ++decoder.unnamed_data;
  const std::size_t number = decoder.unnamed_data;
  DecodeSlotsOf(run, step);
  if (step.kind == StepKind::kValue) AddJoined(run, step, step.name);
  if (step.kind == StepKind::kComputedName) {
    if (Name* const name = ComputeName(run, step)) AddJoined(run, step, name);
  }
  if (step.kind == StepKind::kUnnamedData) AddUnnamedData(run, step, number);
  if (step.kind == StepKind::kCountedData && !decoder.counted_data.empty()) {
    const std::size_t taken = decoder.counted_data.back();
    decoder.counted_data.pop_back();
    AddUnnamedData(run, step, taken);
  }
}

void NoteEnd(EvtxDecoder& decoder, StreamEnd end) {
  if (end == StreamEnd::kStopped) NoteFault(decoder, RecordFault::kFragmentStopped);
  if (end == StreamEnd::kCut) NoteFault(decoder, RecordFault::kFragmentCut);
}

// Runs the steps, then decodes the template instances among the slots that no step has reached, as
// happens when a stream stops early: their values would be lost otherwise.
void Expand(EvtxDecoder& decoder, DecodedEvent& event, const TemplateProgram* program,
            const SubstitutionArray& array, int depth) {
  static const TemplateProgram kNothing;
  Expansion run{decoder, event, program ? *program : kNothing, array, depth};
  std::uint32_t tokens = 0;
  for (const Step& step : run.program.steps) {
    if (!Charge(decoder, step.tokens - tokens)) {
      NoteFault(decoder, RecordFault::kLimit);
      return;
    }
    tokens = step.tokens;
    RunStep(run, step);
  }
  if (!Charge(decoder, run.program.tokens - tokens)) NoteFault(decoder, RecordFault::kLimit);
  NoteEnd(decoder, run.program.end);
  if (run.program.odd_names) NoteFault(decoder, RecordFault::kOddNames);
  if ((array.binary_xml & ~run.reached) == 0) return;
  for (std::uint16_t slot = 0; slot < array.count; ++slot) {
    if (!IsBinaryXml(run, slot) || (run.reached >> slot & 1) != 0) continue;
    const SubstitutionValue& value = array.values[slot];
    std::uint32_t token = 0;
    const FragmentStart start = LookAtFragment(event.chunk, value.offset, value.size, token);
    if (start == FragmentStart::kInstance) DecodeBinaryXml(decoder, event, value, depth + 1);
  }
}

bool MayNest(EvtxDecoder& decoder, int depth) {
  const bool may = depth <= kMaxNesting && decoder.work_left > 0;
  if (!may) NoteFault(decoder, RecordFault::kLimit);
  return may;
}

// A template instance inside the record finds its definition by the offset that it carries. Returns
// where it ends; the end of the chunk when that cannot be told.
std::uint32_t ExpandInstance(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t token,
                             int depth) {
  if (!MayNest(decoder, depth)) return kChunkSize;
  TemplateInstance instance;
  DefinitionHead head;
  if (!LocateInstance(event.chunk, token, instance) ||
      !ReadDefinitionHead(event.chunk, instance.definition, head)) {
    NoteFault(decoder, RecordFault::kNestedUnreadable);
    return kChunkSize;
  }
  SubstitutionArray array;
  const bool readable = ParseSubstitutionArray(event.chunk, instance.array, array);
  if (!readable) {
    NoteFault(decoder, RecordFault::kNestedUnreadable);
    if (decoder.trace) TraceLine(*decoder.trace, "prob parsing slot data first, continuing");
  }
  if (array.cut) NoteFault(decoder, RecordFault::kValuesCut);
  if (!Charge(decoder, array.count)) {
    NoteFault(decoder, RecordFault::kLimit);
    return kChunkSize;
  }
  Expand(decoder, event, PreparedTemplate(decoder, instance.definition, head.size), array, depth);
  return readable && !array.cut ? array.end : kChunkSize;
}

void DecodeBinaryXml(EvtxDecoder& decoder, DecodedEvent& event, const SubstitutionValue& value,
                     int depth) {
  const std::uint32_t end = value.offset + value.size;
  std::uint32_t token = 0;
  FragmentStart start = LookAtFragment(event.chunk, value.offset, value.size, token);
  while (start == FragmentStart::kInstance) {
    start =
        LookBehindInstance(event.chunk, ExpandInstance(decoder, event, token, depth), end, token);
  }
  if (start != FragmentStart::kElement || !MayNest(decoder, depth)) return;
  Expand(decoder, event, PreparedFragment(decoder, token, end), {}, depth);
}

std::size_t PieceSize(Bytes chunk, const ValuePart& part) {
  return part.literal ? part.offset : ValueTextBound(chunk, {part.offset, part.size, part.type});
}

bool IsNumber(const ValuePart& part) {
  return !part.literal && !IsFreeText(part.type) && part.type != kEvtVarTypeBinary;
}

// Leaves out what would pass the bound on a record's text, or `limit` on what it says beside
// numbers; returns how much the latter is. The few records that come here are crafted, and even the
// effort of measuring their texts is bounded.
std::uint64_t TrimText(EvtxDecoder& decoder, DecodedEvent& event, std::uint64_t limit) {
  std::uint64_t used = 0;
  std::uint64_t counted = 0;
  std::uint64_t& measurable = decoder.chunk.measured_left;
  // Mostly one text stands in many elements.
  ValuePart measured = LiteralPart("");
  std::size_t size = 0;
  const auto measure = [&](const ValuePart& part) {
    if (SameText(part, measured)) return;
    measured = part;
    size = PieceSize(event.chunk, part);
    measurable -= std::min<std::uint64_t>(measurable, std::max(size, std::size_t{part.size} / 2));
  };
  const auto trim = [&](ValuePart& part) {
    const bool spent = used >= kMaxRecordText || counted >= limit || measurable == 0;
    if (!spent) measure(part);
    const std::size_t counts = IsNumber(part) ? 0 : size;
    if (!spent && size > 0 && used + size <= kMaxRecordText && counted + counts <= limit) {
      used += size;
      counted += counts;
      return;
    }
    if (spent || size > 0) NoteFault(decoder, RecordFault::kLimit);
    part = LiteralPart("");
  };
  for (NamedValue& value : event.values) {
    if (value.unresolved) continue;
    trim(value.part);
    for (std::uint32_t i = 0; i < value.more_count; ++i) trim(event.parts[value.more_begin + i]);
  }
  event.max_text = static_cast<std::size_t>(used);
  return counted;
}

const TemplateProgram* PrepareTemplate(EvtxDecoder& decoder, std::uint32_t offset,
                                       std::uint32_t begin, std::uint32_t end) {
  const Bytes chunk = decoder.chunk.data;
  // Definitions that overlap may hold far more tokens than the chunk has bytes.
  std::uint32_t& left = decoder.chunk.prepared_left;
  if (left == 0) {
    static const TemplateProgram kNothing;
    NoteFault(decoder, RecordFault::kLimit);
    return &kNothing;
  }
  left -= std::min(left, 1 + (end - std::min(begin, end)) / kBytesPerToken);
  DefinitionHead head;
  ReadDefinitionHead(chunk, offset, head);
  const TemplateProgram* program = FindCached(decoder.cache, head.guid, chunk, begin, end);
  if (program) {
    left -= std::min(left, program->tokens);  // as if it were new: what comes out must not differ
    return program;
  }
  auto own = std::make_unique<TemplateProgram>();
  CompileStream(chunk, begin, end, kBodyLayout, decoder.names, *own);
  left -= std::min(left, own->tokens);
  program = KeepInCache(decoder.cache, head.guid, chunk, begin, end, *own);
  if (program) return program;
  decoder.chunk.own_programs.push_back(std::move(own));
  return decoder.chunk.own_programs.back().get();
}

}  // namespace

const TemplateProgram* PreparedTemplate(EvtxDecoder& decoder, std::uint32_t offset,
                                        std::uint32_t size) {
  const Bytes chunk = decoder.chunk.data;
  const std::uint32_t begin = offset + kDefinitionHeadSize;
  const auto end = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(std::uint64_t{begin} + size, chunk.size()));
  if (decoder.trace) {
    TraceStream(*decoder.trace, chunk, begin, end, kBodyLayout, decoder.chunk.traced_left);
  }
  const TemplateProgram*& known = decoder.chunk.programs[offset];
  if (!known) known = PrepareTemplate(decoder, offset, begin, end);
  return known;
}

const TemplateProgram* PreparedFragment(EvtxDecoder& decoder, std::uint32_t begin,
                                        std::uint32_t end) {
  const Bytes chunk = decoder.chunk.data;
  if (decoder.trace) {
    TraceStream(*decoder.trace, chunk, begin, end, kFragmentLayout, decoder.chunk.traced_left);
  }
  if (decoder.fragments_used == decoder.fragments.size()) {
    decoder.fragments.push_back(std::make_unique<TemplateProgram>());
  }
  TemplateProgram& program = *decoder.fragments[decoder.fragments_used++];
  // The same bytes may be reached from many slots, and every time they are prepared anew.
  if (!Charge(decoder, (end - begin) / kBytesPerToken)) {
    NoteFault(decoder, RecordFault::kLimit);
    program = {};
    return &program;
  }
  CompileStream(chunk, begin, end, kFragmentLayout, decoder.names, program);
  return &program;
}

void ExpandRecord(EvtxDecoder& decoder, DecodedEvent& event) {
  Expand(decoder, event, decoder.program, decoder.array, 0);
  const std::uint64_t limit = FreeText(decoder) + decoder.chunk.text_left;
  std::uint64_t counted = event.counted_text;
  if (event.max_text > kMaxRecordText || counted > limit) counted = TrimText(decoder, event, limit);
  TakeText(decoder, counted);
}

}  // namespace tarnlex
