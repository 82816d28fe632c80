/// The targets: each takes any bytes, runs one reader of the product on them, and ends the process
/// when the product breaks a promise. What a reader is documented to throw is part of its answer.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Fuzz {

using Bytes = std::span<const std::uint8_t>;

struct Target {
  /// Also the name of its folder under corpus/.
  std::string_view name;
  void (*run)(Bytes bytes);
};

/// All of them, in the order of their names.
std::span<const Target> Targets();
/// Null when there is none of that name.
const Target* FindTarget(std::string_view name);

/// Says what was broken and aborts, so that the input is kept.
[[noreturn]] void Fail(const char* promise);
inline void Require(bool holds, const char* promise) {
  if (!holds) Fail(promise);
}

/// Takes numbers and texts off the front of an input. What is missing is 0, or short.
class Input {
 public:
  explicit Input(Bytes bytes) : _rest(bytes) {}

  std::uint8_t Byte() { return _rest.empty() ? 0 : Take(1)[0]; }
  /// From 0 to `most`.
  unsigned Number(unsigned most);
  std::string Text(std::size_t sizeBytes);
  /// Two bytes a character.
  std::u16string WideText(std::size_t length);
  std::string Rest() { return Text(_rest.size()); }
  bool IsAtEnd() const { return _rest.empty(); }

 private:
  Bytes Take(std::size_t sizeBytes);
  Bytes _rest;
};

// One source file each.
void JobDocument(Bytes bytes);
void MessageStream(Bytes bytes);
void ModuleHeaders(Bytes bytes);
void RegistryPath(Bytes bytes);
void SecurityDescriptor(Bytes bytes);
void SimulatorFiles(Bytes bytes);
void StringEditing(Bytes bytes);
void ToolFiles(Bytes bytes);

}  // namespace Fuzz
