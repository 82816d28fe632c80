/// A tagwright whose parent, a driver of this program's own, can be killed.
#pragma once

#include <functional>

#include "bench/timings.h"
#include "client/server_process.h"
#include "platform/windows_api.h"
#include "support/scoped_handle.h"

namespace Bench {

/// Calls `condition` again and again until it holds; after a minute throws
/// std::runtime_error(what).
void Await(const char* what, const std::function<bool()>& condition);

class DrivenProcess {
 public:
  /// Returns when tagwright runs; its pipe may not be there yet. Throws std::runtime_error.
  explicit DrivenProcess(Tagwright::ServerKind kind);
  /// Ends both processes.
  ~DrivenProcess();
  DrivenProcess(const DrivenProcess&) = delete;
  DrivenProcess& operator=(const DrivenProcess&) = delete;

  const Tagwright::WideString& Name() const { return _name; }

  /// How long tagwright lives on after its driver was killed.
  Microseconds TimeToEndAfterDriver();

 private:
  void StartDriver(Tagwright::ServerKind kind);

  const Tagwright::WideString _name;
  ScopedHandle _driver;
  DWORD _driverId = 0;
  ScopedHandle _tagwright;
};

}  // namespace Bench
