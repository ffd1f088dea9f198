#include "app/open_log.h"

#include <gtest/gtest.h>

#include "tests/app/temp_directory.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Element;
using support::EvtxBuilder;

constexpr std::size_t kJudgedSize = 70'144;

std::string Text(const ByteString& bytes) { return {bytes.begin(), bytes.end()}; }

struct Judged {
  bool opened = false;
  OpenResult result = OpenResult::kCannotOpen;
  LogInfo info;
};

// Opens a file of that name and content.
Judged Open(const std::string& name, const std::string& content) {
  const TempDirectory directory;
  const std::string path = directory.AddFile(name, content);
  Judged judged;
  judged.result = ProbeLog(judged.info, path);
  judged.opened = OpenLog(judged.info, path);
  EXPECT_EQ(judged.opened, judged.result == OpenResult::kOpened);
  EXPECT_EQ(judged.info.path, path);
  return judged;
}

// An EVTX log, long enough to be judged, whose first record has the channel.
ByteString EvtxWithChannel(const std::string& channel) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 1, .channel = channel});
  log.AddChunk();
  return log.Build();
}

std::string KindByChannel(const std::string& channel) {
  const Judged judged = Open("copy1.evtx", Text(EvtxWithChannel(channel)));
  EXPECT_TRUE(judged.opened);
  EXPECT_TRUE(judged.info.is_evtx);
  EXPECT_FALSE(judged.info.format_unknown);
  return judged.info.kind;
}

ByteString EvtWithSource(const std::string& source) {
  support::EvtBuilder log;
  log.AddEntry({.event_id = 528, .source = source});
  return log.Build();
}

TEST(OpenLog, JudgesByTheFileNameInAnyCase) {
  const std::pair<const char*, const char*> names[] = {
      {"security.evtx", kKindSecurity},
      {"Security.Evt", kKindSecurity},
      {"old-SECURITY.evtx", kKindSecurity},
      {"SecEvent.Evt", kKindSecurity},
      {"System.evtx", kKindSystem},
      {"SysEvent.Evt", kKindSystem},
      {"application.evtx", kKindApplication},
      {"AppEvent.Evt", kKindApplication},
      {"Microsoft-Windows-DriverFrameworks-UserMode%4Operational.evtx", kKindDriverFrameworks},
      {"security.system.evtx", kKindSecurity}};
  for (const auto& [name, kind] : names) {
    for (const std::string& content : {EmptyEvtx(), EmptyEvt()}) {
      const Judged judged = Open(name, content);
      EXPECT_TRUE(judged.opened) << name;
      EXPECT_EQ(judged.info.kind, kind) << name;
      EXPECT_EQ(judged.info.is_evtx, content == EmptyEvtx());
    }
  }
}

TEST(OpenLog, TheDotIsPartOfTheName) {
  const Judged judged = Open("securitylog.evtx", EmptyEvtx());
  EXPECT_FALSE(judged.opened);
  EXPECT_EQ(judged.result, OpenResult::kUnjudged);
  EXPECT_EQ(judged.info.kind, "securitylog.evtx");
}

TEST(OpenLog, TheFolderDoesNotCount) {
  EXPECT_FALSE(Open("security.d/x.evtx", EmptyEvtx()).opened);
}

TEST(OpenLog, JudgesAnEvtxByTheChannelOfItsFirstRecord) {
  EXPECT_EQ(KindByChannel("Security"), "security");
  EXPECT_EQ(KindByChannel("Microsoft-Windows-DriverFrameworks-UserMode/Operational"),
            "driverframeworks");
  EXPECT_EQ(KindByChannel("Microsoft-Windows-\"Quoted\"/Admin"), "microsoft-windows-quoted/admin");
}

TEST(OpenLog, FindsTheFirstTemplateWithoutTheTableOfTheChunk) {
  ByteString file = EvtxWithChannel("Security");
  support::SetBytes(file, 4096 + 384, ByteString(128));
  EXPECT_EQ(Open("copy1.evtx", Text(file)).info.kind, "security");
}

TEST(OpenLog, FindsAFirstTemplateThatNothingLists) {
  // The definition stands behind the records and in no table.
  EvtxBuilder log;
  const support::Fragment body = support::EventFragment({.channel = "Security"});
  log.AddTemplate(body.instance[0].definition, false);
  log.AddRecord({.body = body});
  log.AddChunk();
  EXPECT_EQ(Open("copy1.evtx", Text(log.Build())).info.kind, "security");
}

TEST(OpenLog, JudgesAFirstRecordOfPlainElements) {
  EvtxBuilder log;
  log.AddRecord({.body = support::ElementsFragment(
                     {Element("Event", {}, {Element("Channel", {}, {support::Text("System")})})})});
  log.AddChunk();
  EXPECT_EQ(Open("copy1.evtx", Text(log.Build())).info.kind, "system");
}

