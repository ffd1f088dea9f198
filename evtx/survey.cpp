#include "evtx/survey.h"

#include <string>

#include "evtx/chunk_checksum.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"
#include "logs/date_time.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

void AddBroken(WalkAccount& account, std::uint64_t file_offset, ChecksumOf of) {
  ++account.broken_checksums;
  if (account.broken.size() < kMaxListed) account.broken.push_back({file_offset, of});
}

// Other providers use these identifiers for what has nothing to do with it.
bool TellsOfClearedLog(EvtxDecoder& decoder, DecodedEvent& event) {
  constexpr std::uint64_t kLogCleared = 104;
  constexpr std::uint64_t kSecurityLogCleared = 1102;
  if (event.event_id != kLogCleared && event.event_id != kSecurityLogCleared) return false;
  const Plan& plan = PlanOf(decoder, event);
  const PlanValue* const provider = FindValue(plan, "Provider Name");
  std::string scratch;
  return provider && ToLowerAscii(TextOf(event.structure, plan, *provider, scratch)) ==
                         "microsoft-windows-eventlog";
}

}  // namespace

void CheckChecksums(Bytes chunk, std::uint64_t file_offset, WalkAccount& account) {
  if (!HeaderHolds(chunk)) AddBroken(account, file_offset, ChecksumOf::kChunkHeader);
  if (!RecordsHold(chunk)) AddBroken(account, file_offset, ChecksumOf::kChunkRecords);
}

void SurveyRecord(EvtxDecoder& decoder, DecodedEvent& event) {
  RecordSurvey& survey = decoder.account.survey;
  CompareWithOwn(decoder, event);
  const std::uint64_t time = event.own_time != 0 ? event.own_time : event.written_time;
  const SurveyedRecord record{event.record_id, event.record_file_offset,
                              IsValidFiletime(time) ? time : 0};
  AddRecord(survey, record);
  if (TellsOfClearedLog(decoder, event)) AddCleared(survey, {event.event_id, record});
}

}  // namespace tarnlex
