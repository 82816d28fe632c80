/// One object of the component's class ZebraSDK.
#pragma once

#include <cstdint>
#include <memory>

#include "sdk/call_result.h"
#include "sdk/component_library.h"
#include "support/crash_guard.h"
#include "support/ostring.h"

namespace Tagwright {

/// Makes an object and disposes of it exactly once. One thread at a time.
class ComponentObject {
 public:
  /// Loads the component when needed (ComponentLoadError) and runs the object's constructor; throws
  /// what that raised, and std::runtime_error when it made nothing.
  ComponentObject();

  /// Static member of the component's class; ComponentLoadError as well.
  static void TestManagedCodeAccessible();

  /// Calls a member of the component's interface with `arguments` in the component's order: texts
  /// as OString, flags as bool, numbers as they are. Returns the member's result, and throws what
  /// the component raised (see call_result.h).
  template <class Member, class... Arguments>
  bool Call(Member member, const Arguments&... arguments) {
    return CallWith(member, AtBoundary(arguments)...);
  }

 private:
  template <class Member, class... Arguments>
  bool CallWith(Member member, Arguments... arguments) {
    TagwrightCallResult result{};
    const auto function = Component().*member;
    GuardCrashes([&] { function(_object.get(), arguments..., &result); });
    return ReturnOrThrow(result);
  }

  /// The wide form of `text`, valid while `text` is neither changed nor destroyed.
  static TagwrightText AtBoundary(const OString& text);
  static std::uint32_t AtBoundary(bool flag) { return flag ? 1 : 0; }
  static std::int32_t AtBoundary(std::int32_t number) { return number; }
  static std::uint32_t AtBoundary(std::uint32_t number) { return number; }

  struct Disposer {
    void operator()(TagwrightComponentObject* object) const noexcept;
  };

  std::unique_ptr<TagwrightComponentObject, Disposer> _object;
};

}  // namespace Tagwright
