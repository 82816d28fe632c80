/// A component whose members return at once, so that a job costs what the program makes of it. A
/// printer address that is a number makes Connect work for as many microseconds.
#include <chrono>
#include <type_traits>

#include "sdk/component_api.h"

struct TagwrightComponentObject {};

namespace {

using Object = TagwrightComponentObject;
using Result = TagwrightCallResult;

void Succeed(Result* result) {
  result->outcome = kTagwrightReturned;
  result->returned = 1;
}

template <class... Arguments>
void SucceedWhatever(Object*, Arguments... argumentsAndResult) {
  (..., [](auto argument) {
    if constexpr (std::is_same_v<decltype(argument), Result*>) Succeed(argument);
  }(argumentsAndResult));
}

Object* Create(Result* result) {
  static Object object;
  Succeed(result);
  return &object;
}

void Connect(Object*, std::int32_t, TagwrightText address, std::uint32_t, Result* result) {
  const auto start = std::chrono::steady_clock::now();
  std::chrono::microseconds duration{0};
  for (std::size_t i = 0; i < address.length; ++i) {
    const int digit = address.characters[i] - '0';
    if (digit >= 0 && digit <= 9) duration = duration * 10 + std::chrono::microseconds(digit);
  }
  while (std::chrono::steady_clock::now() - start < duration) {
  }
  Succeed(result);
}

constexpr TagwrightComponentInterface kInterface{
    sizeof(TagwrightComponentInterface),
    kTagwrightComponentVersion,
    Create,
    SucceedWhatever<Result*>,
    Succeed,
    SucceedWhatever<Result*>,
    SucceedWhatever<TagwrightText, Result*>,
    Connect,
    SucceedWhatever<Result*>,
    SucceedWhatever<TagwrightText, Result*>,
    SucceedWhatever<std::int32_t, std::int32_t, TagwrightText, Result*>,
    SucceedWhatever<std::int32_t, TagwrightText, Result*>,
    SucceedWhatever<TagwrightText, Result*>,
    SucceedWhatever<TagwrightText, std::int32_t, Result*>,
    SucceedWhatever<TagwrightText, std::uint32_t, std::int32_t, Result*>,
    SucceedWhatever<TagwrightText, std::int32_t, Result*>,
    SucceedWhatever<TagwrightText, Result*>,
    SucceedWhatever<TagwrightText, Result*>,
};

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t) {
  return &kInterface;
}
