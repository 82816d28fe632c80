/// What both ends of a pipe have.
#pragma once

#include <atomic>
#include <memory>

#include "platform/posix/kernel/blocking_io.h"
#include "platform/posix/kernel/io_object.h"
#include "platform/posix/pipes/stream.h"

namespace platform {

/// A connection to work on, and a list of the transfers that are blocked on it.
///
/// The connection of an end that is open is found without a lock, and lives as long as a transfer
/// that may have found it.
class PipeEnd : public IoObject {
 public:
  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  DWORD Write(const void* buffer, DWORD size, DWORD& done) override;
  DWORD Flush() override;
  int CancelPending() override;

 protected:
  /// The present connection, else null and in `error` what an operation then reports.
  virtual std::shared_ptr<PipeStream> Stream(DWORD& error) = 0;

  /// From now on transfers work on `stream`; null: on what Stream returns. The caller keeps it
  /// alive until it is replaced and nobody uses what was there before.
  void SetOpen(PipeStream* stream) { _open = stream; }
  /// Whether a transfer may be at work on a stream that has just been replaced.
  bool IsInUse() const { return _users > 0; }

  PendingIoList _transfers;

 private:
  template <class Operation>
  DWORD OnStream(Operation operation);

  // A transfer counts itself before it looks, and who replaces the stream looks at the count
  // afterwards.
  std::atomic<PipeStream*> _open{nullptr};
  std::atomic<int> _users{0};
};

}  // namespace platform
