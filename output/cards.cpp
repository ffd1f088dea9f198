#include "output/cards.h"

#include <algorithm>
#include <vector>

#include "logs/date_time.h"
#include "logs/text.h"
#include "output/display_name.h"
#include "output/level.h"
#include "output/picked_columns.h"
#include "output/row_order.h"
#include "output/table_cells.h"

namespace tarnlex {
namespace {

constexpr std::size_t kWidestName = 28;  // longer names have their value on the line below
constexpr std::size_t kLeastValueWidth = 20;

struct CardLine {
  std::string_view name;
  std::string_view value;
  ColumnKind kind = ColumnKind::kValue;
};

// A row with the texts of what it says of itself.
struct Card {
  std::string record;
  std::string event_id;
  std::string recovered;
  std::string offset;
  std::string log_name;
  std::string date_time;
  DateTimeText time;
  std::string_view level;
  std::string_view query_name;
  std::string_view provider;
  std::vector<std::string_view> values;
  PickedRow picked;
  std::vector<CardLine> lines;
};

struct CardWriter {
  TextSink& out;
  const RunOptions& options;
  bool is_evtx = true;
  std::string log_name;
  DateTimeFormatter date_time;
  Card card = {};
};

std::string_view FixedText(const Card& card, ColumnKind kind) {
  switch (kind) {
    case ColumnKind::kRecord: return card.record;
    case ColumnKind::kEventId: return card.event_id;
    case ColumnKind::kDate: return card.time.date;
    case ColumnKind::kTime: return card.time.time;
    case ColumnKind::kDateTime: return card.date_time;
    case ColumnKind::kLevel: return card.level;
    case ColumnKind::kQueryName: return card.query_name;
    case ColumnKind::kProvider: return card.provider;
    case ColumnKind::kRecovered: return card.recovered;
    case ColumnKind::kOffset: return card.offset;
    case ColumnKind::kLog: return card.log_name;
    case ColumnKind::kValue: break;
  }
  return {};
}

void FillTexts(CardWriter& writer, const EventRows& rows, std::uint32_t number) {
  const EventRecord& row = rows.rows[number];
  Card& card = writer.card;
  card.record = std::to_string(row.eventRecordId);
  card.event_id = KnowsEventId(rows, number) ? std::to_string(row.eventId) : std::string();
  card.recovered = RecoveryText(rows, number);
  card.log_name = LogNameOf(rows, number, writer.log_name);
  if (rows.keeps_places) card.offset = std::to_string(rows.places[number].file_offset);
  card.time = FormatDateTime(writer.date_time, row.timeCreated);
  card.date_time = std::string(card.time.date).append(" ").append(card.time.time);
  card.level = LevelText(writer.is_evtx, row.level);
  card.query_name = QueryNameOf(rows, row);
  card.provider = ProviderOf(rows, row);
}

void AddFixedLines(Card& card, std::initializer_list<ColumnKind> kinds) {
  for (const ColumnKind kind : kinds) {
    card.lines.push_back({FixedColumnName(kind), FixedText(card, kind), kind});
  }
}

// All that the row has; its provider once.
void AddAllLines(CardWriter& writer, const EventRecord& row) {
  Card& card = writer.card;
  ReadCells(row, card.values);
  AddFixedLines(card, {ColumnKind::kRecord, ColumnKind::kEventId});
  if (writer.options.pair_datetime) {
    AddFixedLines(card, {ColumnKind::kDateTime});
  } else {
    AddFixedLines(card, {ColumnKind::kDate, ColumnKind::kTime});
  }
  AddFixedLines(card, {ColumnKind::kLevel});
  if (!card.query_name.empty()) AddFixedLines(card, {ColumnKind::kQueryName});
  if (writer.is_evtx) AddFixedLines(card, {ColumnKind::kProvider});
  for (std::size_t i = 0; i < card.values.size(); ++i) {
    const bool told = writer.is_evtx && static_cast<int>(i) == row.columns->provider_name;
    if (!told) card.lines.push_back({row.columns->names[i], card.values[i]});
  }
  if (TellsPlaces(writer.options))
    AddFixedLines(card, {ColumnKind::kRecovered, ColumnKind::kOffset});
  AddFixedLines(card, {ColumnKind::kLog});
}

void AddPickedLines(Card& card, const PickedColumns& picked, const EventRows& rows,
                    std::uint32_t number) {
  ReadPickedRow(picked, rows, number, card.picked);
  for (std::size_t i = 0; i < picked.columns.size(); ++i) {
    const PickedColumn& column = picked.columns[i];
    const bool is_value = column.kind == ColumnKind::kValue;
    card.lines.push_back({column.name,
                          is_value ? PickedText(card.picked, i) : FixedText(card, column.kind),
                          column.kind});
  }
}

// How many bytes of a line of `width` characters are written; the rest goes on below.
std::size_t CutAt(std::string_view line, std::size_t width) {
  std::size_t end = 0;
  std::size_t behind_blank = 0;
  for (std::size_t characters = 0; end < line.size(); ++characters) {
    if (characters == width) return behind_blank > 0 ? behind_blank : end;
    do {
      ++end;
    } while (end < line.size() && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80);
    if (line[end - 1] == ' ') behind_blank = end;
  }
  return end;
}

std::string_view WithoutLineEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

// Takes a line of the value, and the break behind it: CR LF, LF CR, LF or CR.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end);
  if (text.size() > 1 && text[0] != text[1] && (text[1] == '\r' || text[1] == '\n')) {
    text.remove_prefix(1);
  }
  if (!text.empty()) text.remove_prefix(1);
  return line;
}

std::size_t IndentOf(const Card& card) {
  std::size_t widest = 0;
  for (const CardLine& line : card.lines) widest = std::max(widest, CountCodePoints(line.name));
  return std::min(widest, kWidestName) + 2;
}

// The name, and the value behind it or below it.
void WriteCardLine(CardWriter& writer, const CardLine& line, std::size_t indent) {
  TextSink& out = writer.out;
  Append(out, line.name);
  Append(out, ':');
  if (line.value.empty()) return;
  const std::size_t name_width = CountCodePoints(line.name) + 1;
  if (name_width >= indent) Append(out, '\n');
  Append(out, std::string(name_width < indent ? indent - name_width : indent, ' '));
  const bool is_level = line.kind == ColumnKind::kLevel;
  const std::string_view color = is_level ? LevelColor(line.value) : std::string_view();
  if (!color.empty()) Paint(out, color);
  Append(out, WrapValue(line.value, indent, writer.options.card_width.value_or(0)));
  if (!color.empty()) Paint(out, kNoColor);
}

// The first line is a card's head.
void WriteCard(CardWriter& writer) {
  const std::size_t indent = IndentOf(writer.card);
  bool head = true;
  for (const CardLine& line : writer.card.lines) {
    if (head) Paint(writer.out, kHeaderColor);
    WriteCardLine(writer, line, indent);
    if (head) Paint(writer.out, kNoColor);
    Append(writer.out, '\n');
    head = false;
  }
  Append(writer.out, '\n');
}

}  // namespace