TEST(OpenLog, AnEvtxWithoutChannelIsNotJudged) {
  EvtxBuilder log;
  log.AddRecord({.body = support::ElementsFragment({Element("Event")})});
  log.AddChunk();
  const Judged judged = Open("copy1.evtx", Text(log.Build()));
  EXPECT_EQ(judged.result, OpenResult::kUnjudged);
  EXPECT_EQ(judged.info.kind, "copy1.evtx");
  EXPECT_FALSE(judged.info.format_unknown);
}

TEST(OpenLog, AnEvtxTooShortToBeJudgedNeedsItsName) {
  ByteString file = EvtxWithChannel("Security");
  support::Truncate(file, kJudgedSize);
  EXPECT_TRUE(Open("copy1.evtx", Text(file)).opened);
  support::Truncate(file, kJudgedSize - 1);
  EXPECT_FALSE(Open("copy1.evtx", Text(file)).opened);
  EXPECT_TRUE(Open("system.evtx", Text(file)).opened);
}

TEST(OpenLog, AnEvtxNeedsAChunkBehindItsHeaderToBeJudged) {
  ByteString file = EvtxWithChannel("Security");
  support::RemoveChunkMagic(file, 0);
  EXPECT_FALSE(Open("copy1.evtx", Text(file)).opened);
}

TEST(OpenLog, AnEvtKeepsItsFileNameSinceTheTextComparedBeginsLater) {
  const Judged judged = Open("X.evt", Text(EvtWithSource("Security")));
  EXPECT_TRUE(judged.opened);
  EXPECT_FALSE(judged.info.is_evtx);
  EXPECT_EQ(judged.info.kind, "x.evt");
}

TEST(OpenLog, AnEvtIsASecurityLogByTheTextFourBytesIntoItsSource) {
  EXPECT_EQ(Open("x.evt", Text(EvtWithSource("??Security"))).info.kind, "security");
  EXPECT_EQ(Open("x.evt", Text(EvtWithSource("??SECURITY"))).info.kind, "security");
  EXPECT_EQ(Open("x.evt", Text(EvtWithSource("??Security2"))).info.kind, "x.evt");
}

TEST(OpenLog, AnEvtNeedsASaneFirstRecord) {
  ByteString file = EvtWithSource("??Security");
  for (const std::uint32_t length : {0U, 59U, 4097U, 0x80000000U, 0xFFFFFFFFU}) {
    support::SetU32(file, 48, length);
    EXPECT_EQ(Open("x.evt", Text(file)).result, OpenResult::kUnjudged) << length;
  }
  for (const std::uint32_t length : {60U, 4096U}) {
    support::SetU32(file, 48, length);
    EXPECT_TRUE(Open("x.evt", Text(file)).opened) << length;
  }
  // At most (length - 48) characters count.
  support::SetU32(file, 48, 60);
  EXPECT_EQ(Open("x.evt", Text(file)).info.kind, "security");
  EXPECT_EQ(Open("x.evt", EmptyEvt()).result, OpenResult::kUnjudged);
}

TEST(OpenLog, CutAtAnyLengthALogIsJudgedOrNotWithoutHarm) {
  const ByteString evt = EvtWithSource("??Security");
  for (std::size_t size = 0; size < evt.size(); ++size) {
    const Judged judged = Open("x.evt", Text(evt).substr(0, size));
    EXPECT_EQ(judged.opened, size >= 52) << size;
    EXPECT_EQ(judged.info.kind == kKindSecurity, size >= 108 + 16) << size;
  }
}

TEST(OpenLog, RecognisesNothingElse) {
  for (const std::string content : {"just some text", "ElfFile", "ElfChnk\0 bare chunk", "LfLe"}) {
    const Judged judged = Open("security.evtx", content);
    EXPECT_EQ(judged.result, OpenResult::kNoEventLog) << content;
    EXPECT_TRUE(judged.info.format_unknown);
    EXPECT_EQ(judged.info.kind, "");
  }
  EXPECT_TRUE(Open("security.evtx", std::string("ElfFilex", 8)).opened);
}

TEST(OpenLog, TellsWhatTheWalkReadsWithoutAHeader) {
  const Judged chunks = Open("security.evtx", "ElfChnk, cut out");
  EXPECT_EQ(chunks.result, OpenResult::kHeaderless);
  EXPECT_TRUE(chunks.info.is_evtx);
  const Judged evt = Open("SecEvent.Evt", "----LfLe");
  EXPECT_EQ(evt.result, OpenResult::kHeaderless);
  EXPECT_FALSE(evt.info.is_evtx);
  for (const Judged& judged : {chunks, evt}) {
    EXPECT_FALSE(judged.opened);
    EXPECT_TRUE(judged.info.format_unknown);
    EXPECT_EQ(judged.info.kind, "");
  }
}

TEST(OpenLog, AnEmptyFileIsNoEventLogAndADirectoryCannotBeOpened) {
  EXPECT_EQ(Open("security.evtx", "").result, OpenResult::kNoEventLog);
  const TempDirectory directory;
  LogInfo info;
  EXPECT_EQ(ProbeLog(info, directory.path), OpenResult::kCannotOpen);
  EXPECT_EQ(ProbeLog(info, directory.path + "/security.evtx"), OpenResult::kCannotOpen);
}

