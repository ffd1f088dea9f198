// Cells on their way into a sink: written in place into its buffer, cleaned and padded in one pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "logs/run_options.h"
#include "logs/text_sink.h"

namespace tarnlex {

// What happens to a cell's text: up to two characters are replaced, and line breaks are marked
// "[CRLF]", "[LFCR]", "[LF]", "[CR]". Sixteen copies of each character, to compare blocks with.
struct CellCleaner {
  alignas(16) char from[2][16];
  alignas(16) char to[2][16];
};

// The cleaner for the run's separator character. In a pulled value "," becomes ";" before the
// separator character is replaced.
CellCleaner MakeCellCleaner(const SeparatorClass& separators, bool pulled);

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

// Cleaned. The second form is for texts behind which 16 bytes may be read, as behind every packed
// cell of a collection.
void WriteCleaned(CellWriter& writer, const CellCleaner& cleaner, std::string_view text);
void WriteCleanedCell(CellWriter& writer, const CellCleaner& cleaner, std::string_view text);

// Characters (code points) that the cleaned text has.
std::size_t CleanedWidth(std::string_view text);

}  // namespace tarnlex
