/// Room for the program's signal handlers on the runtime's threads.
#pragma once

namespace Managed {

/// From now on each thread that the runtime starts or takes in has a signal stack on which the
/// program can report a crash. Called once, before the runtime is started.
void GiveThreadsRoomForHandlers();

}  // namespace Managed
