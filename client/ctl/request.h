/// A request ready to be sent, with its payload in memory, and the exchange it becomes.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "client/client.h"
#include "client/ctl/failure.h"
#include "client/ctl/verbs.h"
#include "client/ctl/wiped_buffer.h"

namespace Ctl {

struct Request {
  std::string label;
  std::uint32_t messageType = 0;
  WipedBuffer payload;
};

/// A request's outcome and how long it took.
struct Exchange {
  Tagwright::SendResult result;
  std::chrono::steady_clock::duration duration{};

  bool Succeeded() const { return !result.error && result.reply.status == 0; }
};

/// Reads what the verb sends. Throws Failure: kLocal for a file that cannot be read or is longer
/// than a server takes, kUsage for a pipe name that the ANSI code page cannot express.
Request LoadRequest(const Verb& verb);

/// The whole file. Throws as LoadRequest does.
WipedBuffer LoadFile(const std::string& path);

Exchange Perform(Tagwright::Client& client, const Request& request);

/// Connects, or throws the Failure that fits.
void ConnectOrFail(Tagwright::Client& client, const std::string& pipeName);

/// "eStatusEncodeFailed (200003), 12.3 ms", or why there is no reply.
std::string Describe(const Exchange& exchange);
std::string Describe(const Tagwright::ClientError& error);

ExitCode ExitCodeOf(const Exchange& exchange);
ExitCode ExitCodeOf(const Tagwright::ClientError& error);

}  // namespace Ctl
