#include "sdk/component_object.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Tagwright {

ComponentObject::ComponentObject(ComponentObject&& other) noexcept
    : _object(std::exchange(other._object, nullptr)) {}

ComponentObject& ComponentObject::operator=(ComponentObject&& other) noexcept {
  auto* const taken = std::exchange(other._object, nullptr);
  Dispose();
  _object = taken;
  return *this;
}

ComponentObject::~ComponentObject() { Dispose(); }

void ComponentObject::Dispose() noexcept {
  if (_object == nullptr) return;
  // Nobody is left to whom a failed disposal could be reported, a crash in it included.
  try {
    TagwrightCallResult ignored{};
    const auto& component = Component();
    auto* const object = std::exchange(_object, nullptr);
    GuardCrashes([&] { component.DisposeObject(object, &ignored); });
  } catch (...) {
  }
}

ComponentObject ComponentObject::Create() {
  TagwrightCallResult result{};
  ComponentObject created;
  const auto& component = Component();
  GuardCrashes([&] { created._object = component.CreateObject(&result); });
  ReturnOrThrow(result);
  if (created._object == nullptr) throw std::runtime_error("The component created no object");
  return created;
}

void ComponentObject::TestManagedCodeAccessible() {
  TagwrightCallResult result{};
  const auto& component = Component();
  GuardCrashes([&] { component.TestManagedCodeAccessible(&result); });
  ReturnOrThrow(result);
}

TagwrightText ComponentObject::AtBoundary(const OString& text) {
  const WCHAR* characters = text.wstring();
  return {characters, std::char_traits<WCHAR>::length(characters)};
}

}  // namespace Tagwright
