#include "host/idle.h"

const DWORD kIdleMinuteMs = 60000;
