#include "platform/kept_event_log.h"

namespace platform {

bool KeepsEventLog() { return true; }

}  // namespace platform
