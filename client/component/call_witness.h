/// What a call is given, between margins that tell whether it wrote where it must not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sdk/component_api.h"
#include "support/ostring.h"

namespace Tagwright {

/// A text as a component gets it: without a NUL behind it.
class WitnessedText {
 public:
  explicit WitnessedText(const OString& text);

  TagwrightText Text() const;
  bool IsUntouched() const { return _given == _expected; }
  std::size_t Length() const;

 private:
  std::vector<TagwrightChar> _given;
  std::vector<TagwrightChar> _expected;
};

class WitnessedResult {
 public:
  WitnessedResult();

  TagwrightCallResult& Get() { return _record.result; }
  /// What the component did wrong with it; nothing when it did nothing wrong.
  std::optional<std::string> Problem() const;
  /// "true", "false", or the exception with its text.
  std::string Describe() const;
  bool IsException() const { return _record.result.outcome != kTagwrightReturned; }
  bool Succeeded() const { return !IsException() && _record.result.returned != 0; }

 private:
  static constexpr std::uint32_t kMark = 0xA55A5AA5;
  struct Record {
    std::uint32_t before[16];
    TagwrightCallResult result;
    std::uint32_t after[16];
  };

  Record _record{};
};

}  // namespace Tagwright
