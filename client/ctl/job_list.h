/// Job files in memory, and one connection's way through them.
#pragma once

#include <string>
#include <vector>

#include "client/client.h"
#include "client/ctl/job_output.h"
#include "client/ctl/request.h"

namespace Ctl {

/// Reads every file, so that nothing is sent when one cannot be read. Throws Failure as LoadFile
/// does.
std::vector<Request> LoadJobs(const std::vector<std::string>& paths);

/// Sends the requests in order, with "[2/3] " in front of each line when `numbered`. Goes on after
/// a refusal, unless `output` shall stop, and stops where the connection is lost.
void SendInOrder(Tagwright::Client& client, const std::vector<Request>& requests, bool numbered,
                 JobOutput& output);

}  // namespace Ctl
