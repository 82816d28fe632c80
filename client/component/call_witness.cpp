#include "client/component/call_witness.h"

#include <algorithm>
#include <iterator>

#include "client/text.h"

namespace Tagwright {
namespace {

constexpr std::size_t kMargin = 64;
constexpr TagwrightChar kMarginCharacter = 0xA55A;

constexpr const char* kKinds[] = {"", "managed exception", "framework exception",
                                  "standard exception", "unknown exception"};

template <std::size_t size>
bool IsTerminated(const TagwrightChar (&text)[size]) {
  return std::find(text, text + size, TagwrightChar{0}) != text + size;
}

}  // namespace

WitnessedText::WitnessedText(const OString& text) : _given(kMargin, kMarginCharacter) {
  const WCHAR* const characters = text.wstring();
  _given.insert(_given.end(), characters, characters + std::char_traits<WCHAR>::length(characters));
  _given.insert(_given.end(), kMargin, kMarginCharacter);
  _expected = _given;
}

TagwrightText WitnessedText::Text() const { return {_given.data() + kMargin, Length()}; }

std::size_t WitnessedText::Length() const { return _expected.size() - 2 * kMargin; }

WitnessedResult::WitnessedResult() {
  std::fill(std::begin(_record.before), std::end(_record.before), kMark);
  std::fill(std::begin(_record.after), std::end(_record.after), kMark);
}

std::optional<std::string> WitnessedResult::Problem() const {
  const auto isMark = [](std::uint32_t word) { return word == kMark; };
  if (!std::all_of(std::begin(_record.before), std::end(_record.before), isMark) ||
      !std::all_of(std::begin(_record.after), std::end(_record.after), isMark)) {
    return "writes beside the result that it was given";
  }
  const TagwrightCallResult& result = _record.result;
  if (result.outcome >= std::size(kKinds)) {
    return "gives an outcome that there is not: " + std::to_string(result.outcome);
  }
  if (!IsException()) {
    if (result.returned <= 1) return std::nullopt;
    return "returns " + std::to_string(result.returned) + ", which is neither 0 nor 1";
  }
  if (!IsTerminated(result.message) || !IsTerminated(result.fullText)) {
    return "describes an exception in a text without a NUL";
  }
  const bool needsFullText = result.outcome == kTagwrightManagedException;
  if (!needsFullText || result.fullText[0] != 0) return std::nullopt;
  return "describes a managed exception without its type and stack trace";
}

std::string WitnessedResult::Describe() const {
  const TagwrightCallResult& result = _record.result;
  if (!IsException()) return result.returned != 0 ? "true" : "false";
  if (Problem()) return "exception";
  const std::string message = ToUtf8(result.message);
  return std::string(kKinds[result.outcome]) + (message.empty() ? "" : ": " + message);
}

}  // namespace Tagwright
