// The tokens of one binary XML stream ([MS-EVEN6] 2.2.12), read one at a time. What a token means
// for the event is not decided here.
#pragma once

#include <cstdint>

#include "event/policy.h"
#include "logs/bytes.h"

namespace tarnlex {

enum class TokenKind : std::uint8_t {
  kEndOfStream = 0x0,
  kOpenStart = 0x1,
  kCloseStart = 0x2,
  kCloseEmpty = 0x3,
  kEndElement = 0x4,
  kValue = 0x5,
  kAttribute = 0x6,
  kCData = 0x7,
  kCharacterRef = 0x8,
  kEntityRef = 0x9,
  kInstructionTarget = 0xA,
  kInstructionData = 0xB,
  kTemplateInstance = 0xC,
  kNormalSubstitution = 0xD,
  kOptionalSubstitution = 0xE,
  kUnknown = 0xF,  // everything else; nothing behind it can be read
};

// A name record inside a chunk.
struct NameRecord {
  std::uint32_t next = 0;  // the next name of the same hash bucket
  std::uint16_t hash = 0;
  std::uint16_t count = 0;  // UTF-16 units
  Bytes units;
  bool terminated = false;  // a zero unit follows, as it should
};

// Reads the name record at `offset`; false when it does not lie inside the chunk.
bool ReadNameRecord(Bytes chunk, std::uint32_t offset, NameRecord& record);

// Whether a token ends the reading of a stream for the tables and for the trace.
constexpr bool StopsReading(TokenKind kind) {
  return (kind >= TokenKind::kCData && kind <= TokenKind::kInstructionData) ||
         kind == TokenKind::kUnknown;
}

// How a stream is laid out.
struct StreamLayout {
  bool dependency_ids = true;  // open start elements carry a dependency identifier: template bodies
  bool inline_names = false;   // names stand behind the token, without offsets and links
  Policy policy = Policy::kLiteral;
};

struct Token {
  TokenKind kind = TokenKind::kUnknown;
  std::uint8_t byte = 0;      // as it stands, flags included
  std::uint32_t offset = 0;   // of the token in the chunk
  std::uint32_t end = 0;      // where the next token begins
  bool has_name = false;      // `name` could be read
  bool name_follows = false;  // the name record stands directly behind the token
  std::uint16_t dependency_id = 0;
  std::uint32_t element_size = 0;
  std::uint32_t name_offset = 0;
  std::uint32_t attributes_size = 0;
  NameRecord name;
  Bytes text;              // kValue, kCData, kInstructionData: UTF-16LE
  std::uint8_t type = 0;   // kValue and substitutions
  std::uint16_t slot = 0;  // substitutions; kCharacterRef: the character
  std::uint32_t template_id = 0;
  std::uint32_t definition_offset = 0;  // kTemplateInstance
  bool endless = false;                 // kTemplateInstance: where it ends cannot be told
};

// Whether a token carries the flag for "attribute list follows" or "more of the same follows".
inline constexpr std::uint8_t kMoreBit = 0x40;
inline bool HasMore(const Token& token) { return (token.byte & kMoreBit) != 0; }

// Where the first token of the stream from `begin` to `end` stands: behind its fragment header, if
// it has one.
std::uint32_t FirstToken(Bytes chunk, std::uint32_t begin, std::uint32_t end);

// Reads the token at `pos`; nothing of it may lie at or behind `end`, which is not beyond the
// chunk. False when it does not fit: the stream is over. A template instance reaches to the
// end of its values.
bool ReadToken(Bytes chunk, std::uint32_t pos, std::uint32_t end, StreamLayout layout,
               Token& token);

}  // namespace tarnlex
