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
