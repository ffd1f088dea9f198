// One buffered writer for everything the program prints: records, messages, diagnostics. The target
// is a function, so that tests collect into a string and the platform supplies files and streams.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tarnlex {

struct TextSink {
  std::function<bool(std::string_view)> write;  // hands a block on; false: the target refused it
  std::unique_ptr<char[]> buffer;
  std::size_t used = 0;
  std::size_t capacity = 0;
  bool failed = false;  // sticky; once set nothing more is handed on
  // Hands on what steers a terminal, past whatever shows controls that texts hold; empty where
  // nothing is coloured.
  std::function<bool(std::string_view)> paint = {};
};

// A sink that collects 256 KiB before it writes: as much as stays in a cache.
TextSink MakeSink(std::function<bool(std::string_view)> write);

// A sink that appends to `target`, which must outlive it.
TextSink MakeStringSink(std::string& target);

// Hands on what is collected.
void Flush(TextSink& sink);

// Hands on what is collected and ends a target that is a file (see OpenOutput), which may fail too.
void Close(TextSink& sink);

// Room for `size` bytes to be written in place; Commit says how much of it was used.
char* Reserve(TextSink& sink, std::size_t size);
inline void Commit(TextSink& sink, const char* end) {
  sink.used = static_cast<std::size_t>(end - sink.buffer.get());
}

inline void Append(TextSink& sink, std::string_view text) {
  char* to = Reserve(sink, text.size());
  if (!text.empty()) std::memcpy(to, text.data(), text.size());
  sink.used += text.size();
}

inline void Append(TextSink& sink, char c) {
  *Reserve(sink, 1) = c;
  ++sink.used;
}

// Steers the terminal from here on, where the sink is one that is coloured.
void Paint(TextSink& sink, std::string_view code);

// Appends `text` and hands everything on at once: for messages a person waits for.
void AppendNow(TextSink& sink, std::string_view text);

}  // namespace tarnlex
