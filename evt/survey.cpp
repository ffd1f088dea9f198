#include "evt/survey.h"

#include <string_view>

#include "evt/evt_format.h"
#include "logs/read_file.h"

namespace tarnlex {
namespace {

// The source stands behind the fixed part. Other sources use the identifier for something else.
bool TellsOfClearedLog(const EvtRecord& record) {
  constexpr std::uint16_t kSecurityLogCleared = 517;
  constexpr std::string_view kSecurity("S\0e\0c\0u\0r\0i\0t\0y\0\0\0", 18);
  if (record.event_id != kSecurityLogCleared || record.length < kEvtFixedSize) return false;
  const std::uint64_t source = record.offset - record.log.begin + kEvtFixedSize;
  return BeginsWith(Clip(record.log.part, source, record.length - kEvtFixedSize), kSecurity);
}

}  // namespace

void SurveyRecord(EvtAccount& account, const EvtRecord& record) {
  const SurveyedRecord surveyed{record.record_number, record.offset, record.filetime};
  AddRecord(account.survey, surveyed);
  if (TellsOfClearedLog(record)) AddCleared(account.survey, {record.event_id, surveyed});
}

}  // namespace tarnlex
