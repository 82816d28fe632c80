/// What both ends of a pipe have.
#pragma once

#include <memory>

#include "platform/posix/kernel/blocking_io.h"
#include "platform/posix/kernel/io_object.h"
#include "platform/posix/pipes/stream.h"

namespace platform {

/// A connection to work on, and a list of the transfers that are blocked on it.
class PipeEnd : public IoObject {
 public:
  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  DWORD Write(const void* buffer, DWORD size, DWORD& done) override;
  DWORD Flush() override;
  int CancelPending() override;

 protected:
  /// The present connection, else null and in `error` what an operation then reports.
  virtual std::shared_ptr<PipeStream> Stream(DWORD& error) = 0;

  PendingIoList _transfers;
};

}  // namespace platform
