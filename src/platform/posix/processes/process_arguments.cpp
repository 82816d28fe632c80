#include "platform/process_arguments.h"

#include <fstream>

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/text.h"

namespace platform {

std::vector<std::u16string> ProcessArguments(DWORD processId) {
  const KernelScope scope;
  std::ifstream file("/proc/" + std::to_string(processId) + "/cmdline", std::ios::binary);
  std::vector<std::u16string> arguments;
  for (std::string argument; std::getline(file, argument, '\0');) {
    arguments.push_back(ToUtf16(argument));
  }
  return arguments;
}

}  // namespace platform
