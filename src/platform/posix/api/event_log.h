/// The event log: eventlog/Application.jsonl and eventlog/System.jsonl under the state root, one
/// JSON object a line, appended in one write so that the lines of several processes never mix:
///
///   {"time":"2026-11-19T04:22:58.125+01:00","source":"...","type":"Error","category":0,
///    "event_id":"0xCFFF0300","text":"...","data":"0300..."}
///
/// `time` is local time with its offset, `type` "Error", "Warning" or "Information", `data` the raw
/// data in hexadecimal.
#pragma once

#include "platform/posix/api/base.h"

constexpr WORD EVENTLOG_ERROR_TYPE = 1;
constexpr WORD EVENTLOG_WARNING_TYPE = 2;
constexpr WORD EVENTLOG_INFORMATION_TYPE = 4;

/// A handle for reporting, closed with DeregisterEventSource. A source that has a key under
/// HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\Eventlog\System writes to System, every
/// other to Application. A null server only. Null with ERROR_INVALID_PARAMETER for an empty name or
/// a server.
HANDLE RegisterEventSourceW(LPCWSTR serverName, LPCWSTR sourceName);
BOOL DeregisterEventSource(HANDLE eventLog);

/// Reports one event of the three types above, with exactly one string of at most 31839 characters
/// and no user; anything else is ERROR_INVALID_PARAMETER.
BOOL ReportEventW(HANDLE eventLog, WORD type, WORD category, DWORD eventId, PSID userSid,
                  WORD stringCount, DWORD dataSize, LPCWSTR* strings, LPVOID rawData);

/// One event as ReadEventLogW returns it. The source's name and the machine's name (empty) follow
/// the record, then the strings and the data at their offsets; `Length` stands at the end again.
struct EVENTLOGRECORD {
  DWORD Length;    ///< Bytes with everything that follows; a multiple of four.
  DWORD Reserved;  ///< 0x654C664C
  DWORD RecordNumber;
  DWORD TimeGenerated;  ///< Seconds since 1970, UTC.
  DWORD TimeWritten;
  DWORD EventID;
  WORD EventType;
  WORD NumStrings;
  WORD EventCategory;
  WORD ReservedFlags;
  DWORD ClosingRecordNumber;
  DWORD StringOffset;
  DWORD UserSidLength;
  DWORD UserSidOffset;
  DWORD DataLength;
  DWORD DataOffset;
};

constexpr DWORD EVENTLOG_SEEK_READ = 2;
constexpr DWORD EVENTLOG_FORWARDS_READ = 4;

/// Opens a log for reading: "System", or Application under every other name. A null server only.
/// The handle is closed with CloseEventLog.
HANDLE OpenEventLogW(LPCWSTR serverName, LPCWSTR logName);
BOOL CloseEventLog(HANDLE eventLog);

/// Records are numbered from 1 and never removed; a log without records has the oldest record 0.
BOOL GetNumberOfEventLogRecords(HANDLE eventLog, LPDWORD count);
BOOL GetOldestEventLogRecord(HANDLE eventLog, LPDWORD number);

/// Reads as many whole records as fit, from record `recordNumber` on. The flags are
/// EVENTLOG_SEEK_READ | EVENTLOG_FORWARDS_READ. A number that is no record's, and a line that is no
/// event, is ERROR_INVALID_PARAMETER, and ERROR_HANDLE_EOF behind the last record. A buffer that is
/// too short for one record is ERROR_INSUFFICIENT_BUFFER, with the size it takes in `bytesNeeded`.
BOOL ReadEventLogW(HANDLE eventLog, DWORD flags, DWORD recordNumber, LPVOID buffer, DWORD size,
                   LPDWORD bytesRead, LPDWORD bytesNeeded);
