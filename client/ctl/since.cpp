#include "client/ctl/since.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "client/ctl/failure.h"

namespace Ctl {
namespace {

struct Unit {
  char letter;
  std::int64_t milliseconds;
};

constexpr Unit kUnits[] = {{'s', 1000}, {'m', 60'000}, {'h', 3'600'000}, {'d', 86'400'000}};

std::tm LocalTime(std::int64_t timeMs) {
  const std::time_t seconds = timeMs / 1000;
  return *std::localtime(&seconds);
}

/// False when `text` is no time ago.
bool ReadAgo(const std::string& text, std::int64_t& agoMs) {
  int number = 0;
  int length = 0;
  char letter = 0;
  if (std::sscanf(text.c_str(), "%9d%c%n", &number, &letter, &length) != 2 || number < 0 ||
      static_cast<std::size_t>(length) != text.size()) {
    return false;
  }
  const auto* const unit = std::ranges::find(kUnits, letter, &Unit::letter);
  if (unit == std::end(kUnits)) return false;
  agoMs = number * unit->milliseconds;
  return true;
}

/// Whether the whole text is a day, and takes that over.
bool ReadDay(const std::string& text, std::tm& time) {
  int length = 0;
  int year = 0;
  int month = 0;
  int day = 0;
  std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &length);
  if (length == 0 || static_cast<std::size_t>(length) != text.size()) return false;
  time.tm_year = year - 1900;
  time.tm_mon = month - 1;
  time.tm_mday = day;
  return true;
}

/// Whether the whole text is a time of the day, and takes that over.
bool ReadTime(const std::string& text, std::tm& time) {
  int minutesEnd = 0;
  int secondsEnd = 0;
  time.tm_sec = 0;
  std::sscanf(text.c_str(), "%2d:%2d%n:%2d%n", &time.tm_hour, &time.tm_min, &minutesEnd,
              &time.tm_sec, &secondsEnd);
  const std::size_t end = static_cast<std::size_t>(std::max(minutesEnd, secondsEnd));
  return end != 0 && end == text.size();
}

bool ReadPoint(const std::string& text, std::tm& time) {
  const std::size_t gap = text.find_first_of(" T");
  time.tm_isdst = -1;
  if (gap != std::string::npos) {
    return ReadDay(text.substr(0, gap), time) && ReadTime(text.substr(gap + 1), time);
  }
  if (ReadTime(text, time)) return true;
  time.tm_hour = time.tm_min = time.tm_sec = 0;
  return ReadDay(text, time);
}

}  // namespace

std::int64_t ParseSince(const std::string& text, std::int64_t nowMs) {
  std::int64_t agoMs = 0;
  if (ReadAgo(text, agoMs)) return nowMs - agoMs;
  std::tm time = LocalTime(nowMs);
  if (ReadPoint(text, time)) return std::int64_t{std::mktime(&time)} * 1000;
  throw Failure(ExitCode::kUsage, "\"" + text +
                                      "\" is no time: write 90s, 10m, 2h, 3d, 06:30, 2026-11-23 or "
                                      "\"2026-11-23 06:30\"");
}

}  // namespace Ctl
