/// One event as it stands in the log's file, a JSON object on a line of its own. It is put together
/// in whatever takes characters and texts with +=: a string, or a buffer that needs no heap.
#pragma once

#include <time.h>

#include <cstdlib>
#include <string_view>

#include "platform/posix/api/base.h"

namespace platform {

/// Appends at least `digits` digits.
template <class Text>
void AppendNumber(Text& text, long number, int digits) {
  constexpr long kBase = 10;
  if (digits > 1 || number >= kBase) AppendNumber(text, number / kBase, digits - 1);
  text += static_cast<char>('0' + number % kBase);
}

template <class Text>
void AppendHex(Text& text, unsigned number, int digits) {
  constexpr int kBits = 4;
  if (digits > 1) AppendHex(text, number >> kBits, digits - 1);
  text += "0123456789ABCDEF"[number & 15];
}

/// ISO 8601 with milliseconds and the offset from UTC. Where the heap must not be used, tzset() has
/// been called before: localtime_r then only reads the time zone.
template <class Text>
void AppendLocalTime(Text& text, const timespec& now) {
  tm local{};
  localtime_r(&now.tv_sec, &local);
  const long offsetMinutes = std::labs(local.tm_gmtoff) / 60;
  const struct {
    char before;
    long number;
    int digits;
  } parts[] = {
      {'"', 1900L + local.tm_year, 4}, {'-', local.tm_mon + 1L, 2},
      {'-', local.tm_mday, 2},         {'T', local.tm_hour, 2},
      {':', local.tm_min, 2},          {':', local.tm_sec, 2},
      {'.', now.tv_nsec / 1000000, 3}, {local.tm_gmtoff < 0 ? '-' : '+', offsetMinutes / 60, 2},
      {':', offsetMinutes % 60, 2}};
  for (const auto& part : parts) AppendNumber(text += part.before, part.number, part.digits);
  text += '"';
}

struct EventOfSource {
  std::string_view source;  ///< As JSON has it.
  const char* type;
  WORD category;
  DWORD id;
  const void* data;
  DWORD dataBytes;
};

/// `appendText` puts the event's text, as JSON has it, behind the line that it is given.
template <class Text, class Append>
void AppendEvent(Text& line, const EventOfSource& event, Append appendText) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  AppendLocalTime(line += R"({"time":)", now);
  line += R"(,"source":)";
  line += event.source;
  line += R"(,"type":")";
  line += event.type;
  AppendNumber(line += R"(","category":)", event.category, 1);
  AppendHex(line += R"(,"event_id":"0x)", event.id, 8);
  line += R"(","text":)";
  appendText(line);
  line += R"(,"data":")";
  const auto* const bytes = static_cast<const BYTE*>(event.data);
  for (DWORD i = 0; i < event.dataBytes; ++i) AppendHex(line, bytes[i], 2);
  line += "\"}\n";
}

}  // namespace platform
