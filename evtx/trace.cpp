#include "evtx/trace.h"

#include <algorithm>
#include <string>

#include "event/value.h"
#include "evtx/evtx_format.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

std::string_view Tag(TokenKind kind) {
  switch (kind) {
    case TokenKind::kOpenStart: return "open";
    case TokenKind::kAttribute: return "attrib";
    case TokenKind::kValue: return "value";
    case TokenKind::kNormalSubstitution: return "normsub";
    case TokenKind::kOptionalSubstitution: return "optsub";
    case TokenKind::kCloseStart: return "close st";
    case TokenKind::kCloseEmpty: return "close em";
    case TokenKind::kEndElement: return "end elem";
    case TokenKind::kTemplateInstance: return "tmpinst";
    case TokenKind::kEndOfStream: return "end";
    default: return "stop";
  }
}

bool FlagCounts(TokenKind kind) {
  return kind == TokenKind::kOpenStart || kind == TokenKind::kValue ||
         kind == TokenKind::kAttribute;
}

void AppendHex(TextSink& trace, std::string_view label, std::uint64_t value) {
  Append(trace, label);
  Append(trace, " 0x" + HexText(value));
}

// A log's author must not be able to write lines of the trace.
void AppendText(TextSink& trace, Bytes utf16) {
  Append(trace, ReplaceChar(ReplaceChar(Utf16ToUtf8(utf16), '\n', ' '), '\r', ' '));
}

void AppendName(TextSink& trace, const Token& token) {
  AppendHex(trace, " : data offset:", token.name_offset);
  if (!token.has_name) return;
  AppendHex(trace, " : offset to prev:", token.name.next);
  AppendHex(trace, " : hash:", token.name.hash);
  Append(trace, " : num symbols: " + std::to_string(token.name.count));
  Append(trace, " : namestring: ");
  AppendText(trace, token.name.units);
  if (!token.name.terminated) Append(trace, " : null not present");
}

void AppendFields(TextSink& trace, const Token& token) {
  switch (token.kind) {
    case TokenKind::kOpenStart:
      AppendHex(trace, " : id:", token.dependency_id);
      AppendHex(trace, " : element_size:", token.element_size);
      AppendName(trace, token);
      if (HasMore(token)) AppendHex(trace, " : attrib size:", token.attributes_size);
      break;
    case TokenKind::kAttribute: AppendName(trace, token); break;
    case TokenKind::kValue:
      Append(trace, " : type: ");
      Append(trace, TypeName(token.type));
      Append(trace, " : ");
      AppendText(trace, token.text);
      break;
    case TokenKind::kNormalSubstitution:
    case TokenKind::kOptionalSubstitution:
      Append(trace, " : slot_num: " + std::to_string(token.slot) + " : type: ");
      Append(trace, TypeName(token.type));
      break;
    case TokenKind::kTemplateInstance:
      AppendHex(trace, " : id:", token.template_id);
      AppendHex(trace, " : data offset:", token.definition_offset);
      break;
    case TokenKind::kCloseStart: Append(trace, " >"); break;
    case TokenKind::kCloseEmpty: Append(trace, " />"); break;
    case TokenKind::kEndElement: Append(trace, " </...>"); break;
    case TokenKind::kEndOfStream: break;
    default: AppendHex(trace, " : token:", token.byte); break;  // ends the reading
  }
}

std::uint32_t LineCost(const Token& token) {
  const std::size_t text = token.text.size() + (token.has_name ? token.name.units.size() : 0);
  return static_cast<std::uint32_t>(1 + text / (2 * kTextPerToken));
}

}  // namespace

void TraceToken(TextSink& trace, const Token& token) {
  Append(trace, "0x" + HexText(token.offset));
  Append(trace, token.kind == TokenKind::kTemplateInstance ? ": --- bxml [" : ": bxml [");
  Append(trace, Tag(token.kind));
  if (FlagCounts(token.kind) && HasMore(token)) Append(trace, '+');
  Append(trace, "]:");
  AppendFields(trace, token);
  Append(trace, '\n');
}

void TraceStream(TextSink& trace, Bytes chunk, std::uint32_t begin, std::uint32_t end,
                 StreamLayout layout, std::uint32_t& left) {
  Token token;
  for (std::uint32_t pos = FirstToken(chunk, begin, end); pos < end && left > 0; pos = token.end) {
    if (!ReadToken(chunk, pos, end, layout, token) && !StopsReading(token.kind)) return;
    TraceToken(trace, token);
    left -= std::min(left, LineCost(token));
    if (left == 0) TraceLine(trace, "tokens of this chunk left out from here on: too many");
    if (token.kind == TokenKind::kEndOfStream || StopsReading(token.kind)) return;
  }
}

void TraceLine(TextSink& trace, std::string_view text) {
  Append(trace, text);
  Append(trace, '\n');
}

}  // namespace tarnlex
