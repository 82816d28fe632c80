/// Paths of registry values and keys, narrow or wide.
#include "fuzz/fuzz_target.h"
#include "support/oregistry.h"
#include "support/scoped_handle.h"

namespace {

OString PathFrom(Fuzz::Input& input, bool isWide) {
  // A path may be as long as it likes, but a key that is made stays in the registry for the next
  // input.
  if (isWide) return OString(input.WideText(1U << 20U).c_str());
  return OString(input.Rest().c_str());
}

void ReadBack(const OString& path, DWORD value) {
  DWORD stored = 0;
  ORegistry registry;
  if (registry.SetValue(path, &value) != sizeof value) return;
  Fuzz::Require(registry.GetValue(path, &stored, sizeof stored) == sizeof stored && stored == value,
                "a value that was written is read");
}

}  // namespace

void Fuzz::RegistryPath(Bytes bytes) {
  Input input(bytes);
  const std::uint8_t choice = input.Byte();
  const OString path = PathFrom(input, (choice & 1U) != 0);
  ORegistry registry;
  OString expanded = path;
  registry.ExpandPath(expanded);
  char buffer[16];
  const int size = registry.GetValue(path, buffer, sizeof buffer);
  Require(size >= -1 && size <= static_cast<int>(sizeof buffer), "no more is read than has room");
  static_cast<void>(registry.GetString(path, "default").GetLength());
  const ScopedKey key(registry.OpenKey(path, false));
  constexpr std::uint8_t kWrites = 0xC0;  // One input of four: each leaves a key behind.
  if ((choice & kWrites) == kWrites && bytes.size() < 256) ReadBack(path, choice);
}
