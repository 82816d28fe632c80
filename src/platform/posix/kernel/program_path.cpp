#include "platform/posix/kernel/program_path.h"

#include <unistd.h>

#include <climits>

namespace platform {
namespace {

std::string ReadProgramPath() {
  char path[PATH_MAX];
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
  return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : std::string();
}

}  // namespace

const std::string& ProgramPath() {
  static const auto* const path = new std::string(ReadProgramPath());
  return *path;
}

std::string BesideProgram(std::string_view name) {
  return ProgramPath().substr(0, ProgramPath().rfind('/') + 1).append(name);
}

}  // namespace platform
