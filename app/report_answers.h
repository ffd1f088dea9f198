// What the program says of its reports in place of a run: "-report list", "-report show NAME".
#pragma once

#include <string>

#include "logs/option_search.h"

namespace tarnlex {

// Whether the arguments ask for that, in any place.
bool AsksAboutReports(const Arguments& args);

// The answer, for standard output; or false, and in its place what is wrong with the question.
bool AnswerAboutReports(const Arguments& args, std::string& answer);

// What to say of a name that no report has.
std::string NoSuchReport(const std::string& name);

}  // namespace tarnlex
