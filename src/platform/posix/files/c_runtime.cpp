#include <cerrno>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "platform/posix/api/code_pages.h"
#include "platform/posix/api/files.h"
#include "platform/posix/kernel/append_file.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/sizes.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/unique_fd.h"

using platform::KernelScope;
using platform::UniqueFd;

namespace {

// What is printed between two flushes goes to the file in one write, up to this size, so that the
// lines of several processes that append to one file stay whole.
constexpr std::size_t kBufferBytes = 64 * platform::kKiB;

/// A file whose lines end in CR LF while the program sees LF. The stream owns it.
struct TextFile {
  explicit TextFile(UniqueFd opened) : file(std::move(opened)) {}

  UniqueFd file;
  char streamBuffer[kBufferBytes];
};

std::string WithCarriageReturns(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() + text.size() / 16);
  for (std::size_t end = text.find('\n'); end != text.npos; end = text.find('\n')) {
    bytes.append(text, 0, end).append("\r\n");
    text.remove_prefix(end + 1);
  }
  return bytes.append(text);
}

ssize_t WriteText(void* file, const char* text, std::size_t size) {
  const KernelScope scope;
  const std::string bytes = WithCarriageReturns({text, size});
  const int error = platform::AppendWhole(static_cast<TextFile*>(file)->file.Get(), bytes);
  if (error == 0) return static_cast<ssize_t>(size);
  errno = error;
  return 0;  // What the stream library expects of a failure.
}

int CloseText(void* file) {
  const KernelScope scope;
  delete static_cast<TextFile*>(file);
  return 0;
}

std::FILE* OpenStream(UniqueFd file) {
  auto text = std::make_unique<TextFile>(std::move(file));
  std::FILE* const stream = fopencookie(text.get(), "a", {nullptr, WriteText, nullptr, CloseText});
  if (stream == nullptr) return nullptr;
  std::setvbuf(stream, text.release()->streamBuffer, _IOFBF, kBufferBytes);
  return stream;
}

/// Empty for a path that cannot be expressed.
std::string ToNativePath(const std::string& ansiPath) {
  // No code page has more units of UTF-16 than bytes for a character.
  std::u16string path(ansiPath.size() + 1, u'\0');
  std::string nativePath;
  const int units = MultiByteToWideChar(CP_ACP, 0, ansiPath.c_str(), -1, path.data(),
                                        static_cast<int>(path.size()));
  if (units == 0 || platform::NativePathOf(path.c_str(), nativePath) != 0) return {};
  return nativePath;
}

/// The path that was opened last: one file is opened for each line of the log.
class LastPath {
 public:
  std::string Native(const char* ansiPath) {
    const std::lock_guard lock(_lock);
    if (_ansi != ansiPath) {
      std::string native = ToNativePath(ansiPath);
      _ansi = ansiPath;
      _native = std::move(native);
    }
    return _native;
  }

 private:
  std::mutex _lock;
  std::string _ansi;
  std::string _native;
};

}  // namespace

std::FILE* _fsopen(const char* path, const char* mode, int shareFlag) {
  const KernelScope scope;
  if (path == nullptr || mode == nullptr || shareFlag != _SH_DENYNO ||
      mode != std::string_view("a")) {
    errno = EINVAL;
    return nullptr;
  }
  static auto* const lastPath = new LastPath;  // Used until the very end of the process.
  const std::string nativePath = lastPath->Native(path);
  if (nativePath.empty()) {
    errno = ENOENT;
    return nullptr;
  }
  UniqueFd file = platform::OpenToAppend(nativePath);
  return file ? OpenStream(std::move(file)) : nullptr;
}
