#include "support/oevent_log.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "support/fixed_text.h"
#include "support/oregistry.h"
#include "support/scoped_handle.h"

StdBrennick::shared_ptr<OEventLog> Z7SvEventLog;

namespace {

/// A line is written after this wait, whether the file's mutex was free or not.
constexpr DWORD kFileMutexTimeoutMs = 10000;

/// Far more than the report of a fatal crash has; its line in the file is longer by what stands
/// before the text.
constexpr std::size_t kMaxLastText = 3072;
constexpr std::size_t kMaxLastLine = kMaxLastText + 1024;
/// More than most lines of the file have.
constexpr std::size_t kTypicalLineBytes = 256;

constexpr const char* kLogFolder = "C:\\Log Files";
constexpr const char* kApplicationSources =
    "SYSTEM\\CurrentControlSet\\Services\\Eventlog\\Application\\";
constexpr const char* kSystemSources = "SYSTEM\\CurrentControlSet\\Services\\Eventlog\\System\\";

/// TypesSupported of a source: errors, warnings and information.
constexpr DWORD kSupportedTypes =
    EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;
/// The categories that the message file describes.
constexpr DWORD kCategoryCount = 2;

/// The messages of bkevtmsg.dll, each of which is its one insertion string.
struct EventIds {
  DWORD information;
  DWORD warning;
  DWORD error;
};
constexpr EventIds kApplicationEventIds = {0x4FFF0100U, 0x8FFF0200U, 0xCFFF0300U};
constexpr EventIds kSystemEventIds = {0x40FF0400U, 0x80FF0500U, 0xC0FF0600U};

DWORD EventId(DWORD eventLogType, DWORD type) {
  const EventIds& ids =
      eventLogType == OEventLog::kApplicationLog ? kApplicationEventIds : kSystemEventIds;
  switch (type) {
    case EVENTLOG_INFORMATION_TYPE:
      return ids.information;
    case EVENTLOG_WARNING_TYPE:
      return ids.warning;
    default:
      return ids.error;
  }
}

DWORD LevelOfType(DWORD type) {
  switch (type) {
    case EVENTLOG_ERROR_TYPE:
      return LogLevel::kErrors;
    case EVENTLOG_WARNING_TYPE:
      return LogLevel::kWarnings;
    case EVENTLOG_INFORMATION_TYPE:
      return LogLevel::kInfo;
    default:
      return 0;
  }
}

OString LogFilePath(const OString& sourceName) {
  OString fileName = sourceName;
  fileName.Replace(" ", "_");
  return OString(kLogFolder) + "\\" + fileName + ".txt";
}

/// The local time as a line of the file has it: "11/19/2026 04:22:58".
using FileTime = FixedText<32>;
FileTime FileTimeNow() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  FileTime text;
  text.AppendDecimal(now.wMonth, 2) << "/";
  text.AppendDecimal(now.wDay, 2) << "/";
  text.AppendDecimal(now.wYear, 4) << " ";
  text.AppendDecimal(now.wHour, 2) << ":";
  text.AppendDecimal(now.wMinute, 2) << ":";
  return text.AppendDecimal(now.wSecond, 2);
}

/// Appends the narrow form of what the event log got, which is the wide form.
void AppendNarrow(std::string& line, const OString& text) {
  const std::basic_string_view<WCHAR> wide(text.wstring());
  const bool isAscii = std::ranges::all_of(wide, [](WCHAR character) { return character < 0x80; });
  if (!isAscii) {
    line.append(OString(wide.data()).nstring());
    return;
  }
  const std::size_t start = line.size();
  line.resize(start + wide.size());
  std::ranges::copy(wide, line.data() + start);
}

OEventData MakeEventData(DWORD level) {
  LARGE_INTEGER counter{};
  QueryPerformanceCounter(&counter);
  OEventData block{};
  block.formatVersion = OEventData::kFormatVersion;
  block.tickCountMs = GetTickCount();
  block.performanceCounter = static_cast<std::uint64_t>(counter.QuadPart);
  block.level = level;
  block.threadId = GetCurrentThreadId();
  block.processId = GetCurrentProcessId();
  return block;
}

