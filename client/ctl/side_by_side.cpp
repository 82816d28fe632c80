#include "client/ctl/side_by_side.h"

#include <atomic>
#include <thread>

namespace Ctl {
namespace {

/// The jobs still to be sent; used by every pipe's thread.
class JobQueue {
 public:
  explicit JobQueue(const std::vector<Request>& jobs) : _jobs(jobs) {}

  /// Null when there are none left.
  const Request* Take() {
    const std::size_t job = _next++;
    return job < _jobs.size() ? &_jobs[job] : nullptr;
  }

 private:
  const std::vector<Request>& _jobs;
  std::atomic<std::size_t> _next = 0;
};

void Serve(std::size_t number, Tagwright::Client& encoder, JobQueue& queue, JobOutput& output) {
  while (encoder.IsConnected() && !output.ShallStop()) {
    const Request* const job = queue.Take();
    if (job == nullptr) return;
    output.Finish("encoder " + std::to_string(number) + ": ", *job, Perform(encoder, *job));
  }
}

}  // namespace

void SendSideBySide(const std::vector<std::unique_ptr<Tagwright::Client>>& encoders,
                    const std::vector<Request>& jobs, JobOutput& output) {
  JobQueue queue(jobs);
  std::vector<std::jthread> threads;
  for (std::size_t i = 0; i < encoders.size(); ++i) {
    threads.emplace_back([&queue, &output, i, encoder = encoders[i].get()] {
      Serve(i + 1, *encoder, queue, output);
    });
  }
}

}  // namespace Ctl
