// The reports of the library over events that are built with the names their makers document for
// them, and the promises that reports are listed and shown with.
#include <set>
#include <sstream>

#include "logs/text.h"
#include "reports/command_remarks.h"
#include "reports/report_library.h"
#include "reports/report_texts.h"
#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/sample_files.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

constexpr char kSeparator = '\x01';

using Cells = std::map<std::string, std::string>;
using Texts = std::vector<std::string>;

// An event with its data in order, and what each name has for a value.
struct Documented {
  std::string provider;
  bool evtx = true;
  std::uint32_t id = 0;
  std::vector<std::pair<std::string, std::string>> data;
  Cells values;
};

Texts Split(const std::string& line, char separator) {
  Texts pieces;
  std::istringstream in(line);
  for (std::string piece; std::getline(in, piece, separator);) {
    pieces.emplace_back(Trim(piece));
  }
  return pieces;
}

void AddData(Documented& event, const std::string& piece) {
  const std::size_t equals = piece.find('=');
  std::string name = piece.substr(0, equals);
  if (!event.evtx) name = std::to_string(event.data.size() + 1);
  if (name == "-") name = "Data";
  const std::string value = equals == std::string::npos ? "of " + name : piece.substr(equals + 1);
  event.data.emplace_back(name, value);
  event.values[name] = value;
}

// Texts without names are one value, an array, which tables show as one text.
void JoinUnnamed(Documented& event) {
  if (!event.evtx || event.data.empty() || event.data[0].first != "Data") return;
  std::string& all = event.values["Data"];
  for (std::size_t i = 1; i < event.data.size(); ++i) all += "; of Data";
}

support::Event Built(const Documented& event, const std::string& provider, std::uint64_t record) {
  support::Event built{.provider = provider, .event_id = event.id, .id = record};
  if (!event.data.empty() && event.data[0].first == "Data") {
    const Texts texts(event.data.size(), "of Data");
    built.data.emplace_back("", support::StringArrayValue(texts));
    return built;
  }
  for (const auto& [name, value] : event.data) built.data.emplace_back(name, value);
  return built;
}

std::vector<std::uint32_t> Numbers(const std::string& list) {
  std::vector<std::uint32_t> numbers;
  for (const std::string& piece : Split(list, ' ')) {
    const std::size_t dash = piece.find('-');
    const auto first = static_cast<std::uint32_t>(std::stoul(piece));
    const std::string last = dash == std::string::npos ? piece : piece.substr(dash + 1);
    for (std::uint32_t id = first; id <= std::stoul(last); ++id) numbers.push_back(id);
  }
  return numbers;
}

std::vector<Documented> DocumentedEvents() {
  constexpr std::string_view kEvt = "EVT ";
  std::vector<Documented> events;
  Documented section;
  std::istringstream in(ReadFile(TARNLEX_DOCUMENTED_EVENTS));
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '[') {
      section.provider = line.substr(1, line.size() - 2);
      section.evtx = !section.provider.starts_with(kEvt);
      if (!section.evtx) section.provider.erase(0, kEvt.size());
      continue;
    }
    const std::size_t colon = line.find(':');
    for (const std::uint32_t id : Numbers(line.substr(0, colon))) {
      Documented event = section;
      event.id = id;
      for (const std::string& piece : Split(line.substr(colon + 1), ';')) AddData(event, piece);
      JoinUnnamed(event);
      events.push_back(event);
    }
  }
  return events;
}

// Logs of these events; their records are numbered as they stand in the list, from 1 on.
void WriteLogs(const TempDirectory& directory, const std::vector<Documented>& events,
               const std::string& provider = {}) {
  support::EvtxBuilder evtx;
  support::EvtBuilder evt;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const Documented& event = events[i];
    const std::string& source = provider.empty() ? event.provider : provider;
    if (event.evtx) {
      evtx.AddEvent(Built(event, source, i + 1));
      continue;
    }
    support::EvtEntry entry{.number = static_cast<std::uint32_t>(i + 1), .event_id = event.id};
    entry.source = source;
    for (const auto& [name, value] : event.data) entry.strings.push_back(value);
    evt.AddEntry(entry);
  }
  const auto text = [](const support::ByteString& bytes) {
    return std::string(bytes.begin(), bytes.end());
  };
  directory.AddFile("built/Security.evtx", text(evtx.Build()));
  directory.AddFile("built/SysEvent.Evt", text(evt.Build()));
}

std::vector<Cells> RowsOf(std::string_view tables) {
  std::vector<Cells> rows;
  Texts header;
  std::istringstream in{std::string(tables)};
  for (std::string line; std::getline(in, line);) {
    const Texts cells = Split(line, kSeparator);
    if (cells.empty() || header.empty()) {
      header = cells;
      continue;
    }
    Cells& row = rows.emplace_back();
    for (std::size_t i = 0; i < cells.size(); ++i) row[header.at(i)] = cells[i];
  }
  return rows;
}

