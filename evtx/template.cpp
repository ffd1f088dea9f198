#include "evtx/template.h"

#include <algorithm>

#include "evtx/evtx_format.h"
#include "evtx/record_check.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// An element whose end has not been read yet.
struct OpenElement {
  Name* name = nullptr;
  bool is_data = false;
  bool is_provider = false;
  bool named = false;    // a "Data" element that carries a Name attribute
  bool counted = false;  // an unnamed "Data" element whose number is taken already
  std::vector<TextPiece> text;
  std::vector<TextPiece> name_text;
  std::size_t decoded = 0;  // leading pieces of `text` that have a kDecodeSlot step
};

struct Compiler {
  Bytes chunk;
  NameTable& names;
  TemplateProgram& program;
  std::vector<OpenElement> open;
  // The attribute whose value is being read.
  bool in_attribute = false;
  Name* attribute = nullptr;
  std::vector<TextPiece> attribute_text;
};

std::string_view KeepLiteral(Compiler& compiler, std::string text) {
  return compiler.program.literals.emplace_back(std::move(text));
}

Step& AddStep(Compiler& compiler, StepKind kind) {
  Step& step = compiler.program.steps.emplace_back();
  step.kind = kind;
  step.tokens = compiler.program.tokens;
  return step;
}

std::uint32_t AddPieces(Compiler& compiler, const std::vector<TextPiece>& pieces) {
  auto& all = compiler.program.pieces;
  const auto first = static_cast<std::uint32_t>(all.size());
  all.insert(all.end(), pieces.begin(), pieces.end());
  return first;
}

void SetPieces(Compiler& compiler, Step& step, const std::vector<TextPiece>& pieces) {
  step.first_piece = AddPieces(compiler, pieces);
  step.piece_count = static_cast<std::uint32_t>(pieces.size());
}

void AddValue(Compiler& compiler, Name* name, const std::vector<TextPiece>& pieces,
              std::size_t decoded) {
  const bool plain_slot = pieces.size() == 1 && pieces[0].is_slot && decoded == 0;
  Step& step = AddStep(compiler, plain_slot ? StepKind::kSlotValue : StepKind::kValue);
  step.name = name;
  step.decoded_pieces = static_cast<std::uint32_t>(decoded);
  if (plain_slot) {
    step.slot = pieces[0].slot;
    step.optional = pieces[0].optional;
  }
  SetPieces(compiler, step, pieces);
}

// What slots hold in binary XML is decoded where they stand.
void AddDecodeSteps(Compiler& compiler, const std::vector<TextPiece>& pieces, std::size_t from) {
  for (std::size_t i = from; i < pieces.size(); ++i) {
    if (pieces[i].is_slot) AddStep(compiler, StepKind::kDecodeSlot).slot = pieces[i].slot;
  }
}

bool AllLiteral(const std::vector<TextPiece>& pieces) {
  return std::none_of(pieces.begin(), pieces.end(), [](const TextPiece& p) { return p.is_slot; });
}

std::string JoinLiterals(const std::vector<TextPiece>& pieces) {
  std::string text;
  for (const TextPiece& piece : pieces) text += piece.literal;
  return text;
}

// An attribute without any value names nothing; the Name of a "Data" element names its text.
void EndAttribute(Compiler& compiler) {
  if (!compiler.in_attribute) return;
  compiler.in_attribute = false;
  OpenElement* element = compiler.open.empty() ? nullptr : &compiler.open.back();
  if (element && element->is_data && compiler.attribute->text == "Name") {
    if (!element->named) element->name_text = compiler.attribute_text;
    element->named = true;
    AddDecodeSteps(compiler, compiler.attribute_text, 0);
    return;
  }
  if (compiler.attribute_text.empty()) return;
  Name* name = compiler.attribute;
  if (element && element->is_provider) {
    name = InternName(compiler.names, "Provider " + std::string(name->text));
  }
  AddValue(compiler, name, compiler.attribute_text, 0);
}

// Before something nested begins, the slots met so far must have been decoded, and an unnamed
// "Data" element must have its number: both go by document order.
void BeforeNested(Compiler& compiler) {
  if (compiler.open.empty()) return;
  OpenElement& element = compiler.open.back();
  if (element.is_data && !element.named && !element.counted) {
    AddStep(compiler, StepKind::kCountData);
    element.counted = true;
  }
  AddDecodeSteps(compiler, element.text, element.decoded);
  element.decoded = element.text.size();
}

void AddDataValue(Compiler& compiler, const OpenElement& element) {
  if (!element.named) {
    Step& step =
        AddStep(compiler, element.counted ? StepKind::kCountedData : StepKind::kUnnamedData);
    step.decoded_pieces = static_cast<std::uint32_t>(element.decoded);
    SetPieces(compiler, step, element.text);
  } else if (element.text.empty()) {
    return;
  } else if (AllLiteral(element.name_text)) {
    Name* name = InternName(compiler.names, JoinLiterals(element.name_text));
    if (!IsPrintable(name->text)) compiler.program.odd_names = true;
    AddValue(compiler, name, element.text, element.decoded);
  } else {
    Step& step = AddStep(compiler, StepKind::kComputedName);
    step.decoded_pieces = static_cast<std::uint32_t>(element.decoded);
    SetPieces(compiler, step, element.text);
    const std::uint32_t first_name_piece = AddPieces(compiler, element.name_text);
    step.first_name_piece = first_name_piece;
    step.name_piece_count = static_cast<std::uint32_t>(element.name_text.size());
  }
}

