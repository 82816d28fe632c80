/// JSON texts of state files, which anybody may have written.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

namespace Simulator {

/// The tree of `text`. No state file has more levels than a few; a deeper text is refused with
/// std::runtime_error, because trees are copied and freed level by level on the stack. Text that is
/// no JSON raises the parser's exception.
template <class Json>
Json ParseShallowJson(std::string_view text) {
  constexpr int kMostLevels = 16;
  return Json::parse(text, [](int depth, typename Json::parse_event_t, Json&) {
    if (depth > kMostLevels) throw std::runtime_error("it is nested too deeply");
    return true;
  });
}

}  // namespace Simulator
