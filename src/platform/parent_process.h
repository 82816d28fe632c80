/// The process that started this one.
#pragma once

namespace platform {

/// Keeps the parent open for as long as this process runs: its id stays its own, and OpenProcess
/// gives a handle to it also after its end, which is then signalled at once. To be called before
/// anything that the parent could wait for; a parent that has ended before cannot be opened. Later
/// calls change nothing.
void HoldParent();

}  // namespace platform
