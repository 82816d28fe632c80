/// A client of one pipe of a tagwright process.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "client/io_watchdog.h"
#include "client/text.h"
#include "pipe/message_header.h"
#include "platform/windows_api.h"
#include "support/scoped_handle.h"

namespace Tagwright {

enum class ClientErrorKind {
  kPipeMissing,     ///< No process serves the name.
  kPipeBusy,        ///< The pipe has, or has had, its one client.
  kServerGone,      ///< The other end closed before the whole reply was there.
  kTimeout,         ///< The time limit passed.
  kBadReply,        ///< 16 bytes came back that are no reply to this request.
  kPayloadTooLong,  ///< Longer than kMaxPayloadBytes; nothing was sent.
  kNotConnected,    ///< Connect has not succeeded, or an earlier request failed.
  kSystem,          ///< The system refused otherwise; see `systemError`.
};

struct ClientError {
  ClientErrorKind kind;
  DWORD systemError = ERROR_SUCCESS;  ///< What the system said, 0 where it was not involved.
};

/// A request's outcome: the reply, unless `error` says why there is none.
struct SendResult {
  MessageHeader reply;
  std::optional<ClientError> error;
};

/// "\\.\pipe\" + `name`; a name that already starts with two backslashes is taken as the whole
/// path.
WideString PipePath(const WideString& name);

/// One connection, which is all that a pipe accepts in its life. Used by one thread at a time.
/// Payloads are written from where they lie; no copy is made.
class Client {
 public:
  static constexpr DWORD kNoTimeout = INFINITE;

  /// `timeoutMs` bounds each request, from its first byte to the last byte of its reply. A request
  /// waits for every job ahead of it, so a job's limit has to cover those, too.
  explicit Client(DWORD timeoutMs = kNoTimeout) : _timeoutMs(timeoutMs) {}

  /// Connects at once or fails at once. Nothing on success.
  std::optional<ClientError> Connect(const WideString& pipeName);

  /// Sends one request and waits for its reply. After any error but kPayloadTooLong the stream's
  /// position is lost: the connection is closed, and later requests fail with kNotConnected.
  SendResult Send(std::uint32_t messageType, std::span<const std::uint8_t> payload = {});

  /// The process at the other end; 0 when the system does not say.
  DWORD ServerProcessId() const;

  bool IsConnected() const { return _pipe.IsValid(); }
  void Close();

 private:
  DWORD WriteRequest(std::uint32_t messageType, std::span<const std::uint8_t> payload);
  DWORD ReadReply(MessageHeader& reply);
  DWORD WithinLimit(std::uint32_t messageType, std::span<const std::uint8_t> payload,
                    MessageHeader& reply);
  SendResult Fail(ClientErrorKind kind, DWORD systemError);

  const DWORD _timeoutMs;
  ScopedHandle _pipe;
  std::unique_ptr<IoWatchdog> _watchdog;  ///< Absent without a time limit; goes before the pipe.
};

}  // namespace Tagwright
