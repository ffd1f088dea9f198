// Cells on their way into a sink: written in place into its buffer, cleaned and padded in one pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "logs/text_sink.h"
#include "output/cell_cleaner.h"

namespace tarnlex {

// Writes at `at`; whatever a call writes beyond `end` makes room first. Every writer below is given
// a writer with nothing promised. FinishCells must be called before the sink is used otherwise.
struct CellWriter {
  TextSink* sink = nullptr;
  char* at = nullptr;
  char* end = nullptr;
};
CellWriter BeginCells(TextSink& sink);
void FinishCells(CellWriter& writer);

// Hands full blocks on until at least `size` bytes are free.
void MakeRoom(CellWriter& writer, std::size_t size);
inline void NeedRoom(CellWriter& writer, std::size_t size) {
  if (static_cast<std::size_t>(writer.end - writer.at) < size) MakeRoom(writer, size);
}

// As it is.
void WriteVerbatim(CellWriter& writer, std::string_view text);
inline void WriteCharacter(CellWriter& writer, char c) {
  NeedRoom(writer, 1);
  *writer.at++ = c;
}
void WriteBlanks(CellWriter& writer, std::size_t count);
void WriteNumber(CellWriter& writer, std::uint64_t number);

// Cleaned; returns how many characters longer the text became. The second form is for texts behind
// which a block may be read, as behind every packed cell of a collection.
std::size_t WriteCleaned(CellWriter& writer, const CellCleaner& cleaner, std::string_view text);
std::size_t WriteCleanedCell(CellWriter& writer, const CellCleaner& cleaner, std::string_view text);

// The cleaned text by itself, for texts that are written again and again.
std::string Cleaned(const CellCleaner& cleaner, std::string_view text);

}  // namespace tarnlex
