#include "app/open_log.h"

#include <algorithm>
#include <array>
#include <vector>

#include "evt/walk.h"
#include "evtx/evtx_format.h"
#include "evtx/first_record.h"
#include "logs/bytes.h"
#include "logs/log_content.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/read_file.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kProbeBytes = 16;
constexpr std::size_t kEvtProbeBytes = 48 + 4096;
constexpr std::size_t kEvtxProbeBytes = 4096 + 65'536 + 512;

struct NamePattern {
  std::string_view part;  // of the lower-cased file name
  std::string_view kind;
};
constexpr NamePattern kNamePatterns[] = {
    {"security.", kKindSecurity},
    {"secevent.", kKindSecurity},
    {"system.", kKindSystem},
    {"sysevent.", kKindSystem},
    {"application.", kKindApplication},
    {"appevent.", kKindApplication},
    {"driverframeworks-usermode", kKindDriverFrameworks},
};

// Up to `size` bytes from the start of the file.
std::vector<std::uint8_t> ReadHead(const InputFile& file, std::size_t size) {
  std::vector<std::uint8_t> head(size);
  head.resize(ReadFully(file, 0, head));
  return head;
}

// In lower case.
std::string FileName(const std::string& path) {
  std::string directory;
  std::string name;
  if (!SplitPath(path, directory, name) || name.empty()) name = path;
  return ToLowerAscii(name);
}

// False when no header says what the log is; the walk may still read it, and then `info` has the
// format that the walk goes by.
bool RecogniseFormat(Bytes head, LogContent content, LogInfo& info) {
  constexpr std::string_view kEvtHeader("\x30\0\0\0LfLe", 8);
  info.is_evtx = content != LogContent::kEvt;
  info.format_unknown = content != LogContent::kEvtx && !BeginsWith(head, kEvtHeader);
  return !info.format_unknown;
}

void TakeKind(LogInfo& info, const LogKind& kind) {
  info.kind = kind;
  info.kind_from = KindFrom::kRecords;
}

bool JudgeByName(LogInfo& info) {
  for (const NamePattern& pattern : kNamePatterns) {
    if (info.kind.find(pattern.part) == std::string::npos) continue;
    info.kind = pattern.kind;
    info.kind_from = KindFrom::kFileName;
    return true;
  }
  return false;
}

// The text compared starts four bytes into the source name of the first record: logs judged this
// way have been judged so for years, and their reports must not change.
bool JudgeEvt(const InputFile& file, LogInfo& info) {
  constexpr std::size_t kFirstRecord = 48;
  constexpr std::size_t kJudgedText = 108;
  const std::vector<std::uint8_t> head = ReadHead(file, kEvtProbeBytes);
  std::int32_t length = 0;
  if (!ReadAt(Bytes(head), kFirstRecord, length) || length > 4096 || length < 60) return false;
  const auto limit = static_cast<std::size_t>(length) - 48;
  Bytes text = Clip(head, kJudgedText, 2 * limit);
  std::size_t size = 0;
  while (Fits(text, size, 2) && Load<std::uint16_t>(text.data() + size) != 0) size += 2;
  if (ToLowerAscii(Utf16ToUtf8(text.first(size))) == kKindSecurity) {
    TakeKind(info, kKindSecurity);
  }
  return true;
}

LogKind KindOfChannel(std::string channel) {
  channel = ToLowerAscii(channel);
  std::erase(channel, '"');
  const bool usb = channel.find("driverframeworks-usermode") != std::string::npos;
  return usb ? kKindDriverFrameworks : channel;
}

bool JudgeEvtx(const InputFile& file, LogInfo& info) {
  const std::vector<std::uint8_t> head = ReadHead(file, kEvtxProbeBytes);
  std::string channel;
  if (head.size() < kEvtxProbeBytes || !FirstRecordChannel(Bytes(head).subspan(4096), channel)) {
    return false;
  }
  TakeKind(info, KindOfChannel(channel));
  return true;
}

// The channel of the first record that names one.
bool JudgeByChannel(const InputFile& file, std::uint64_t offset, LogInfo& info) {
  constexpr std::uint64_t kPiece = 4 * std::uint64_t{kChunkSize};
  FileBytes room;
  std::string channel;
  for (; offset < file.size; offset += kPiece) {
    const Bytes slots = ReadInto(file, offset, std::min(kPiece, file.size - offset), room);
    if (FirstNamedChannel(slots, offset, channel)) {
      TakeKind(info, KindOfChannel(channel));
      return true;
    }
    if (slots.size() < kPiece) return false;
  }
  return false;
}

// Only security logs have records of this source.
bool JudgeBySource(const InputFile& file, LogInfo& info) {
  EvtCursor cursor;
  EvtRecord record;
  if (!BeginEvtFileWalk(file, cursor) || !NextEvtRecord(cursor, record)) return false;
  CutTexts(record);
  if (ToLowerAscii(Utf16ToUtf8(record.source_name)) != kKindSecurity) return false;
  TakeKind(info, kKindSecurity);
  return true;
}

// The kind that the records of a log of that content tell; false when they tell none.
bool JudgeByRecords(const InputFile& file, LogContent content, LogInfo& info) {
  if (content == LogContent::kEvt) return JudgeBySource(file, info);
  return JudgeByChannel(file, content == LogContent::kEvtx ? kEvtxFileHeaderSize : 0, info);
}

OpenResult JudgeByContents(const InputFile& file, LogInfo& info) {
  const LogContent content = ContentOf(file, true);
  if (content == LogContent::kNone) return OpenResult::kNoEventLog;
  info.is_evtx = content != LogContent::kEvt;
  info.format_unknown = false;
  if (!JudgeByRecords(file, content, info)) JudgeByName(info);
  return OpenResult::kOpened;
}

OpenResult Judge(const InputFile& file, Judgement judgement, LogInfo& info) {
  if (judgement == Judgement::kByContents) {
    info.kind = FileName(info.path);
    return JudgeByContents(file, info);
  }
  const std::vector<std::uint8_t> head = ReadHead(file, kProbeBytes);
  const LogContent content = ContentOf(head);
  if (!RecogniseFormat(head, content, info)) {
    return content == LogContent::kNone ? OpenResult::kNoEventLog : OpenResult::kHeaderless;
  }
  info.kind = FileName(info.path);
  if (JudgeByName(info)) return OpenResult::kOpened;
  const bool judged = info.is_evtx ? JudgeEvtx(file, info) : JudgeEvt(file, info);
  return judged ? OpenResult::kOpened : OpenResult::kUnjudged;
}

}  // namespace

OpenResult ProbeLog(LogInfo& info, const std::string& path, Judgement judgement) {
  info = {.path = path, .kind = {}, .opened = OpenResult::kCannotOpen};
  info.format_unknown = true;
  DisableFsRedirection();
  const std::optional<InputFile> file = OpenInput(path);
  if (file) ProbeLogFile(info, path, *file, judgement);
  return info.opened;
}

OpenResult ProbeLogFile(LogInfo& info, const std::string& path, const InputFile& file,
                        Judgement judgement) {
  info.path = path;
  info.kind.clear();
  info.kind_from = KindFrom::kNothing;
  info.format_unknown = true;
  info.opened = Judge(file, judgement, info);
  return info.opened;
}

void TakeKindOfRecords(LogInfo& info) {
  const std::optional<InputFile> file = OpenInput(info.path);
  const LogContent content = file ? ContentOf(*file, true) : LogContent::kNone;
  if (content == LogContent::kNone) return;
  info.is_evtx = content != LogContent::kEvt;
  JudgeByRecords(*file, content, info);
}

}  // namespace tarnlex
