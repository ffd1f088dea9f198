#include "reports/carve_image.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "evt/carve.h"
#include "evt/evt_format.h"
#include "evt/recover.h"
#include "evt/sound_record.h"
#include "evtx/carve.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"
#include "evtx/recover.h"
#include "evtx/trace.h"
#include "logs/log_marks.h"
#include "logs/text.h"
#include "reports/image_window.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kSizeToSignature = 4;  // in EVT records and headers
constexpr std::uint64_t kLargeImage = std::uint64_t{256} << 20;
constexpr std::size_t kRowsOfLargeImage = 200'000;

// What tells of the chunk at hand which log it was of.
struct NamesOfChunk {
  CarvedLogKey key;
  std::uint64_t source = kNoSource;  // of the chunk
  std::uint64_t last_id = 0;
};

struct ImageSearch {
  LogPass& evtx;
  LogPass& evt;
  const ImageFile& image;
  EvtxCarver& carver;
  ImageWindow& window;
  CarveCounts& counts;
  EvtRecord& record;
  bool keeps = false;            // what is found is made into logs
  std::uint64_t at = 0;          // where the next mark is looked for
  std::uint64_t taken = 0;       // where what was found last ends
  std::uint64_t evt_source = 0;  // where the records of EVT logs begin that end...
  std::uint64_t evt_end = 0;     // ...here
};

// Records and headers that stand one behind the other come from one place.
void ExtendEvtPlace(ImageSearch& search, std::uint64_t at, std::uint64_t size) {
  if (at != search.evt_end || at == 0) search.evt_source = at;
  search.evt_end = at + size;
}

// EVT records name no log; one source writes to a log of its own.
void KeepEvt(ImageSearch& search, Bytes bytes) {
  std::optional<CarvedLogs>& kept = search.evt.run.carved_logs;
  EvtRecord& record = search.record;
  if (!search.keeps || record.recovery.checked != Checked::kAll) return;
  ++search.counts.kept;
  CutTexts(record);
  const bool security = EqualsNoCase(Utf16ToUtf8(record.source_name), kKindSecurity);
  KeepEvtRecord(*kept,
                {false, security ? "Security" : "other logs",
                 Utf16ToUtf8(record.computer_name).substr(0, kLongestCarvedName)},
                bytes, record.record_number);
}

void GiveEvtRecord(ImageSearch& search, Bytes bytes, std::uint64_t at) {
  EvtRecord& record = search.record;
  const EvtLog log{at + bytes.size(), at, bytes, nullptr};
  if (!ReadEvtRecord(log, at, record)) return;
  JudgeEvtRecord(record, FoundIn::kCarved, bytes);
  CountRecovered(search.carver.decoder.account.recovered, record.recovery);
  ++search.counts.evt_records;
  ComeFrom(search.evt, search.evt_source);
  KeepEvt(search, bytes);
  RouteEvtRecord(search.evt, record);
}

// What begins with an EVT signature at `mark`.
std::uint64_t CarveEvt(ImageSearch& search, std::uint64_t mark) {
  const std::uint64_t at = mark - kSizeToSignature;
  if (mark < kSizeToSignature || at < search.taken) return mark + 1;
  const Bytes bytes = From(PartOf(search.window), at);
  if (IsEvtHeader(bytes)) {
    ++search.counts.evt_headers;
    ExtendEvtPlace(search, at, kEvtHeaderUsed);
    return at + kEvtHeaderUsed;
  }
  const std::uint32_t length = WholeEvtLength(bytes);
  if (length == 0) return mark + 1;
  ExtendEvtPlace(search, at, length);
  GiveEvtRecord(search, bytes.first(length), at);
  return at + length;
}

std::uint64_t CarveMark(ImageSearch& search, LogMark mark, std::uint64_t at) {
  const ImagePart part = PartOf(search.window);
  switch (mark) {
    case LogMark::kChunk: return CarveChunk(search.carver, part, at);
    case LogMark::kRecord: return CarveRecord(search.carver, part, at);
    case LogMark::kEvtMessage: return CarveEvt(search, at);
    case LogMark::kNone: break;
  }
  return at + 1;
}

// Looks through what is in memory, up to `end`.
void SearchUpTo(ImageSearch& search, std::uint64_t end) {
  constexpr std::uint64_t kBehindMark = 3;  // a mark that begins before the end counts
  while (search.at < end) {
    const std::uint64_t begin = search.window.begin;
    const Bytes bytes = Clip(search.window.bytes, 0, end + kBehindMark - begin);
    const MarkPlace place = NextMark(bytes, static_cast<std::size_t>(search.at - begin));
    if (place.mark == LogMark::kNone) {
      search.at = end;
    } else {
      const std::uint64_t mark = begin + place.at;
      search.at = CarveMark(search, place.mark, mark);
      if (search.at > mark + 1) search.taken = search.at;
    }
  }
}

std::string NameIn(const DecodedEvent& event, std::string_view field) {
  std::string scratch;
  const PlanValue* const value = FindValue(*event.plan, field);
  if (!value) return {};
  return std::string(TextOf(event.structure, *event.plan, *value, scratch))
      .substr(0, kLongestCarvedName);
}

// The first record of a chunk that says so tells its channel and its computer.
void TakeNames(EvtxDecoder& decoder, DecodedEvent& event, std::uint64_t source,
               NamesOfChunk& names) {
  if (names.source != source) names = {{}, source, 0};
  names.last_id = std::max(names.last_id, event.record_id);
  if (event.recovery.checked == Checked::kNone || !names.key.channel.empty()) return;
  PlanOf(decoder, event);
  names.key.channel = NameIn(event, "Channel");
  names.key.computer = NameIn(event, "Computer");
}

