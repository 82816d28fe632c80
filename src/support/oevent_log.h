/// The logger: every event goes to the system's event log under one source name; a registry mask,
/// read anew while the process runs, says which levels are wanted and whether events are copied to
/// the debugger output and to a text file.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/last_output.h"
#include "platform/windows_api.h"
#include "support/log_levels.h"
#include "support/ostring.h"
#include "support/osynchronizer.h"
#include "support/shared_ptr.h"

/// The binary block that every event-log entry carries as its raw data. Little-endian.
struct OEventData {
  std::uint64_t formatVersion;       ///< always kFormatVersion
  std::uint32_t tickCountMs;         ///< GetTickCount of the event
  std::uint32_t reserved1;           ///< 0
  std::uint64_t performanceCounter;  ///< QueryPerformanceCounter of the event
  std::uint32_t level;               ///< the event's level bit
  std::uint32_t reserved2;           ///< 0
  std::uint32_t threadId;
  std::uint32_t reserved3;  ///< 0
  std::uint32_t processId;
  std::uint32_t reserved4;  ///< 0
  std::uint64_t reserved5;  ///< 0

  static constexpr std::uint64_t kFormatVersion = 3;
};
static_assert(sizeof(OEventData) == 56);
static_assert(offsetof(OEventData, tickCountMs) == 8);
static_assert(offsetof(OEventData, performanceCounter) == 16);
static_assert(offsetof(OEventData, level) == 24);
static_assert(offsetof(OEventData, threadId) == 32);
static_assert(offsetof(OEventData, processId) == 40);
static_assert(offsetof(OEventData, reserved5) == 48);

/// Any thread may log. Events of one object never interleave: the report and the file line of an
/// event are written under the object's lock. The file is shared between processes through a named
/// mutex, taken for each line.
///
/// The writers report whatever they are given: asking IsLogEnabled first is the caller's part (see
/// log.h, which does it). A failure shows in the bool result alone; only std::bad_alloc passes
/// through.
class OEventLog {
 public:
  /// Values of `eventLogType`; any value but kApplicationLog selects the System log.
  static constexpr DWORD kApplicationLog = 1;

  /// A clock in milliseconds that wraps around, as GetTickCount does.
  using TickSource = DWORD(WINAPI*)();

  /// Reads the mask of `sourceName` and writes it back, so that the value exists from the first
  /// run. The event source is registered by the first event. `maskClock` tells how old the mask is;
  /// null stands for GetTickCount, asked without the detour of a pointer.
  OEventLog(const OString& sourceName, DWORD eventLogType, TickSource maskClock = nullptr);
  virtual ~OEventLog();
  OEventLog(const OEventLog&) = delete;
  OEventLog& operator=(const OEventLog&) = delete;

  /// Reports one event and copies it to the log file when the mask says so. `type` is an EVENTLOG_*
  /// type; `level` 0 stands for the level of the type. True when the event log took it. An event
  /// source that cannot be registered is tried again with the next event.
  virtual bool WriteEvent(DWORD type, const OString& text, DWORD category, DWORD level);

  /// Whether the mask has one of the bits of `levels`. Reads the mask anew when it is more than
  /// 5000 ms old; takes no lock.
  bool IsLogEnabled(int levels) {
    RefreshLogMaskIfDue();
    return (_levelMask & static_cast<DWORD>(levels)) != 0;
  }

  /// Reports `text` as it stands; `level` 0 stands for LogLevel::kInfo.
  bool LogInformationEvent(const OString& text, int category, DWORD level);
  /// Warnings and errors carry the tick stamp in front of their text, and a line feed at its end
  /// when they were copied to the debugger output.
  bool LogWarningEvent(const OString& text, int category);
  bool LogErrorEvent(const OString& text, int category);

  /// Reports an error that ends the process, without the heap and without any lock: to the event
  /// log, and to the log file when the mask in force says so. At most 2 KB of ASCII text.
  void LogLastError(std::string_view text) const;

  /// Held while an event is written; whoever holds it knows that no other thread is writing.
  OSynchronizer& WriteLock() { return _lock; }

  /// The name of a single level bit, "Unknown" for any other value.
  static const char* GetLevelName(DWORD level);

  /// The tick count as seconds with three decimals and a colon: "0001234.567: ".
  static OString GetDebugPrefix();

 private:
  DWORD MaskClockMs() const { return _maskClock == nullptr ? GetTickCount() : _maskClock(); }
  void LoadLogMask();
  void RefreshLogMask();
  void RefreshLogMaskIfDue() {
    // Taken before the clock is looked at: another thread's refresh must not lie in the future.
    const DWORD readTick = _maskReadTick;
    if (MaskClockMs() - readTick > kMaskLifetimeMs) RefreshLogMask();
  }
  DWORD ReadLogMask() const;

  bool LogStampedEvent(DWORD type, const OString& text, int category, DWORD level);
  bool EnsureEventSource();
  bool Report(DWORD type, const OString& text, DWORD category, OEventData& block);
  void WriteEventToFile(const OString& text, const OEventData& block);
  void PrepareLogFile();
  std::string BuildFileLine(const OString& text, const OEventData& block) const;

  static bool RegisterSourceKey(const OString& sourceName, DWORD eventLogType);

  /// The mask is read at most this often.
  static constexpr DWORD kMaskLifetimeMs = 5000;

  HANDLE _eventSource = nullptr;
  DWORD _eventLogType;
  OString _sourceName;
  OString _logFilePath;
  OString _fileMutexName;
  platform::LastOutput _lastOutput;
  bool _directoryCreated = false;
  OCriticalSection _lock;
  /// Where the mask lies, as an ORegistry value path.
  OString _maskKeyPath;
  TickSource _maskClock;
  /// Both are read and written by any thread without the lock; the last refresh wins.
  std::atomic<DWORD> _levelMask{LogLevel::kDefaultMask};
  std::atomic<DWORD> _maskReadTick{0};
};

/// The process's one log; empty before the process main has made it and after it has released it.
extern StdBrennick::shared_ptr<OEventLog> Z7SvEventLog;