void SetText(HKEY key, LPCWSTR name, const std::basic_string<WCHAR>& text) {
  RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                 static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
}

void SetNumber(HKEY key, LPCWSTR name, DWORD number) {
  RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

/// What Event Viewer needs in order to show a source's entries as text.
void DescribeSource(HKEY key) {
  WCHAR directory[MAX_PATH] = {};
  GetSystemDirectoryW(directory, MAX_PATH);
  const std::basic_string<WCHAR> messageFile =
      std::basic_string<WCHAR>(directory) + TEXT("\\bkevtmsg.dll");
  SetText(key, TEXT("EventMessageFile"), messageFile);
  SetNumber(key, TEXT("TypesSupported"), kSupportedTypes);
  SetText(key, TEXT("CategoryMessageFile"), messageFile);
  SetNumber(key, TEXT("CategoryCount"), kCategoryCount);
}

}  // namespace

OEventLog::OEventLog(const OString& sourceName, DWORD eventLogType, TickSource maskClock)
    : _eventLogType(eventLogType),
      _sourceName(sourceName),
      _logFilePath(LogFilePath(sourceName)),
      _fileMutexName(OString("Brennick File Log Mutex for ") + sourceName),
      _lastOutput(_sourceName.wstring(), _logFilePath.wstring()),
      _maskClock(maskClock) {
  _sourceName.nstring();  // LogLastError must not convert it.
  LoadLogMask();
}

OEventLog::~OEventLog() {
  if (_eventSource != nullptr) DeregisterEventSource(_eventSource);
}

void OEventLog::LoadLogMask() {
  _maskKeyPath = OString("LOCAL_MACHINE:") + LogLevel::kMaskKey + "\\" + _sourceName;
  _maskKeyPath.wstring();  // both forms are there now: threads that refresh at once only read them
  const DWORD mask = ReadLogMask();
  _levelMask = mask;
  _maskReadTick = MaskClockMs();
  ORegistry().SetValue(_maskKeyPath, &mask);
}

DWORD OEventLog::ReadLogMask() const {
  DWORD mask = 0;
  const int size = ORegistry().GetValue(_maskKeyPath, &mask, sizeof mask);
  return size == sizeof mask ? mask : LogLevel::kDefaultMask;
}

void OEventLog::RefreshLogMask() {
  if (_maskKeyPath.IsEmpty()) return;
  _maskReadTick = MaskClockMs();
  _levelMask = ReadLogMask();
}

bool OEventLog::LogInformationEvent(const OString& text, int category, DWORD level) {
  if (IsLogEnabled(LogLevel::kCopyToDebugger)) {
    OutputDebugStringW((GetDebugPrefix() + text + "\n").wstring());
  }
  return WriteEvent(EVENTLOG_INFORMATION_TYPE, text, category, level);
}

bool OEventLog::LogWarningEvent(const OString& text, int category) {
  return LogStampedEvent(EVENTLOG_WARNING_TYPE, text, category, LogLevel::kWarnings);
}

bool OEventLog::LogErrorEvent(const OString& text, int category) {
  return LogStampedEvent(EVENTLOG_ERROR_TYPE, text, category, LogLevel::kErrors);
}

bool OEventLog::LogStampedEvent(DWORD type, const OString& text, int category, DWORD level) {
  OString stamped = GetDebugPrefix() + text;
  if (IsLogEnabled(LogLevel::kCopyToDebugger)) {
    stamped << "\n";
    OutputDebugStringW(stamped.wstring());
  }
  return WriteEvent(type, stamped, category, level);
}

bool OEventLog::WriteEvent(DWORD type, const OString& text, DWORD category, DWORD level) {
  OAutoLock lock(_lock);
  OEventData block = MakeEventData(level != 0 ? level : LevelOfType(type));
  const bool reported = EnsureEventSource() && Report(type, text, category, block);
  if (IsLogEnabled(LogLevel::kCopyToFile)) WriteEventToFile(text, block);
  return reported;
}

bool OEventLog::EnsureEventSource() {
  if (_eventSource == nullptr) {
    RegisterSourceKey(_sourceName, _eventLogType);
    _eventSource = RegisterEventSourceW(nullptr, _sourceName.wstring());
  }
  return _eventSource != nullptr;
}

