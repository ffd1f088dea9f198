// Runs every case of tests/golden and compares all that comes of it. UPDATE_GOLDEN=1 in the
// environment rewrites the expected parts instead; the difference is to be read like code.
#include <cstdlib>

#include "tests/end_to_end/golden_case.h"
#include "tests/end_to_end/in_process.h"

namespace tarnlex {
namespace {

// Another folder of cases can be named, which the test of these very tests does.
std::string CaseFolder() {
  const char* other = std::getenv("TARNLEX_GOLDEN_FOLDER");
  return other != nullptr ? other : TARNLEX_GOLDEN;
}

std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(CaseFolder())) {
    if (entry.path().extension() == ".txt") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, GivesExactlyWhatIsExpected) {
  const std::string file = CaseFolder() + "/" + GetParam() + ".txt";
  const GoldenCase golden = ParseGoldenCase(ReadFile(file));
  const std::string result = RunGoldenCase(golden);
  if (std::getenv("UPDATE_GOLDEN") != nullptr) {
    std::ofstream(file, std::ios::binary) << golden.head << result;
  } else {
    EXPECT_EQ(result, golden.expected) << file;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(CaseNames()),
                         [](const auto& each) { return each.param; });

}  // namespace
}  // namespace tarnlex
