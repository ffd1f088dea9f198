// Command files: reports of one's own, one query a line.
#pragma once

#include <string_view>
#include <vector>

#include "logs/platform.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "reports/command_language.h"

namespace tarnlex {

// Adds the commands of a file's text to `lines`, in order; comments, script lines and anything else
// are passed over. Lines end in LF or CR LF; a byte order mark at the head is no part of the text.
void ParseCommandText(std::string_view text, std::vector<TokenList>& lines);

// The same for a whole file, which the caller has opened.
void ReadCommandFile(const InputFile& file, std::vector<TokenList>& lines);

// The lines of the run's command file, if there is one. A file that cannot be opened, and one
// without commands, is named.
std::vector<TokenList> LoadCommandFile(const RunOptions& options, TextSink& messages);

}  // namespace tarnlex
