#include "evt/account.h"

#include <string>

#include "logs/text.h"

namespace tarnlex {

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
