#include "app/run_header.h"

#include "app/usage.h"
#include "logs/date_time.h"
#include "logs/run_options.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// The date is written as the records' dates will be.
std::string RunTimeText(const Arguments& args, std::uint64_t now) {
  std::string format = RunOptions{}.date_format;
  PeekValue("-dateformat", args, format);
  std::string date;
  std::string time;
  FormatDateTime(MakeDateTime(now, TimeKind::kFiletime), format, "hh:mm:ss", date, time);
  return date + " " + time + " [UTC]";
}

std::string DriveMarks(const std::string& program_path) {
  std::string marks;
  if (OnNetworkDrive(program_path)) marks += "<~>";
  if (OnRemovableDrive(program_path)) marks += ":=";
  return marks.empty() ? marks : "; " + marks;
}

}  // namespace

std::string MachineText(const MachineInfo& machine) {
  if (!machine.valid) return {};
  std::string text;
  for (const std::string* field : {&machine.os_family, &machine.os_release, &machine.os_version}) {
    text += ReplaceChar(*field, ';', ' ') + ";";
  }
  return text + (machine.is_64bit ? "64" : "32");
}

std::string CommandLineText(const Arguments& args) {
  std::string text = "\"cmdline: ";
  if (HasFlag("-pipe", args)) text += "<filelist> ... | ";
  const char* between = "";
  for (const std::string& argument : args) {
    const char* quote = argument.find(' ') == std::string::npos ? "" : "'";
    text.append(between).append(quote).append(argument).append(quote);
    between = " ";
  }
  return text + "\"";
}

std::string BuildRunHeader(const Arguments& args, std::uint64_t now) {
  const std::string program_path = args.empty() ? std::string() : args.front();
  std::string text = Banner() + "\n";
  text += "run time: " + RunTimeText(args, now);
  text += "; Host: " + HostName();
  text += "; MachineInfo: " + MachineText(DescribeMachine(program_path));
  text += DriveMarks(program_path) + "\n";
  return text + CommandLineText(args) + "\n";
}

}  // namespace tarnlex
