#include "platform/places.h"

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"

namespace platform {

std::vector<Place> SystemPlaces() {
  const KernelScope scope;
  const std::string root = StateRootPath();
  return {{"state root", root},
          {"pipes", root + "/pipe"},
          {"event log", root + "/eventlog/Application.jsonl"},
          {"registry", root + "/registry.db"},
          {"debugger output", root + "/debug"}};
}

}  // namespace platform
