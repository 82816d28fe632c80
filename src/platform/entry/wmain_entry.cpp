/// Where programs start. On Windows the toolchain's start-up code calls wmain itself.
#if !defined(_WIN32)

#include <string>
#include <vector>

#include "platform/posix/kernel/program_path.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/windows_api.h"

extern "C" int wmain(int argc, WCHAR** argv);

int main(int argc, char** argv) {
  std::vector<std::u16string> arguments{platform::ToWindowsPath(platform::ProgramPath())};
  for (int index = 1; index < argc; ++index) {
    arguments.push_back(platform::ToUtf16(std::string_view(argv[index])));
  }
  std::vector<WCHAR*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (auto& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  return wmain(static_cast<int>(arguments.size()), pointers.data());
}

#endif
