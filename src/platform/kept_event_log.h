/// Whether the event log gives back what is written to it.
#pragma once

namespace platform {

/// False under Wine, which takes the entries and keeps none of them.
bool KeepsEventLog();

}  // namespace platform
