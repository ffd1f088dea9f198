#include "evtx/resolve.h"

#include <algorithm>

#include "event/extent.h"
#include "evtx/fragment.h"
#include "evtx/trace.h"

namespace tarnlex {
namespace {

StreamLayout BodyLayout(const EvtxDecoder& decoder) { return {true, false, decoder.policy}; }
StreamLayout FragmentLayout(const EvtxDecoder& decoder) { return {false, false, decoder.policy}; }

constexpr std::uint32_t kBytesPerToken = 16;  // of a typical stream

struct Resolution {
  EvtxDecoder& decoder;
  DecodedEvent& event;
};

bool ChargeOrNote(EvtxDecoder& decoder, DecodedEvent& event, std::size_t work) {
  const bool enough = Charge(event, work);
  if (!enough) NoteFault(decoder, event, RecordFault::kLimit);
  return enough;
}

std::uint32_t BodyEnd(Bytes chunk, std::uint32_t offset, std::uint32_t size) {
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(std::uint64_t{offset} + kDefinitionHeadSize + size, chunk.size()));
}

// A tree of the chunk's own, put where it may be kept from if it can.
const Tree* CompileTemplate(EvtxDecoder& decoder, const Guid& guid, std::uint32_t begin,
                            std::uint32_t end) {
  EvtxChunk& chunk = decoder.chunk;
  auto tree = std::make_unique<Tree>();
  CompileStream(chunk.data, begin, end, BodyLayout(decoder), nullptr, *tree);
  StoredTemplate described;
  if (!tree->cut_names && DescribeTemplate(guid, chunk.data, begin, end, described)) {
    tree->keepable = true;
    tree->compared_text = described.name_bytes.size();
    described.tree = std::move(tree);
    chunk.new_templates.push_back(std::move(described));
    return chunk.new_templates.back().tree.get();
  }
  chunk.own_trees.push_back(std::move(tree));
  return chunk.own_trees.back().get();
}

const Tree* PrepareTemplate(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t offset,
                            std::uint32_t begin, std::uint32_t end) {
  EvtxChunk& chunk = decoder.chunk;
  // Definitions that overlap may hold far more tokens than the chunk has bytes. What is found in
  // the store costs as much as what is compiled: what comes out must not depend on it.
  std::uint32_t& left = chunk.prepared_left;
  if (left == 0) {
    NoteFault(decoder, event, RecordFault::kLimit);
    return nullptr;
  }
  DefinitionHead head;
  ReadDefinitionHead(chunk.data, offset, head);
  const Tree* tree = FindTemplate(decoder.store, head.guid, chunk.data, begin, end);
  if (!tree) tree = CompileTemplate(decoder, head.guid, begin, end);
  const std::size_t cost = 1 + (end - std::min(begin, end)) / kBytesPerToken + tree->nodes.size() +
                           (tree->keepable ? tree->compared_text : tree->name_text) / kTextPerToken;
  left -= static_cast<std::uint32_t>(std::min<std::size_t>(left, cost));
  return tree;
}

// Room for a tree that is valid for the time of the record.
Tree& NextFragment(DecodedEvent& event) {
  if (event.fragments_used == event.fragments.size()) {
    event.fragments.push_back(std::make_unique<Tree>());
  }
  return *event.fragments[event.fragments_used++];
}

void AddOpen(Tree& tree, std::string_view name) {
  tree.nodes.push_back({NodeKind::kElement, false, 0, 0, name});
  tree.nodes.push_back({NodeKind::kStartEnd, false, 0, 0, {}});
}

void AddSlot(Tree& tree, std::uint32_t slot) {
  tree.nodes.push_back({NodeKind::kSlot, true, static_cast<std::uint16_t>(slot), 0, {}});
}

void AddEnd(Tree& tree) { tree.nodes.push_back({NodeKind::kElementEnd, false, 0, 0, {}}); }

// The values of an instance whose template is not known, as unnamed data.
const Tree* UnnamedTree(DecodedEvent& event, std::uint32_t count) {
  Tree& tree = NextFragment(event);
  tree = {};
  for (std::uint32_t slot = 0; slot < count; ++slot) {
    AddOpen(tree, "Data");
    AddSlot(tree, slot);
    AddEnd(tree);
  }
  tree.extent = ExtentOf(tree, Policy::kComplete);
  return &tree;
}

std::uint32_t AddStream(Resolution& run, const Tree* tree, const SubstitutionArray& array) {
  auto& streams = run.event.structure.streams;
  streams.push_back({tree, 0, array.first, array.count, 0, 0});
  return static_cast<std::uint32_t>(streams.size() - 1);
}

bool MayNest(Resolution& run, int depth) {
  const bool may = depth <= kMaxNesting && run.event.work_left > 0;
  if (!may) NoteFault(run.decoder, run.event, RecordFault::kLimit);
  return may;
}

// A template instance inside the record finds its definition by the offset that it carries. Returns
// where it ends; the end of the chunk when that cannot be told.
std::uint32_t AddInstance(Resolution& run, std::uint32_t token, int depth) {
  auto& [decoder, event] = run;
  const Bytes chunk = decoder.chunk.data;
  if (!MayNest(run, depth)) return kChunkSize;
  TemplateInstance instance;
  DefinitionHead head;
  if (!LocateInstance(chunk, token, instance) ||
      (!ReadDefinitionHead(chunk, instance.definition, head) &&
       decoder.policy == Policy::kLiteral)) {
    NoteFault(decoder, event, RecordFault::kNestedUnreadable);
    return kChunkSize;
  }
  SubstitutionArray array;
  const bool readable =
      ParseSubstitutionArray(chunk, instance.array, decoder.policy, event.structure.slots, array);
  if (!readable) {
    NoteFault(decoder, event, RecordFault::kNestedUnreadable);
    if (decoder.trace) TraceLine(*decoder.trace, "prob parsing slot data first, continuing");
  }
  if (array.cut) NoteFault(decoder, event, RecordFault::kValuesCut);
  if (!ChargeOrNote(decoder, event, array.count)) return kChunkSize;
  const bool vouched_for = event.recovery.checked == Checked::kAll;
  AddStream(run,
            vouched_for
                ? InstanceTree(decoder, event, token, instance.definition, head, array.count)
                : UnvouchedTree(event, array, depth),
            array);
  return readable && !array.cut ? array.end : kChunkSize;
}

// Elements whose kind has been found; false for any other value.
bool AddElementsOfKind(Resolution& run, int depth) {
  const NestedValues& nested = run.event.nested;
  if (depth != 1 || !nested.usable || !nested.tree) return false;
  if (MayNest(run, depth)) AddStream(run, nested.tree, nested.array);
  return true;
}

// The streams of one binary XML value: instances and elements, one behind the other.
void AddValueStreams(Resolution& run, SubstitutionValue value, int depth) {
  if (AddElementsOfKind(run, depth)) return;
  const Bytes chunk = run.decoder.chunk.data;
  const std::uint32_t end = value.offset + value.size;
  std::uint32_t token = 0;
  FragmentStart start = LookAtFragment(chunk, value.offset, value.size, token);
  while (start == FragmentStart::kInstance) {
    const std::uint32_t behind = AddInstance(run, token, depth);
    if (!MayFollowInstance(chunk, behind, end)) return;
    start = LookBehindInstance(chunk, behind, end, token);
    // The first stream of a value is paid for with the value.
    if (!ChargeOrNote(run.decoder, run.event, 1)) return;
  }
  if (start == FragmentStart::kInstance || !GivesValues(start, run.decoder.policy)) return;
  if (!MayNest(run, depth) || run.event.recovery.checked != Checked::kAll) return;
  AddStream(run, FragmentTree(run.decoder, run.event, token, end), {});
}

bool IsBinaryXml(const Resolution& run, const Stream& stream, std::uint32_t slot) {
  return slot < stream.slot_count &&
         run.event.structure.slots[stream.first_slot + slot].type == kEvtVarTypeEvtBXml;
}

void ResolveStream(Resolution& run, std::uint32_t number, int depth);

// Makes group `group` of what `add` finds, and resolves that.
template <typename Add>
void FillGroup(Resolution& run, std::uint32_t group, int depth, Add add) {
  EventStructure& structure = run.event.structure;
  const auto first = static_cast<std::uint32_t>(structure.streams.size());
  add();
  const auto count = static_cast<std::uint32_t>(structure.streams.size()) - first;
  structure.groups[group] = {first, count};
  for (std::uint32_t i = 0; i < count; ++i) ResolveStream(run, first + i, depth);
}

// Where a stream leads, in the order of its nodes: a slot's number, or the place of an instance.
// Slots that no node reaches come last if they hold an instance, as happens when a stream stops
// early: their values would be lost otherwise.
struct Lead {
  bool is_slot = false;
  std::uint32_t at = 0;
};

std::vector<Lead> LeadsOf(const Resolution& run, const Stream& stream) {
  std::vector<Lead> leads;
  std::vector<bool> reached(stream.slot_count);
  for (std::uint32_t i = 0; i < stream.nodes; ++i) {
    const Node& node = stream.tree->nodes[i];
    if (node.kind == NodeKind::kInstance) leads.push_back({false, node.place});
    if (node.kind != NodeKind::kSlot || !IsBinaryXml(run, stream, node.slot)) continue;
    leads.push_back({true, node.slot});
    reached[node.slot] = true;
  }
  for (std::uint32_t slot = 0; slot < stream.slot_count; ++slot) {
    if (reached[slot] || !IsBinaryXml(run, stream, slot)) continue;
    const SubstitutionValue& value = run.event.structure.slots[stream.first_slot + slot];
    std::uint32_t token = 0;
    if (LookAtFragment(run.decoder.chunk.data, value.offset, value.size, token) ==
        FragmentStart::kInstance) {
      leads.push_back({true, slot});
    }
  }
  return leads;
}

bool LeadsOn(const Resolution& run, const Stream& stream) {
  if (stream.tree && stream.tree->has_instances) return true;
  const auto begin = run.event.structure.slots.room.begin() + stream.first_slot;
  return std::any_of(begin, begin + stream.slot_count, [](const SubstitutionValue& value) {
    return value.type == kEvtVarTypeEvtBXml;
  });
}

// Settles how much of its tree the stream reads.
void TakeNodes(Resolution& run, Stream& stream) {
  const TreeExtent& extent = stream.tree->extent;
  stream.nodes = std::min(extent.nodes, run.event.work_left);
  ChargeOrNote(run.decoder, run.event, extent.nodes);
  if (stream.nodes < extent.nodes) return;
  if (extent.end == StreamEnd::kStopped) {
    NoteFault(run.decoder, run.event, RecordFault::kFragmentStopped);
  }
  if (extent.end == StreamEnd::kCut) {
    NoteFault(run.decoder, run.event, RecordFault::kFragmentCut);
  }
}

void ResolveStream(Resolution& run, std::uint32_t number, int depth) {
  EventStructure& structure = run.event.structure;
  Stream& stream = structure.streams[number];
  if (stream.tree) {
    TakeNodes(run, stream);
    if (stream.tree->odd_names) NoteFault(run.decoder, run.event, RecordFault::kOddNames);
  }
  if (!LeadsOn(run, stream)) return;
  const std::vector<Lead> leads = LeadsOf(run, stream);
  const auto first = static_cast<std::uint32_t>(structure.groups.size());
  stream.first_group = first;
  stream.group_count = static_cast<std::uint32_t>(leads.size());
  structure.groups.resize(first + leads.size());
  const std::uint32_t first_slot = stream.first_slot;  // the stream moves when more are found
  for (std::uint32_t i = 0; i < leads.size(); ++i) {
    FillGroup(run, first + i, depth + 1, [&, lead = leads[i]] {
      if (!lead.is_slot) AddInstance(run, lead.at, depth + 1);
      if (lead.is_slot) AddValueStreams(run, structure.slots[first_slot + lead.at], depth + 1);
    });
  }
}

}  // namespace

