// A value of any type over the input's bytes: its type, its offset and its size come first. The
// text must stay inside of the room that was promised for it.
#include <cstdlib>
#include <memory>

#include "event/value.h"
#include "fuzz/fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnlex;
  if (size < 5) return 0;
  SubstitutionValue value;
  value.type = data[0];
  value.offset = Load<std::uint16_t>(data + 1);
  value.size = Load<std::uint16_t>(data + 3);
  const Bytes chunk{data + 5, size - 5};
  const std::size_t room = MaxValueText(chunk, value);
  const auto text = std::make_unique<char[]>(room);
  const char* end = WriteValueText(chunk, value, text.get());
  if (end < text.get() || end > text.get() + room) std::abort();
  return 0;
}
