/// Several encoder pipes that share one list of jobs.
#pragma once

#include <memory>
#include <vector>

#include "client/client.h"
#include "client/ctl/job_output.h"
#include "client/ctl/request.h"

namespace Ctl {

/// Gives each job to the next pipe that is free; a line about it names the pipe's number. A pipe
/// whose connection is lost takes no further job. Returns when no job is in progress and none can
/// be sent any more.
void SendSideBySide(const std::vector<std::unique_ptr<Tagwright::Client>>& encoders,
                    const std::vector<Request>& jobs, JobOutput& output);

}  // namespace Ctl
