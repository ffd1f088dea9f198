#include "evtx/judge_record.h"

#include "evtx/evtx_format.h"
#include "evtx/fragment.h"
#include "evtx/sound_value.h"
#include "evtx/substitution.h"

namespace tarnlex {
namespace {

struct Judging {
  SoundChecks& checks;
  SlotList slots = {};
  bool has_names = true;  // of the instances inside of values
};

bool AreSoundValues(Judging& run, const SubstitutionArray& array, int depth);

// An instance whose values end at `limit` at the latest; `end` gets where they do.
bool HasSoundValues(Judging& run, std::uint32_t token, std::uint32_t limit, int depth,
                    SubstitutionArray& array) {
  TemplateInstance instance;
  return depth <= kMaxNesting && LocateInstance(run.checks.chunk, token, instance) &&
         ParseSubstitutionArray(run.checks.chunk, instance.array, Policy::kComplete, run.slots,
                                array) &&
         !array.cut && array.end <= limit && AreSoundValues(run, array, depth);
}

// A value of binary XML: instances, one behind the other, or elements.
bool IsSoundBinaryXml(Judging& run, SubstitutionValue value, int depth) {
  const Bytes chunk = run.checks.chunk;
  const std::uint32_t end = value.offset + value.size;
  if (value.size == 0) return true;
  std::uint32_t token = 0;
  FragmentStart start = LookAtFragment(chunk, value.offset, value.size, token);
  while (start == FragmentStart::kInstance) {
    SubstitutionArray array;
    if (!HasSoundValues(run, token, end, depth, array)) return false;
    run.has_names &= IsSoundInstance(run.checks, token, run.slots, array);
    if (!MayFollowInstance(chunk, array.end, end)) return true;
    start = LookBehindInstance(chunk, array.end, end, token);
  }
  if (start == FragmentStart::kOther) return false;
  run.has_names &= IsSoundFragment(run.checks, token, end);
  return true;
}

bool AreSoundValues(Judging& run, const SubstitutionArray& array, int depth) {
  for (std::uint32_t i = 0; i < array.count; ++i) {
    // Copied, as the values move when more are found.
    const SubstitutionValue value = run.slots[array.first + i];
    if (!IsSoundValue(run.checks.chunk, value)) return false;
    if (value.type == kEvtVarTypeEvtBXml && !IsSoundBinaryXml(run, value, depth + 1)) return false;
  }
  return true;
}

// Behind the values stand an end token, what fills the record up, and its size.
bool EndsBehind(Bytes chunk, const SubstitutionArray& array, std::uint32_t end) {
  return array.end == end || (end - array.end <= kMostBehindStream && chunk[array.end] == 0);
}

Checked ClassOf(Judging& run, std::uint32_t token, const SubstitutionArray& array) {
  if (!IsSoundInstance(run.checks, token, run.slots, array)) return Checked::kNone;
  return run.has_names ? Checked::kAll : Checked::kSystem;
}

}  // namespace

Recovery JudgeRecord(SoundChecks& checks, FoundIn from, std::uint32_t at, std::uint32_t size) {
  const std::uint32_t begin = at + kRecordHeaderSize;
  const std::uint32_t end = at + size - kRecordSizeCopy;
  std::uint32_t token = 0;
  const FragmentStart start = LookAtFragment(checks.chunk, begin, end - begin, token);
  if (start == FragmentStart::kElement) {
    const bool sound = IsSoundFragment(checks, token, end);
    return {from, sound ? Checked::kAll : Checked::kNone, sound};
  }
  Judging run{checks};
  SubstitutionArray array;
  if (start != FragmentStart::kInstance || token != begin + kFragmentHeaderSize ||
      !HasSoundValues(run, token, end, 0, array) || !EndsBehind(checks.chunk, array, end)) {
    return {from, Checked::kNone, false};
  }
  return {from, ClassOf(run, token, array)};
}

}  // namespace tarnlex
