/// One event as it stands in the log's file, a JSON object on a line of its own. It is put together
/// in whatever takes characters and texts with +=: a string, or a buffer that needs no heap. Digits
/// come in whole pieces, which a string takes many times faster than one by one.
#pragma once

#include <time.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string_view>

#include "platform/posix/api/base.h"

namespace platform {

inline constexpr char kHexDigits[] = "0123456789ABCDEF";

template <class Text>
void AppendHex(Text& text, unsigned number, int digits) {
  constexpr int kBits = 4;
  if (digits > 1) AppendHex(text, number >> kBits, digits - 1);
  text += kHexDigits[number & 15];
}

template <class Text>
void AppendHex(Text& text, std::span<const BYTE> bytes) {
  constexpr std::size_t kBytesAtOnce = 64;
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), kBytesAtOnce));
    char hex[2 * kBytesAtOnce];
    char* end = hex;
    for (const BYTE byte : piece) {
      *end++ = kHexDigits[byte >> 4];
      *end++ = kHexDigits[byte & 15];
    }
    text += std::string_view(hex, end);
    bytes = bytes.subspan(piece.size());
  }
}

/// Puts exactly `digits` digits, the last of a longer number; returns their end.
inline char* PutDigits(char* at, long number, int digits) {
  for (int i = digits; i-- > 0; number /= 10) at[i] = static_cast<char>('0' + number % 10);
  return at + digits;
}

template <class Text>
void AppendNumber(Text& text, WORD number) {
  char digits[5];
  text += std::string_view(digits, std::to_chars(digits, std::end(digits), number).ptr);
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
  char time[32];
  char* end = time;
  for (const auto& part : parts) {
    *end++ = part.before;
    end = PutDigits(end, part.number, part.digits);
  }
  *end++ = '"';
  text += std::string_view(time, end);
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
  AppendNumber(line += R"(","category":)", event.category);
  AppendHex(line += R"(,"event_id":"0x)", event.id, 8);
  line += R"(","text":)";
  appendText(line);
  line += R"(,"data":")";
  AppendHex(line, std::span(static_cast<const BYTE*>(event.data), event.dataBytes));
  line += "\"}\n";
}

}  // namespace platform
