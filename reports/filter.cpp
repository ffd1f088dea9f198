#include "reports/filter.h"

#include <utility>

#include "logs/text.h"

namespace tarnlex {
namespace {

// A level, a channel or a provider is the event's own, not what its data calls so.
Condition OwnCondition(std::string field, const std::string& wanted) {
  Condition condition{.field = std::move(field), .wanted = ToLowerAscii(wanted)};
  condition.given = !wanted.empty();
  condition.first_only = true;
  condition.whole = true;
  return condition;
}

std::vector<Condition> ConditionsOf(const QuerySpec& query) {
  const bool evtx = query.format == LogFormat::EVTX;
  std::vector<Condition> all;
  const auto add = [&all](Condition condition) {
    if (condition.given) all.push_back(std::move(condition));
  };
  add(OwnCondition(evtx ? "Provider Name" : "source_name", query.provider));
  add(OwnCondition("Channel", query.channel));
  add(ParseCondition(query.conditions));
  for (const std::string& text : query.all_of) add(ParseCondition(text));
  for (const std::string& text : query.none_of) {
    Condition condition = ParseCondition(text);
    condition.forbidden = true;
    add(std::move(condition));
  }
  Condition success = ParseCondition(query.success_condition);
  success.first_only = true;
  add(std::move(success));
  return all;
}

}  // namespace

Condition ParseCondition(std::string_view text) {
  Condition condition;
  if (text.empty()) return condition;
  const std::size_t bar = text.find('|');
  condition.given = true;
  condition.any_text = bar == std::string_view::npos;
  condition.field = text.substr(0, bar);
  if (!condition.any_text) condition.wanted = ToLowerAscii(text.substr(bar + 1));
  return condition;
}

bool ConditionHolds(const Condition& condition, std::string_view field_text) {
  if (field_text.empty()) return false;
  if (condition.any_text) return true;
  return condition.whole ? EqualsNoCase(field_text, condition.wanted)
                         : ContainsNoCase(field_text, condition.wanted);
}

QueryTests MakeQueryTests(const QuerySpec& query) {
  QueryTests tests{.event_id = query.event_id,
                   .last_event_id = query.last_event_id,
                   .start_time = query.start_time,
                   .stop_time = query.stop_time,
                   .conditions = ConditionsOf(query),
                   .exists = ToLowerAscii(query.string_exists)};
  return tests;
}

void ApplyRunOverrides(const RunOptions& options, QuerySpec& query) {
  if (options.start_time != 0) query.start_time = options.start_time;
  const bool have_stop = options.stop_time != 0 && options.stop_time != ~std::uint64_t{0};
  if (have_stop) query.stop_time = options.stop_time;
  if (!options.substring.empty()) query.string_exists = options.substring;
}

}  // namespace tarnlex
