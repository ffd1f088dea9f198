#include "app/loss_remark.h"

#include <cstdint>
#include <string_view>

#include "logs/messages.h"

namespace tarnlex {
namespace {

void AddPart(std::string& line, std::string_view label, const std::string& text) {
  line.append(line.empty() ? "" : "; ").append(label).append(": ").append(text);
}

void AddNames(std::string& line, std::string_view label, const std::string& what,
              const NamedLogs& logs) {
  if (logs.count == 0) return;
  std::string text = Counted(logs.count, what, what + "s") + " (";
  for (const std::string& name : logs.names) {
    text.append(&name == &logs.names[0] ? "" : ", ") += name;
  }
  const std::uint64_t more = logs.count - logs.names.size();
  if (more > 0) text += " and " + std::to_string(more) + " more";
  AddPart(line, label, text + ")");
}

void AddRecords(std::string& line, std::string_view label, std::uint64_t count) {
  if (count > 0) AddPart(line, label, Counted(count, "record", "records"));
}

// With -complete rows go by the time of their events.
std::uint64_t WrongTimes(const Losses& losses, const RunOptions& options) {
  return options.complete ? 0 : losses.other_times;
}

void AddAdvice(std::string& line, const RunAccount& run, const RunOptions& options) {
  const Losses& losses = run.losses;
  const bool records =
      losses.partial + losses.skipped + losses.left + losses.undated + losses.other_times > 0;
  std::string_view between = "; ";
  if (!options.complete && (records || run.complete_helps)) {
    line.append(between).append("-complete reads more of them");
    between = ", ";
  }
  if (options.account_on) {
    line.append(between).append(options.account_file).append(" names them");
  } else {
    line.append(between).append("-account FILE names them");
  }
}

}  // namespace

std::string LossRemark(const RunAccount& run, const RunOptions& options) {
  std::string line;
  AddNames(line, "not searched", "folder", run.not_searched);
  AddNames(line, "not opened", "log", run.not_opened);
  AddNames(line, "passed over", "log", run.passed_over);
  AddRecords(line, "not read", run.losses.skipped + run.losses.left);
  AddRecords(line, "read in part", run.losses.partial);
  AddRecords(line, "without a time", run.losses.undated);
  AddRecords(line, "with another time than their events", WrongTimes(run.losses, options));
  if (line.empty()) return {};
  AddAdvice(line, run, options);
  return line + "\n";
}

}  // namespace tarnlex
