/// One object of the component's class ZebraSDK and the handle that owns it.
#pragma once

#include "sdk/component_api.h"
#include "support/ostring.h"

namespace Tagwright {

/// Owning handle, move only: the object it holds is disposed of exactly once, when the handle is
/// destroyed or takes another object. A default-made handle is empty; calling a member through an
/// empty one is an error of the caller.
///
/// Every member passes its arguments in the component's order, returns the component's result, and
/// throws what the component raised (see call_result.h). One thread at a time.
class ComponentObject {
 public:
  ComponentObject() = default;
  ComponentObject(ComponentObject&& other) noexcept;
  ComponentObject& operator=(ComponentObject&& other) noexcept;
  ~ComponentObject();

  /// Loads the component when needed (ComponentLoadError) and runs the object's constructor.
  static ComponentObject Create();
  /// Static member of the component's class; ComponentLoadError as well.
  static void TestManagedCodeAccessible();

  void InitLogging();
  void LogErrorEvent(const OString& text);
  bool Connect(int portType, const OString& printerAddress, bool connectPerCard);
  bool Disconnect();
  bool WriteEPC(const OString& data);
  bool WriteMemory(int bank, int offset, const OString& data);
  bool WriteUserMemory(int offset, const OString& data);
  bool SetAccessPassword(const OString& password);
  bool LockTag(const OString& accessPassword, int lockAction);
  bool PermalockUserBlock(const OString& accessPassword, unsigned int startAddress, int blockCount);
  bool UnlockTag(const OString& accessPassword, int unlockAction);
  bool SetKillPassword(const OString& password);
  bool KillTag(const OString& killPassword);

 private:
  template <class Member, class... Arguments>
  bool Call(Member member, Arguments... arguments);
  void Dispose() noexcept;

  TagwrightComponentObject* _object = nullptr;
};

}  // namespace Tagwright
