/// A component that never gets as far as being loaded: its start-up code leaves the file
/// loading-<process id> in the simulator's folder and hangs.
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "platform/windows_api.h"
#include "sdk/component_api.h"

namespace {

[[maybe_unused]] const bool kIsLoaded = [] {
  const std::ofstream sign(std::getenv("TAGWRIGHT_ROOT") + std::string("/simulator/loading-") +
                           std::to_string(GetCurrentProcessId()));
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
  return true;
}();

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t) { return nullptr; }
