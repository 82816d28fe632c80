/// Debugger output: one datagram a text, in UTF-8, to the socket `debug` under the state root; with
/// no listener, or one that does not keep up, the text is dropped. It never blocks.
#pragma once

#include "platform/posix/api/base.h"

/// A longer text is cut to this many bytes, between two characters: a listener's buffer of this
/// size takes every text whole, and the system's default buffers take it as one datagram.
constexpr DWORD kMaxDebugTextBytes = 65536;

/// Null counts as an empty text. The last error stays as it is.
void OutputDebugStringW(LPCWSTR text);
