#include "app/remarks.h"

#include <algorithm>
#include <initializer_list>
#include <span>
#include <string_view>

#include "app/event_ids.h"
#include "app/option_table.h"
#include "app/parse_options.h"
#include "logs/known_options.h"
#include "logs/parse_number.h"
#include "logs/text.h"
#include "logs/time_bounds.h"

namespace tarnlex {
namespace {

// The one that counts beside others first.
constexpr std::string_view kForms[] = {"-event_xml", "-event_json", "-json",     "-cards",
                                       "-multiline", "-xml",        "-bodyfile", "-csvl2t",
                                       "-csvgen",    "-csv"};
constexpr std::string_view kOneFile[] = {"-out", "-outfile"};
constexpr std::string_view kWholeImages[] = {"-carve", "-part"};
constexpr std::string_view kVolumes[] = {"-livesys", "-partition", "-vss"};

void Remark(OptionScan& scan, std::initializer_list<std::string_view> parts) {
  std::string& text = scan.remarks.emplace_back();
  for (const std::string_view part : parts) text += part;
}

// The shell makes many arguments of a pattern, and of a list without quotes.
void RemarkLeftOver(OptionScan& scan) {
  constexpr std::size_t kMostNamed = 3;
  const std::vector<std::string>& rest = scan.left_over;
  if (rest.empty()) return;
  std::string names = rest.front();
  for (std::size_t i = 1; i < std::min(rest.size(), kMostNamed); ++i) names += ", " + rest[i];
  if (rest.size() > kMostNamed) {
    names += " and " + std::to_string(rest.size() - kMostNamed) + " more";
  }
  std::string_view hint;
  if (UseOf(scan, "-dir")) hint = "; several folders are one argument: -dir \"A | B\"";
  if (UseOf(scan, "-carve")) hint = "; several images are one argument: -carve \"A | B\"";
  if (UseOf(scan, "-log")) hint = "; several logs are one argument: -log \"A | B\"";
  Remark(scan, {"ignoring ", names, ", left over", hint});
}

void RemarkEventIds(OptionScan& scan) {
  const OptionUse* const use = UseOf(scan, "-eventid");
  if (!use) return;
  const EventIdList list = ReadEventIds(use->value);
  for (const std::string& piece : list.unreadable) {
    Remark(scan, {"ignoring ", piece, " of -eventid, no number"});
  }
  for (const std::string& piece : list.cut) {
    Remark(scan, {"-eventid takes ", piece, " for the number that it begins with"});
  }
  for (const std::string_view report :
       {"-pw", "-time", "-logon", "-startstop", "-creds", "-usb", "-report", "-cmdfile"}) {
    if (!UseOf(scan, report)) continue;
    Remark(scan, {"ignoring -eventid, ", report, " picks its own events"});
    return;
  }
}

std::string_view ValueOf(const OptionScan& scan, std::string_view name) {
  const OptionUse* const use = UseOf(scan, name);
  return use ? std::string_view(use->value) : std::string_view();
}

void RemarkTimes(OptionScan& scan, std::uint64_t now) {
  const std::string start(ValueOf(scan, "-start_time"));
  const std::string stop(ValueOf(scan, "-stop_time"));
  const TimeBounds bounds = ReadTimeBounds(start, stop, now);
  if (bounds.start_unreadable) Remark(scan, {"ignoring -start_time ", start, ", no such time"});
  if (bounds.stop_unreadable) Remark(scan, {"ignoring -stop_time ", stop, ", no such time"});
  if (bounds.stop != 0 && bounds.start > bounds.stop) {
    Remark(scan, {"no event passes, -start_time is later than -stop_time"});
  }
}

// Of options that exclude each other only one counts.
void RemarkExcluded(OptionScan& scan, std::span<const std::string_view> strongest_first) {
  std::string_view strongest;
  for (const std::string_view name : strongest_first) {
    if (!UseOf(scan, name)) continue;
    if (!strongest.empty()) Remark(scan, {"ignoring ", name, " beside ", strongest});
    if (strongest.empty()) strongest = name;
  }
}

const OptionUse* StrongestForm(const OptionScan& scan) {
  for (const std::string_view form : kForms) {
    if (const OptionUse* const use = UseOf(scan, form)) return use;
  }
  return nullptr;
}

void RemarkWithout(OptionScan& scan, std::string_view name, std::string_view needed) {
  if (UseOf(scan, name) && !UseOf(scan, needed)) {
    Remark(scan, {"ignoring ", name, ", it goes with ", needed});
  }
}

// What the form that counts makes of columns that were picked, and of a width.
void RemarkReading(OptionScan& scan) {
  const OptionUse* const form = StrongestForm(scan);
  const std::string_view name = form ? form->option->name : std::string_view();
  std::vector<std::string> columns;
  if (const OptionUse* const use = UseOf(scan, "-columns")) {
    SplitList(use->value, '|', true, columns);
    if (columns.empty()) Remark(scan, {"ignoring -columns, it names none"});
  }
  for (const std::string_view fixed :
       {"-event_xml", "-event_json", "-json", "-bodyfile", "-csvl2t"}) {
    if (name == fixed && !columns.empty()) Remark(scan, {"ignoring -columns beside ", name});
  }
  const std::string width(ValueOf(scan, "-width"));
  if (!width.empty() && !IsDecimal(width)) {
    Remark(scan, {"ignoring -width ", width, ", no number of characters"});
  }
  const std::string color(ValueOf(scan, "-color"));
  if (!color.empty() && !ReadColorUse(color)) {
    Remark(scan, {"ignoring -color ", color, ", it is auto, always or never"});
  }
}

}  // namespace

std::vector<std::string> RemarksOn(const Arguments& args, std::uint64_t now) {
  OptionScan scan = ScanOptions(args, 1, ProgramOptions());
  RemarkLeftOver(scan);
  RemarkEventIds(scan);
  RemarkTimes(scan, now);
  RemarkExcluded(scan, kForms);
  RemarkReading(scan);
  RemarkExcluded(scan, kOneFile);
  // A run that goes on says so itself.
  if (UseOf(scan, "-strict") && UseOf(scan, "-pipe") && UseOf(scan, "-log")) {
    Remark(scan, {"ignoring -log, paths are piped in"});
  }
  RemarkExcluded(scan, kVolumes);
  RemarkExcluded(scan, kWholeImages);
  RemarkWithout(scan, "-carve_out", "-carve");
  RemarkWithout(scan, "-allparams", "-bodyfile");
  RemarkWithout(scan, "-hist", "-stats");
  RemarkWithout(scan, "-timesketch", "-json");
  RemarkWithout(scan, "-width", "-cards");
  for (const std::string_view alone : {"-options", "-version", "--version"}) {
    if (UseOf(scan, alone)) Remark(scan, {"ignoring ", alone, ", it stands alone"});
  }
  return scan.remarks;
}

}  // namespace tarnlex