Outcome Report(const TempDirectory& directory, Texts args) {
  const Texts more = {"-log", "built/Security.evtx | built/SysEvent.Evt", "-quiet",
                      "-no_whitespace"};
  args.insert(args.end(), more.begin(), more.end());
  return RunIn(directory.path, args);
}

std::vector<Cells> ReportRows(const TempDirectory& directory, std::string_view name) {
  const std::string separator(1, kSeparator);
  const Outcome outcome =
      Report(directory, {"-report", std::string(name), "-complete", "-csv_separator", separator});
  EXPECT_EQ(outcome.code, 0);
  return RowsOf(BehindRunHeader(outcome.out));
}

std::string OptionOf(const TokenList& line, std::string_view name) {
  std::string value;
  PeekValue(name, line, value);
  return value;
}

// The columns of a line, each with the names of the fields that may fill it, in order.
std::map<std::string, Texts> ColumnsOf(const TokenList& line) {
  Cells headers;
  std::map<std::string, Texts> columns;
  for (std::size_t i = 0; i + 1 < line.size(); ++i) {
    const std::size_t equals = line[i + 1].find('=');
    if (line[i] != "-label") continue;
    headers[line[i + 1].substr(0, equals)] = line[i + 1].substr(equals + 1);
  }
  for (std::size_t i = 0; i + 1 < line.size(); ++i) {
    const std::string name = line[i + 1];
    if (line[i] != "-pull" || name == "Computer" || name == "Level") continue;
    columns[headers.contains(name) ? headers[name] : name].push_back(name);
  }
  return columns;
}

// What an event has under a name that the report knows it by: a name that every event has comes
// under a number, with -complete.
const std::string* ValueOf(const Documented& event, const std::string& field) {
  const auto numbered = field.ends_with("_02") ? field.substr(0, field.size() - 3) : field;
  const auto value = event.values.find(numbered);
  return value == event.values.end() ? nullptr : &value->second;
}

// The columns in which the row has what the event documents. A field that the event has and the row
// has not is a mistake.
std::set<std::string> FilledColumns(const Cells& row, const TokenList& line,
                                    const Documented& event) {
  std::set<std::string> filled;
  for (const auto& [header, fields] : ColumnsOf(line)) {
    const std::string* value = nullptr;
    for (const std::string& field : fields) value = value ? value : ValueOf(event, field);
    if (!value) continue;
    EXPECT_TRUE(row.contains(header)) << header;
    EXPECT_EQ(row.contains(header) ? row.at(header) : "", *value)
        << event.provider << " " << event.id << ", " << header;
    filled.insert(header);
  }
  return filled;
}

TEST(ReportLibrary, EveryLineTakesItsEventWithAllColumnsFilled) {
  const TempDirectory directory;
  const std::vector<Documented> events = DocumentedEvents();
  WriteLogs(directory, events);
  std::set<std::size_t> used;
  for (const LibraryReport& report : ReportLibrary()) {
    const std::vector<Cells> rows = ReportRows(directory, report.name);
    for (const TokenList& line : LinesOf(report)) {
      const std::string id = OptionOf(line, "-id");
      const std::string name = OptionOf(line, "-name");
      const bool evtx = HasFlag("-enum_evtxlog", line);
      std::size_t taken = 0;
      std::set<std::string> filled;
      for (const Cells& row : rows) {
        const std::size_t at = std::stoul(row.at("Record#")) - 1;
        if (row.at("EventID") != id || row.at("name") != name || events.at(at).evtx != evtx)
          continue;
        filled.merge(FilledColumns(row, line, events[at]));
        used.insert(at);
        ++taken;
      }
      EXPECT_GT(taken, 0U) << report.name << ": " << id << ", " << name;
      for (const auto& [header, fields] : ColumnsOf(line)) {
        EXPECT_TRUE(filled.contains(header)) << report.name << ": " << id << ", " << header;
      }
    }
  }
  for (std::size_t at = 0; at < events.size(); ++at) {
    EXPECT_TRUE(used.contains(at))
        << "no line takes " << events[at].provider << " " << events[at].id;
  }
}

// Identifiers are the providers' own. What update packages write is under the name of each.
TEST(ReportLibrary, TakesNoEventOfAnotherProvider) {
  const TempDirectory directory;
  WriteLogs(directory, DocumentedEvents(), "Another Provider");
  for (const LibraryReport& report : ReportLibrary()) {
    for (const Cells& row : ReportRows(directory, report.name)) {
      EXPECT_EQ(row.at("EventID"), "4377") << report.name;
    }
  }
}

