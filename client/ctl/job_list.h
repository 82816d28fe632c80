/// Job files in memory, and one connection's way through them.
#pragma once

#include <string>
#include <vector>

#include "client/client.h"
#include "client/ctl/failure.h"
#include "client/ctl/request.h"

namespace Ctl {

/// Reads every file, so that nothing is sent when one cannot be read. Throws Failure as LoadFile
/// does.
std::vector<Request> LoadJobs(const std::vector<std::string>& paths);

/// Sends the requests in order and prints a line for each, "[2/3] " in front of it when `numbered`.
/// Goes on after a refusal and stops where the connection is lost.
ExitCode SendInOrder(Tagwright::Client& client, const std::vector<Request>& requests,
                     bool numbered);

}  // namespace Ctl
