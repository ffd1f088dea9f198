#include "reports/command_remarks.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>

#include "logs/known_options.h"
#include "logs/parse_number.h"
#include "logs/text.h"
#include "logs/time_bounds.h"
#include "reports/command_file.h"
#include "reports/filter.h"

namespace tarnlex {
namespace {

constexpr KnownOption kOptions[] = {
    {"-enum_evtxlog"},
    {"-enum_evtlog"},
    {"-id", true},
    {"-name", true, false, true},
    {"-comment", true, false, true},
    {"-conditions", true},
    {"-success_type", true},
    {"-string_exists", true},
    {"-start_time", true},
    {"-stop_time", true},
    {"-type", true},
    {"-log", true},
    {"-all_data"},
    {"-pull", true, true},
    {"-hist", true},
    {"-event_lookup"},
    {"-and", true, true},
    {"-not", true, true},
    {"-channel", true},
    {"-provider", true},
    {"-label", true, true},
};

void Remark(OptionScan& scan, std::initializer_list<std::string_view> parts) {
  std::string& text = scan.remarks.emplace_back();
  for (const std::string_view part : parts) text += part;
}

void RemarkFormat(OptionScan& scan) {
  const bool evtx = UseOf(scan, "-enum_evtxlog") != nullptr;
  const bool evt = UseOf(scan, "-enum_evtlog") != nullptr;
  if (!evtx && !evt) Remark(scan, {"no query, neither -enum_evtxlog nor -enum_evtlog is there"});
  if (evtx && evt) Remark(scan, {"ignoring -enum_evtlog beside -enum_evtxlog"});
}

void RemarkId(OptionScan& scan) {
  const OptionUse* const use = UseOf(scan, "-id");
  std::uint64_t id = 0;
  if (!use) return;
  if (!ParseNumber(use->value, id)) {
    Remark(scan, {"no query, -id ", use->value, " is no number"});
  } else if (!IsWholeNumber(use->value)) {
    Remark(scan, {"-id takes ", use->value, " for the number that it begins with"});
  }
}

void RemarkTime(OptionScan& scan, std::string_view name) {
  const OptionUse* const use = UseOf(scan, name);
  std::uint64_t filetime = 0;
  if (!use || ParseTimeByItself(use->value, filetime)) return;
  Remark(scan, {"ignoring ", name, " ", use->value, ", no such time"});
}

// The fields that events of the old format have.
bool IsEvtField(std::string_view field) {
  constexpr std::string_view kFields[] = {"string", "source_name", "user_sid", "success_type"};
  return IsDecimal(field) ||
         std::find(std::begin(kFields), std::end(kFields), field) != std::end(kFields);
}

bool IsEvtLine(const OptionScan& scan) {
  return UseOf(scan, "-enum_evtlog") && !UseOf(scan, "-enum_evtxlog");
}

void RemarkCondition(OptionScan& scan, std::string_view name, std::string_view value) {
  const Condition condition = ParseCondition(value);
  const bool known = !condition.field.empty() && (!IsEvtLine(scan) || IsEvtField(condition.field));
  if (!condition.given) {
    Remark(scan, {"ignoring ", name, ", it names no field"});
  } else if (!known && name == "-not") {
    Remark(scan, {"every event passes -not ", value, ", none has that field"});
  } else if (!known) {
    Remark(scan, {"no event passes, none has a field \"", condition.field, "\""});
  }
}

void RemarkConditions(OptionScan& scan) {
  for (std::size_t i = 0; i < scan.uses.size(); ++i) {
    const OptionUse use = scan.uses[i];
    for (const std::string_view name : {"-conditions", "-and", "-not"}) {
      if (use.option->name == name) RemarkCondition(scan, name, use.value);
    }
  }
}

void RemarkChannel(OptionScan& scan) {
  const OptionUse* const use = UseOf(scan, "-channel");
  if (!use || use->value.empty() || !IsEvtLine(scan)) return;
  Remark(scan, {"no event passes, EVT events name no channel; -type tells their logs apart"});
}

bool IsPulled(const OptionScan& scan, std::string_view name) {
  return std::any_of(scan.uses.begin(), scan.uses.end(), [&](const OptionUse& use) {
    if (use.option->name != "-pull") return false;
    return IsEvtLine(scan) ? LeadingNumber(use.value) == LeadingNumber(name) : use.value == name;
  });
}

void RemarkLabels(OptionScan& scan) {
  for (std::size_t i = 0; i < scan.uses.size(); ++i) {
    const OptionUse use = scan.uses[i];
    if (use.option->name != "-label") continue;
    std::string name;
    std::string header;
    if (!SplitLabel(use.value, name, header)) {
      Remark(scan, {"ignoring -label ", use.value, ", it is no NAME=HEADER"});
    } else if ((UseOf(scan, "-all_data") && !IsEvtLine(scan)) || !IsPulled(scan, name)) {
      Remark(scan, {"ignoring -label ", use.value, ", ", name, " is not pulled"});
    }
  }
}

void RemarkSuccessType(OptionScan& scan) {
  const OptionUse* const use = UseOf(scan, "-success_type");
  if (!use || IsDecimal(use->value)) return;
  for (const std::string_view word : {"error", "warning", "information"}) {
    if (EqualsNoCase(use->value, word)) return;
  }
  Remark(scan, {"no event passes, there is no -success_type ", use->value});
}

void RemarkEvtPulls(OptionScan& scan) {
  if (UseOf(scan, "-enum_evtxlog") || !UseOf(scan, "-enum_evtlog")) return;
  for (std::size_t i = 0; i < scan.uses.size(); ++i) {
    const OptionUse& use = scan.uses[i];
    if (use.option->name != "-pull" || LeadingNumber(use.value) != 0) continue;
    Remark(scan, {"ignoring -pull ", use.value, ", no number of a string"});
  }
}

std::vector<std::string> RemarksOnLine(const TokenList& tokens) {
  OptionScan scan = ScanOptions(tokens, 0, kOptions);
  for (const std::string& rest : scan.left_over) {
    if (!rest.empty()) Remark(scan, {"ignoring ", rest, ", left over; no value holds a comma"});
  }
  RemarkFormat(scan);
  RemarkId(scan);
  RemarkTime(scan, "-start_time");
  RemarkTime(scan, "-stop_time");
  RemarkConditions(scan);
  RemarkChannel(scan);
  RemarkSuccessType(scan);
  RemarkEvtPulls(scan);
  RemarkLabels(scan);
  return scan.remarks;
}

}  // namespace

std::vector<std::string> RemarksOnCommands(std::string_view text, std::string_view name) {
  std::vector<std::string> remarks;
  std::size_t number = 0;
  for (const std::string_view line : CommandFileLines(text)) {
    ++number;
    TokenList tokens;
    std::vector<std::string> found;
    if (SplitCommandLine(line, tokens)) {
      found = RemarksOnLine(tokens);
    } else if (ToLowerAscii(Trim(line)).starts_with("!cmd")) {
      found.emplace_back("no query, one begins with \"!cmd,\"");
    }
    for (const std::string& remark : found) {
      remarks.push_back(std::string(name) + " line " + std::to_string(number) + ": " + remark);
    }
  }
  return remarks;
}

}  // namespace tarnlex
