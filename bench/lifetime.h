/// How tagwright grows with its encoder pipes and how soon it ends after its driver.
#pragma once

#include "client/server_process.h"

namespace Bench {

/// Prints the figures; takes about half a minute, most of it for components that hang. While it
/// runs, the simulated printer's fault script and call record are its own. Throws
/// std::runtime_error.
void MeasureLifetime();

/// What the bench does as the driver that it kills: starts tagwright on `pipeName` and waits for
/// its own death.
int PlayDriver(const Tagwright::WideString& pipeName, Tagwright::ServerKind kind);

}  // namespace Bench
