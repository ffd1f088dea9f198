#include "reports/carved_logs.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "evt/evt_format.h"
#include "evtx/evtx_format.h"
#include "logs/crc32.h"
#include "logs/paths.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMostLogs = 10'000;  // of an image that makes names up; then they share one
constexpr std::size_t kLongestPart = 80;
constexpr int kMostTries = 100'000;            // for a name that nothing has
constexpr std::uint64_t kMostChunks = 0xFFFF;  // that a file's header can count
constexpr std::uint64_t kLargestEvtLog = std::uint64_t{1} << 30;
constexpr std::string_view kUnfinished = ".part";

// What a name is made of that every system takes. The separator of channels looks as Windows
// writes it in names of logs.
std::string NamePart(std::string_view text) {
  std::string part;
  for (const char c : text.substr(0, kLongestPart)) {
    const char lower = LowerAscii(c);
    const bool plain = (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                       c == '.' || c == ' ';
    if (c == '/') {
      part += "%4";
    } else {
      part += plain ? c : '_';
    }
  }
  return part.empty() ? "unknown" : part;
}

std::string NameOf(const CarvedLogKey& key) {
  std::string name = NamePart(key.computer) + "_" + NamePart(key.channel);
  while (name.front() == '.' || name.front() == ' ') name.front() = '_';
  return name;
}

std::string_view ExtensionOf(bool is_evtx) { return is_evtx ? ".evtx" : ".evt"; }

void Fail(CarvedLogs& carved, const std::string& name) {
  if (carved.failed.empty()) carved.failed = JoinPath(carved.folder, name);
}

void CloseCurrent(CarvedLogs& carved) {
  if (!carved.current) return;
  if (carved.file.close && !carved.file.close()) Fail(carved, carved.current->name);
  carved.current = nullptr;
  carved.file = {};
}

// Makes the file that the log is written to, under a name that nothing has.
bool MakeLogFile(CarvedLogs& carved, const CarvedLogKey& key, CarvedLog& log) {
  const std::string base = NameOf(key);
  const std::string extension(ExtensionOf(key.is_evtx));
  CloseCurrent(carved);
  int& number = carved.next_numbers[ToLowerAscii(base + extension)];
  while (++number <= kMostTries) {
    log.name = base + (number > 1 ? "_" + std::to_string(number) : std::string()) + extension;
    const std::string path = JoinPath(carved.folder, log.name);
    if (!carved.names.insert(ToLowerAscii(log.name)).second || FileExists(path)) continue;
    auto file = MakeFile(path + std::string(kUnfinished));
    if (!file && FileExists(path + std::string(kUnfinished))) continue;
    if (!file) return false;
    carved.file = std::move(*file);
    carved.current = &log;
    return true;
  }
  return false;
}

bool OpenLogFile(CarvedLogs& carved, const CarvedLog& log) {
  if (carved.current == &log) return true;
  CloseCurrent(carved);
  auto file = ReopenFile(JoinPath(carved.folder, log.name + std::string(kUnfinished)));
  if (!file) return false;
  carved.file = std::move(*file);
  carved.current = &log;
  return true;
}

// A stored number of an EVTX or EVT header.
template <typename T>
void Store(std::span<std::uint8_t> bytes, std::size_t offset, T value) {
  std::memcpy(bytes.data() + offset, &value, sizeof value);
}

std::vector<std::uint8_t> EvtxHeader(const CarvedLog& log) {
  std::vector<std::uint8_t> header(kEvtxFileHeaderSize);
  std::copy(kEvtxFileSignature.begin(), kEvtxFileSignature.end(), header.begin());
  Store<std::uint64_t>(header, 16, log.chunks - 1);
  Store<std::uint64_t>(header, kFileNextRecord, log.last_id + 1);
  Store<std::uint32_t>(header, 32, kFileHeaderUsed);
  Store<std::uint16_t>(header, 36, 1);  // version 3.1
  Store<std::uint16_t>(header, 38, 3);
  Store<std::uint16_t>(header, 40, kEvtxFileHeaderSize);
  Store(header, kFileChunkCount, static_cast<std::uint16_t>(log.chunks));
  Store(header, kFileChecksum, Crc32(Bytes(header).first(kFileChecked)));
  return header;
}

std::vector<std::uint8_t> EvtHeader(const CarvedLog& log) {
  constexpr std::uint32_t kSize = kEvtHeaderUsed;
  const auto end = static_cast<std::uint32_t>(log.size);
  const std::uint32_t fields[] = {kSize,
                                  kEvtSignature,
                                  1,
                                  1,
                                  kSize,
                                  end,
                                  static_cast<std::uint32_t>(log.last_id + 1),
                                  static_cast<std::uint32_t>(log.first_id),
                                  static_cast<std::uint32_t>(end + kEvtEndRecordSize),
                                  0,
                                  0,
                                  kSize};
  std::vector<std::uint8_t> header(kSize);
  std::memcpy(header.data(), fields, kSize);
  return header;
}

std::vector<std::uint8_t> EvtEnd(const CarvedLog& log) {
  constexpr std::uint32_t kSize = kEvtEndRecordSize;
  const std::uint32_t fields[] = {kSize,
                                  kEvtEndMark,
                                  2 * kEvtEndMark,
                                  3 * kEvtEndMark,
                                  4 * kEvtEndMark,
                                  kEvtHeaderUsed,
                                  static_cast<std::uint32_t>(log.size),
                                  static_cast<std::uint32_t>(log.last_id + 1),
                                  static_cast<std::uint32_t>(log.first_id),
                                  kSize};
  std::vector<std::uint8_t> end(kSize);
  std::memcpy(end.data(), fields, kSize);
  return end;
}

// Writes what every reader looks for first, and gives the file its name.
void Finish(CarvedLogs& carved, const CarvedLog& log) {
  const bool opened = OpenLogFile(carved, log);
  const std::string path = JoinPath(carved.folder, log.name);
  bool written = opened && carved.file.write(0, log.is_evtx ? EvtxHeader(log) : EvtHeader(log)) &&
                 (log.is_evtx || carved.file.write(log.size, EvtEnd(log)));
  if (!written) Fail(carved, log.name);
  CloseCurrent(carved);
  written = written && RenameToNew(path + std::string(kUnfinished), path);
  if (!written) Fail(carved, log.name);
  carved.made += written;
}

// The log of the key; null when no file can be made for it.
CarvedLog* LogOf(CarvedLogs& carved, CarvedLogKey& key) {
  if (carved.logs.size() >= kMostLogs && !carved.logs.contains(key)) {
    key.channel = key.computer = "others";
  }
  const auto [at, added] = carved.logs.try_emplace(key);
  CarvedLog& log = at->second;
  if (!added) return OpenLogFile(carved, log) ? &log : nullptr;
  log.is_evtx = key.is_evtx;
  log.size = key.is_evtx ? kEvtxFileHeaderSize : kEvtHeaderUsed;
  if (MakeLogFile(carved, key, log)) return &log;
  Fail(carved, log.name);
  carved.logs.erase(at);
  return nullptr;
}

void Append(CarvedLogs& carved, CarvedLog& log, Bytes bytes) {
  if (!carved.file.write(log.size, bytes)) Fail(carved, log.name);
  log.size += bytes.size();
}

// A file that cannot count more is finished, and the next one begun.
void FinishFull(CarvedLogs& carved, const CarvedLogKey& key, const CarvedLog& log) {
  if (log.chunks < kMostChunks && (log.is_evtx || log.size < kLargestEvtLog)) return;
  Finish(carved, log);
  carved.logs.erase(key);
}

}  // namespace

void KeepChunk(CarvedLogs& carved, CarvedLogKey key, Bytes chunk, std::uint64_t last_id) {
  if (!carved.failed.empty()) return;
  CarvedLog* const log = LogOf(carved, key);
  if (!log) return Fail(carved, NameOf(key));
  std::vector<std::uint8_t> whole(chunk.begin(), chunk.end());
  whole.resize(kChunkSize);
  Append(carved, *log, whole);
  ++log->chunks;
  log->last_id = std::max(log->last_id, last_id);
  FinishFull(carved, key, *log);
}

void KeepEvtRecord(CarvedLogs& carved, CarvedLogKey key, Bytes record, std::uint32_t number) {
  if (!carved.failed.empty()) return;
  CarvedLog* const log = LogOf(carved, key);
  if (!log) return Fail(carved, NameOf(key));
  if (log->size == kEvtHeaderUsed) log->first_id = number;
  log->last_id = number;
  Append(carved, *log, record);
  FinishFull(carved, key, *log);
}

void FinishCarvedLogs(CarvedLogs& carved) {
  for (const auto& [key, log] : carved.logs) Finish(carved, log);
  carved.logs.clear();
}

}  // namespace tarnlex
