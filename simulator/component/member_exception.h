/// An exception of the component, in the kind it has for the caller.
#pragma once

#include <utility>

#include "sdk/component_api.h"
#include "simulator/tag/text.h"

namespace Simulator {

class MemberException {
 public:
  MemberException(TagwrightCallOutcome kind, WideText message, WideText fullText)
      : _kind(kind), _message(std::move(message)), _fullText(std::move(fullText)) {}

  TagwrightCallOutcome Kind() const { return _kind; }
  const WideText& Message() const { return _message; }
  /// Type, message and stack trace; of a managed exception only.
  const WideText& FullText() const { return _fullText; }

 private:
  TagwrightCallOutcome _kind;
  WideText _message;
  WideText _fullText;
};

}  // namespace Simulator
