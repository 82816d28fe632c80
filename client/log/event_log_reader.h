/// Reading what tagwright and its component wrote to the event log.
#pragma once

#include <vector>

#include "client/log/counter_clock.h"
#include "client/log/log_event.h"
#include "platform/windows_api.h"

namespace Tagwright {

/// Reads the Application log from where it stands to its end, again and again. Entries of other
/// programs are left out. A log that cannot be read has no entries. Used by one thread at a time.
class EventLogReader {
 public:
  /// Stands before the oldest entry.
  EventLogReader();
  ~EventLogReader();
  EventLogReader(const EventLogReader&) = delete;
  EventLogReader& operator=(const EventLogReader&) = delete;

  /// Passes over what is in the log now.
  void SkipToEnd();

  /// The entries from here to the end of the log, the oldest first.
  std::vector<LogEvent> ReadNew();

 private:
  /// The number that the next entry will have.
  DWORD End() const;
  DWORD Oldest() const;
  bool ReadBlock(std::vector<char>& buffer, DWORD& size) const;
  void TakeRecords(const std::vector<char>& buffer, DWORD size, const CounterClock& clock,
                   std::vector<LogEvent>& events);

  HANDLE _log;      ///< Null when there is none.
  DWORD _next = 0;  ///< Number of the record to read next; 0 for the oldest.
};

}  // namespace Tagwright
