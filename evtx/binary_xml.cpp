#include "evtx/binary_xml.h"

#include "evtx/evtx_format.h"
#include "evtx/substitution.h"

namespace tarnlex {
namespace {

// The name stands at an offset of the chunk; where that is right here, it belongs to the token.
void ReadNameByOffset(Bytes chunk, ByteReader& in, Token& token) {
  token.name_offset = Read<std::uint32_t>(in);
  if (in.failed) return;
  token.has_name = ReadNameRecord(chunk, token.name_offset, token.name);
  token.name_follows = token.name_offset == in.pos;
  if (!token.name_follows) return;
  // Behind a name of unknown length nothing can be found.
  if (!token.has_name) in.failed = true;
  Skip(in, kNameHeadSize + token.name.units.size());
  if (token.name.terminated) Skip(in, 2);
}

void ReadInlineName(ByteReader& in, Token& token) {
  token.name.hash = Read<std::uint16_t>(in);
  token.name.count = Read<std::uint16_t>(in);
  token.name_follows = true;
  const std::size_t begin = in.pos;
  Skip(in, std::uint64_t{2} * token.name.count);
  if (in.failed) return;
  token.name.units = in.bytes.subspan(begin, in.pos - begin);
  token.has_name = true;
}

void ReadName(Bytes chunk, ByteReader& in, StreamLayout layout, Token& token) {
  token.has_name = false;
  token.name_offset = 0;
  token.name = {};
  if (layout.inline_names) {
    ReadInlineName(in, token);
  } else {
    ReadNameByOffset(chunk, in, token);
  }
}

void ReadOpenStart(Bytes chunk, ByteReader& in, StreamLayout layout, Token& token) {
  token.dependency_id = layout.dependency_ids ? Read<std::uint16_t>(in) : std::uint16_t{0};
  token.element_size = Read<std::uint32_t>(in);
  ReadName(chunk, in, layout, token);
  token.attributes_size = HasMore(token) ? Read<std::uint32_t>(in) : 0;
}

void ReadText(ByteReader& in, Token& token) {
  const std::uint16_t count = Read<std::uint16_t>(in);
  const std::size_t begin = in.pos;
  Skip(in, std::uint64_t{2} * count);
  if (!in.failed) token.text = in.bytes.subspan(begin, in.pos - begin);
}

void ReadInstance(Bytes chunk, ByteReader& in, Policy policy, Token& token) {
  Skip(in, 1);  // version of the instance, always 1
  token.template_id = Read<std::uint32_t>(in);
  token.definition_offset = Read<std::uint32_t>(in);
  TemplateInstance instance;
  std::uint32_t end = 0;
  token.endless = in.failed || !LocateInstance(chunk, token.offset, instance) ||
                  !FindArrayEnd(chunk, instance.array, policy, end);
  if (!token.endless) in.pos = end;
}

TokenKind KindOf(std::uint8_t byte) {
  const std::uint8_t low = byte & 0x0F;
  return static_cast<TokenKind>(low);
}

}  // namespace

bool ReadNameRecord(Bytes chunk, std::uint32_t offset, NameRecord& record) {
  ByteReader in{chunk, offset};
  record.next = Read<std::uint32_t>(in);
  record.hash = Read<std::uint16_t>(in);
  record.count = Read<std::uint16_t>(in);
  if (in.failed || !Fits(chunk, in.pos, std::uint64_t{2} * record.count)) return false;
  record.units = chunk.subspan(in.pos, std::size_t{2} * record.count);
  Skip(in, record.units.size());
  record.terminated = Read<std::uint16_t>(in) == 0 && !in.failed;
  return true;
}

std::uint32_t FirstToken(Bytes chunk, std::uint32_t begin, std::uint32_t end) {
  std::uint32_t header = 0;
  const bool has_header = ReadAt(Clip(chunk, 0, end), begin, header) && header == kFragmentHeader;
  return has_header ? begin + kFragmentHeaderSize : begin;
}

bool ReadToken(Bytes chunk, std::uint32_t pos, std::uint32_t end, StreamLayout layout,
               Token& token) {
  ByteReader in{Clip(chunk, 0, end), pos};
  token.offset = pos;
  token.byte = Read<std::uint8_t>(in);
  if (in.failed) return false;
  token.kind = KindOf(token.byte);
  switch (token.kind) {
    case TokenKind::kOpenStart: ReadOpenStart(chunk, in, layout, token); break;
    case TokenKind::kAttribute:
    case TokenKind::kEntityRef:
    case TokenKind::kInstructionTarget: ReadName(chunk, in, layout, token); break;
    case TokenKind::kValue:
      token.type = Read<std::uint8_t>(in);
      ReadText(in, token);
      break;
    case TokenKind::kCData:
    case TokenKind::kInstructionData: ReadText(in, token); break;
    case TokenKind::kCharacterRef: token.slot = Read<std::uint16_t>(in); break;
    case TokenKind::kTemplateInstance: ReadInstance(chunk, in, layout.policy, token); break;
    case TokenKind::kNormalSubstitution:
    case TokenKind::kOptionalSubstitution:
      token.slot = Read<std::uint16_t>(in);
      token.type = Read<std::uint8_t>(in);
      break;
    default: break;
  }
  token.end = static_cast<std::uint32_t>(in.pos);
  return !in.failed;
}

}  // namespace tarnlex
