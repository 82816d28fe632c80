#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/api/code_pages.h"
#include "platform/posix/api/files.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/unique_fd.h"

using platform::KernelScope;
using platform::UniqueFd;

namespace {

// What is printed between two flushes goes to the file in one write, up to this size, so that the
// lines of several processes that append to one file stay whole.
constexpr std::size_t kBufferBytes = 64 * 1024;

struct Mode {
  int openFlags;
  const char* streamMode;
  bool isText;
};

// "r", "w" or "a", then optionally "t" or "b".
bool ParseMode(const char* text, Mode& mode) {
  switch (text[0]) {
    case 'r':
      mode = {O_RDONLY, "r", true};
      break;
    case 'w':
      mode = {O_WRONLY | O_CREAT | O_TRUNC, "w", true};
      break;
    case 'a':
      mode = {O_WRONLY | O_CREAT | O_APPEND, "a", true};
      break;
    default:
      return false;
  }
  mode.isText = text[1] != 'b';
  return text[1] == 0 || ((text[1] == 't' || text[1] == 'b') && text[2] == 0);
}

/// A file whose lines end in CR LF while the program sees LF. The stream owns it.
class TextFile {
 public:
  explicit TextFile(UniqueFd file) : _file(std::move(file)), _streamBuffer(kBufferBytes) {}
  ssize_t Read(char* buffer, std::size_t size);
  ssize_t Write(const char* buffer, std::size_t size);
  std::vector<char>& StreamBuffer() { return _streamBuffer; }

 private:
  bool HasByte();

  UniqueFd _file;
  std::vector<char> _streamBuffer;
  std::string _ahead;  // as it stands in the file, from _next on not yet handed out
  std::size_t _next = 0;
};

bool TextFile::HasByte() {
  if (_next < _ahead.size()) return true;
  _ahead.resize(kBufferBytes);
  const ssize_t count = read(_file.Get(), _ahead.data(), _ahead.size());
  _ahead.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  _next = 0;
  return count > 0;
}

ssize_t TextFile::Read(char* buffer, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size && HasByte()) {
    const char byte = _ahead[_next++];
    const bool isLineEnd = byte == '\r' && HasByte() && _ahead[_next] == '\n';
    if (!isLineEnd) buffer[filled++] = byte;
  }
  return static_cast<ssize_t>(filled);
}

ssize_t TextFile::Write(const char* buffer, std::size_t size) {
  std::string bytes;
  bytes.reserve(size + size / 16);
  for (const char byte : std::string_view(buffer, size)) {
    if (byte == '\n') bytes += '\r';
    bytes += byte;
  }
  for (std::size_t written = 0; written < bytes.size();) {
    const ssize_t count = write(_file.Get(), bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno != EINTR) return 0;  // what the stream library expects of a failure
    if (count > 0) written += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(size);
}

ssize_t ReadText(void* file, char* buffer, std::size_t size) {
  const KernelScope scope;
  return static_cast<TextFile*>(file)->Read(buffer, size);
}

ssize_t WriteText(void* file, const char* buffer, std::size_t size) {
  const KernelScope scope;
  return static_cast<TextFile*>(file)->Write(buffer, size);
}

int CloseText(void* file) {
  const KernelScope scope;
  delete static_cast<TextFile*>(file);
  return 0;
}

std::FILE* OpenTextStream(UniqueFd file, const char* mode) {
  auto text = std::make_unique<TextFile>(std::move(file));
  std::vector<char>& buffer = text->StreamBuffer();
  std::FILE* const stream =
      fopencookie(text.get(), mode, {ReadText, WriteText, nullptr, CloseText});
  if (stream == nullptr) return nullptr;
  text.release();
  std::setvbuf(stream, buffer.data(), _IOFBF, buffer.size());
  return stream;
}

std::FILE* OpenBinaryStream(UniqueFd file, const char* mode) {
  std::FILE* const stream = fdopen(file.Get(), mode);
  if (stream != nullptr) file.Release();
  return stream;
}

bool NativePathOf(const char* ansiPath, std::string& nativePath) {
  const int size = MultiByteToWideChar(CP_ACP, 0, ansiPath, -1, nullptr, 0);
  if (size <= 0) return false;
  std::vector<WCHAR> path(static_cast<std::size_t>(size));
  MultiByteToWideChar(CP_ACP, 0, ansiPath, -1, path.data(), size);
  return platform::ToNativePath(path.data(), nativePath);
}

}  // namespace

std::FILE* _fsopen(const char* path, const char* mode, int shareFlag) {
  const KernelScope scope;
  Mode parsed{};
  if (path == nullptr || mode == nullptr || shareFlag != _SH_DENYNO || !ParseMode(mode, parsed)) {
    errno = EINVAL;
    return nullptr;
  }
  std::string nativePath;
  if (!NativePathOf(path, nativePath)) {
    errno = ENOENT;
    return nullptr;
  }
  constexpr mode_t kNewFileMode = 0666;
  UniqueFd file(open(nativePath.c_str(), parsed.openFlags | O_CLOEXEC, kNewFileMode));
  if (!file) return nullptr;
  return parsed.isText ? OpenTextStream(std::move(file), parsed.streamMode)
                       : OpenBinaryStream(std::move(file), parsed.streamMode);
}
