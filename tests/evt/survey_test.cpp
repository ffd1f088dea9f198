#include "evt/survey.h"

#include <gtest/gtest.h>

#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtBuilder;

EvtAccount Surveyed(const ByteString& file) {
  EvtCursor cursor;
  EXPECT_TRUE(BeginEvtWalk(file, cursor));
  EvtRecord record;
  while (NextEvtRecord(cursor, record)) {
    SurveyRecord(cursor.account, record);
    EXPECT_FALSE(record.texts_cut);
  }
  return cursor.account;
}

TEST(EvtSurvey, TellsAClearedLogByItsSource) {
  EvtBuilder log;
  log.AddEntry({.event_id = 517, .source = "Security"});
  log.AddEntry({.event_id = 517, .source = "SecurityCenter"});
  log.AddEntry({.event_id = 0xC0000000 + 517, .source = "Security"});
  log.AddEntry({.event_id = 518, .source = "Security"});
  const RecordSurvey survey = Surveyed(log.Build()).survey;
  ASSERT_EQ(survey.cleared.size(), 2U);
  EXPECT_EQ(survey.cleared[0].event_id, 517U);
  EXPECT_EQ(survey.cleared[0].record.id, 1U);
  EXPECT_EQ(survey.cleared[0].record.file_offset, 48U);
  EXPECT_EQ(survey.cleared[1].record.id, 3U);
}

TEST(EvtSurvey, FindsGapsAndStepsBack) {
  EvtBuilder log;
  log.AddEntry({.number = 3, .time = 1'000'000, .event_id = 1});
  log.AddEntry({.number = 7, .time = 1'000'060, .event_id = 1});
  log.AddEntry({.number = 8, .time = 999'999, .event_id = 1});
  log.AddEntry({.number = 9, .time = 0, .event_id = 1});
  const EvtAccount account = Surveyed(log.Build());
  EXPECT_EQ(GapsOf(account.survey).missing, 3U);
  EXPECT_EQ(account.survey.steps, 1U);
  EXPECT_EQ(account.undated, 1U);
}

TEST(EvtSurvey, ReadsTheFileHeader) {
  EvtBuilder log;
  log.AddEntry({.number = 5, .event_id = 1}).AddEntry({.event_id = 1});
  const ByteString file = log.Build({.flags = support::kEvtDirty | support::kEvtWrapped});
  const EvtFileHeader header = ReadEvtFileHeader(file);
  EXPECT_TRUE(header.found && header.dirty && header.wrapped);
  EXPECT_FALSE(header.full);
  EXPECT_EQ(header.oldest_record, 5U);
  EXPECT_EQ(header.next_record, 7U);
  EXPECT_FALSE(ReadEvtFileHeader(Bytes(file).first(47)).found);
}

}  // namespace
}  // namespace tarnlex
