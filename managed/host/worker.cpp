#include "managed/host/worker.h"

#include <signal.h>

#include <mutex>
#include <thread>
#include <vector>

#include "managed/host/runtime.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/se_translator.h"
#include "support/oexception.h"

namespace Managed {
namespace {

/// Workers live as long as the process, idle or at work.
struct Pool {
  std::mutex lock;
  std::vector<Worker*> idle;
};

// Signal handlers read it: no lazy allocation of thread-local storage may stand behind it.
[[gnu::tls_model("initial-exec")]] constinit thread_local Worker* t_worker = nullptr;

Pool& ThePool() {
  static auto* const pool = new Pool;  // Used until the very end of the process.
  return *pool;
}

Worker* TakeIdle() {
  const platform::KernelScope keepsTheLockFromBeingLost;
  Pool& pool = ThePool();
  const std::lock_guard guard(pool.lock);
  if (pool.idle.empty()) return nullptr;
  Worker* const worker = pool.idle.back();
  pool.idle.pop_back();
  return worker;
}

}  // namespace

Worker& Worker::Take() {
  if (Worker* const idle = TakeIdle()) return *idle;
  const RunManaged run = StartedRuntime();
  const platform::KernelScope keepsTheStartWhole;
  auto* const worker = new Worker;
  worker->_run = run;
  std::thread(&Worker::Work, worker).detach();
  return *worker;
}

void Worker::GiveBack() {
  if (!IsUsable()) return;
  const platform::KernelScope keepsTheLockFromBeingLost;
  Pool& pool = ThePool();
  const std::lock_guard guard(pool.lock);
  pool.idle.push_back(this);
}

bool Worker::IsCurrentThread() { return t_worker != nullptr; }

void Worker::Run(ManagedCall& call) {
  _call = call;
  _hasCall.Release();
  _hasEnded.Acquire();
  call = _call;
  if (_crash != nullptr) ThrowStructuredException(_crash->ExceptionRecord->ExceptionCode, _crash);
}

void Worker::Work() {
  // The runtime gives a thread that it takes in a signal stack. The translator, which needs the
  // program's, comes after it.
  ManagedCall attach;
  _run(&attach);
  t_worker = this;
  _set_se_translator(OnCrash);
  for (;;) {
    _hasCall.Acquire();
    Execute();
    _hasEnded.Release();
  }
}

void Worker::Execute() {
  sigset_t signals;
  pthread_sigmask(SIG_SETMASK, nullptr, &signals);
  const auto run = [](void* worker) {
    auto& self = *static_cast<Worker*>(worker);
    self._run(&self._call);
  };
  if (_landing.Call(run, this)) return;
  // The runtime's handler, which the jump left, blocks the signals by which threads are stopped.
  pthread_sigmask(SIG_SETMASK, &signals, nullptr);
}

void Worker::OnCrash(unsigned, EXCEPTION_POINTERS* pointers) {
  t_worker->_crash = pointers;
  t_worker->_landing.JumpBack();
}

}  // namespace Managed
