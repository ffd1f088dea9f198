#include "evt/account.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "logs/text.h"

namespace tarnlex {
namespace {

void Line(TextSink& out, std::string_view what, std::uint64_t count) {
  Append(out, std::string(what) + ": " + std::to_string(count) + "\n");
}

void WriteRecovered(TextSink& out, const EvtAccount& account) {
  const RecoveryCounts& counts = account.recovered;
  const auto from = [&](FoundIn place) { return counts.from[static_cast<std::size_t>(place)]; };
  const auto checked = [&](Checked what) { return counts.checked[static_cast<std::size_t>(what)]; };
  Line(out, "records recovered", from(FoundIn::kSlack) + from(FoundIn::kTail));
  Line(out, "  in slack", from(FoundIn::kSlack));
  Line(out, "  behind a record that runs past the end", from(FoundIn::kTail));
  Line(out, "  everything checked", checked(Checked::kAll));
  Line(out, "  nothing checked", checked(Checked::kNone));
  Line(out, "copies of records given, not recovered", counts.copies);
  Line(out, "records in slack that are not whole, not given", account.broken_outside);
  if (account.not_searched > 0) {
    Line(out, "stretches of slack that were not searched", account.not_searched);
  }
  if (counts.not_compared > 0) {
    Line(out, "records of the log that recovered ones were not compared with", counts.not_compared);
  }
  if (account.ring_known) return;
  Append(out, "what the log uses of its file is not known: no end-of-file record says so\n");
}

}  // namespace

void WriteAccount(TextSink& out, const EvtAccount& account) {
  Append(out, "records decoded: " + std::to_string(account.records) + "\n");
  Append(out, "end-of-file records: " + std::to_string(account.end_marks) + "\n");
  Append(out, "bytes skipped, no signature: " + std::to_string(account.skipped_bytes) + "\n");
  if (account.cut_records > 0) {
    Append(out, "records cut at a limit of text: " + std::to_string(account.cut_records) + "\n");
  }
  if (account.joined_records > 0) {
    Append(out, "records joined across the end of the file: " +
                    std::to_string(account.joined_records) + "\n");
  }
  if (account.regained_records > 0) {
    Line(out, "records regained behind lengths that lead past them", account.regained_records);
  }
  if (account.recovered.asked) WriteRecovered(out, account);
  if (account.copies > 0) {
    Append(out, "copies of records left out: " + std::to_string(account.copies) + "\n");
  }
  if (account.not_kept > 0) {
    Append(out,
           "records too many to find their copies: " + std::to_string(account.not_kept) + "\n");
  }
  if (account.torn_record) {
    Append(out, "walk ended at file offset 0x" + HexText(account.torn_offset) +
                    ": a record runs past the end\n");
  }
  Append(out, "bytes behind the last record: " + std::to_string(account.unwalked_bytes) + "\n");
}

}  // namespace tarnlex
