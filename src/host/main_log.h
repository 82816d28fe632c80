/// Log lines of the process main: each starts with "wmain: ". Texts as in log.h.
#pragma once

#include <utility>

#include "support/log.h"

namespace MainLog {

template <class Text>
OString Line(Text&& text) {
  return OString("wmain: ") << Log::TextOf(std::forward<Text>(text));
}

template <class Text>
void Error(Text&& text) {
  Log::Error([&] { return Line(text); });
}

template <class Text>
void Warning(Text&& text) {
  Log::Warning([&] { return Line(text); });
}

template <class Text>
void Information(Text&& text, DWORD level = LogLevel::kDetailInfo) {
  Log::Information([&] { return Line(text); }, level);
}

}  // namespace MainLog
