#include "logs/known_options.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "logs/text.h"

namespace tarnlex {
namespace {

// How many characters to add, drop or replace to make one text of the other.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

std::string_view WithoutDashes(std::string_view name) {
  return name.substr(std::min(name.find_first_not_of('-'), name.size()));
}

bool LooksLikeOption(std::string_view token) {
  const std::string_view name = WithoutDashes(token);
  return name.size() < token.size() && !name.empty() && LowerAscii(name[0]) >= 'a' &&
         LowerAscii(name[0]) <= 'z';
}

void Remark(OptionScan& scan, std::initializer_list<std::string_view> parts) {
  std::string& text = scan.remarks.emplace_back();
  for (const std::string_view part : parts) text += part;
}

// Takes the value along where the option that was meant has one.
std::size_t RemarkUnknown(OptionScan& scan, const Arguments& tokens, std::size_t at,
                          std::span<const KnownOption> table) {
  const std::string& token = tokens[at];
  const std::size_t equals = token.find('=');
  const KnownOption* const joined = FindOption(token.substr(0, equals), table);
  if (joined) {
    Remark(scan, {"ignoring ", token, ", a value stands apart from its option: ", joined->name, " ",
                  std::string_view(token).substr(equals + 1)});
    return at + 1;
  }
  const KnownOption* const near = NearestOption(token.substr(0, equals), table);
  if (!near) {
    Remark(scan, {"ignoring ", token, ", no such option"});
    return at + 1;
  }
  Remark(scan, {"ignoring ", token, ", no such option; did you mean ", near->name, "?"});
  const bool has_value = near->takes_value && equals == std::string::npos &&
                         at + 1 < tokens.size() && !LooksLikeOption(tokens[at + 1]);
  return at + (has_value ? 2 : 1);
}

std::size_t TakeUse(OptionScan& scan, const Arguments& tokens, std::size_t at,
                    const KnownOption& option, std::span<const KnownOption> table) {
  std::size_t next = at + 1;
  std::string value;
  if (option.takes_value) {
    if (next == tokens.size()) {
      Remark(scan, {"ignoring ", option.name, ", it has no value"});
      return next;
    }
    value = tokens[next];
    const bool is_option = !option.any_text && FindOption(value, table);
    if (is_option) Remark(scan, {"the value of ", option.name, " reads like an option: ", value});
    if (!is_option) ++next;
  }
  if (!option.repeats && UseOf(scan, option.name)) {
    const std::string what = value.empty() ? std::string() : " (" + value + ")";
    Remark(scan, {"ignoring the second ", option.name, what, ", the first counts"});
  } else {
    scan.uses.push_back({&option, value});
  }
  return next;
}

}  // namespace

OptionScan ScanOptions(const Arguments& tokens, std::size_t first,
                       std::span<const KnownOption> table) {
  OptionScan scan;
  for (std::size_t at = first; at < tokens.size();) {
    if (const KnownOption* option = FindOption(tokens[at], table)) {
      at = TakeUse(scan, tokens, at, *option, table);
    } else if (LooksLikeOption(tokens[at])) {
      at = RemarkUnknown(scan, tokens, at, table);
    } else {
      scan.left_over.push_back(tokens[at++]);
    }
  }
  return scan;
}

const KnownOption* FindOption(std::string_view name, std::span<const KnownOption> table) {
  const auto found = std::find_if(table.begin(), table.end(), [name](const KnownOption& option) {
    return EqualsNoCase(option.name, name);
  });
  return found == table.end() ? nullptr : &*found;
}

const KnownOption* NearestOption(std::string_view name, std::span<const KnownOption> table) {
  constexpr std::size_t kLongest = 40;  // a path that begins with a dash need not be measured
  const std::string wanted = ToLowerAscii(WithoutDashes(name));
  if (wanted.size() > kLongest) return nullptr;
  const KnownOption* nearest = nullptr;
  std::size_t least = std::min<std::size_t>(3, wanted.size() / 2 + 1);
  for (const KnownOption& option : table) {
    const std::size_t distance = EditDistance(wanted, WithoutDashes(option.name));
    if (distance >= least) continue;
    least = distance;
    nearest = &option;
  }
  if (nearest || wanted.size() < 3) return nearest;
  const auto begins = std::find_if(table.begin(), table.end(), [&](const KnownOption& option) {
    return WithoutDashes(option.name).starts_with(wanted);
  });
  return begins == table.end() ? nullptr : &*begins;
}

const OptionUse* UseOf(const OptionScan& scan, std::string_view name) {
  const auto found = std::find_if(scan.uses.begin(), scan.uses.end(), [name](const OptionUse& use) {
    return use.option->name == name;
  });
  return found == scan.uses.end() ? nullptr : &*found;
}

}  // namespace tarnlex
