#include "sdk/component_object.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "sdk/call_result.h"
#include "sdk/component_guard.h"
#include "sdk/component_library.h"

namespace Tagwright {
namespace {

/// The wide form of `text`, valid while `text` is neither changed nor destroyed.
TagwrightText WideText(const OString& text) {
  const WCHAR* characters = text.wstring();
  return {characters, std::char_traits<WCHAR>::length(characters)};
}

}  // namespace

ComponentObject::ComponentObject(ComponentObject&& other) noexcept
    : _object(std::exchange(other._object, nullptr)) {}

ComponentObject& ComponentObject::operator=(ComponentObject&& other) noexcept {
  if (this != &other) {
    Dispose();
    _object = std::exchange(other._object, nullptr);
  }
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
    GuardComponentCall([&] { component.DisposeObject(object, &ignored); });
  } catch (...) {
  }
}

ComponentObject ComponentObject::Create() {
  TagwrightCallResult result{};
  ComponentObject created;
  const auto& component = Component();
  GuardComponentCall([&] { created._object = component.CreateObject(&result); });
  ReturnOrThrow(result);
  if (created._object == nullptr) throw std::runtime_error("The component created no object");
  return created;
}

void ComponentObject::TestManagedCodeAccessible() {
  TagwrightCallResult result{};
  const auto& component = Component();
  GuardComponentCall([&] { component.TestManagedCodeAccessible(&result); });
  ReturnOrThrow(result);
}

template <class Member, class... Arguments>
bool ComponentObject::Call(Member member, Arguments... arguments) {
  TagwrightCallResult result{};
  const auto function = Component().*member;
  GuardComponentCall([&] { function(_object, arguments..., &result); });
  return ReturnOrThrow(result);
}

void ComponentObject::InitLogging() { Call(&TagwrightComponentInterface::InitLogging); }

void ComponentObject::LogErrorEvent(const OString& text) {
  Call(&TagwrightComponentInterface::LogErrorEvent, WideText(text));
}

bool ComponentObject::Connect(int portType, const OString& printerAddress, bool connectPerCard) {
  return Call(&TagwrightComponentInterface::Connect, portType, WideText(printerAddress),
              connectPerCard ? 1U : 0U);
}

bool ComponentObject::Disconnect() { return Call(&TagwrightComponentInterface::Disconnect); }

bool ComponentObject::WriteEPC(const OString& data) {
  return Call(&TagwrightComponentInterface::WriteEPC, WideText(data));
}

bool ComponentObject::WriteMemory(int bank, int offset, const OString& data) {
  return Call(&TagwrightComponentInterface::WriteMemory, bank, offset, WideText(data));
}

bool ComponentObject::WriteUserMemory(int offset, const OString& data) {
  return Call(&TagwrightComponentInterface::WriteUserMemory, offset, WideText(data));
}

bool ComponentObject::SetAccessPassword(const OString& password) {
  return Call(&TagwrightComponentInterface::SetAccessPassword, WideText(password));
}

bool ComponentObject::LockTag(const OString& accessPassword, int lockAction) {
  return Call(&TagwrightComponentInterface::LockTag, WideText(accessPassword), lockAction);
}

bool ComponentObject::PermalockUserBlock(const OString& accessPassword, unsigned int startAddress,
                                         int blockCount) {
  return Call(&TagwrightComponentInterface::PermalockUserBlock, WideText(accessPassword),
              startAddress, blockCount);
}

bool ComponentObject::UnlockTag(const OString& accessPassword, int unlockAction) {
  return Call(&TagwrightComponentInterface::UnlockTag, WideText(accessPassword), unlockAction);
}

bool ComponentObject::SetKillPassword(const OString& password) {
  return Call(&TagwrightComponentInterface::SetKillPassword, WideText(password));
}

bool ComponentObject::KillTag(const OString& killPassword) {
  return Call(&TagwrightComponentInterface::KillTag, WideText(killPassword));
}

}  // namespace Tagwright
