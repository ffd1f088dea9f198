#include "logs/sid.h"

#include <gtest/gtest.h>

#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

TEST(SidText, WritesAuthorityAndParts) {
  EXPECT_EQ(SidText(support::SidBytes("S-1-5-18")), "S-1-5-18");
  EXPECT_EQ(SidText(support::Hex("01 00 00 00 FF FF FF FF")), "S-1-4294967295");
  EXPECT_EQ(SidText(support::Hex("01 01 00 01 00 00 00 00  FF FF FF FF")),
            "S-1-0x000100000000-4294967295");
}

TEST(SidText, IsEmptyForMalformedBytes) {
  EXPECT_EQ(SidText({}), "");
  EXPECT_EQ(SidText(support::Hex("01 00 00 00 00 00 05")), "");
  EXPECT_EQ(SidText(support::Hex("01 02 00 00 00 00 00 05  12 00 00 00")), "");
}

}  // namespace
}  // namespace tarnlex
