#include "app/pipe_mode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "logs/status_line.h"
#include "tests/app/temp_directory.h"

namespace tarnlex {
namespace {

using Texts = std::vector<std::string>;

// Gives `text` out in small uneven portions, as a pipe may.
LineReader ReaderOf(std::string text, std::size_t portion = 7) {
  LineReader reader;
  reader.read = [text = std::move(text), at = std::size_t{0}, portion](std::span<char> to) mutable {
    const std::size_t size = std::min({portion, to.size(), text.size() - at});
    std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(at), size, to.begin());
    at += size;
    return size;
  };
  return reader;
}

Texts PiecesOf(const std::string& text, std::size_t portion) {
  LineReader reader = ReaderOf(text, portion);
  Texts pieces;
  std::string piece;
  while (ReadPiece(reader, piece)) pieces.push_back(piece);
  return pieces;
}

TEST(ReadPiece, KeepsLineFeedsAndTheLastLineWithout) {
  for (const std::size_t portion : {1U, 3U, 5000U}) {
    EXPECT_EQ(PiecesOf("a\r\n\nb\n\nc", portion), (Texts{"a\r\n", "\n", "b\n", "\n", "c"}));
  }
  EXPECT_TRUE(PiecesOf("", 1).empty());
}

TEST(ReadPiece, CutsLongLinesAt4095Bytes) {
  for (const std::size_t portion : {100U, 4096U, 20000U}) {
    const std::string full(4095, 'a');
    EXPECT_EQ(PiecesOf(full + "\nz", portion), (Texts{full, "\n", "z"}));
    EXPECT_EQ(PiecesOf(full + full + "b\n", portion), (Texts{full, full, "b\n"}));
    const std::string fits(4094, 'a');
    EXPECT_EQ(PiecesOf(fits + "\nz", portion), (Texts{fits + "\n", "z"}));
  }
}

TEST(ReadPiece, PassesZeroBytesOn) {
  const std::string line("a\0b\n", 4);
  EXPECT_EQ(PiecesOf(line, 2), Texts{line});
}

// A run over piped paths: what was processed, and everything said.
struct PipedRun {
  std::string said;
  TextSink messages = MakeStringSink(said);
  RunOptions options;
  Texts kinds;
  Texts processed;
  int finished = 0;
  std::string throw_on;

  void Run(const std::string& input) {
    LineReader reader = ReaderOf(input);
    LogSteps steps;
    steps.process = [this](const LogInfo& log) {
      kinds.push_back(log.kind);
      if (log.path == throw_on) throw std::runtime_error("damaged");
      processed.push_back(log.path);
    };
    steps.finish = [this] { ++finished; };
    RunPipedLogs(options, reader, steps, messages);
  }
};

TEST(PipedLogs, AreProcessedOneByOne) {
  const TempDirectory directory;
  const std::string system = directory.AddFile("System.evtx", EmptyEvtx());
  const std::string security = directory.AddFile("SecEvent.Evt", EmptyEvt());
  PipedRun run;
  run.Run(system + "\r\n\r\n\n" + security + "\r\r\n" + system);
  EXPECT_EQ(run.processed, (Texts{system, security, system}));
  EXPECT_EQ(run.kinds, (Texts{"system", "security", "system"}));
  EXPECT_EQ(run.finished, 3);
  EXPECT_EQ(run.said, StatusLine(AnalyzingText(system)) + "processed log " + system + "\n" +
                          StatusLine(AnalyzingText(security)) + "processed log " + security + "\n" +
                          StatusLine(AnalyzingText(system)) + "processed log " + system + "\n" +
                          StatusLine(" \n"));
}

TEST(PipedLogs, StaySilentWhenQuiet) {
  const TempDirectory directory;
  const std::string system = directory.AddFile("System.evtx", EmptyEvtx());
  PipedRun run;
  run.options.show_status = false;
  run.Run(system + "\n");
  EXPECT_EQ(run.processed, Texts{system});
  EXPECT_EQ(run.said, "");
}

TEST(PipedLogs, ThatAreNoneArePassedOverInSilence) {
  const TempDirectory directory;
  const std::string text = directory.AddFile("system.evtx", "only text, no log");
  const std::string zero = directory.AddFile("security.evtx", EmptyEvtx()) + std::string("\0x", 2);
  PipedRun run;
  run.Run(text + "\n" + directory.path + "/none\n" + directory.path + "\n" + zero + "\n" +
          std::string(9000, 'l') + "\n");
  EXPECT_TRUE(run.processed.empty());
  EXPECT_EQ(run.said, StatusLine(" \n"));
}

TEST(PipedLogs, HaveVariablesExpandedAndPercentSignsHidden) {
  const TempDirectory directory;
  const std::string file = directory.AddFile("system.a%4b.evtx", EmptyEvtx());
  setenv("TARNLEX_PIPED", directory.path.c_str(), 1);
  PipedRun run;
  run.Run("%TARNLEX_PIPED%/system.a%4b.evtx\n");
  EXPECT_EQ(run.processed, Texts{file});
  std::string shown = file.substr(0, 46);
  std::erase(shown, '%');
  EXPECT_NE(run.said.find("analyzing: " + shown.substr(0, 20)), std::string::npos);
  EXPECT_EQ(run.said.find('%'), run.said.find("processed log ") + 14 + file.find('%'));
}

TEST(PipedLogs, ShowLongPathsCutAndReportThemWhole) {
  const TempDirectory directory;
  const std::string file =
      directory.AddFile("a_directory_with_quite_a_long_name_of_its_own/system.evtx", EmptyEvtx());
  PipedRun run;
  run.Run(file + "\n");
  EXPECT_NE(run.said.find("analyzing: " + file.substr(0, 45) + "    \b"), std::string::npos);
  EXPECT_NE(run.said.find("processed log " + file + "\n"), std::string::npos);
}

TEST(PipedLogs, SurviveAnExceptionOfOne) {
  const TempDirectory directory;
  const std::string first = directory.AddFile("a/system.evtx", EmptyEvtx());
  const std::string second = directory.AddFile("b/system.evtx", EmptyEvtx());
  PipedRun run;
  run.throw_on = first;
  run.options.show_status = false;
  run.Run(first + "\n" + second + "\n");
  EXPECT_EQ(run.said, "exception caught on file " + first + "\n");
  EXPECT_EQ(run.processed, Texts{second});
  EXPECT_EQ(run.finished, 1);
}

TEST(PipedLogs, KeepBlanksInsideAndInFront) {
  const TempDirectory directory;
  const std::string file = directory.AddFile(" my logs/system.evtx", EmptyEvtx());
  PipedRun run;
  run.Run(file + "\n " + file + "\n");
  EXPECT_EQ(run.processed, Texts{file}) << "a leading blank makes it another path";
}

}  // namespace
}  // namespace tarnlex
