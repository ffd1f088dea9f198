#include "output/event_rows.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

#include "logs/platform.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kProviderColumn = "Provider Name";
constexpr std::string_view kLevelColumn = "Level";

// The first block suffices for most logs; those of a large log are made of large pages.
constexpr std::size_t kFirstBlockBytes = std::size_t{1} << 20;
constexpr std::size_t kBlockBytes = (std::size_t{16} << 20) - kReadableBehind;
constexpr std::align_val_t kRowAlignment{std::size_t{2} << 20};

std::size_t HashNames(const std::vector<std::string_view>& names) {
  std::size_t hash = names.size();
  for (const std::string_view name : names) {
    hash = hash * 0x9E3779B97F4A7C15U + std::hash<std::string_view>{}(name);
  }
  return hash;
}

int PositionOf(const std::vector<std::string_view>& sorted, std::string_view name) {
  const auto at = std::lower_bound(sorted.begin(), sorted.end(), name);
  return at != sorted.end() && *at == name ? static_cast<int>(at - sorted.begin()) : -1;
}

const ColumnSet* StoreColumnSet(EventRows& rows, const std::vector<std::string_view>& names) {
  auto set = std::make_unique<ColumnSet>();
  set->names.reserve(names.size());
  for (const std::string_view name : names) set->names.push_back(InternText(rows, name));
  set->provider_name = PositionOf(set->names, kProviderColumn);
  set->level = PositionOf(set->names, kLevelColumn);
  constexpr std::size_t kBytesPerName = 2 * sizeof(std::string_view) + 64;
  rows.set_bytes += sizeof(ColumnSet) + kBytesPerName * names.size();
  rows.column_sets.push_back(std::move(set));
  return rows.column_sets.back().get();
}

}  // namespace

void FreeRowBytes::operator()(char* bytes) const { ::operator delete[](bytes, kRowAlignment); }

RowBytes MakeRowBytes(std::size_t size) {
  RowBytes row_bytes;
  row_bytes.bytes.reset(
      static_cast<char*>(::operator new[](size + kReadableBehind, kRowAlignment)));
  row_bytes.size = size;
  return row_bytes;
}

void AddBlock(EventRows& rows, std::size_t least) {
  const std::size_t size = std::max(least, rows.blocks.empty() ? kFirstBlockBytes : kBlockBytes);
  rows.blocks.push_back(MakeRowBytes(size));
  if (size >= kBlockBytes) ExpectFilled(rows.blocks.back().bytes.get(), size + kReadableBehind);
  rows.free_at = rows.blocks.back().bytes.get();
  rows.free_end = rows.free_at + size;
  rows.block_bytes += size;
}

std::string_view ReadLongCell(const char*& at) {
  std::uint32_t length;
  std::memcpy(&length, at, sizeof length);
  const std::string_view text(at + sizeof length, length);
  at += sizeof length + length;
  return text;
}

std::string_view ReadKnownCell(const char*& at) {
  std::uint32_t length;
  const char* text;
  std::memcpy(&length, at, sizeof length);
  std::memcpy(&text, at + sizeof length, sizeof text);
  at += sizeof length + sizeof text;
  return {text, length};
}

void ReadCells(const EventRecord& row, std::vector<std::string_view>& cells) {
  cells.clear();
  if (row.columns == nullptr) return;
  CellReader reader = ReaderOf(row);
  for (std::size_t i = 0; i < row.columns->names.size(); ++i) cells.push_back(NextCell(reader));
}

int FindColumn(const ColumnSet& columns, std::string_view name, bool fold) {
  const int position = PositionOf(columns.names, name);
  if (position >= 0 || !fold) return position;
  const auto at =
      std::find_if(columns.names.begin(), columns.names.end(),
                   [name](std::string_view candidate) { return EqualsNoCase(candidate, name); });
  return at != columns.names.end() ? static_cast<int>(at - columns.names.begin()) : -1;
}

bool FindCell(const EventRecord& row, std::string_view name, bool fold, std::string_view& text) {
  text = {};
  const int position = row.columns == nullptr ? -1 : FindColumn(*row.columns, name, fold);
  if (position < 0) return false;
  CellReader reader = ReaderOf(row);
  for (int i = 0; i <= position; ++i) text = NextCell(reader);
  return true;
}

