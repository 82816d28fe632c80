#include "client/ctl/console.h"

#include <cstdio>
#include <mutex>

#include "platform/windows_api.h"

namespace Ctl {
namespace {

void Write(std::FILE* stream, const std::string& text) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fflush(stream);
}

}  // namespace

void PrepareConsole() { SetConsoleOutputCP(CP_UTF8); }

void PrintLine(const std::string& text) { Write(stdout, text + "\n"); }

void PrintError(const std::string& text) { Write(stderr, "tagwrightctl: " + text + "\n"); }

void PrintNote(const std::string& text) { Write(stderr, text + "\n"); }

}  // namespace Ctl
