/// The minute of a program that is otherwise the one that ships.
#include "host/idle.h"

const DWORD kIdleMinuteMs = 100;
