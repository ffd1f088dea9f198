#include "output/bodyfile.h"

#include <string>
#include <string_view>

#include "logs/date_time.h"
#include "output/cell_writer.h"
#include "output/row_order.h"

namespace tarnlex {
namespace {

constexpr std::string_view kHeader =
    "md5|name|inode|mode as string|uid|gid|size|access time|modify time|mft time|create time\n";

// The separator is "|" whatever the run's separator option says.
constexpr SeparatorClass kSeparators{'|', ';'};

struct BodyfileWriter {
  CellWriter cells;
  CellCleaner text_cleaner;
  CellCleaner value_cleaner;
  bool all_params = false;
  bool complete = false;
};

// Text of the name field. mactime takes "%41" for "A", so a "%" of the text has to be written as
// such a sequence itself. Behind a cell a block may be read, as behind its pieces.
using WriteText = std::size_t(CellWriter&, const CellCleaner&, std::string_view);
void WriteName(BodyfileWriter& line, const CellCleaner& cleaner, std::string_view text,
               WriteText write) {
  for (std::size_t at; line.complete && (at = text.find('%')) != std::string_view::npos;) {
    write(line.cells, cleaner, text.substr(0, at));
    WriteVerbatim(line.cells, "%25");
    text.remove_prefix(at + 1);
  }
  write(line.cells, cleaner, text);
}

// A value without comma is closed with "], ", one with a comma with "] ", and the last two
// characters of the name are cut: the last closing is "]" or nothing at all, but for complete
// names.
void WriteValues(BodyfileWriter& line, const EventRecord& row) {
  if (row.columns == nullptr) return;
  CellReader reader = ReaderOf(row);
  std::string_view before = ", ";
  std::string_view last;
  for (const std::string_view name : row.columns->names) {
    const std::string_view value = NextCell(reader);
    WriteVerbatim(line.cells, before);
    WriteCharacter(line.cells, '[');
    WriteName(line, line.text_cleaner, name, WriteCleaned);
    WriteCharacter(line.cells, ':');
    WriteName(line, line.value_cleaner, value, WriteCleanedCell);
    const bool comma = value.find(',') != std::string_view::npos;
    before = comma ? "] " : "], ";
    last = comma && !line.complete ? "" : "]";
  }
  WriteVerbatim(line.cells, last);
}

// As mactime names files that were deleted.
void WriteRecovered(BodyfileWriter& line, const EventRows& rows, std::uint32_t number) {
  const std::string recovered = RecoveryText(rows, number);
  if (recovered.empty()) return;
  WriteVerbatim(line.cells, " (recovered: " + recovered + " at ");
  WriteNumber(line.cells, rows.places[number].file_offset);
  WriteCharacter(line.cells, ')');
}

void WriteLine(BodyfileWriter& line, const EventRows& rows, std::uint32_t number) {
  const EventRecord& row = rows.rows[number];
  WriteVerbatim(line.cells, "0|Event ID: ");
  WriteNumber(line.cells, row.eventId);
  const std::string_view query_name = QueryNameOf(rows, row);
  if (!query_name.empty()) {
    WriteCharacter(line.cells, '-');
    WriteName(line, line.text_cleaner, query_name, WriteCleaned);
  }
  if (line.all_params) WriteValues(line, row);
  WriteRecovered(line, rows, number);
  // Two events of one second and name are one to mactime, unless their inodes differ.
  WriteCharacter(line.cells, '|');
  WriteNumber(line.cells, line.complete ? row.eventRecordId : 0);
  WriteVerbatim(line.cells, "||0|0|0");
  const std::uint64_t seconds = BodyfileSeconds(row.timeCreated);
  for (int i = 0; i < 4; ++i) {
    WriteCharacter(line.cells, '|');
    WriteNumber(line.cells, seconds);
  }
  WriteCharacter(line.cells, '\n');
}

}  // namespace

std::uint64_t BodyfileSeconds(std::uint64_t filetime) {
  if (filetime == 0 || filetime >> 63 != 0) return 0;
  return (filetime - kUnixEpochFiletime) / kTicksPerSecond;
}

void WriteBodyfile(TextSink& out, const EventRows& rows, const RunOptions& options,
                   bool& header_pending) {
  if (rows.rows.empty()) return;
  BodyfileWriter line{BeginCells(out), MakeCellCleaner(kSeparators, false),
                      MakeCellCleaner(kSeparators, true), options.all_params, options.complete};
  if (header_pending) WriteVerbatim(line.cells, kHeader);
  header_pending = false;
  for (const std::uint32_t number : OrderRows(rows)) {
    if (out.failed) break;
    WriteLine(line, rows, number);
  }
  FinishCells(line.cells);
}

}  // namespace tarnlex