const Tree* TemplateTree(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t offset,
                         std::uint32_t size) {
  if (const Tree* const* const known = Find(decoder.chunk.trees, offset)) {
    if (!*known) NoteFault(decoder, event, RecordFault::kLimit);
    return *known;
  }
  const Tree* tree = PrepareTemplate(decoder, event, offset, offset + kDefinitionHeadSize,
                                     BodyEnd(decoder.chunk.data, offset, size));
  Add(decoder.chunk.trees, offset, tree);
  return tree;
}

const Tree* FragmentTree(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t begin,
                         std::uint32_t end) {
  const Bytes chunk = decoder.chunk.data;
  if (decoder.trace) {
    TraceStream(*decoder.trace, chunk, begin, end, FragmentLayout(decoder),
                decoder.chunk.traced_left);
  }
  // The same bytes may be reached from many slots, and every time they are compiled anew.
  if (!ChargeOrNote(decoder, event, (end - std::min(begin, end)) / kBytesPerToken)) return nullptr;
  Tree& tree = NextFragment(event);
  CompileStream(chunk, begin, end, FragmentLayout(decoder), &decoder.chunk.names_of_fragments,
                tree);
  return &tree;
}

const Tree* InstanceTree(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t token,
                         std::uint32_t definition, const DefinitionHead& head,
                         std::uint32_t count) {
  if (decoder.policy == Policy::kComplete && !IsInstanceOf(decoder.chunk.data, token, head)) {
    NoteFault(decoder, event, RecordFault::kNoNames);
    return UnnamedTree(event, count);
  }
  TraceTemplate(decoder, definition, head.size);
  return TemplateTree(decoder, event, definition, head.size);
}

