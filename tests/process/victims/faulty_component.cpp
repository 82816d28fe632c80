/// A component with the one fault that TAGWRIGHT_FAULT names.
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

#include "sdk/component_api.h"

struct TagwrightComponentObject {};

#ifdef NEEDS_ABSENT_LIBRARY
int AbsentLibrary();
const int g_needed = AbsentLibrary();
#endif

namespace {

using Object = TagwrightComponentObject;
using Result = TagwrightCallResult;

bool Has(const std::string& fault) {
  const char* const wanted = std::getenv("TAGWRIGHT_FAULT");
  return wanted != nullptr && fault == wanted;
}

Object* Create(Result*) {
  static Object shared;
  return Has("shared object") ? &shared : new Object;
}
void Dispose(Object* object, Result*) {
  static Object* last = nullptr;
  if (Has("crash")) *static_cast<volatile int*>(nullptr) = 0;
  if (!Has("shared object") || last == object) delete object;
  last = object;
}
void Test(Result* result) {
  if (Has("throw")) throw std::runtime_error("out of paper");
  if (Has("exit")) std::exit(0);
  if (Has("outcome")) result->outcome = 9;
  if (Has("managed")) result->outcome = kTagwrightManagedException;
  if (Has("beside")) (result + 1)->outcome = 1;
}
void InitLogging(Object*, Result*) {
  while (Has("hang")) std::this_thread::sleep_for(std::chrono::hours(1));
}
void WithText(Object*, TagwrightText text, Result* result) {
  if (Has("write")) const_cast<TagwrightChar*>(text.characters)[text.length] = 0;
  result->returned = Has("refuse") ? 0 : 1;
}
void Connect(Object*, std::int32_t, TagwrightText, std::uint32_t, Result* result) {
  result->outcome = Has("no printer") ? kTagwrightStandardException : kTagwrightReturned;
  result->returned = 1;
}

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t version) {
  if (Has("unknown version") || (version != kTagwrightComponentVersion && !Has("any version"))) {
    return nullptr;
  }
  static TagwrightComponentInterface table{};
  table.size = Has("size") ? 16 : sizeof table;
  table.version = Has("other version") ? 7 : kTagwrightComponentVersion;
  table.CreateObject = Create;
  table.DisposeObject = Dispose;
  table.TestManagedCodeAccessible = Test;
  table.InitLogging = table.Disconnect = InitLogging;
  table.LogErrorEvent = table.WriteEPC = table.SetAccessPassword = WithText;
  table.Connect = Connect;
  table.WriteMemory = [](auto, auto, auto, auto, auto) {};
  table.WriteUserMemory = [](auto, auto, auto, auto) {};
  table.PermalockUserBlock = [](auto, auto, auto, auto, auto) {};
  table.LockTag = table.UnlockTag = [](auto, auto, auto, auto) {};
  table.SetKillPassword = table.KillTag = Has("null") ? nullptr : WithText;
  return &table;
}
