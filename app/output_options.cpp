// The options on how records look and where they go.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/parse_options.h"
#include "logs/parse_number.h"
#include "logs/paths.h"
#include "logs/text.h"
#include "logs/utf8.h"

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
    {"-cards", &RunOptions::cards_form, true, false, "", kNoReplacement},
    {"-json", &RunOptions::json_form, true, false, "", kNoReplacement},
    {"-event_json", &RunOptions::event_json_form, true, false, "", kNoReplacement},
    {"-event_xml", &RunOptions::event_xml_form, true, false, "", kNoReplacement},
};

std::string QuoteArguments(const Arguments& args) {
  std::string line;
  for (const std::string& argument : args) {
    if (!line.empty()) line += ' ';
    line.append(1, '"').append(argument).append(1, '"');
  }
  return line;
}

void ApplyForm(RunOptions& options, const FormOption& form) {
  if (form.clears_csvgen) options.csvgen_form = false;
  options.csv_form = options.l2t_form = options.bodyfile_form = false;
  options.xml_form = options.multiline_form = options.cards_form = false;
  options.json_form = options.event_json_form = options.event_xml_form = false;
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

bool ParseNames(RunOptions& options, Arguments& args, std::string& complaints) {
  std::string value;
  if (FindValue("-alias", args, value) && !ReadAliases(value, false, options.alias_map)) {
    complaints += "inbalanced alias to true pathfiles, aborting\n";
    return false;
  }
  if (FindValue("-aliaspath", args, value) && !ReadAliases(value, true, options.alias_path_map)) {
    complaints += "inbalanced alias to true paths, aborting\n";
    return false;
  }
  if (FindValue("-sqlite", args, value)) {
    complaints += "This option is not offered in this build\n";
    return false;
  }
  FindValue("-signal", args, value);  // accepted and without effect
  FindValue("-hostname", args, options.hostname);
  FindValue("-username", args, options.username);
  return true;
}

// A relative file goes into the directory.
void ParseOutput(RunOptions& options, Arguments& args) {
  options.to_file =
      FindValue("-out", args, options.out_file) || FindValue("-outfile", args, options.out_file);
  options.have_out_dir = FindValue("-outdir", args, options.out_dir);
  options.out_file = ExpandPathVariables(options.out_file);
  options.out_dir = ExpandPathVariables(options.out_dir);
  if (options.to_file && options.have_out_dir && !IsAbsolutePath(options.out_file)) {
    options.out_file = JoinPath(options.out_dir, options.out_file);
  }
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

// The character of a separator by which cells are told apart: best one that numbers, times and
// words do without, since it must go from these too.
std::size_t TellingCharacter(std::string_view separator) {
  constexpr std::string_view kOfValues =
      " -/:.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  const auto is_best = [=](char c) { return is_ascii(c) && kOfValues.find(c) == kOfValues.npos; };
  const auto begin = separator.begin();
  const auto end = separator.end();
  auto found = std::find_if(begin, end, is_best);
  if (found == end) {
    found = std::find_if(begin, end, [=](char c) { return is_ascii(c) && c != ' '; });
  }
  if (found == end) found = std::find_if(begin, end, [](char c) { return c != ' '; });
  return static_cast<std::size_t>(found - begin);
}

// A separator that nothing stands for in cells yet gives way to a blank.
void ReplaceByBlank(RunOptions& options) {
  const std::size_t at = TellingCharacter(options.separator);
  if (options.separator_class.replacement != 0 || at == options.separator.size()) return;
  const Utf8Character character = NextUtf8(std::string_view(options.separator).substr(at));
  options.separator_class = {options.separator[at], ' '};
  if (character.size == 1) return;
  options.separator_class = kNoReplacement;
  options.separator.copy(options.separator_class.character, character.size, at);
}

// What makes tables and cards easier to read.
void ParseReading(RunOptions& options, Arguments& args) {
  std::string value;
  const bool has_columns = FindValue("-columns", args, value);
  const bool picks = !IsStream(options) && !options.l2t_form && !options.bodyfile_form;
  if (has_columns && picks) SplitList(value, '|', true, options.columns);
  if (FindValue("-width", args, value) && IsDecimal(value)) {
    options.card_width = static_cast<std::size_t>(LeadingNumber(value));
  }
  if (FindValue("-color", args, value)) options.color = ReadColorUse(value).value_or(options.color);
}

// What lies outside of logs is judged as what they do not use any more is: with all that it says.
void ParseCarving(RunOptions& options, Arguments& args) {
  std::string value;
  if (FindValue("-carve", args, value)) options.images = ReadPathList(value);
  const bool has_folder = FindValue("-carve_out", args, value);
  if (!IsCarving(options)) return;
  options.complete = true;
  options.keeps_carved = has_folder;
  if (has_folder) options.carve_folder = ExpandPathVariables(value);
}

bool IsDateFormat(const std::string& format) { return format.size() == 8 || format.size() == 10; }

bool IsTimeFormat(const std::string& format) {
  const bool length_fits = format.size() == 8 || (format.size() >= 12 && format.size() <= 18);
  return length_fits && format.find(':') != std::string::npos;
}

void ParseFormat(Arguments& args, const char* name, bool (*accepts)(const std::string&),
                 std::string& format, std::string& complaints) {
  std::string value;
  if (!FindValue(name, args, value)) return;
  if (accepts(value)) {
    format = value;
  } else {
    complaints.append("invalid ").append(value).append(", using default format\n");
  }
}

}  // namespace

std::optional<ColorUse> ReadColorUse(std::string_view text) {
  if (EqualsNoCase(text, "auto")) return ColorUse::kAuto;
  if (EqualsNoCase(text, "always")) return ColorUse::kAlways;
  if (EqualsNoCase(text, "never")) return ColorUse::kNever;
  return std::nullopt;
}

bool ParseOutputOptions(RunOptions& options, Arguments& args, std::string& complaints) {
  if (args.empty()) return false;
  if (options.cmdline.empty()) options.cmdline = QuoteArguments(args);

  std::string value;
  if (FindFlag("-pair_datetime", args)) options.pair_datetime = true;
  options.diags_on = FindValue("-diags", args, options.diags_file);
  options.account_on = FindValue("-account", args, options.account_file);
  for (const FormOption& form : kForms) {
    if (FindFlag(form.name, args)) ApplyForm(options, form);
  }
  if (!ParseNames(options, args, complaints)) return false;
  ParseOutput(options, args);

  if (FindFlag("-pipe", args)) options.pipe = true;
  FindFlag("-base10", args);  // accepted and without effect: no option asks for anything else
  if (FindValue("-csv_separator", args, value)) SetSeparator(options, value);
  if (FindFlag("-no_whitespace", args)) {
    options.delimited = true;
    options.pad_separator = false;
    std::erase(options.separator, ' ');
  }
  ParseReading(options, args);
  ParseFormat(args, "-dateformat", IsDateFormat, options.date_format, complaints);
  ParseFormat(args, "-timeformat", IsTimeFormat, options.time_format, complaints);
  // Streams are for tools that cannot ask again for what they were not given.
  if (FindFlag("-complete", args) || IsStream(options)) options.complete = true;
  if (FindFlag("-recover", args)) options.recover = options.complete = true;
  if (FindFlag("-unique", args)) options.unique = true;
  ParseCarving(options, args);
  if (options.json_form && FindFlag("-timesketch", args)) options.timesketch = true;
  if (options.complete) ReplaceByBlank(options);
  FindFlag("-verbose", args);  // accepted and without effect
  if (FindFlag("-quiet", args)) options.show_status = false;
  return true;
}

}  // namespace tarnlex
