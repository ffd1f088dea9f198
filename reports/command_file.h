// Command files: reports of one's own, one query a line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "logs/platform.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "reports/command_language.h"

namespace tarnlex {

// The lines of a file's text, whatever they hold. They end in LF or CR LF, and the CR stays; a byte
// order mark at the head is no part of the text.
std::vector<std::string_view> CommandFileLines(std::string_view text);

// Adds the commands of a file's text to `lines`, in order; comments, script lines and anything else
// are passed over.
void ParseCommandText(std::string_view text, std::vector<TokenList>& lines);

// All of a file's text.
std::string ReadCommandFile(const InputFile& file);

// The text of the run's command file; nothing where the run has none and where it cannot be opened.
std::optional<std::string> LoadCommandFile(const RunOptions& options);

// The lines of the run's command file, if there is one, from its text. A file that could not be
// opened, and one without commands, is named.
std::vector<TokenList> CommandsOf(const RunOptions& options, const std::optional<std::string>& text,
                                  TextSink& messages);

}  // namespace tarnlex
