#include "client/ctl/job_list.h"

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "pipe/message_header.h"

namespace Ctl {

std::vector<Request> LoadJobs(const std::vector<std::string>& paths) {
  std::vector<Request> jobs;
  jobs.reserve(paths.size());
  for (const std::string& path : paths) {
    jobs.push_back({path, Tagwright::eEncode, LoadFile(path)});
  }
  return jobs;
}

ExitCode SendInOrder(Tagwright::Client& client, const std::vector<Request>& requests,
                     bool numbered) {
  const std::string total = std::to_string(requests.size());
  ExitCode result = ExitCode::kSuccess;
  for (std::size_t i = 0; i < requests.size(); ++i) {
    const std::string number = numbered ? "[" + std::to_string(i + 1) + "/" + total + "] " : "";
    PrintProgress(number + requests[i].label + ": ");
    const Exchange exchange = Perform(client, requests[i]);
    PrintLine(Describe(exchange));
    Note(result, ExitCodeOf(exchange));
    if (!client.IsConnected()) break;
  }
  return result;
}

}  // namespace Ctl
