// Date and time formats with any instant, and texts that are read as times.
#include "fuzz/fuzz_target.h"
#include "logs/date_time.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnlex;
  if (size < 17) return 0;
  const auto value = Load<std::uint64_t>(data);
  std::uint16_t system_time[8];
  std::memcpy(system_time, data, sizeof system_time);
  FormatSystemTime(system_time);
  FormatFiletimeFull(value);
  const std::string_view text = TextOfInput(data + 17, size - 17);
  const std::size_t cut = std::min<std::size_t>(data[16], text.size());
  std::string date;
  std::string time;
  for (const TimeKind kind :
       {TimeKind::kFiletime, TimeKind::kMicrosecondsSince1601, TimeKind::kUnixMicroseconds,
        TimeKind::kUnixSeconds, TimeKind::kLow32Seconds}) {
    const DateTimeFields fields = MakeDateTime(value, kind);
    FormatDateTime(fields, text.substr(0, cut), text.substr(cut), date, time);
  }
  DateTimeFormatter formatter = MakeDateTimeFormatter(text.substr(0, cut), text.substr(cut));
  FormatDateTime(formatter, value);
  FormatDateTime(formatter, value + kTicksPerSecond);
  std::uint64_t filetime = 0;
  ParseTimeArgument(text, filetime);
  return 0;
}
