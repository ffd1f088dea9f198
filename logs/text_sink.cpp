#include "logs/text_sink.h"

#include <utility>

namespace tarnlex {
namespace {

constexpr std::size_t kSinkBytes = std::size_t{1} << 18;

}  // namespace

TextSink MakeSink(std::function<bool(std::string_view)> write) {
  TextSink sink;
  sink.write = std::move(write);
  return sink;
}

TextSink MakeStringSink(std::string& target) {
  return MakeSink([&target](std::string_view text) {
    target.append(text);
    return true;
  });
}

void Flush(TextSink& sink) {
  if (sink.used > 0 && !sink.failed && sink.write) {
    sink.failed = !sink.write({sink.buffer.get(), sink.used});
  }
  sink.used = 0;
}

void Close(TextSink& sink) {
  Flush(sink);
  if (sink.write && !sink.failed) sink.failed = !sink.write({});
  sink.write = nullptr;
}

char* Reserve(TextSink& sink, std::size_t size) {
  if (sink.capacity - sink.used < size) {
    Flush(sink);
    if (sink.capacity < size || !sink.buffer) {
      sink.capacity = size < kSinkBytes ? kSinkBytes : size;
      sink.buffer = std::make_unique_for_overwrite<char[]>(sink.capacity);
    }
  }
  return sink.buffer.get() + sink.used;
}

void Paint(TextSink& sink, std::string_view code) {
  if (!sink.paint) return;
  Flush(sink);
  if (!sink.failed) sink.failed = !sink.paint(code);
}

void AppendNow(TextSink& sink, std::string_view text) {
  Append(sink, text);
  Flush(sink);
}

}  // namespace tarnlex
