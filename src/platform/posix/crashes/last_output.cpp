#include "platform/last_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>
#include <string>

#include "platform/posix/crashes/dump_writer.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/system/event_log_file.h"

namespace platform {
namespace {

/// Text in a buffer of its own; what does not fit is cut.
class Line {
 public:
  void Add(char byte) {
    if (_size < sizeof _bytes) _bytes[_size++] = byte;
  }
  void Add(std::string_view text) {
    for (const char byte : text) Add(byte);
  }
  void AddNumber(int number, int digits) {
    if (digits > 1) AddNumber(number / 10, digits - 1);
    Add(static_cast<char>('0' + number % 10));
  }
  void AddHex(unsigned number, int digits) {
    if (digits > 1) AddHex(number >> 4, digits - 1);
    Add("0123456789ABCDEF"[number & 15]);
  }

  /// One write, so that the line is whole among those of other processes.
  bool AppendTo(const char* path) const {
    constexpr mode_t kNewFileMode = 0600;
    // A file that is none, such as a FIFO, must not keep the process here.
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK;
    const int file = open(path, flags, kNewFileMode);
    if (file < 0) return false;
    const bool isWritten = write(file, _bytes, _size) == static_cast<ssize_t>(_size);
    close(file);
    return isWritten;
  }

 private:
  char _bytes[8192];
  std::size_t _size = 0;
};

/// As the event log's own lines have it. The C library's time zone has been loaded before, so
/// localtime_r only reads it.
void AddTime(Line& line) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  constexpr int kFirstYear = 1900, kMinuteSeconds = 60, kHourMinutes = 60;
  line.AddNumber(kFirstYear + local.tm_year, 4);
  line.Add('-');
  line.AddNumber(local.tm_mon + 1, 2);
  line.Add('-');
  line.AddNumber(local.tm_mday, 2);
  line.Add('T');
  line.AddNumber(local.tm_hour, 2);
  line.Add(':');
  line.AddNumber(local.tm_min, 2);
  line.Add(':');
  line.AddNumber(local.tm_sec, 2);
  line.Add('.');
  line.AddNumber(static_cast<int>(now.tv_nsec / 1000000), 3);
  const int offsetMinutes = static_cast<int>(local.tm_gmtoff / kMinuteSeconds);
  line.Add(offsetMinutes < 0 ? '-' : '+');
  line.AddNumber(std::abs(offsetMinutes) / kHourMinutes, 2);
  line.Add(':');
  line.AddNumber(std::abs(offsetMinutes) % kHourMinutes, 2);
}

/// Without what JSON and UTF-8 would need more than an escape for.
void AddEscaped(Line& line, std::string_view text) {
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    constexpr unsigned char kFirstPrintable = 0x20, kFirstBeyondAscii = 0x80;
    if (byte == '"' || byte == '\\') line.Add('\\');
    if (value < kFirstPrintable) {
      line.Add("\\u");
      line.AddHex(value, 4);
    } else {
      line.Add(value < kFirstBeyondAscii ? byte : '?');
    }
  }
}

void AddHexBytes(Line& line, const void* data, DWORD sizeBytes) {
  const auto* const bytes = static_cast<const BYTE*>(data);
  for (DWORD i = 0; i < sizeBytes; ++i) line.AddHex(bytes[i], 2);
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
    : _names(new Names{ToUtf8(eventSource), EventLogFileOf(eventSource), NativePath(textFile)}) {
  tzset();
}

LastOutput::~LastOutput() = default;

bool LastOutput::ReportError(DWORD eventId, std::string_view text, const void* data,
                             DWORD dataBytes) const {
  Line line;
  line.Add("{\"time\":\"");
  AddTime(line);
  line.Add("\",\"source\":\"");
  AddEscaped(line, _names->source);
  line.Add("\",\"type\":\"Error\",\"category\":0,\"event_id\":\"0x");
  line.AddHex(eventId, 8);
  line.Add("\",\"text\":\"");
  AddEscaped(line, text);
  line.Add("\",\"data\":\"");
  AddHexBytes(line, data, dataBytes);
  line.Add("\"}\n");
  return line.AppendTo(_names->eventLog.c_str());
}

bool LastOutput::AppendToFile(std::string_view text) const {
  Line line;
  for (const char byte : text) {
    if (byte == '\n') line.Add('\r');
    line.Add(byte);
  }
  return line.AppendTo(_names->textFile.c_str());
}

struct LastDumpFolder::Names {
  std::string folder;
};

LastDumpFolder::LastDumpFolder(LPCWSTR path) : _names(new Names{NativePath(path)}) {}

LastDumpFolder::~LastDumpFolder() = default;

void LastDumpFolder::Create() const {
  constexpr mode_t kFolderMode = 0700;
  const std::string& folder = _names->folder;
  char part[PATH_MAX];
  for (std::size_t i = 0; i < folder.size() && i < sizeof part - 1; ++i) {
    part[i] = folder[i];
    part[i + 1] = 0;
    const bool isWhole = i + 1 == folder.size() || folder[i + 1] == '/';
    if (isWhole) mkdir(part, kFolderMode);
  }
}

LastDumpFolder::Result LastDumpFolder::Write(const char* fileName, MINIDUMP_TYPE type,
                                             EXCEPTION_POINTERS* pointers) const {
  const int folder = open(_names->folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return Result::kFailed;
  constexpr mode_t kOwnersAlone = 0600;
  const int file = openat(folder, fileName, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kOwnersAlone);
  const Result refused = errno == EEXIST ? Result::kExists : Result::kFailed;
  close(folder);
  if (file < 0) return refused;
  const MINIDUMP_EXCEPTION_INFORMATION exception{static_cast<DWORD>(gettid()), pointers, TRUE};
  const bool isWritten = WriteDump(file, type, &exception);
  close(file);
  return isWritten ? Result::kWritten : Result::kFailed;
}

}  // namespace platform
