#include "tests/windows/sample_logs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "tests/support/breakers.h"
#include "tests/support/evtx_builder.h"
#include "tests/windows/both_programs.h"

namespace tarnlex::windows {
namespace {

using support::ByteString;
using support::DataField;
using support::Event;
using support::EvtxBuilder;

constexpr std::uint64_t kStart = 133'500'000'000'000'000;
constexpr std::uint64_t kMinute = 600'000'000;

Event SystemEvent(const std::string& provider, std::uint32_t id, std::uint64_t minute) {
  Event event{.provider = provider, .event_id = id, .time = kStart + minute * kMinute};
  event.channel = "System";
  event.level = 4;
  return event;
}

// Starts and stops, a clock change, and texts that a writer or a console could stumble over.
EvtxBuilder SystemLog() {
  EvtxBuilder log;
  log.AddEvent(SystemEvent("Microsoft-Windows-Kernel-General", 12, 0));
  log.AddEvent(SystemEvent("Microsoft-Windows-Kernel-General", 13, 9));
  log.AddEvent(SystemEvent("EventLog", 6005, 1));
  log.AddEvent(SystemEvent("EventLog", 6006, 8));
  const char* texts[] = {"line\r\nline\nline\rline", "a|b,c\td", "Журнал 🗂 événement",
                         "", " x "};
  std::uint64_t minute = 10;
  for (const char* text : texts) {
    Event event = SystemEvent("Тест 🧪", 7000, minute++);
    event.data.emplace_back("Text", text);
    log.AddEvent(event);
  }
  return log;
}

void WriteLog(const std::string& path, const ByteString& bytes) {
  WriteAll(path, {bytes.begin(), bytes.end()});
}

}  // namespace

void WriteSampleLogs(const std::string& directory) {
  const std::string maker = TARNLEX_MAKE_SAMPLE_LOG;
  ASSERT_EQ(std::system(("'" + maker + "' '" + directory + "'").c_str()), 0);
  WriteLog(directory + "/System.evtx", SystemLog().Build());
  WriteLog(directory + "/chunk.bin", SystemLog().BuildChunks());
  const std::string sound = ReadAll(directory + "/Security.evtx");
  ByteString damaged(sound.begin(), sound.end());
  for (std::size_t at = support::kEvtxHeaderSize + 700; at < damaged.size(); at += 5'003) {
    support::FlipByte(damaged, at);
  }
  support::Truncate(damaged, damaged.size() - 100);
  WriteLog(directory + "/damaged.evtx", damaged);
  WriteAll(directory + "/no_log.txt", "only text");
}

}  // namespace tarnlex::windows