TEST(ReportTexts, AsCommandFilesTakeWhatTheReportsTake) {
  const TempDirectory directory;
  WriteLogs(directory, DocumentedEvents());
  WriteSampleFiles(directory.path);
  for (const KnownOption& report : ReportNames()) {
    const std::string name(report.name);
    const Outcome shown = RunIn(directory.path, {"-report", "show", name});
    EXPECT_EQ(shown.code, 0);
    directory.AddFile("shown.txt", shown.out);
    const std::string logs =
        "built/Security.evtx | built/SysEvent.Evt | Security.evtx | System.evtx | SecEvent.Evt | "
        "SysEvent.Evt | "
        "accounts/Security.evtx | accounts/SecEvent.Evt";
    const Texts form = {"-log", logs, "-csvgen", "-quiet", "-stats", "counts"};
    Texts by_name = {"-report", name};
    Texts by_file = {"-cmdfile", "shown.txt"};
    by_name.insert(by_name.end(), form.begin(), form.end());
    by_file.insert(by_file.end(), form.begin(), form.end());
    const Outcome expected = RunIn(directory.path, by_name);
    EXPECT_EQ(expected.code, 0) << name;
    const Outcome got = RunIn(directory.path, by_file);
    // One of the old lines pulls what is no number of a string, which is remarked of a file.
    EXPECT_TRUE(got.err == expected.err || name == "creds") << name << ": " << got.err;
    EXPECT_EQ(BehindRunHeader(got.out), BehindRunHeader(expected.out)) << name;
    EXPECT_FALSE(BehindRunHeader(got.out).empty()) << name;
  }
}

// A long script comes in parts, which two that run at once mix.
TEST(ReportLibrary, GivesThePartsOfAScriptInTheirOrder) {
  const TempDirectory directory;
  support::EvtxBuilder log;
  std::uint64_t record = 0;
  for (const char* part : {"a1", "b1", "a2", "a3", "b2"}) {
    support::Event event{.provider = "Microsoft-Windows-PowerShell", .event_id = 4104};
    event.id = ++record;
    event.time = support::Filetime(2020, 8, 26);
    event.data = {{"MessageNumber", std::string_view(part + 1)},
                  {"ScriptBlockId", std::string_view(part, 1)}};
    log.AddEvent(event);
  }
  const support::ByteString bytes = log.Build();
  directory.AddFile("built/Security.evtx", std::string(bytes.begin(), bytes.end()));
  std::map<std::string, std::string> parts;
  for (const Cells& row : ReportRows(directory, "powershell")) {
    parts[row.at("script id")] += row.at("part");
  }
  EXPECT_EQ(parts, (Cells{{"a", "123"}, {"b", "12"}}));
}

TEST(ReportTexts, AreListedInALineEach) {
  std::istringstream list(ReportList());
  std::size_t at = 0;
  for (std::string line; std::getline(list, line); ++at) {
    const Texts pieces = Split(line, '|');
    ASSERT_LT(at, ReportNames().size());
    ASSERT_EQ(pieces.size(), 4U) << line;
    EXPECT_EQ(pieces[0], ReportNames()[at].name);
    for (const std::string& piece : pieces) EXPECT_NE(piece, "") << line;
    EXPECT_TRUE(pieces[1].ends_with("?")) << line;
  }
  EXPECT_EQ(at, ReportNames().size());
  EXPECT_NE(ReportList().find("| 104 1102; EVT 517 |"), std::string::npos);
  EXPECT_NE(ReportList().find("| 4625; EVT 529-537 539 |"), std::string::npos);
}

TEST(ReportTexts, SayAllThereIsToKnow) {
  for (const LibraryReport& report : ReportLibrary()) {
    EXPECT_TRUE(report.text.starts_with("// " + std::string(report.name) + ": ")) << report.name;
    EXPECT_EQ(report.name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string::npos);
    for (const char* key : {"question", "why", "columns", "since", "careful"}) {
      EXPECT_NE(report.text.find(std::string("\n// ") + key + ": "), std::string::npos)
          << report.name << ", " << key;
    }
    EXPECT_EQ(RemarksOnCommands(report.text, report.name), Texts{});
    EXPECT_FALSE(LinesOf(report).empty());
    for (const TokenList& line : LinesOf(report)) {
      for (const auto& [header, fields] : ColumnsOf(line)) {
        EXPECT_FALSE(header == "name" || header == "event log") << report.name;  // of every table
      }
    }
  }
}

TEST(ReportTexts, FindTheNameThatWasMeant) {
  EXPECT_EQ(NearestReport("failed_logon"), "failed_logons");
  EXPECT_EQ(NearestReport("log_clear"), "log_cleared");
  EXPECT_EQ(NearestReport("Servces"), "services");
  EXPECT_EQ(NearestReport("xyzzyxyzzy"), "");
  EXPECT_EQ(ReportText("xyzzy"), "");
  EXPECT_EQ(ReportText("RDP"), ReportText("rdp"));
}

}  // namespace
}  // namespace tarnlex