void WriteRowsOfLarge(ImageSearch& search) {
  if (search.image.file.size < kLargeImage) return;
  for (LogPass* const pass : {&search.evtx, &search.evt}) {
    if (pass->rows.rows.size() >= kRowsOfLargeImage) WriteRows(*pass);
  }
}

void SearchImage(ImageSearch& search) {
  Progress& progress = search.evtx.run.progress;
  const std::uint64_t size = search.image.file.size;
  FileStretch stretch;
  while (search.at < size && !StopsHere(progress) && !HasFailed(search.evtx.run.records)) {
    if (search.at >= stretch.end) {
      stretch = search.image.next_stretch(search.at);
      search.counts.holes += stretch.begin - search.at;
      search.at = stretch.begin;
      if (stretch.begin >= stretch.end) break;
    }
    Advance(progress, search.at, size);
    ShowPlace(search.window, search.at);
    const std::uint64_t from = search.at;
    SearchUpTo(search, std::min(stretch.end, EndOfPlaces(search.window)));
    search.counts.searched += search.at - from;
    WriteRowsOfLarge(search);
  }
  if (!progress.stopped) Advance(progress, size, size);
}

void Prepare(LogPass& evtx, LogPass& evt) {
  evtx.log.is_evtx = true;
  evt.log.is_evtx = false;
  PrepareEvtxPass(evtx);
  PrepareEvtPass(evt);
  for (LogPass* const pass : {&evtx, &evt}) pass->most_memory /= 2;
}

void WriteTrace(TextSink& trace, const LogPass& pass, const CarveCounts& counts,
                const WalkAccount& account) {
  const auto line = [&trace](std::string_view what, std::uint64_t count) {
    TraceLine(trace, std::string(what) + ": " + std::to_string(count));
  };
  TraceLine(trace, "--- account of " + pass.log.path);
  line("bytes searched", counts.searched);
  line("bytes in holes", counts.holes);
  line("bytes that could not be read", counts.unread);
  line("chunks found", counts.chunks);
  line("chunks whose checksums hold", counts.sound_chunks);
  line("records in chunks", counts.in_chunks);
  line("records outside of chunks", counts.outside);
  line("headers of EVT logs", counts.evt_headers);
  line("records of EVT logs", counts.evt_records);
  constexpr std::string_view kChecked[] = {"records with everything checked",
                                           "records with system values checked",
                                           "records with nothing checked"};
  for (std::size_t i = 0; i < account.recovered.checked.size(); ++i) {
    line(kChecked[i], account.recovered.checked[i]);
  }
  line("copies of records of their chunk, not given", account.recovered.copies);
  Flush(trace);
}

// Both passes are accounted for as one.
void EndAccount(LogPass& pass, const LogPass& evt, const EvtxDecoder& decoder,
                const ImageFile& image) {
  LogAccount& account = pass.account;
  account.unique += evt.account.unique;
  account.is_image = true;
  account.size = image.file.size;
  account.evtx = decoder.account;
  account.outcome = LogOutcome::kRead;
  if (pass.run.progress.stopped) account.outcome = LogOutcome::kInterrupted;
  account.log = pass.log;
  AddWalk(pass.run.account, account);
}

}  // namespace

void CarveOpenImage(LogPass& evtx, LogPass& evt, const ImageFile& image) {
  EvtxDecoder& decoder = evtx.run.evtx_decoder;
  BeginLog(decoder, TraceOf(evtx.run), Policy::kComplete);
  decoder.account.recovered.asked = true;
  decoder.makes_documents = IsStream(evtx.options);
  Prepare(evtx, evt);
  EvtxHandlers handlers;
  CarveCounts& counts = evtx.account.carved;
  EvtxCarver carver{decoder, handlers, counts};
  std::optional<CarvedLogs>& kept = evtx.run.carved_logs;
  const bool keeps = kept && kept->images.insert(evtx.log.path).second;
  NamesOfChunk names;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    const std::uint64_t source = carver.slot.source;
    ComeFrom(evtx, source);
    if (keeps) TakeNames(with, event, source, names);
    RouteEvtxRecord(evtx, with, event);
  };
  if (keeps) {
    carver.left = [&](const CarveSlot& slot) {
      if (names.source != slot.source) return;  // nothing was found in it
      ++counts.kept;
      KeepChunk(*kept, names.key, Clip(slot.bytes, 0, slot.cut), names.last_id);
    };
  }
  ImageWindow window{image.file, kCarveBack,
                     std::max(kCarveAhead, std::uint64_t{kEvtLargestRecord})};
  EvtRecord record;
  record.structure.policy = Policy::kComplete;
  ImageSearch search{evtx, evt, image, carver, window, counts, record, keeps};
  SearchImage(search);
  EndCarving(carver);
  counts.unread = window.unread;
  WriteRows(evtx);
  WriteRows(evt);
  if (TextSink* const trace = TraceOf(evtx.run)) {
    WriteTrace(*trace, evtx, counts, decoder.account);
  }
  EndAccount(evtx, evt, decoder, image);
}

bool CarveImage(LogPass& evtx, LogPass& evt) {
  const std::optional<ImageFile> image = OpenImage(evtx.log.path);
  if (image) {
    CarveOpenImage(evtx, evt, *image);
    return true;
  }
  evtx.account.log = evtx.log;
  evtx.account.outcome = LogOutcome::kNotOpened;
  AddWalk(evtx.run.account, evtx.account);
  return false;
}

}  // namespace tarnlex
