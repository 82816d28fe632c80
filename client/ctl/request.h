/// A request ready to be sent, with its payload in memory, and the exchange it becomes.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "client/client.h"
#include "client/ctl/failure.h"
#include "client/ctl/verbs.h"
#include "support/wiped_buffer.h"

namespace Ctl {

struct Request {
  std::string label;
  std::uint32_t messageType = 0;
  WipedBuffer payload;
  /// The file that the payload came from, when it is a job document; else empty.
  std::string jobPath = {};
};

/// A request's outcome and how long it took.
struct Exchange {
  Tagwright::SendResult result;
  std::chrono::steady_clock::duration duration{};
  /// Milliseconds since 1970, for a look into the log.
  std::int64_t startMs = 0;
  std::int64_t endMs = 0;

  bool Succeeded() const { return !result.error && result.reply.status == 0; }
};

/// Reads what the verb sends. Throws Failure: as LoadFile does, and kUsage for a pipe name that the
/// ANSI code page cannot express.
Request LoadRequest(const Verb& verb);

Exchange Perform(Tagwright::Client& client, const Request& request);

/// Connects, or throws the Failure that fits.
void ConnectOrFail(Tagwright::Client& client, const std::string& pipeName);

/// "eStatusEncodeFailed (200003), 12.3 ms", or why there is no reply.
std::string Describe(const Exchange& exchange);
std::string Describe(const Tagwright::ClientError& error);

ExitCode ExitCodeOf(const Exchange& exchange);
ExitCode ExitCodeOf(const Tagwright::ClientError& error);

}  // namespace Ctl
