#include "event/names.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

TEST(Names, OfElementsAreWhatMarkupAllows) {
  for (const char* name : {"EventID", "_a", "a:b", "a.b-c1",
                           "Gr\xC3\xB6\xC3\x9F"
                           "e"}) {
    EXPECT_TRUE(IsXmlName(name)) << name;
  }
  for (const char* name : {"", "1a", ".a", "-a", "a b", "a\x01", "a<", "\xEF\xBF\xBD"}) {
    EXPECT_FALSE(IsXmlName(name)) << name;
  }
}

TEST(Names, OfDataOnlyHaveToBePrintable) {
  for (const char* name : {"", "A name, with %1",
                           "Gr\xC3\xB6\xC3\x9F"
                           "e"}) {
    EXPECT_TRUE(IsPrintable(name)) << name;
  }
  for (const char* name : {"a\tb", "a\x7F", "a\xEF\xBF\xBD"})
    EXPECT_FALSE(IsPrintable(name)) << name;
}

TEST(Names, NumberUnnamedDataFromTheSecondOn) {
  EXPECT_EQ(UnnamedDataName(1), "Data");
  EXPECT_EQ(UnnamedDataName(2), "Data_02");
  EXPECT_EQ(UnnamedDataName(9), "Data_09");
  EXPECT_EQ(UnnamedDataName(10), "Data_10");
  EXPECT_EQ(UnnamedDataName(100), "Data_100");
}

TEST(Names, HashTheSameWhereverTheyLie) {
  for (std::size_t size = 0; size < 40; ++size) {
    const std::string name(size, 'n');
    EXPECT_EQ(HashName(name), HashName(std::string(name)));
    EXPECT_NE(HashName(name), HashName(name + "m")) << size;
  }
}

}  // namespace
}  // namespace tarnlex