void EndElement(Compiler& compiler) {
  if (compiler.open.empty()) return;
  const OpenElement& element = compiler.open.back();
  if (element.is_data) {
    AddDataValue(compiler, element);
  } else if (!element.text.empty()) {
    AddValue(compiler, element.name, element.text, element.decoded);
  }
  compiler.open.pop_back();
}

void AddPiece(Compiler& compiler, TextPiece piece) {
  if (compiler.in_attribute) {
    compiler.attribute_text.push_back(piece);
  } else if (!compiler.open.empty()) {
    compiler.open.back().text.push_back(piece);
  } else if (piece.is_slot) {
    // Outside of any element a text has no name, but a slot may still hold elements.
    AddStep(compiler, StepKind::kDecodeSlot).slot = piece.slot;
  }
}

void OpenStart(Compiler& compiler, const Token& token) {
  BeforeNested(compiler);
  OpenElement& element = compiler.open.emplace_back();
  element.name = InternTokenName(compiler.names, token);
  if (!IsXmlName(element.name->text)) compiler.program.odd_names = true;
  element.is_data = element.name->text == "Data";
  element.is_provider = element.name->text == "Provider";
}

// What one token does to the program; false when the stream ends with it.
bool Apply(Compiler& compiler, const Token& token) {
  const bool is_part = token.kind == TokenKind::kValue ||
                       token.kind == TokenKind::kNormalSubstitution ||
                       token.kind == TokenKind::kOptionalSubstitution;
  if (!is_part) EndAttribute(compiler);
  switch (token.kind) {
    case TokenKind::kOpenStart: OpenStart(compiler, token); return true;
    case TokenKind::kCloseStart: return true;
    case TokenKind::kCloseEmpty:
    case TokenKind::kEndElement: EndElement(compiler); return true;
    case TokenKind::kAttribute:
      compiler.in_attribute = true;
      compiler.attribute = InternTokenName(compiler.names, token);
      if (!IsXmlName(compiler.attribute->text)) compiler.program.odd_names = true;
      compiler.attribute_text.clear();
      return true;
    case TokenKind::kValue:
      AddPiece(compiler, {KeepLiteral(compiler, Utf16ToUtf8(token.text)), 0, false, false});
      return true;
    case TokenKind::kNormalSubstitution:
    case TokenKind::kOptionalSubstitution:
      AddPiece(compiler, {{}, token.slot, true, token.kind == TokenKind::kOptionalSubstitution});
      return true;
    case TokenKind::kTemplateInstance:
      BeforeNested(compiler);
      AddStep(compiler, StepKind::kInstance).offset = token.offset;
      return !token.endless;
    default: return false;
  }
}

StreamEnd EndOf(const Token& token) {
  if (token.kind == TokenKind::kEndOfStream) return StreamEnd::kComplete;
  return token.kind == TokenKind::kStopping ? StreamEnd::kStopped : StreamEnd::kCut;
}

StreamEnd ReadTokens(Compiler& compiler, std::uint32_t begin, std::uint32_t end,
                     StreamLayout layout) {
  Token token;
  for (std::uint32_t pos = FirstToken(compiler.chunk, begin, end); pos < end; pos = token.end) {
    if (!ReadToken(compiler.chunk, pos, end, layout, token)) return StreamEnd::kCut;
    ++compiler.program.tokens;
    if (!Apply(compiler, token)) return EndOf(token);
  }
  return StreamEnd::kComplete;
}

// Marks a slot as one that could hide an earlier "EventID"; slots beyond any array hold nothing.
void MarkSlot(TemplateProgram& program, std::uint16_t slot) {
  if (slot < kMaxArrayValues) program.slots_before_event_id |= 1U << slot;
}

// Queries reject most records by their event identifier, so its step is found once here.
void FindEventId(TemplateProgram& program) {
  for (std::size_t i = 0; i < program.steps.size(); ++i) {
    const Step& step = program.steps[i];
    if (step.kind == StepKind::kComputedName || step.kind == StepKind::kInstance) return;
    if (step.kind == StepKind::kDecodeSlot) MarkSlot(program, step.slot);
    for (std::uint32_t p = 0; p < step.piece_count; ++p) {
      const TextPiece& piece = program.pieces[step.first_piece + p];
      if (piece.is_slot) MarkSlot(program, piece.slot);
    }
    if (step.name && step.name->text == "EventID") {
      program.event_id_step = static_cast<int>(i);
      return;
    }
  }
}

}  // namespace

void CompileStream(Bytes chunk, std::uint32_t begin, std::uint32_t end, StreamLayout layout,
                   NameTable& names, TemplateProgram& program) {
  program = {};
  Compiler compiler{chunk, names, program, {}, false, nullptr, {}};
  program.end = ReadTokens(compiler, begin, end, layout);
  EndAttribute(compiler);
  while (!compiler.open.empty()) EndElement(compiler);
  FindEventId(program);
}

}  // namespace tarnlex
