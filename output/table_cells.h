// The cells that tables are made of, whatever their columns: those of fixed columns, names of the
// header, padding and colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "logs/date_time.h"
#include "logs/log_info.h"
#include "logs/run_options.h"
#include "logs/text.h"
#include "logs/text_sink.h"
#include "output/cell_writer.h"
#include "output/event_rows.h"

namespace tarnlex {

inline constexpr std::size_t kNumberWidth = 10;
inline constexpr std::size_t kLevelWidth = 6;
inline constexpr std::size_t kLogWidth = 11;
inline constexpr std::size_t kRecoveredWidth = std::string_view("unsigned/system").size();

// A short text that stands behind every cell: stored as one block, then counted.
struct CellEnd {
  std::string whole;
  char block[kCellBlock] = {};
};

// A text as it was last written, and a block behind it to be read.
struct RepeatedText {
  std::string_view source;
  std::string cleaned = std::string(kCopyBlock, '\0');
  std::size_t characters = 0;
};

// The cells of a row's date and time, likewise.
struct RepeatedTime {
  std::uint64_t filetime = 0;
  std::string cells;  // empty: nothing has been written
};

// A whole row of empty cells, from which stretches are copied.
struct EmptyRow {
  std::string text;
  std::vector<std::size_t> starts;  // of each column, and of what follows the last
};

// Everything that the tables of one log have in common.
struct TableWriter {
  CellWriter cells;
  CellCleaner text_cleaner;
  CellCleaner value_cleaner;
  DateTimeFormatter date_time;
  CellEnd between;             // two cells of a row
  CellEnd row_end;             // behind the last cell
  std::string_view separator;  // between two names of the header
  bool padded = true;
  bool painted = false;  // on a terminal that takes colours
  bool paired = false;
  bool blank_before_time = true;
  bool cleans_all = false;  // the separator may stand in times and levels
  bool is_evtx = true;
  std::size_t date_width = 0;
  std::size_t time_width = 0;
  std::uint64_t cleaned_day = ~std::uint64_t{0};
  std::string cleaned_date;
  std::string log_name;
  EmptyRow empty;  // of the present table
  RepeatedText query_name_text;
  RepeatedText provider_text;
  RepeatedText log_name_text;
  RepeatedText level_text;
  RepeatedTime times;
  std::uint64_t log_source = kNoSource;  // of the row before, and what its log is called then
  std::string log_cell;
};

// Writes through `out`, which must be left alone until FinishCells.
TableWriter MakeTableWriter(TextSink& out, const LogInfo& log, const RunOptions& options);

inline std::size_t PairedWidth(const TableWriter& table) {
  return table.date_width + table.time_width + 1;
}

inline void Write(CellWriter& cells, const CellEnd& end) {
  if (end.whole.size() > sizeof end.block) {
    WriteVerbatim(cells, end.whole);
    return;
  }
  NeedRoom(cells, sizeof end.block);
  std::memcpy(cells.at, end.block, sizeof end.block);
  cells.at += end.whole.size();
}

inline void Pad(TableWriter& table, std::size_t width, std::size_t written) {
  if (table.padded && written < width) WriteBlanks(table.cells, width - written);
}

inline void WriteNumberCell(TableWriter& table, std::uint64_t number) {
  NeedRoom(table.cells, 20 + kNumberWidth);
  const char* const start = table.cells.at;
  WriteNumber(table.cells, number);
  Pad(table, kNumberWidth, static_cast<std::size_t>(table.cells.at - start));
}

// Of a recovered record that nothing vouches for the identifier of its event is not known.
inline bool KnowsEventId(const EventRows& rows, std::uint32_t number) {
  return !rows.keeps_places || rows.places[number].recovery.checked != Checked::kNone;
}

inline void WriteEventId(TableWriter& table, const EventRows& rows, std::uint32_t number) {
  if (KnowsEventId(rows, number)) {
    WriteNumberCell(table, rows.rows[number].eventId);
  } else {
    Pad(table, kNumberWidth, 0);
  }
}

// How the row's record was recovered, in rows that say where they are from.
void WriteRecovered(TableWriter& table, const EventRows& rows, std::uint32_t number);

// What the row's log is called, or the place in an image that it was found in.
void WriteLogName(TableWriter& table, const EventRows& rows, std::uint32_t number,
                  std::size_t width);

// A text with a block behind it.
inline void WritePadded(CellWriter& cells, const std::string& padded) {
  NeedRoom(cells, padded.size());
  cells.at = CopyPadded({padded.data(), padded.size() - kCopyBlock}, cells.at);
}

// A text that is mostly the very one of the row before: made anew when it changes, and cleaned
// where there is a cleaner.
void Repeat(const CellCleaner* cleaner, std::string_view text, RepeatedText& repeated);
inline void WriteRepeatedCell(TableWriter& table, const CellCleaner* cleaner,
                              RepeatedText& repeated, std::string_view text, std::size_t width) {
  if (text.data() != repeated.source.data() || text.size() != repeated.source.size()) {
    Repeat(cleaner, text, repeated);
  }
  WritePadded(table.cells, repeated.cleaned);
  Pad(table, width, repeated.characters);
}
inline void WriteRepeatedCell(TableWriter& table, RepeatedText& repeated, std::string_view text,
                              std::size_t width) {
  WriteRepeatedCell(table, &table.text_cleaner, repeated, text, width);
}

// Of the row's time, as FormatDateTime has just given it.
void WriteDateCell(TableWriter& table, const DateTimeText& text);
void WriteTimeCell(TableWriter& table, const DateTimeText& text);
void WritePairedCell(TableWriter& table, const DateTimeText& text);

// Date and time as the run has them: one cell or two, with what stands between.
void WriteTimeCells(TableWriter& table, std::uint64_t filetime);

// The level's word, coloured where it is worth a look.
void WriteLevelCell(TableWriter& table, std::uint32_t level_or_type);

// A name of the header. Only names of the program's own are centred, which cleaning leaves as they
// are.
void WriteName(TableWriter& table, std::string_view name, std::size_t width, bool centred);

// Begins and ends the colour of a header.
void PaintHeader(TableWriter& table);
void PaintPlain(TableWriter& table);

}  // namespace tarnlex
