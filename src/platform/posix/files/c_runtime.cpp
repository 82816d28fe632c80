#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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
  UniqueFd file;
  std::unique_ptr<char[]> streamBuffer{new char[kBufferBytes]};
};

std::string WithCarriageReturns(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() + text.size() / 16);
  for (const char byte : text) {
    if (byte == '\n') bytes += '\r';
    bytes += byte;
  }
  return bytes;
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
  auto text = std::make_unique<TextFile>(TextFile{std::move(file)});
  std::FILE* const stream = fopencookie(text.get(), "a", {nullptr, WriteText, nullptr, CloseText});
  if (stream == nullptr) return nullptr;
  std::setvbuf(stream, text.release()->streamBuffer.get(), _IOFBF, kBufferBytes);
  return stream;
}

bool ToNativePath(const char* ansiPath, std::string& nativePath) {
  const int size = MultiByteToWideChar(CP_ACP, 0, ansiPath, -1, nullptr, 0);
  if (size <= 0) return false;
  std::vector<WCHAR> path(static_cast<std::size_t>(size));
  MultiByteToWideChar(CP_ACP, 0, ansiPath, -1, path.data(), size);
  return platform::NativePathOf(path.data(), nativePath) == 0;
}

}  // namespace

std::FILE* _fsopen(const char* path, const char* mode, int shareFlag) {
  const KernelScope scope;
  if (path == nullptr || mode == nullptr || shareFlag != _SH_DENYNO ||
      mode != std::string_view("a")) {
    errno = EINVAL;
    return nullptr;
  }
  std::string nativePath;
  if (!ToNativePath(path, nativePath)) {
    errno = ENOENT;
    return nullptr;
  }
  UniqueFd file = platform::OpenToAppend(nativePath);
  return file ? OpenStream(std::move(file)) : nullptr;
}
