#include "evtx/substitution.h"

#include <algorithm>
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {
namespace {

constexpr int kTypeShift = 16;            // of a descriptor: below it stands the size
constexpr std::size_t kValuesAtOnce = 4;  // laid out, some of which may be none

// The descriptors of an array and where its values begin.
struct ArrayHead {
  const std::uint8_t* descriptors = nullptr;
  std::uint32_t count = 0;
  std::uint32_t values = 0;
};

bool ReadArrayHead(Bytes chunk, std::uint32_t offset, Policy policy, ArrayHead& head) {
  if (!Fits(chunk, offset, 8)) return false;
  head.count = Load<std::uint32_t>(chunk.data() + offset);
  if (head.count > MostArrayValues(policy)) return false;
  const std::uint32_t descriptors = offset + 4;
  const std::uint32_t size = kDescriptorSize * head.count;
  if (!Fits(chunk, descriptors, size)) return false;
  head.descriptors = chunk.data() + descriptors;
  head.values = descriptors + size;
  return true;
}

// Values that lie one behind the other, as far as their descriptors have been read. Kept out of the
// array, which the bytes that are read might otherwise be a part of.
struct LaidOut {
  std::uint32_t at = 0;    // where the next one begins
  std::uint32_t done = 0;  // values
  std::uint64_t binary_xml = 0;
  bool has_ansi = false;
  bool has_lists = false;
};

#if defined(__SSE2__)

// Lanes of the descriptors that are left, if these are fewer than four.
__m128i LanesLeft(std::uint32_t left) {
  return _mm_cmplt_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(static_cast<int>(left)));
}

unsigned Mask(__m128i lanes) {
  return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(lanes)));
}

// Where each of four values ends, the first one beginning at zero.
__m128i EndsOf(__m128i sizes) {
  const __m128i pairs = _mm_add_epi32(sizes, _mm_slli_si128(sizes, 4));
  return _mm_add_epi32(pairs, _mm_slli_si128(pairs, 8));
}

// Each is as long as one and a third: what is too much of one is overwritten by the next.
void Put(SubstitutionValue* values, __m128i offsets, __m128i sizes, __m128i types) {
  static_assert(sizeof(SubstitutionValue) == 12 && offsetof(SubstitutionValue, size) == 4 &&
                offsetof(SubstitutionValue, type) == 8);
  const __m128i none = _mm_setzero_si128();
  const __m128i places[] = {_mm_unpacklo_epi32(offsets, sizes), _mm_unpackhi_epi32(offsets, sizes)};
  const __m128i kinds[] = {_mm_unpacklo_epi32(types, none), _mm_unpackhi_epi32(types, none)};
  for (std::size_t i = 0; i < 2; ++i, values += 2) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(values), _mm_unpacklo_epi64(places[i], kinds[i]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(values + 1),
                     _mm_unpackhi_epi64(places[i], kinds[i]));
  }
}

// Four at a time, as long as so many bytes can be read. `values` has room for kValuesAtOnce more
// than there are.
void LayOutBlocks(Bytes chunk, const ArrayHead& head, SubstitutionValue* values, LaidOut& out) {
  const auto readable = static_cast<std::size_t>(chunk.data() + chunk.size() - head.descriptors);
  __m128i at = _mm_set1_epi32(static_cast<int>(out.at));
  __m128i any = _mm_setzero_si128();
  __m128i ansi = any;
  std::uint32_t done = 0;
  for (; done < head.count && std::size_t{kDescriptorSize} * (done + 4) <= readable; done += 4) {
    const std::uint8_t* const from = head.descriptors + std::size_t{kDescriptorSize} * done;
    __m128i fields = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    if (head.count - done < 4) fields = _mm_and_si128(fields, LanesLeft(head.count - done));
    const __m128i sizes = _mm_and_si128(fields, _mm_set1_epi32(0xFFFF));
    const __m128i types = _mm_and_si128(_mm_srli_epi32(fields, kTypeShift), _mm_set1_epi32(0xFF));
    const __m128i ends = _mm_add_epi32(EndsOf(sizes), at);
    Put(values + done, _mm_sub_epi32(ends, sizes), sizes, types);
    at = _mm_shuffle_epi32(ends, 0xFF);
    any = _mm_or_si128(any, types);
    ansi = _mm_or_si128(ansi, _mm_cmpeq_epi32(types, _mm_set1_epi32(kEvtVarTypeAnsiString)));
    out.binary_xml |=
        std::uint64_t{Mask(_mm_cmpeq_epi32(types, _mm_set1_epi32(kEvtVarTypeEvtBXml)))}
        << done % kSlotBits;
  }
  out.done = std::min(done, head.count);
  out.at = static_cast<std::uint32_t>(_mm_cvtsi128_si32(at));
  out.has_ansi = Mask(ansi) != 0;
  out.has_lists = _mm_movemask_epi8(_mm_slli_epi16(any, 8)) != 0;
}

#else

