#include "app/report_answers.h"

#include <vector>

#include "logs/text.h"
#include "reports/report_texts.h"

namespace tarnlex {

bool AsksAboutReports(const Arguments& args) {
  std::string asked;
  return PeekValue("-report", args, asked) &&
         (EqualsNoCase(asked, "list") || EqualsNoCase(asked, "show"));
}

bool AnswerAboutReports(const Arguments& args, std::string& answer) {
  std::string asked;
  PeekValue("-report", args, asked);
  if (EqualsNoCase(asked, "list")) {
    answer = ReportList();
    return true;
  }
  std::string list;
  PeekValue(asked, args, list);
  std::vector<std::string> names;
  SplitList(list, '|', true, names);
  if (names.empty()) names.emplace_back();
  answer.clear();
  for (const std::string& name : names) {
    const std::string text = ReportText(name);
    if (text.empty()) {
      answer = NoSuchReport(name);
      return false;
    }
    answer += text;
  }
  return true;
}

std::string NoSuchReport(const std::string& name) {
  const std::string near(NearestReport(name));
  const std::string hint = near.empty() ? "-report list names all" : "did you mean " + near + "?";
  return "there is no report " + name + ", " + hint + "\n";
}

}  // namespace tarnlex