bool KeepsColumn(const EventRows& rows, std::string_view name) {
  if (!rows.wanted || name == kProviderColumn || name == kLevelColumn) return true;
  return std::any_of(rows.wanted->begin(), rows.wanted->end(),
                     [name](const std::string& wanted) { return EqualsNoCase(wanted, name); });
}

const ColumnSet* AddColumnSet(EventRows& rows, const std::vector<std::string_view>& names,
                              std::vector<int>& position_of) {
  std::vector<std::pair<std::string_view, std::size_t>> places;
  places.reserve(names.size());
  for (const std::string_view name : names) places.emplace_back(name, places.size());
  std::sort(places.begin(), places.end());
  std::vector<std::string_view> sorted;
  position_of.assign(names.size(), -1);
  for (const auto& [name, place] : places) {
    if (!sorted.empty() && sorted.back() == name) continue;
    position_of[place] = static_cast<int>(sorted.size());
    sorted.push_back(name);
  }
  const std::pair key(HashNames(sorted), std::move(sorted));
  const auto known = rows.sets_by_names.find(key);
  if (known != rows.sets_by_names.end()) return known->second;
  const ColumnSet* set = StoreColumnSet(rows, key.second);
  rows.sets_by_names.emplace(std::pair(key.first, set->names), set);
  return set;
}

const RowLayout* AddLayout(EventRows& rows, std::size_t columns,
                           const std::vector<FixedText>& fixed) {
  auto layout = std::make_unique<RowLayout>();
  layout->cells.resize(columns);
  std::size_t size = kReadableBehind;
  for (const FixedText& each : fixed) size += each.text.size();
  layout->texts.reserve(size);  // so that texts stay where they are
  for (const FixedText& each : fixed) {
    const char* const text = layout->texts.data() + layout->texts.size();
    layout->cells[each.column] = {text, static_cast<std::uint32_t>(each.text.size())};
    layout->texts += each.text;
  }
  layout->texts.append(kReadableBehind, '\0');
  rows.set_bytes += sizeof(RowLayout) + size + columns * sizeof(FixedCell);
  rows.layouts.push_back(std::move(layout));
  return rows.layouts.back().get();
}

std::string_view InternText(EventRows& rows, std::string_view text) {
  if (text.empty()) return {};
  std::string_view& recent = rows.recent[std::hash<std::string_view>{}(text) % rows.recent.size()];
  if (recent == text) return recent;
  auto at = rows.texts.find(text);
  if (at == rows.texts.end()) {
    constexpr std::size_t kBytesPerText = 64;
    rows.set_bytes += text.size() + kBytesPerText;
    at = rows.texts.emplace(text).first;
  }
  return recent = *at;
}

std::uint32_t ProviderNumber(EventRows& rows, std::string_view name) {
  if (name.empty()) return 0;
  const auto known = rows.provider_numbers.find(name);
  if (known != rows.provider_numbers.end()) return known->second;
  const std::string_view kept = InternText(rows, name);
  const auto number = static_cast<std::uint32_t>(rows.providers.size());
  rows.providers.push_back(kept);
  rows.provider_numbers.emplace(kept, number);
  constexpr std::size_t kBytesPerName = 64;
  rows.set_bytes += kBytesPerName;
  return number;
}

void KeepQueryName(EventRows& rows, std::uint32_t position, std::string_view name) {
  if (rows.query_names.size() <= position) rows.query_names.resize(position + std::size_t{1});
  rows.query_names[position] = InternText(rows, name);
}

void ExpectRows(EventRows& rows, std::size_t count) {
  if (count <= rows.rows.capacity()) return;
  rows.rows.reserve(count);
  ExpectFilled(rows.rows.data(), count * sizeof(EventRecord));
}

std::string RecoveryText(const EventRows& rows, std::uint32_t number) {
  if (number >= rows.places.size() || !IsRecovered(rows.places[number].recovery)) return {};
  const Recovery& recovery = rows.places[number].recovery;
  return std::string(NameOf(recovery.from)).append("/").append(NameOf(recovery.checked));
}

void ClearRows(EventRows& rows) {
  std::vector<EventRecord>().swap(rows.rows);
  rows.hosts.clear();
  rows.places.clear();
  ForgetRepeated(rows.repeated);
  rows.scratch = {};
  if (rows.blocks.empty()) return;
  rows.blocks.resize(1);
  rows.block_bytes = rows.blocks.front().size;
  rows.free_at = rows.blocks.front().bytes.get();
  rows.free_end = rows.free_at + rows.blocks.front().size;
}

}  // namespace tarnlex