std::string WrapValue(std::string_view value, std::size_t indent, std::size_t width) {
  const std::size_t room =
      width == 0 ? value.size() : std::max(width, indent + kLeastValueWidth) - indent;
  std::string text;
  for (std::string_view rest = WithoutLineEnd(value); !rest.empty();) {
    std::string_view line = TakeLine(rest);
    do {
      if (!text.empty()) text.append(1, '\n').append(indent, ' ');
      const std::size_t cut = CutAt(line, room);
      text += line.substr(0, cut);
      line.remove_prefix(cut);
    } while (!line.empty());
  }
  return text;
}

void WriteCards(TextSink& out, const EventRows& rows, const LogInfo& log,
                const RunOptions& options) {
  CardWriter writer{out, options, log.is_evtx, DisplayName(log, options),
                    MakeDateTimeFormatter(options.date_format, options.time_format)};
  const RowNumbers order = OrderRows(rows);
  const PickedColumns picked =
      PickColumns(rows, order, options.columns, log.is_evtx, options.pair_datetime);
  for (const std::uint32_t number : order) {
    if (out.failed) return;
    FillTexts(writer, rows, number);
    writer.card.lines.clear();
    if (options.columns.empty()) {
      AddAllLines(writer, rows.rows[number]);
    } else {
      AddPickedLines(writer.card, picked, rows, number);
    }
    WriteCard(writer);
  }
}

}  // namespace tarnlex
