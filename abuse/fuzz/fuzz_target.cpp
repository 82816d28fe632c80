#include "fuzz/fuzz_target.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Fuzz {

std::span<const Target> Targets() {
  static constexpr Target kTargets[] = {
      {"job_document", JobDocument},
      {"message_stream", MessageStream},
      {"module_headers", ModuleHeaders},
      {"registry_path", RegistryPath},
      {"security_descriptor", SecurityDescriptor},
      {"simulator_files", SimulatorFiles},
      {"string_editing", StringEditing},
      {"tool_files", ToolFiles},
  };
  return kTargets;
}

const Target* FindTarget(std::string_view name) {
  const auto found = std::ranges::find(Targets(), name, &Target::name);
  return found == Targets().end() ? nullptr : &*found;
}

void Fail(const char* promise) {
  std::fprintf(stderr, "BROKEN PROMISE: %s\n", promise);
  std::abort();
}

Bytes Input::Take(std::size_t sizeBytes) {
  const Bytes taken = _rest.first(std::min(sizeBytes, _rest.size()));
  _rest = _rest.subspan(taken.size());
  return taken;
}

unsigned Input::Number(unsigned most) {
  std::uint32_t number = Byte();
  for (unsigned left = most; left > UINT8_MAX; left >>= 8U) number = number << 8U | Byte();
  return most == UINT32_MAX ? number : number % (most + 1);
}

std::string Input::Text(std::size_t sizeBytes) {
  const Bytes taken = Take(sizeBytes);
  return {taken.begin(), taken.end()};
}

std::u16string Input::WideText(std::size_t length) {
  const Bytes taken = Take(length * 2);
  std::u16string text(taken.size() / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), taken.data(), text.size() * 2);
  return text;
}

}  // namespace Fuzz