bool OEventLog::Report(DWORD type, const OString& text, DWORD category, OEventData& block) {
  LPCWSTR strings[] = {text.wstring()};
  return ReportEventW(_eventSource, static_cast<WORD>(type), LOWORD(category),
                      EventId(_eventLogType, type), nullptr, 1, sizeof block, strings,
                      &block) != FALSE;
}

bool OEventLog::RegisterSourceKey(const OString& sourceName, DWORD eventLogType) {
  const bool application = eventLogType == kApplicationLog;
  const OString ownKey = OString(application ? kApplicationSources : kSystemSources) + sourceName;
  ScopedKey key;
  DWORD disposition = REG_OPENED_EXISTING_KEY;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, ownKey.wstring(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                      KEY_ALL_ACCESS, nullptr, key.Receive(), &disposition) != ERROR_SUCCESS) {
    return false;
  }
  if (disposition != REG_CREATED_NEW_KEY) return true;
  DescribeSource(key.Get());
  // A source is registered under one log only.
  const OString foreignKey =
      OString(application ? kSystemSources : kApplicationSources) + sourceName;
  RegDeleteKeyW(HKEY_LOCAL_MACHINE, foreignKey.wstring());
  return true;
}

void OEventLog::PrepareLogFile() {
  if (!_directoryCreated) {
    CreateDirectoryW(OString(kLogFolder).wstring(), nullptr);
    _directoryCreated = true;
  }
}

/// The same line as BuildFileLine's.
void OEventLog::LogLastError(std::string_view text) const {
  const OEventData block = MakeEventData(LogLevel::kErrors);
  FixedText<kMaxLastText> stamped;
  stamped.AppendDecimal(block.tickCountMs / 1000, 7) << ".";
  stamped.AppendDecimal(block.tickCountMs % 1000, 3) << ": " << text;
  _lastOutput.ReportError(EventId(_eventLogType, EVENTLOG_ERROR_TYPE), stamped.View(), &block,
                          sizeof block);
  if ((_levelMask & LogLevel::kCopyToFile) == 0) return;
  FixedText<kMaxLastLine> line;
  line << FileTimeNow().View() << ", " << _sourceName.nstring() << ", ";
  line << GetLevelName(block.level) << ", Thread:0x";
  line.AppendHex(block.threadId) << ", " << stamped.View() << "\n";
  _lastOutput.AppendToFile(line.View());
}

void OEventLog::WriteEventToFile(const OString& text, const OEventData& block) {
  PrepareLogFile();
  OMutex mutex(_fileMutexName, kFileMutexTimeoutMs);
  OAutoLock lock(mutex);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
      _fsopen(_logFilePath.nstring(), "a", _SH_DENYNO), &std::fclose);
  if (!file) {
    OutputDebugStringW(
        TEXT("OEventLog::WriteEventToFile Unable to open C:\\BrennickLogs\\EventLog.txt\n"));
    return;
  }
  const std::string line = BuildFileLine(text, block);
  std::fwrite(line.data(), 1, line.size(), file.get());
}

std::string OEventLog::BuildFileLine(const OString& text, const OEventData& block) const {
  std::string line;
  line.reserve(kTypicalLineBytes);
  line.append(FileTimeNow().View()).append(", ").append(_sourceName.nstring()).append(", ");
  line.append(GetLevelName(block.level)).append(", Thread:0x");
  line.append(FixedText<9>().AppendHex(block.threadId).View()).append(", ");
  AppendNarrow(line, text);
  return line += '\n';
}

const char* OEventLog::GetLevelName(DWORD level) {
  const auto name = std::find_if(LogLevel::kNames.begin(), LogLevel::kNames.end(),
                                 [&](const LogLevel::Name& entry) { return entry.bit == level; });
  return name == LogLevel::kNames.end() ? "Unknown" : name->text;
}

OString OEventLog::GetDebugPrefix() {
  OString ticks(GetTickCount());
  ticks.PadLeft(10, '0');
  return ticks.Left(7) + "." + ticks.Right(3) + ": ";
}
