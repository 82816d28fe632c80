#include "client/ctl/job_list.h"

#include "client/ctl/input_file.h"
#include "pipe/message_header.h"

namespace Ctl {

std::vector<Request> LoadJobs(const std::vector<std::string>& paths) {
  std::vector<Request> jobs;
  jobs.reserve(paths.size());
  for (const std::string& path : paths) {
    jobs.push_back({path, Tagwright::eEncode, LoadFile(path), path});
  }
  return jobs;
}

void SendInOrder(Tagwright::Client& client, const std::vector<Request>& requests, bool numbered,
                 JobOutput& output) {
  const std::string total = std::to_string(requests.size());
  for (std::size_t i = 0; i < requests.size() && client.IsConnected() && !output.ShallStop(); ++i) {
    const std::string number = numbered ? "[" + std::to_string(i + 1) + "/" + total + "] " : "";
    output.Finish(number, requests[i], Perform(client, requests[i]));
  }
}

}  // namespace Ctl
