/// The process's environment, which one thread may change while another starts a child with it.
#pragma once

#include <mutex>

namespace platform {

/// Held while the environment is read or changed.
class EnvironmentLock {
 public:
  EnvironmentLock();

 private:
  std::lock_guard<std::mutex> _guard;
};

}  // namespace platform
