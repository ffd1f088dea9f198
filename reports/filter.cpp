#include "reports/filter.h"

#include "logs/text.h"

namespace tarnlex {

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
  return condition.any_text || ContainsNoCase(field_text, condition.wanted);
}

QueryTests MakeQueryTests(const QuerySpec& query) {
  QueryTests tests{.event_id = query.event_id,
                   .last_event_id = query.last_event_id,
                   .start_time = query.start_time,
                   .stop_time = query.stop_time,
                   .condition = ParseCondition(query.conditions),
                   .success = ParseCondition(query.success_condition),
                   .exists = ToLowerAscii(query.string_exists)};
  // A level is the event's own, not what its data calls so.
  tests.success.first_only = true;
  return tests;
}

void ApplyRunOverrides(const RunOptions& options, QuerySpec& query) {
  if (options.start_time != 0) query.start_time = options.start_time;
  const bool have_stop = options.stop_time != 0 && options.stop_time != ~std::uint64_t{0};
  if (have_stop) query.stop_time = options.stop_time;
  if (!options.substring.empty()) query.string_exists = options.substring;
}

}  // namespace tarnlex
