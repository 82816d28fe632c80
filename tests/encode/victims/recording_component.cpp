/// A component that writes down what it is called with, a line for each call, to the file
/// received.txt in the simulator's folder. Everything succeeds but connecting to port type 0,
/// unless the file interface.txt says otherwise: version, bytes that the table lacks, whether it
/// can create an object.
#include <algorithm>
#include <concepts>
#include <cstdlib>
#include <fstream>
#include <string>

#include "sdk/component_api.h"

namespace {

using Object = TagwrightComponentObject;
using Result = TagwrightCallResult;

std::string Path(const char* file) {
  return std::getenv("TAGWRIGHT_ROOT") + std::string("/simulator/") + file;
}

std::ofstream& Received() {
  static std::ofstream file(Path("received.txt"));
  return file;
}

void Take(TagwrightText text) {
  Received() << " '" << std::string(text.characters, text.characters + text.length) << "'";
}
void Take(std::integral auto number) { Received() << " " << number; }
void Take(Result* result) {
  Received() << std::endl;
  result->returned = 1;
}

template <std::size_t kSize>
struct Name {
  constexpr Name(const char (&name)[kSize]) { std::copy_n(name, kSize, text); }
  char text[kSize];
};

/// The function of a member, whatever its signature is.
template <Name kName>
struct Member {
  template <class... Arguments>
  using Function = void (*)(Object*, Arguments...);

  template <class... Arguments>
  constexpr operator Function<Arguments...>() const {
    return [](Object*, Arguments... arguments) { Note(arguments...); };
  }
  static void Note(auto... arguments) {
    Received() << kName.text;
    (Take(arguments), ...);
  }
};

int g_canCreate = 1;

Object* Create(Result*) {
  return g_canCreate == 0 ? nullptr : reinterpret_cast<Object*>(&g_canCreate);
}
void Connect(Object*, std::int32_t portType, TagwrightText printerAddress,
             std::uint32_t connectPerCard, Result* result) {
  Member<"Connect">::Note(portType, printerAddress, connectPerCard, result);
  result->returned = portType == 0 ? 0 : 1;
}
void TestManagedCodeAccessible(Result*) {}

constexpr TagwrightComponentInterface kInterface = {
    .size = sizeof(TagwrightComponentInterface),
    .version = kTagwrightComponentVersion,
    .CreateObject = Create,
    .DisposeObject = Member<"DisposeObject">(),
    .TestManagedCodeAccessible = TestManagedCodeAccessible,
    .InitLogging = Member<"InitLogging">(),
    .LogErrorEvent = Member<"LogErrorEvent">(),
    .Connect = Connect,
    .Disconnect = Member<"Disconnect">(),
    .WriteEPC = Member<"WriteEPC">(),
    .WriteMemory = Member<"WriteMemory">(),
    .WriteUserMemory = Member<"WriteUserMemory">(),
    .SetAccessPassword = Member<"SetAccessPassword">(),
    .LockTag = Member<"LockTag">(),
    .PermalockUserBlock = Member<"PermalockUserBlock">(),
    .UnlockTag = Member<"UnlockTag">(),
    .SetKillPassword = Member<"SetKillPassword">(),
    .KillTag = Member<"KillTag">(),
};

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t) {
  static TagwrightComponentInterface component = kInterface;
  std::uint32_t missingBytes = 0;
  std::ifstream(Path("interface.txt")) >> component.version >> missingBytes >> g_canCreate;
  component.size -= missingBytes;
  return &component;
}
