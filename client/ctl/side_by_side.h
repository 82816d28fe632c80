/// Several encoder pipes that share one list of jobs.
#pragma once

#include <memory>
#include <vector>

#include "client/client.h"
#include "client/ctl/failure.h"
#include "client/ctl/request.h"

namespace Ctl {

/// Gives each job to the next pipe that is free and prints a line for each, with the pipe's number.
/// A pipe whose connection is lost takes no further job. Returns when no job is in progress and
/// none can be sent any more; the exit code is that of the first job that did not succeed.
ExitCode SendSideBySide(const std::vector<std::unique_ptr<Tagwright::Client>>& encoders,
                        const std::vector<Request>& jobs);

}  // namespace Ctl
