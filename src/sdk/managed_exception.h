/// An exception of the component's runtime as the program sees it.
#pragma once

#include "support/ostring.h"

namespace Tagwright {

/// Stands for the runtime's exception base class, which has no relation to std::exception; so this
/// class has none either, and handlers tell the two apart.
class ManagedException {
 public:
  ManagedException(const OString& message, const OString& fullText)
      : _message(message), _fullText(fullText) {}

  const OString& Message() const { return _message; }
  /// Type, message and stack trace.
  const OString& ToString() const { return _fullText; }

 private:
  OString _message;
  OString _fullText;
};

}  // namespace Tagwright
