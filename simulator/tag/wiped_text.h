/// Text that may hold passwords.
#pragma once

#include <string>
#include <utility>

#include "support/secure_wipe.h"

namespace Simulator {

/// A text that is wiped at the end. The pieces from which it was made are not its concern.
class WipedText {
 public:
  explicit WipedText(std::string text) : _text(std::move(text)) {}
  ~WipedText() { SecureWipe(_text.data(), _text.size()); }
  WipedText(const WipedText&) = delete;
  WipedText& operator=(const WipedText&) = delete;

  const std::string& Get() const { return _text; }

 private:
  std::string _text;
};

}  // namespace Simulator