void LayOutBlocks(Bytes, const ArrayHead&, SubstitutionValue*, LaidOut&) {}

#endif

// One by one.
void LayOutRest(const ArrayHead& head, SubstitutionValue* values, LaidOut& out) {
  for (; out.done < head.count; ++out.done) {
    const auto fields =
        Load<std::uint32_t>(head.descriptors + std::size_t{kDescriptorSize} * out.done);
    const std::uint32_t size = fields & 0xFFFF;
    const auto type = static_cast<std::uint8_t>(fields >> kTypeShift);
    values[out.done] = {out.at, size, type};
    out.at += size;
    out.has_lists |= (type & kArrayBit) != 0;
    if (type == kEvtVarTypeEvtBXml) out.binary_xml |= std::uint64_t{1} << out.done % kSlotBits;
    if (type == kEvtVarTypeAnsiString) out.has_ansi = true;
  }
}

// What the types of an array's values say of it.
void LookAtTypes(const SubstitutionValue* values, SubstitutionArray& array) {
  array.binary_xml = 0;
  array.has_ansi = array.has_lists = false;
  for (std::uint32_t i = 0; i < array.count; ++i) {
    array.has_ansi |= values[i].type == kEvtVarTypeAnsiString;
    array.has_lists |= (values[i].type & kArrayBit) != 0;
    if (values[i].type != kEvtVarTypeEvtBXml) continue;
    if (i < kSlotBits) array.binary_xml |= std::uint64_t{1} << i;
    array.binary_xml_beyond |= i >= kSlotBits;
  }
}

// Leaves out the values that would run past the chunk.
void CutArray(const SubstitutionValue* values, std::size_t chunk_size, SubstitutionArray& array) {
  while (array.end > chunk_size) array.end = values[--array.count].offset;
  array.cut = true;
}

}  // namespace

bool ParseSubstitutionArray(Bytes chunk, std::uint32_t offset, Policy policy, SlotList& slots,
                            SubstitutionArray& array) {
  array = {};
  array.first = static_cast<std::uint32_t>(slots.count);
  array.end = offset;
  ArrayHead head;
  if (!ReadArrayHead(chunk, offset, policy, head)) return false;
  SubstitutionValue* const values = MoreSlots(slots, head.count + kValuesAtOnce);
  LaidOut laid_out{head.values};
  LayOutBlocks(chunk, head, values, laid_out);
  LayOutRest(head, values, laid_out);
  array.count = head.count;
  array.end = laid_out.at;
  array.binary_xml = laid_out.binary_xml;
  array.has_ansi = laid_out.has_ansi;
  array.has_lists = laid_out.has_lists;
  if (array.end > chunk.size()) CutArray(values, chunk.size(), array);
  if (array.cut || (array.count > kSlotBits && array.binary_xml != 0)) LookAtTypes(values, array);
  array.bytes = array.end - head.values;
  slots.count += array.count;
  return true;
}

bool FindArrayEnd(Bytes chunk, std::uint32_t offset, Policy policy, std::uint32_t& end) {
  ArrayHead head;
  if (!ReadArrayHead(chunk, offset, policy, head)) return false;
  end = head.values;
  for (std::uint32_t i = 0; i < head.count; ++i) {
    const auto size = Load<std::uint16_t>(head.descriptors + std::size_t{kDescriptorSize} * i);
    if (size > chunk.size() - end) break;
    end += size;
  }
  return true;
}

bool ReadDefinitionHead(Bytes chunk, std::uint32_t offset, DefinitionHead& head) {
  if (!Fits(chunk, offset, kDefinitionHeadSize)) return false;
  const std::uint8_t* at = chunk.data() + offset;
  head.next = Load<std::uint32_t>(at);
  std::copy_n(at + kDefinitionGuidField, head.guid.size(), head.guid.begin());
  head.size = Load<std::uint32_t>(at + kDefinitionSizeField);
  return true;
}

bool IsInstanceOf(Bytes chunk, std::uint32_t token, const DefinitionHead& head) {
  std::uint32_t id = 0;
  return ReadAt(chunk, std::uint64_t{token} + kInstanceIdField, id) && head.size > 0 &&
         id == Load<std::uint32_t>(head.guid.data());
}

bool LocateInstance(Bytes chunk, std::uint32_t token, TemplateInstance& instance) {
  if (!Fits(chunk, token, kInstanceTokenSize)) return false;
  const std::uint32_t behind = token + kInstanceTokenSize;
  instance.definition = Load<std::uint32_t>(chunk.data() + behind - 4);
  instance.array = behind;
  if (instance.definition != behind) return true;
  DefinitionHead head;
  if (!ReadDefinitionHead(chunk, behind, head)) return false;
  const std::uint64_t array = std::uint64_t{behind} + kDefinitionHeadSize + head.size;
  instance.array = static_cast<std::uint32_t>(std::min<std::uint64_t>(array, chunk.size()));
  return true;
}

}  // namespace tarnlex
