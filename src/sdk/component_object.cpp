#include "sdk/component_object.h"

#include <stdexcept>
#include <string>

namespace Tagwright {

ComponentObject::ComponentObject() {
  TagwrightCallResult result{};
  const auto& component = Component();
  GuardCrashes([&] { _object.reset(component.CreateObject(&result)); });
  ReturnOrThrow(result);
  if (_object == nullptr) throw std::runtime_error("The component created no object");
}

void ComponentObject::Disposer::operator()(TagwrightComponentObject* object) const noexcept {
  // Nobody is left to whom a failed disposal could be reported, a crash in it included.
  try {
    TagwrightCallResult ignored{};
    const auto& component = Component();
    GuardCrashes([&] { component.DisposeObject(object, &ignored); });
  } catch (...) {
  }
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
