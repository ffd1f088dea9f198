// Real logs below $TARNLEX_LOGS, put into images at odd places: what they hold comes out of these
// as it does of the logs.
#include <fstream>
#include <iterator>
#include <map>

#include "tests/end_to_end/real_logs.h"
#include "tests/reports/carving.h"

namespace tarnlex {
namespace {

constexpr std::size_t kBefore = 12'345;

support::ByteString ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  return {text.begin(), text.end()};
}

TEST(CarveRealLogs, GivesEveryRecordOfSoundChunksInFull) {
  std::size_t records = 0;
  std::size_t torn = 0;
  for (const std::string& path : PathsOfRealLogs()) {
    SCOPED_TRACE(path);
    const support::ByteString log = ReadBytes(path);
    support::ByteString image(kBefore, 0x5A);
    support::PutBytes(image, log);
    const CarvedImage found = Carve(image);
    std::map<std::uint64_t, const Carved*> at;
    for (const Carved& record : found.records) at.emplace(record.offset, &record);
    const bool sound = found.counts.sound_chunks == found.counts.chunks;
    for (const Carved& record : RecordsOfLog(log)) {
      ++records;
      const auto carved = at.find(record.offset + kBefore);
      if (carved != at.end() && carved->second->checked == "all") {
        EXPECT_EQ(carved->second->event, record.event);
      } else {
        ++torn;
        EXPECT_FALSE(sound && path.ends_with(".evtx")) << "record at " << record.offset;
      }
    }
  }
  if (records == 0) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  // Those whose bytes are not all there, or not in one piece.
  EXPECT_LE(torn, records / 100);
}

}  // namespace
}  // namespace tarnlex
