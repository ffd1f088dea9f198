// The options on how records look and where they go.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "app/parse_options.h"
#include "logs/messages.h"
#include "logs/output_guard.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr SeparatorClass kNoReplacement{'\0', '\0'};

// One output form. All forms exclude each other, but -csv and -csvl2t leave -csvgen as it is.
struct FormOption {
  const char* name;
  bool RunOptions::*form;
  bool clears_csvgen;
  bool delimits;
  const char* separator;
  SeparatorClass separator_class;
};

constexpr FormOption kForms[] = {
    {"-csv", &RunOptions::csv_form, false, true, ",", {',', ' '}},
    {"-csvgen", &RunOptions::csvgen_form, true, true, ",", {',', ' '}},
    {"-csvl2t", &RunOptions::l2t_form, false, false, ",", {',', ' '}},
    {"-bodyfile", &RunOptions::bodyfile_form, true, false, "|", {'|', ';'}},
    {"-xml", &RunOptions::xml_form, true, false, "", kNoReplacement},
    {"-multiline", &RunOptions::multiline_form, true, false, "", kNoReplacement},
};

std::string QuoteArguments(const Arguments& args) {
  std::string line;
  for (const std::string& argument : args) {
    if (!line.empty()) line += ' ';
    line.append(1, '"').append(argument).append(1, '"');
  }
  return line;
}

void OpenDiagnostics(RunOptions& options) {
  if (options.trial || options.diags == nullptr) return;
  auto write = OpenGuardedOutput(options.diags_file);
  if (!write) {
    Say(options, "prob opening file ", options.diags_file, " for diagnostics, skipping\n");
    return;
  }
  *options.diags = MakeSink(std::move(*write));
  options.diags_on = true;
  AppendNow(*options.diags, std::string("->").append(options.cmdline).append("\n"));
}

void ApplyForm(RunOptions& options, const FormOption& form) {
  if (form.clears_csvgen) options.csvgen_form = false;
  options.csv_form = options.l2t_form = options.bodyfile_form = false;
  options.xml_form = options.multiline_form = false;
  options.*form.form = true;
  if (form.delimits) options.delimited = true;
  options.separator = form.separator;
  options.separator_class = form.separator_class;
}

// Pairs of alias and true path; false for an odd number of them. A directory loses its last
// separator and the quotes that a console leaves behind one.
bool ReadAliases(const std::string& list, bool directories,
                 std::map<std::string, std::string>& map) {
  std::vector<std::string> pieces;
  SplitList(list, '|', true, pieces);
  if (pieces.size() % 2 != 0) return false;
  const auto cut_separator = [](std::string& text) {
    if (text.size() > 1 && (text.back() == '\\' || text.back() == '/')) text.pop_back();
  };
  for (std::size_t i = 0; i < pieces.size(); i += 2) {
    std::string alias = ToLowerAscii(ExpandPathVariables(pieces[i]));
    std::string path = ExpandPathVariables(pieces[i + 1]);
    if (directories) {
      std::erase(path, '"');
      cut_separator(alias);
      cut_separator(path);
    }
    map.emplace(std::move(alias), std::move(path));
  }
  return true;
}

bool ParseNames(RunOptions& options, Arguments& args) {
  std::string value;
  if (FindValue("-alias", args, value) && !ReadAliases(value, false, options.alias_map)) {
    Say(options, "inbalanced alias to true pathfiles, aborting\n");
    return false;
  }
  if (FindValue("-aliaspath", args, value) && !ReadAliases(value, true, options.alias_path_map)) {
    Say(options, "inbalanced alias to true paths, aborting\n");
    return false;
  }
  if (FindValue("-sqlite", args, value)) {
    Say(options, "This option is not offered in this build\n");
    return false;
  }
  FindValue("-signal", args, value);  // accepted and without effect
  FindValue("-hostname", args, options.hostname);
  FindValue("-username", args, options.username);
  return true;
}

bool RefuseOutput(const RunOptions& options, const std::string& path) {
  Say(options, "prob opening file ", path, " for output, aborting\n");
  return false;
}

// Both options are read before anything is opened: a relative file goes into the directory.
bool ParseOutput(RunOptions& options, Arguments& args) {
  options.to_file =
      FindValue("-out", args, options.out_file) || FindValue("-outfile", args, options.out_file);
  options.have_out_dir = FindValue("-outdir", args, options.out_dir);
  options.out_file = ExpandPathVariables(options.out_file);
  options.out_dir = ExpandPathVariables(options.out_dir);
  if (options.have_out_dir) {
    if (!options.trial && !MakeDirectory(options.out_dir))
      return RefuseOutput(options, options.out_dir);
    if (options.to_file && !IsAbsolutePath(options.out_file)) {
      options.out_file = JoinPath(options.out_dir, options.out_file);
    }
  }
  // Opened and closed again: the examiner should learn of a bad name now, not after the work.
  if (options.to_file && !options.trial && !OpenGuardedOutput(options.out_file)) {
    return RefuseOutput(options, options.out_file);
  }
  return true;
}

void SetSeparator(RunOptions& options, const std::string& text) {
  const std::string lowered = ToLowerAscii(text);
  options.separator = text;
  options.separator_class = kNoReplacement;
  if (lowered.find('|') != std::string::npos) {
    options.separator_class = {'|', ';'};
  } else if (lowered.find(',') != std::string::npos) {
    options.separator_class = {',', ' '};
  } else if (lowered == "tab" || lowered == "\\t") {
    options.separator.assign(1, '\t');
  }
}

bool IsDateFormat(const std::string& format) { return format.size() == 8 || format.size() == 10; }

bool IsTimeFormat(const std::string& format) {
  const bool length_fits = format.size() == 8 || (format.size() >= 12 && format.size() <= 18);
  return length_fits && format.find(':') != std::string::npos;
}

void ParseFormat(RunOptions& options, Arguments& args, const char* name,
                 bool (*accepts)(const std::string&), std::string& format) {
  std::string value;
  if (!FindValue(name, args, value)) return;
  if (accepts(value)) {
    format = value;
  } else {
    Say(options, "invalid ", value, ", using default format\n");
  }
}

}  // namespace

bool ParseOutputOptions(RunOptions& options, Arguments& args) {
  if (args.empty()) return false;
  if (options.cmdline.empty()) options.cmdline = QuoteArguments(args);

  std::string value;
  if (FindFlag("-pair_datetime", args)) options.pair_datetime = true;
  if (FindValue("-diags", args, options.diags_file)) OpenDiagnostics(options);
  for (const FormOption& form : kForms) {
    if (FindFlag(form.name, args)) ApplyForm(options, form);
  }
  if (!ParseNames(options, args) || !ParseOutput(options, args)) return false;

  if (FindFlag("-pipe", args)) options.pipe = true;
  if (FindFlag("-base10", args)) options.hex_numbers = false;
  if (FindValue("-csv_separator", args, value)) SetSeparator(options, value);
  if (FindFlag("-no_whitespace", args)) {
    options.delimited = true;
    options.pad_separator = false;
    std::erase(options.separator, ' ');
  }
  ParseFormat(options, args, "-dateformat", IsDateFormat, options.date_format);
  ParseFormat(options, args, "-timeformat", IsTimeFormat, options.time_format);
  FindFlag("-verbose", args);  // accepted and without effect
  if (FindFlag("-quiet", args)) options.show_status = false;
  return true;
}

}  // namespace tarnlex