const Tree* UnvouchedTree(DecodedEvent& event, const SubstitutionArray& array, int depth) {
  const bool of_system = event.recovery.checked == Checked::kSystem;
  const bool opens_data = of_system && depth == 1;
  const std::string_view name = of_system ? "Data" : "Values";
  Tree& tree = NextFragment(event);
  tree = {};
  if (opens_data) AddOpen(tree, "EventData");
  for (std::uint32_t slot = 0; slot < array.count; ++slot) {
    // What stands inside of a value follows the others: all of them are one list.
    const bool nests = event.structure.slots[array.first + slot].type == kEvtVarTypeEvtBXml;
    if (!nests) AddOpen(tree, name);
    AddSlot(tree, slot);
    if (!nests) AddEnd(tree);
  }
  if (opens_data) AddEnd(tree);
  tree.extent = ExtentOf(tree, Policy::kComplete);
  return &tree;
}

void TraceTemplate(EvtxDecoder& decoder, std::uint32_t offset, std::uint32_t size) {
  if (!decoder.trace) return;
  TraceStream(*decoder.trace, decoder.chunk.data, offset + kDefinitionHeadSize,
              BodyEnd(decoder.chunk.data, offset, size), BodyLayout(decoder),
              decoder.chunk.traced_left);
}

void ResolveStreams(EvtxDecoder& decoder, DecodedEvent& event) {
  if (event.resolved) return;
  event.resolved = true;
  EventStructure& structure = event.structure;
  structure.slots.count = event.array.count;  // the scan may have left a nested array
  if (event.nested.tree) structure.slots.count += event.nested.array.count;
  structure.streams.clear();
  structure.groups.clear();
  Resolution run{decoder, event};
  ResolveStream(run, AddStream(run, event.tree, event.array), 0);
}

}  // namespace tarnlex
