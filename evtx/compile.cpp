#include "evtx/compile.h"

#include <algorithm>

#include "event/extent.h"
#include "event/names.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMaxTreeNames = std::size_t{128} << 10;  // bytes of one tree's names

struct Compiler {
  Bytes chunk;
  ChunkNames* shared;
  Tree& tree;
  NamesByOffset own_names;
  char* literal_end;  // in tree.literals
};

// The text of a name record, made now; empty where it would be too much together.
MadeName MakeName(Compiler& compiler, const NameRecord& record) {
  Tree& tree = compiler.tree;
  const std::size_t units = record.units.size() / 2;
  std::deque<std::string>& texts = compiler.shared ? compiler.shared->texts : tree.names;
  const std::uint64_t left =
      compiler.shared ? compiler.shared->text_left : kMaxTreeNames - tree.name_text;
  // Before the conversion, so that refused names cost nothing.
  if (units > left) {
    tree.cut_names = true;
    return {{}, true};
  }
  const std::string& text = texts.emplace_back(Utf16ToUtf8(record.units));
  // Zero units at the end give no text but are read all the same.
  const std::uint64_t cost = std::min<std::uint64_t>(std::max(text.size(), units), left);
  if (compiler.shared) compiler.shared->text_left -= cost;
  tree.name_text += compiler.shared ? 0 : static_cast<std::size_t>(cost);
  return {text, !IsXmlName(text)};
}

MadeName NameOf(Compiler& compiler, const Token& token) {
  if (!token.has_name) return {{}, true};
  if (token.name_offset == 0) return MakeName(compiler, token.name);
  auto& known = compiler.shared ? compiler.shared->by_offset : compiler.own_names;
  const auto found = known.find(token.name_offset);
  if (found != known.end()) return found->second;
  return known.emplace(token.name_offset, MakeName(compiler, token.name)).first->second;
}

std::string_view MarkupName(Compiler& compiler, const Token& token) {
  const MadeName name = NameOf(compiler, token);
  compiler.tree.odd_names |= name.is_odd;
  return name.text;
}

std::string_view Literal(Compiler& compiler, Bytes utf16) {
  char* const begin = compiler.literal_end;
  compiler.literal_end = WriteUtf8(utf16.data(), utf16.size() / 2, begin);
  return {begin, static_cast<std::size_t>(compiler.literal_end - begin)};
}

// The node of a token; false when the stream ends with it.
bool MakeNode(Compiler& compiler, const Token& token, Node& node) {
  switch (token.kind) {
    case TokenKind::kOpenStart:
      node = {NodeKind::kElement, false, 0, 0, MarkupName(compiler, token)};
      return true;
    case TokenKind::kCloseStart: node.kind = NodeKind::kStartEnd; return true;
    case TokenKind::kCloseEmpty:
    case TokenKind::kEndElement: node.kind = NodeKind::kElementEnd; return true;
    case TokenKind::kAttribute:
      node = {NodeKind::kAttribute, false, 0, 0, MarkupName(compiler, token)};
      return true;
    case TokenKind::kValue:
      node = {NodeKind::kText, false, 0, 0, Literal(compiler, token.text)};
      return true;
    case TokenKind::kNormalSubstitution:
    case TokenKind::kOptionalSubstitution:
      node = {NodeKind::kSlot, token.kind == TokenKind::kOptionalSubstitution, token.slot, 0, {}};
      return true;
    case TokenKind::kTemplateInstance:
      node = {NodeKind::kInstance, false, 0, token.offset, {}};
      compiler.tree.has_instances = true;
      return !token.endless;
    case TokenKind::kCData:
      node = {NodeKind::kCData, false, 0, 0, Literal(compiler, token.text)};
      return true;
    case TokenKind::kCharacterRef:
      node = {NodeKind::kCharacter, false, token.slot, 0, {}};
      return true;
    case TokenKind::kEntityRef:
      node = {NodeKind::kEntity, false, 0, 0, NameOf(compiler, token).text};
      return true;
    case TokenKind::kInstructionTarget:
      node = {NodeKind::kInstructionTarget, false, 0, 0, NameOf(compiler, token).text};
      return true;
    case TokenKind::kInstructionData:
      node = {NodeKind::kInstructionData, false, 0, 0, Literal(compiler, token.text)};
      return true;
    case TokenKind::kEndOfStream: node.kind = NodeKind::kStreamEnd; return false;
    case TokenKind::kUnknown: node.kind = NodeKind::kUnknown; return false;
  }
  return false;
}

StreamEnd EndOf(const Token& token) {
  if (token.kind == TokenKind::kEndOfStream) return StreamEnd::kComplete;
  return StopsReading(token.kind) ? StreamEnd::kStopped : StreamEnd::kCut;
}

StreamEnd ReadNodes(Compiler& compiler, std::uint32_t begin, std::uint32_t end,
                    StreamLayout layout) {
  Token token;
  std::vector<Node>& nodes = compiler.tree.nodes;
  for (std::uint32_t pos = FirstToken(compiler.chunk, begin, end); pos < end; pos = token.end) {
    if (!ReadToken(compiler.chunk, pos, end, layout, token)) {
      if (!StopsReading(token.kind)) return StreamEnd::kCut;
      nodes.emplace_back();  // of no use, but known for one that stops the reading
      return StreamEnd::kStopped;
    }
    if (!MakeNode(compiler, token, nodes.emplace_back())) return EndOf(token);
  }
  return StreamEnd::kComplete;
}

}  // namespace

void CompileStream(Bytes chunk, std::uint32_t begin, std::uint32_t end, StreamLayout layout,
                   ChunkNames* shared, Tree& tree) {
  tree.nodes.clear();
  tree.names.clear();
  tree.name_text = tree.compared_text = 0;
  tree.odd_names = tree.has_instances = tree.cut_names = false;
  tree.keepable = tree.kept = false;
  // No unit becomes more than three bytes, so texts never have to move.
  const std::size_t most_text = (end - std::min(begin, end)) / 2 * kMaxUtf8PerUnit;
  if (tree.literals.size() < most_text) tree.literals.resize(most_text);
  Compiler compiler{chunk, shared, tree, {}, tree.literals.data()};
  tree.end = ReadNodes(compiler, begin, end, layout);
  tree.extent = ExtentOf(tree, layout.policy);
}

}  // namespace tarnlex
