#include "client/ctl/failure_reasons.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace Ctl {
namespace {

/// The time of an entry is worked out from another clock than that of a request; they differ by far
/// less.
constexpr std::int64_t kApartMs = 20;

bool Overlaps(const Tagwright::LogEvent& event, const Exchange& exchange) {
  return event.timeMs + kApartMs >= exchange.startMs && event.timeMs <= exchange.endMs + kApartMs;
}

}  // namespace

FailureReasons::FailureReasons(DWORD processId, bool sideBySide)
    : _processId(processId), _sideBySide(sideBySide) {
  _reader.SkipToEnd();
}

void FailureReasons::Pass() {
  const std::lock_guard lock(_mutex);
  if (_sideBySide) return;
  _reader.SkipToEnd();
  _events.clear();
}

bool FailureReasons::IsReason(const Tagwright::LogEvent& event, const Exchange& exchange) const {
  return Tagwright::IsNoTrace(event) && Overlaps(event, exchange) &&
         (_processId == 0 || event.processId == _processId);
}

std::vector<Tagwright::LogEvent> FailureReasons::Of(const Exchange& exchange) {
  const std::lock_guard lock(_mutex);
  std::ranges::move(_reader.ReadNew(), std::back_inserter(_events));
  std::vector<Tagwright::LogEvent> reasons;
  std::vector<Tagwright::LogEvent> others;
  std::optional<DWORD> thread;
  for (auto event = _events.rbegin(); event != _events.rend(); ++event) {
    const bool isReason = IsReason(*event, exchange) &&
                          (!_sideBySide || event->threadId == thread.value_or(event->threadId));
    if (isReason) thread = event->threadId;
    (isReason ? reasons : others).push_back(std::move(*event));
  }
  std::ranges::reverse(reasons);
  std::ranges::reverse(others);
  _events = std::move(others);
  return reasons;
}

}  // namespace Ctl
