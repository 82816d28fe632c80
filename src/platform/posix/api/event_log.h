/// The event log: eventlog/Application.jsonl and eventlog/System.jsonl under the state root, one JSON
/// object a line, appended in one write.
#pragma once

#include "platform/posix/api/base.h"

constexpr WORD EVENTLOG_ERROR_TYPE = 1;
constexpr WORD EVENTLOG_WARNING_TYPE = 2;
constexpr WORD EVENTLOG_INFORMATION_TYPE = 4;

/// A source registered under ...\Services\Eventlog\System writes to System, every other to
/// Application. Null server only.
HANDLE RegisterEventSourceW(LPCWSTR serverName, LPCWSTR sourceName);
BOOL DeregisterEventSource(HANDLE eventLog);
BOOL ReportEventW(HANDLE eventLog, WORD type, WORD category, DWORD eventId, PSID userSid,
                  WORD stringCount, DWORD dataSize, LPCWSTR* strings, LPVOID rawData);
