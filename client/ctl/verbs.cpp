#include "client/ctl/verbs.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "client/check/nearest_word.h"
#include "client/ctl/failure.h"
#include "pipe/message_header.h"

namespace Ctl {
namespace {

constexpr std::string_view kRaw = "raw";

struct VerbForm {
  std::string_view word;
  std::uint32_t messageType;
  Operand operand;
};

constexpr VerbForm kForms[] = {
    {"encode", Tagwright::eEncode, Operand::kJobFile},
    {"encode-and-shutdown", Tagwright::eEncodeAndShutdown, Operand::kJobFile},
    {"shutdown", Tagwright::eShutdown, Operand::kNone},
    {"add-encoder", Tagwright::eAddEncoder, Operand::kPipeName},
    {"keep-alive", Tagwright::eKeepAlive, Operand::kNone},
};

const VerbForm* FindForm(std::string_view word) {
  const VerbForm* form = std::ranges::find(kForms, word, &VerbForm::word);
  return form == std::end(kForms) ? nullptr : form;
}

bool IsVerb(std::string_view word) { return word == kRaw || FindForm(word) != nullptr; }

/// Takes the words one after another.
class WordReader {
 public:
  explicit WordReader(const std::vector<std::string>& words) : _words(words) {}

  bool AtEnd() const { return _next == _words.size(); }
  const std::string& Peek() const { return _words[_next]; }
  const std::string& Take() { return _words[_next++]; }

  const std::string& TakeOperand(const std::string& verb) {
    if (AtEnd()) throw Failure(ExitCode::kUsage, "\"" + verb + "\" needs an operand");
    return Take();
  }

 private:
  const std::vector<std::string>& _words;
  std::size_t _next = 0;
};

Verb TakeRaw(WordReader& reader) {
  Verb verb;
  const std::string& type = reader.TakeOperand(std::string(kRaw));
  verb.messageType = ParseNumber(type, "message type");
  verb.label = std::string(kRaw) + " " + type;
  if (reader.AtEnd() || IsVerb(reader.Peek())) return verb;
  verb.kind = Operand::kFile;
  verb.operand = reader.Take();
  verb.label += " " + verb.operand;
  return verb;
}

Verb TakeVerb(WordReader& reader) {
  const std::string& word = reader.Take();
  if (word == kRaw) return TakeRaw(reader);
  const VerbForm* form = FindForm(word);
  if (form == nullptr) {
    std::vector<std::string_view> words = {kRaw};
    for (const VerbForm& known : kForms) words.push_back(known.word);
    throw Failure(ExitCode::kUsage,
                  "\"" + word + "\" is no verb" + Tagwright::DidYouMean(word, words));
  }
  Verb verb{form->messageType, form->operand, {}, word};
  if (form->operand == Operand::kNone) return verb;
  verb.operand = reader.TakeOperand(word);
  verb.label += " " + verb.operand;
  return verb;
}

bool IsBlank(char character) { return character == ' ' || character == '\t' || character == '\r'; }

/// Takes one word off the front of `rest`, which does not begin with a blank.
std::string TakeWord(std::string_view& rest) {
  std::string word;
  bool quoted = false;
  std::size_t length = 0;
  for (; length < rest.size() && (quoted || !IsBlank(rest[length])); ++length) {
    if (rest[length] == '"') {
      quoted = !quoted;
    } else {
      word += rest[length];
    }
  }
  if (quoted) throw Failure(ExitCode::kUsage, "a double quote is never closed");
  rest.remove_prefix(length);
  return word;
}

}  // namespace

std::vector<Verb> ParseVerbs(const std::vector<std::string>& words) {
  std::vector<Verb> verbs;
  for (WordReader reader(words); !reader.AtEnd();) verbs.push_back(TakeVerb(reader));
  return verbs;
}

std::vector<std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  for (;;) {
    while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
    if (line.empty()) return words;
    words.push_back(TakeWord(line));
  }
}

std::uint32_t ParseNumber(const std::string& text, const std::string& what) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* const begin = text.data() + (hex ? 2 : 0);
  const char* const end = text.data() + text.size();
  std::uint32_t number = 0;
  const auto [stop, error] = std::from_chars(begin, end, number, hex ? 16 : 10);
  if (error != std::errc() || stop != end) {
    throw Failure(ExitCode::kUsage, "\"" + text + "\" is no " + what);
  }
  return number;
}

}  // namespace Ctl
