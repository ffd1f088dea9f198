#include "app/event_ids.h"

#include <gtest/gtest.h>

#include <random>

#include "logs/parse_number.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

using Ids = std::vector<std::uint64_t>;
using Ranges = std::vector<IdRange>;
using Texts = std::vector<std::string>;

TEST(EventIds, TakeRanges) {
  const EventIdList list = ReadEventIds("4624,4625, 4720 - 4767,0x10-0x1F, 9-3");
  EXPECT_EQ(list.ids, (Ids{4624, 4625}));
  EXPECT_EQ(list.ranges, (Ranges{{4720, 4767}, {16, 31}, {3, 9}}));
  EXPECT_EQ(ReadEventIds("1-2 4 - 5 7").ranges, (Ranges{{1, 2}, {4, 5}}));
}

TEST(EventIds, AreCutAtSemicolonsAsAtCommas) {
  EXPECT_EQ(ReadEventIds("4624;4625 ; 4720,4;").ids, (Ids{4624, 4625, 4720, 4}));
}

TEST(EventIds, TellWhatIsNoNumberAndWhatOnlyBeginsWithOne) {
  const EventIdList list = ReadEventIds("x, 4625abc, 4624-y, -5, 12, 0x1g, 4 5");
  EXPECT_EQ(list.ids, (Ids{4625, 4624, 12, 1, 4}));
  EXPECT_EQ(list.unreadable, (Texts{"x", "-5"}));
  EXPECT_EQ(list.cut, (Texts{"4625abc", "4624-y", "0x1g", "4 5"}));
  EXPECT_EQ(ReadEventIds("0x10, X1F, o17, 0O7").cut, Texts{});
  EXPECT_EQ(ReadEventIds("").ids, Ids{});
}

// As lists were read when they had commas, bars and blanks only.
Ids OldList(const std::string& list) {
  char chosen = ' ';
  for (const char separator : {' ', '|', ','}) {
    if (list.find(separator) != std::string::npos) chosen = separator;
  }
  Texts pieces;
  SplitList(list, chosen, true, pieces);
  Ids ids;
  for (const std::string& piece : pieces) {
    std::uint64_t id = 0;
    if (ParseNumber(piece, id)) ids.push_back(id);
  }
  return ids;
}

TEST(EventIds, MeanInListsWithoutDashesAndSemicolonsWhatTheyAlwaysDid) {
  constexpr std::string_view kCharacters = "0123456789, |xo\tg";
  std::mt19937 random(20230314);
  for (int i = 0; i < 20'000; ++i) {
    std::string list;
    for (unsigned size = random() % 16; size > 0; --size) {
      list += kCharacters[random() % kCharacters.size()];
    }
    const EventIdList read = ReadEventIds(list);
    ASSERT_EQ(read.ids, OldList(list)) << list;
    ASSERT_EQ(read.ranges, Ranges{}) << list;
  }
}

}  // namespace
}  // namespace tarnlex
