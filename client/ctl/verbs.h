/// The words that say what to send: one verb and its operands a request.
///
///   encode JOB.xml | encode-and-shutdown JOB.xml | shutdown | keep-alive | add-encoder NAME |
///   raw TYPE [FILE]
///
/// TYPE is decimal, or hexadecimal after 0x. The word after it is FILE unless it is a verb; a file
/// called like a verb is written with its folder (./shutdown).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

/// What a verb's operand is to its request.
enum class Operand {
  kNone,
  kFile,      ///< The payload is the file's content.
  kJobFile,   ///< The same, and the content is a job document.
  kPipeName,  ///< The payload is the name with a NUL.
};

struct Verb {
  std::uint32_t messageType = 0;
  Operand kind = Operand::kNone;
  std::string operand;  ///< UTF-8; empty for kNone.
  std::string label;    ///< The words as they were given, for messages.
};

/// Throws Failure (kUsage) for an unknown verb, a missing operand or a TYPE that is no 32-bit
/// number.
std::vector<Verb> ParseVerbs(const std::vector<std::string>& words);

/// Splits a line at blanks and tabs; double quotes keep a word together and may enclose nothing at
/// all. A backslash is an ordinary character, as in paths. Throws Failure (kUsage) for a quote that
/// is never closed.
std::vector<std::string> SplitWords(std::string_view line);

/// The number of a text that is wholly decimal, or hexadecimal after 0x. Throws Failure (kUsage)
/// for anything else and for what does not fit into 32 bits; `what` names it in the message.
std::uint32_t ParseNumber(const std::string& text, const std::string& what);

}  // namespace Ctl
