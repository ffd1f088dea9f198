// What a file is judged to be: the path up to the first zero byte, then the file's content.
#include "app/open_log.h"
#include "fuzz/fuzz_target.h"
#include "logs/paths.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnlex;
  const std::string_view input = TextOfInput(data, size);
  const std::size_t end = std::min(input.find('\0'), size);
  const std::size_t begin = std::min(end + 1, size);
  LogInfo info;
  for (const Judgement judgement : {Judgement::kByName, Judgement::kByContents}) {
    ProbeLogFile(info, ExpandPathVariables(input.substr(0, end)),
                 FileOf({data + begin, size - begin}), judgement);
  }
  return 0;
}
