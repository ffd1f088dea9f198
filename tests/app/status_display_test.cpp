#include "app/status_display.h"

#include <gtest/gtest.h>

#include "tests/support/screen.h"

namespace tarnlex {
namespace {

struct StatusDisplayTest : testing::Test {
  static constexpr std::size_t kColumns = 20;
  std::string sent;
  StatusDisplay display;
  StatusDisplayTest() {
    display.write = [this](std::string_view text) {
      sent += text;
      return true;
    };
    display.columns = [] { return kColumns; };
  }
  std::string Shown() const { return support::ScreenOf(sent, kColumns); }
};

TEST_F(StatusDisplayTest, DrawsOverItself) {
  Draw(display, "a long line");
  Draw(display, "short");
  EXPECT_EQ(Shown(), "short");
  Wipe(display);
  EXPECT_EQ(Shown(), "");
  const std::size_t before = sent.size();
  Wipe(display);
  EXPECT_EQ(sent.size(), before);
}

TEST_F(StatusDisplayTest, LeavesTheLastColumnFree) {
  ASSERT_EQ(RoomFor(display), kColumns - 1);
  Draw(display, std::string(RoomFor(display), 'x'));
  Draw(display, std::string(RoomFor(display), 'y'));
  Wipe(display);
  EXPECT_EQ(Shown(), "");
}

TEST_F(StatusDisplayTest, WipesWhatIsTypedBehindIt) {
  Draw(display, "status");
  sent += "^C";
  Wipe(display);
  EXPECT_EQ(Shown(), "");
}

TEST_F(StatusDisplayTest, MakesRoomForWhateverElseIsWritten) {
  const auto say = WipeBefore(display, display.write);
  Draw(display, "a long line");
  say("said\n");
  Draw(display, "status");
  EXPECT_EQ(Shown(), "said\nstatus");
}

}  // namespace
}  // namespace tarnlex
