/// Debugger output: one datagram a text, in UTF-8, to the socket `debug` under the state root; with no
/// listener the text is dropped. It never blocks.
#pragma once

#include "platform/posix/api/base.h"

void OutputDebugStringW(LPCWSTR text);
