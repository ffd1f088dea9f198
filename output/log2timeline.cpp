#include "output/log2timeline.h"

#include <string>
#include <string_view>

#include "logs/date_time.h"
#include "logs/text.h"
#include "output/cell_writer.h"
#include "output/display_name.h"
#include "output/row_order.h"

namespace tarnlex {
namespace {

constexpr std::string_view kNames[] = {"timezone", "MACB",  "source", "sourcetype", "type",
                                       "user",     "host",  "short",  "desc",       "version",
                                       "filename", "inode", "notes",  "format",     "extra"};

// The texts that stand around values, without the separator.
struct FixedTexts {
  std::string event_id;
  std::string query;
  std::string opening;
  std::string next_opening;
  std::string colon;
  std::string closing;
  std::string provider;
  std::string program;
  std::string record;
};

struct TimelineWriter {
  CellWriter cells;
  CellCleaner text_cleaner;
  CellCleaner value_cleaner;
  DateTimeFormatter date_time;
  FixedTexts fixed;
  std::string log_name;
  const LogInfo* log = nullptr;
  const RunOptions* options = nullptr;
};

void WriteSeparator(TimelineWriter& line) { WriteVerbatim(line.cells, line.options->separator); }

void WriteField(TimelineWriter& line, std::string_view text) {
  WriteCleaned(line.cells, line.text_cleaner, text);
  WriteSeparator(line);
}

void WriteHeader(TimelineWriter& line) {
  if (line.options->pair_datetime) {
    WriteCleaned(line.cells, line.text_cleaner, "date/time");
  } else {
    WriteCleaned(line.cells, line.text_cleaner, "date");
    WriteSeparator(line);
    WriteCleaned(line.cells, line.text_cleaner, "time");
  }
  for (const std::string_view name : kNames) {
    WriteSeparator(line);
    WriteCleaned(line.cells, line.text_cleaner, name);
  }
  WriteCharacter(line.cells, '\n');
}

void WriteInstant(TimelineWriter& line, std::uint64_t filetime) {
  const DateTimeText text = FormatDateTime(line.date_time, filetime);
  WriteCleaned(line.cells, line.text_cleaner, text.date);
  if (!line.options->pair_datetime) WriteSeparator(line);
  if (line.options->pair_datetime || !line.options->delimited) WriteCharacter(line.cells, ' ');
  WriteCleaned(line.cells, line.text_cleaner, text.time);
  WriteSeparator(line);
}

std::string_view HostOf(const EventRows& rows, std::uint32_t number, const TimelineWriter& line) {
  std::string_view host;
  FindCell(rows.rows[number], line.log->is_evtx ? "Computer" : "computer name", false, host);
  if (host.empty() && number < rows.hosts.size()) host = rows.hosts[number];
  return host.empty() ? std::string_view(line.options->hostname) : host;
}

void WriteShort(TimelineWriter& line, const EventRows& rows, const EventRecord& row) {
  WriteVerbatim(line.cells, line.fixed.event_id);
  WriteNumber(line.cells, row.eventId);
  const std::string_view query_name = QueryNameOf(rows, row);
  if (!query_name.empty()) {
    WriteVerbatim(line.cells, line.fixed.query);
    WriteCleaned(line.cells, line.text_cleaner, query_name);
  }
  WriteSeparator(line);
}

void WriteDescription(TimelineWriter& line, const EventRecord& row) {
  if (row.columns != nullptr) {
    CellReader reader = ReaderOf(row);
    std::string_view opening = line.fixed.opening;
    for (const std::string_view name : row.columns->names) {
      WriteVerbatim(line.cells, opening);
      WriteCleaned(line.cells, line.text_cleaner, name);
      WriteVerbatim(line.cells, line.fixed.colon);
      WriteCleanedCell(line.cells, line.value_cleaner, NextCell(reader));
      WriteVerbatim(line.cells, line.fixed.closing);
      opening = line.fixed.next_opening;
    }
  }
  WriteSeparator(line);
}

void WriteInode(TimelineWriter& line) {
  if (line.options->hex_numbers) {
    char text[16];
    WriteVerbatim(line.cells, "0x");
    const int digits = line.log->aux_value > 0xFFFFFFFF ? 16 : 8;
    WriteVerbatim(line.cells, {text, WriteHex(line.log->aux_value, digits, text)});
  } else {
    WriteNumber(line.cells, line.log->aux_value);
  }
  WriteSeparator(line);
}

void WriteRecovered(TimelineWriter& line, const EventRows& rows, std::uint32_t number) {
  const std::string recovered = RecoveryText(rows, number);
  if (recovered.empty()) return;
  const std::string offset = std::to_string(rows.places[number].file_offset);
  const std::string_view blank = ProviderOf(rows, rows.rows[number]).empty() ? "" : " ";
  WriteCleaned(line.cells, line.text_cleaner,
               std::string(blank) + "Recovered: " + recovered + " at " + offset);
}

void WriteNotes(TimelineWriter& line, const EventRows& rows, std::uint32_t number) {
  const std::string_view provider = ProviderOf(rows, rows.rows[number]);
  if (!provider.empty()) {
    WriteVerbatim(line.cells, line.fixed.provider);
    WriteCleaned(line.cells, line.text_cleaner, provider);
  }
  WriteRecovered(line, rows, number);
  WriteSeparator(line);
}

void WriteLine(TimelineWriter& line, const EventRows& rows, std::uint32_t number) {
  const EventRecord& row = rows.rows[number];
  WriteInstant(line, row.timeCreated);
  WriteField(line, "UTC");
  WriteField(line, "MACB");  // an event has one time for all four
  WriteField(line, line.log->is_evtx ? "EVTX" : "EVT");
  WriteField(line, line.log->kind);
  WriteField(line, "Event Logged");
  WriteField(line, line.options->username);
  WriteField(line, HostOf(rows, number, line));
  WriteShort(line, rows, row);
  WriteDescription(line, row);
  WriteField(line, "2");
  WriteField(line, LogNameOf(rows, number, line.log_name));
  WriteInode(line);
  WriteNotes(line, rows, number);
  WriteVerbatim(line.cells, line.fixed.program);
  WriteSeparator(line);
  WriteVerbatim(line.cells, line.fixed.record);
  WriteNumber(line.cells, row.eventRecordId);
  WriteCharacter(line.cells, '\n');
}

FixedTexts MakeFixedTexts(const CellCleaner& cleaner) {
  const auto cleaned = [&cleaner](std::string_view text) { return Cleaned(cleaner, text); };
  return {.event_id = cleaned("Event ID: "),
          .query = cleaned(" : "),
          .opening = cleaned("["),
          .next_opening = cleaned(" ["),
          .colon = cleaned(":"),
          .closing = cleaned("]"),
          .provider = cleaned("Provider: "),
          .program = cleaned(std::string(kProgramName) + " (mirafen)"),
          .record = cleaned("Record# ")};
}

}  // namespace

void WriteLog2Timeline(TextSink& out, const EventRows& rows, const LogInfo& log,
                       const RunOptions& options, bool& header_pending) {
  TimelineWriter line;
  line.cells = BeginCells(out);
  line.text_cleaner = MakeCellCleaner(options.separator_class, false);
  line.value_cleaner = MakeCellCleaner(options.separator_class, true);
  line.date_time = MakeDateTimeFormatter(options.date_format, options.time_format);
  line.fixed = MakeFixedTexts(line.text_cleaner);
  line.log_name = DisplayName(log, options);
  line.log = &log;
  line.options = &options;
  for (const std::uint32_t number : OrderRows(rows)) {
    if (out.failed) break;
    if (!IsValidFiletime(rows.rows[number].timeCreated)) continue;
    if (header_pending) WriteHeader(line);
    header_pending = false;
    WriteLine(line, rows, number);
  }
  FinishCells(line.cells);
}

}  // namespace tarnlex