TEST(OpenLog, NothingOfAnEarlierLogRemains) {
  const TempDirectory directory;
  LogInfo info = {.path = "before",
                  .is_evtx = false,
                  .format_unknown = false,
                  .aux_value = 5,
                  .kind = "before"};
  EXPECT_TRUE(OpenLog(info, directory.AddFile("system.evtx", EmptyEvtx())));
  EXPECT_EQ(info.aux_value, 0U);
  EXPECT_TRUE(info.is_evtx);
  EXPECT_EQ(info.kind, "system");
  EXPECT_EQ(ProbeLog(info, directory.AddFile("system.txt", "text")), OpenResult::kNoEventLog);
  EXPECT_EQ(info.kind, "");
  EXPECT_TRUE(info.format_unknown);
}

// The same, judged by what it holds.
Judged OpenByContents(const std::string& name, const ByteString& content) {
  const TempDirectory directory;
  Judged judged;
  judged.result =
      ProbeLog(judged.info, directory.AddFile(name, Text(content)), Judgement::kByContents);
  judged.opened = judged.result == OpenResult::kOpened;
  return judged;
}

EvtxBuilder EvtxOfOneChunk(const std::string& channel) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 1, .channel = channel});
  return log;
}

TEST(OpenLogByContents, SizeAndNameDoNotCount) {
  for (const char* name : {"x.evtx", "System.evtx", "x"}) {
    const Judged judged = OpenByContents(name, EvtxOfOneChunk("Security").Build());
    EXPECT_TRUE(judged.opened) << name;
    EXPECT_EQ(judged.info.kind, "security") << name;
    EXPECT_FALSE(judged.info.format_unknown);
    EXPECT_EQ(OpenByContents(name, EvtxOfOneChunk("Security").BuildChunks()).info.kind, "security");
  }
  EXPECT_EQ(
      OpenByContents("x", EvtxOfOneChunk("Microsoft-Windows-DriverFrameworks-UserMode/O").Build())
          .info.kind,
      "driverframeworks");
}

TEST(OpenLogByContents, TheFirstRecordThatHasAChannelTellsIt) {
  EvtxBuilder log;
  for (int i = 0; i < 3; ++i) {
    log.AddRecord({.body = support::ElementsFragment({Element("Event")})});
  }
  for (int chunk = 0; chunk < 6; ++chunk) log.AddChunk();
  log.AddEvent({.event_id = 1, .channel = ""});
  log.AddEvent({.event_id = 1, .channel = "System"});
  log.AddEvent({.event_id = 1, .channel = "Security"});
  EXPECT_EQ(OpenByContents("copy1.evtx", log.Build()).info.kind, "system");
}

TEST(OpenLogByContents, DamageBeforeARecordHidesNoChannel) {
  ByteString file = EvtxWithChannel("Security");
  support::RemoveChunkMagic(file, 0);
  EXPECT_EQ(OpenByContents("x", file).info.kind, "security");
  support::Truncate(file, 4096 + 10'000);
  EXPECT_EQ(OpenByContents("x", file).info.kind, "security");
  file = EvtxOfOneChunk("Security").Build();
  support::SetBytes(file, 0, ByteString(16));  // of the file's header
  EXPECT_EQ(OpenByContents("x", file).info.kind, "security");
  EXPECT_TRUE(OpenByContents("x", file).info.is_evtx);
}

TEST(OpenLogByContents, WithoutAChannelTheNameTellsIt) {
  EvtxBuilder log;
  log.AddRecord({.body = support::ElementsFragment({Element("Event")})});
  EXPECT_EQ(OpenByContents("System.evtx", log.Build()).info.kind, "system");
  const Judged judged = OpenByContents("copy1.evtx", log.Build());
  EXPECT_TRUE(judged.opened);
  EXPECT_EQ(judged.info.kind, "copy1.evtx");
}

TEST(OpenLogByContents, AnEvtIsASecurityLogByItsSource) {
  EXPECT_EQ(OpenByContents("x.evt", EvtWithSource("Security")).info.kind, "security");
  EXPECT_EQ(OpenByContents("x.evt", EvtWithSource("EventLog")).info.kind, "x.evt");
  EXPECT_EQ(OpenByContents("SysEvent.Evt", EvtWithSource("EventLog")).info.kind, "system");
  EXPECT_FALSE(OpenByContents("x.evt", EvtWithSource("Security")).info.is_evtx);
}

TEST(OpenLogByContents, OtherFilesAreNoLogs) {
  for (const char* content : {"just some text", "ElfFile", "LfLe", ""}) {
    const std::string text = content;
    const Judged judged = OpenByContents("security.evtx", {text.begin(), text.end()});
    EXPECT_EQ(judged.result, OpenResult::kNoEventLog) << content;
    EXPECT_TRUE(judged.info.format_unknown);
  }
  const TempDirectory directory;
  LogInfo info;
  EXPECT_EQ(ProbeLog(info, directory.path, Judgement::kByContents), OpenResult::kCannotOpen);
}

}  // namespace
}  // namespace tarnlex
