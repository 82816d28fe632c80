/// A component that does what the data of WriteEPC name, and succeeds in everything else.
#include <cstdlib>
#include <map>
#include <string>
#include <thread>

#include "platform/windows_api.h"
#include "sdk/component_api.h"

namespace {

volatile int zero = 0;
void* volatile kept = nullptr;

/// Its frames are smaller than those of the heap, so that one of the heap's overflows.
int OverflowWhileAllocating(int depth) {
  kept = std::malloc(4096);
  std::free(kept);
  return zero == 0 ? OverflowWhileAllocating(depth + 1) + zero : 0;
}

/// The heap notices that, and aborts.
void FreeTwice() {
  kept = std::malloc(24);
  std::free(kept);
  std::free(kept);
}

void Throw() {
  if (zero == 0) throw 0;
}
void ThrowFromNoexcept() noexcept { Throw(); }

const std::map<std::basic_string<WCHAR>, void (*)()> kActions = {
    {TEXT("overflow while allocating"), [] { zero = OverflowWhileAllocating(0); }},
    {TEXT("free twice"), FreeTwice},
    {TEXT("throw from noexcept"), ThrowFromNoexcept},
    {TEXT("abort"), [] { std::abort(); }},
    {TEXT("abort elsewhere"), [] { std::thread([] { std::abort(); }).join(); }},
};

void WriteEPC(TagwrightComponentObject*, TagwrightText data, TagwrightCallResult* result) {
  const auto action = kActions.find({data.characters, data.length});
  if (action != kActions.end()) action->second();
  result->returned = 1;
}

TagwrightComponentObject* Create(TagwrightCallResult*) {
  static int object;
  return reinterpret_cast<TagwrightComponentObject*>(&object);
}
void Dispose(TagwrightComponentObject*, TagwrightCallResult*) {}

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t version) {
  static TagwrightComponentInterface component{};
  component.size = sizeof component;
  component.version = version;
  component.CreateObject = Create;
  component.DisposeObject = Dispose;
  component.WriteEPC = WriteEPC;
  return &component;
}
