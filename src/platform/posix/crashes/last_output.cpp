#include "platform/last_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/posix/crashes/dump_writer.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/unique_fd.h"
#include "platform/posix/system/event_line.h"
#include "platform/posix/system/event_log_file.h"

namespace platform {
namespace {

/// Text in a buffer of its own; what does not fit is cut.
class Line {
 public:
  Line& operator+=(char byte) {
    if (_size < sizeof _bytes) _bytes[_size++] = byte;
    return *this;
  }
  Line& operator+=(std::string_view text) {
    for (const char byte : text) *this += byte;
    return *this;
  }

  /// One write, so that the line is whole among those of other processes.
  void AppendTo(const char* path) const {
    // A file that is none, such as a FIFO, must not keep the process here.
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK;
    const UniqueFd file(open(path, flags, kPrivateFile));
    [[maybe_unused]] const ssize_t written = write(file.Get(), _bytes, _size);
  }

 private:
  char _bytes[8192];
  std::size_t _size = 0;
};

/// Without what JSON and UTF-8 would need more than an escape for.
void AppendQuoted(Line& line, std::string_view text) {
  line += '"';
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    constexpr unsigned char kFirstPrintable = 0x20, kFirstBeyondAscii = 0x80;
    if (byte == '"' || byte == '\\') line += '\\';
    if (value < kFirstPrintable) {
      AppendHex(line += "\\u", value, 4);
    } else {
      line += value < kFirstBeyondAscii ? byte : '?';
    }
  }
  line += '"';
}

/// Empty for a path that cannot be expressed, which no file has.
std::string NativePath(LPCWSTR windowsPath) {
  std::string path;
  NativePathOf(windowsPath, path);
  return path;
}

}  // namespace

struct LastOutput::Names {
  std::string source;  // As JSON has it.
  std::string eventLog;
  std::string textFile;
};

LastOutput::LastOutput(LPCWSTR eventSource, LPCWSTR textFile)
    : _names(new Names{Quoted(ToUtf8(eventSource)), EventLogFileOf(eventSource),
                       NativePath(textFile)}) {
  tzset();
}

LastOutput::~LastOutput() = default;

void LastOutput::ReportError(DWORD eventId, std::string_view text, const void* data,
                             DWORD dataBytes) const {
  Line line;
  AppendEvent(line, {_names->source, "Error", 0, eventId, data, dataBytes},
              [&](Line& end) { AppendQuoted(end, text); });
  line.AppendTo(_names->eventLog.c_str());
}

void LastOutput::AppendToFile(std::string_view text) const {
  Line line;
  for (const char byte : text) {
    if (byte == '\n') line += '\r';
    line += byte;
  }
  line.AppendTo(_names->textFile.c_str());
}

struct LastDumpFolder::Names {
  std::string folder;
  std::vector<std::string> withParents = FoldersTo(folder);
};

LastDumpFolder::LastDumpFolder(LPCWSTR path) : _names(new Names{NativePath(path)}) {}

LastDumpFolder::~LastDumpFolder() = default;

void LastDumpFolder::Create() const {
  for (const std::string& folder : _names->withParents) mkdir(folder.c_str(), kPrivateFolder);
}

LastDumpFolder::Result LastDumpFolder::Write(const char* fileName, MINIDUMP_TYPE type,
                                             EXCEPTION_POINTERS* pointers) const {
  const UniqueFd folder(open(_names->folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  const UniqueFd file(
      openat(folder.Get(), fileName, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateFile));
  if (!file) return errno == EEXIST ? Result::kExists : Result::kFailed;
  const MINIDUMP_EXCEPTION_INFORMATION exception{static_cast<DWORD>(gettid()), pointers, TRUE};
  return WriteDump(file.Get(), type, &exception) ? Result::kWritten : Result::kFailed;
}

}  // namespace platform
