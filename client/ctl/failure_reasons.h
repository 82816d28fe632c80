/// Why a job failed, as far as the event log knows.
#pragma once

#include <mutex>
#include <vector>

#include "client/ctl/request.h"
#include "client/log/event_log_reader.h"

namespace Ctl {

/// Any thread may ask.
class FailureReasons {
 public:
  /// Only what is logged from now on is looked at. `processId`: the server's, 0 when unknown, in
  /// which case the lines of every tagwright count. `sideBySide`: several exchanges go on at once,
  /// each with a thread of the server's own.
  FailureReasons(DWORD processId, bool sideBySide);

  /// The errors, warnings and information that were logged while the exchange went on and were not
  /// a reason before; of exchanges side by side, those of the thread that logged last.
  std::vector<Tagwright::LogEvent> Of(const Exchange& exchange);

  /// An exchange succeeded. Unless others go on beside it, what was logged until now is about it,
  /// and no reason of a failure that follows.
  void Pass();

 private:
  bool IsReason(const Tagwright::LogEvent& event, const Exchange& exchange) const;

  const DWORD _processId;
  const bool _sideBySide;
  std::mutex _mutex;  ///< Guards what follows.
  Tagwright::EventLogReader _reader;
  std::vector<Tagwright::LogEvent> _events;  ///< Read, and not a reason yet.
};

}  // namespace Ctl
