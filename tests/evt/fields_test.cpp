#include "evt/fields.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;

std::string Field(const ByteString& bytes, std::string_view name) {
  EvtRecord record;
  EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
  std::string text = "left over";
  const bool found = FieldText(record, name, text);
  EXPECT_EQ(found, !text.empty());
  return text;
}

ByteString Sample() {
  return support::EvtEntryBytes({.event_id = 528,
                                 .type = 8,
                                 .source = "Security",
                                 .sid = "S-1-5-21-1-2-3-500",
                                 .strings = {"ab", "", "c"}});
}

TEST(EvtFields, KnowsItsNames) {
  EXPECT_EQ(Field(Sample(), "source_name"), "Security");
  EXPECT_EQ(Field(Sample(), "user_sid"), "S-1-5-21-1-2-3-500");
  EXPECT_EQ(Field(Sample(), "success_type"), "8");
  EXPECT_EQ(Field(Sample(), "string"), "abc");
}

TEST(EvtFields, FindsStringsByNumberUpToTheLast) {
  EXPECT_EQ(Field(Sample(), "1"), "ab");
  EXPECT_EQ(Field(Sample(), "2"), "");
  EXPECT_EQ(Field(Sample(), "3"), "c");
  EXPECT_EQ(Field(Sample(), "03"), "c");
  EXPECT_EQ(Field(Sample(), "0"), "");
  EXPECT_EQ(Field(Sample(), "4"), "");
  EXPECT_EQ(Field(Sample(), "99999999999999999999999"), "");
}

TEST(EvtFields, MatchesNamesExactly) {
  EXPECT_EQ(Field(Sample(), "Source_Name"), "");
  EXPECT_EQ(Field(Sample(), "source name"), "");
  EXPECT_EQ(Field(Sample(), "STRING"), "");
  EXPECT_EQ(Field(Sample(), "1x"), "");
  EXPECT_EQ(Field(Sample(), ""), "");
}

TEST(EvtFields, HasNoSidWhereTheRecordHasNone) {
  EXPECT_EQ(Field(support::EvtEntryBytes({.strings = {"a"}}), "user_sid"), "");
}

}  // namespace
}  // namespace tarnlex
