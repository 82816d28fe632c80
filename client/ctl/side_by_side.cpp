#include "client/ctl/side_by_side.h"

#include <atomic>
#include <mutex>
#include <thread>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"

namespace Ctl {
namespace {

/// The jobs still to be sent and what became of the others; used by every pipe's thread.
class JobQueue {
 public:
  explicit JobQueue(const std::vector<Request>& jobs) : _jobs(jobs) {}

  /// Null when there are none left.
  const Request* Take() {
    const std::size_t job = _next++;
    return job < _jobs.size() ? &_jobs[job] : nullptr;
  }

  void Finish(std::size_t encoder, const Request& job, const Exchange& exchange) {
    PrintLine("encoder " + std::to_string(encoder) + ": " + job.label + ": " + Describe(exchange));
    const std::lock_guard lock(_mutex);
    ++_finished;
    Note(_result, ExitCodeOf(exchange));
  }

  /// Once every thread has ended.
  ExitCode Result() const {
    if (_finished < _jobs.size()) {
      PrintError(std::to_string(_jobs.size() - _finished) + " jobs were not sent");
    }
    return _result;
  }

 private:
  const std::vector<Request>& _jobs;
  std::atomic<std::size_t> _next = 0;
  std::mutex _mutex;  ///< Guards what follows.
  std::size_t _finished = 0;
  ExitCode _result = ExitCode::kSuccess;
};

void Serve(std::size_t number, Tagwright::Client& encoder, JobQueue& queue) {
  while (encoder.IsConnected()) {
    const Request* const job = queue.Take();
    if (job == nullptr) return;
    queue.Finish(number, *job, Perform(encoder, *job));
  }
}

}  // namespace

ExitCode SendSideBySide(const std::vector<std::unique_ptr<Tagwright::Client>>& encoders,
                        const std::vector<Request>& jobs) {
  JobQueue queue(jobs);
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < encoders.size(); ++i) {
      threads.emplace_back(
          [&queue, i, encoder = encoders[i].get()] { Serve(i + 1, *encoder, queue); });
    }
  }
  return queue.Result();
}

}  // namespace Ctl
