/// The reader of the debugger output: there is one at a time for all programs of its session
/// (Windows) or of its state root (Linux, where only the root's owner can listen and send).
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/windows_api.h"

namespace platform {

class DebugListener {
 public:
  /// Null when somebody else listens already, or the system refuses; the last error says why.
  static std::unique_ptr<DebugListener> Open();
  virtual ~DebugListener() = default;

  /// The next text that a program sent, in UTF-8 and as it was sent; nothing after `timeoutMs`.
  virtual std::optional<std::string> Next(DWORD timeoutMs) = 0;
};

}  // namespace platform
