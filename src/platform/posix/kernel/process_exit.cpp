#include "platform/posix/kernel/process_exit.h"

#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/posix/kernel/kernel_scope.h"

namespace platform {
namespace {

struct Hooks {
  std::mutex lock;
  std::vector<void (*)()> tidyUps;
};

Hooks& TheHooks() {
  static auto* const hooks = [] {
    std::atexit(RunProcessExitHooks);
    return new Hooks;
  }();
  return *hooks;
}

}  // namespace

void AtProcessExit(void (*tidyUp)()) {
  KernelScope scope;
  Hooks& hooks = TheHooks();
  std::lock_guard lock(hooks.lock);
  hooks.tidyUps.push_back(tidyUp);
}

void RunProcessExitHooks() {
  KernelScope scope;
  Hooks& hooks = TheHooks();
  std::vector<void (*)()> tidyUps;
  {
    std::lock_guard lock(hooks.lock);
    tidyUps = std::exchange(hooks.tidyUps, {});
  }
  for (auto hook = tidyUps.rbegin(); hook != tidyUps.rend(); ++hook) (*hook)();
}

}  // namespace platform
