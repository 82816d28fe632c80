#include <algorithm>
#include <cstdlib>
#include <vector>

#include "client/check/nearest_word.h"
#include "client/check/operation.h"
#include "client/text.h"

namespace Tagwright {
namespace {

constexpr std::size_t kDigitsPerWord = 4;
constexpr std::size_t kPasswordDigits = 8;

bool IsBlank(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}
bool IsDigit(char character) { return character >= '0' && character <= '9'; }
bool IsHexDigit(char character) {
  return IsDigit(character) || (character >= 'a' && character <= 'f') ||
         (character >= 'A' && character <= 'F');
}

/// White space, a sign and digits to the end, as the whole value is read.
bool IsWholeNumber(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  return !text.empty() && std::ranges::all_of(text, IsDigit);
}

std::string Quoted(std::string_view name, const std::string& value) {
  return std::string(name) + "=\"" + value + "\"";
}

std::string DoubtAboutNumber(const Operation& operation, const char* name) {
  const std::string text = operation.Text(name);
  const int number = operation.Number(name);
  if (IsWholeNumber(text) && std::strtoll(text.c_str(), nullptr, 10) == number) return {};
  return Quoted(name, text) + " is read as " + std::to_string(number);
}

std::string DoubtAboutFlag(const Operation& operation, const char* name) {
  const std::string text = operation.Text(name);
  if (text == "0" || text == "1") return {};
  return Quoted(name, text) + " is off: only exactly \"1\" is on";
}

std::string DoubtAboutYes(const Operation& operation, const char* name) {
  const std::string text = operation.Text(name);
  for (const char* word : {"yes", "no"}) {
    if (text.size() == std::string_view(word).size() && EditDistance(text, word) == 0) return {};
  }
  return Quoted(name, text) + " is no: only \"yes\" selects the permanent lock of blocks";
}

std::string DoubtAboutData(const Operation& operation, const char* name) {
  const std::string text = operation.Text(name);
  if (text.empty()) return std::string(name) + " is empty";
  if (std::ranges::any_of(text, IsBlank)) return std::string(name) + " holds blanks";
  if (!std::ranges::all_of(text, IsHexDigit)) {
    return std::string(name) + " holds other characters than hexadecimal digits";
  }
  if (text.size() % kDigitsPerWord == 0) return {};
  return std::string(name) + " has " + std::to_string(text.size()) +
         " digits, which are not whole words of 4";
}

std::string DoubtAboutPassword(const Operation& operation, const char* name) {
  const std::string text = operation.Text(name);
  if (text.empty()) return {};
  if (text.size() == kPasswordDigits && std::ranges::all_of(text, IsHexDigit)) return {};
  return std::string(name) + " is not 8 hexadecimal digits";
}

std::string DoubtAboutText(const Operation&, const char*) { return {}; }

/// The text is taken in the ANSI code page: UTF-8 arrives as several characters.
std::string DoubtAboutCodePage(const Operation& operation, const char* name) {
  const std::string text = operation.Text(name);
  if (std::ranges::all_of(text, [](char byte) { return (byte & 0x80) == 0; })) return {};
  if (ToUtf8(ToWide(text)) != text) return {};
  return std::string(name) +
         " holds characters beyond ASCII in UTF-8; the program takes them in the ANSI code page, "
         "where each is several characters";
}

std::string DoubtAbout(const Operation& operation, const AttributeForm& form, const char* name) {
  switch (form.kind) {
    case AttributeKind::kNumber:
      return DoubtAboutNumber(operation, name);
    case AttributeKind::kFlag:
      return DoubtAboutFlag(operation, name);
    case AttributeKind::kYes:
      return DoubtAboutYes(operation, name);
    case AttributeKind::kData:
      return DoubtAboutData(operation, name);
    case AttributeKind::kPassword:
      return DoubtAboutPassword(operation, name);
    default:
      return DoubtAboutText(operation, name);
  }
}

std::vector<std::string_view> NamesOf(const ElementForm& element) {
  std::vector<std::string_view> names;
  for (const AttributeForm& form : element.attributes) names.push_back(form.name);
  return names;
}

void CheckAttribute(Operation& operation, const TiXmlAttribute& attribute) {
  const AttributeForm* const form = FindAttribute(operation.Form(), attribute.Name());
  if (form == nullptr) {
    operation.Doubt(attribute, "unknown attribute \"" + attribute.NameTStr() + "\" is ignored" +
                                   DidYouMean(attribute.Name(), NamesOf(operation.Form())));
    return;
  }
  for (const std::string& doubt : {DoubtAbout(operation, *form, attribute.Name()),
                                   DoubtAboutCodePage(operation, attribute.Name())}) {
    if (!doubt.empty()) operation.Doubt(attribute, doubt);
  }
}

void CheckPresence(Operation& operation, const AttributeForm& form) {
  const std::string name(form.name);
  if (!form.required || operation.Has(name.c_str())) return;
  operation.Doubt(operation.Element(),
                  name + " is missing: " + (form.kind == AttributeKind::kNumber ? "0" : "nothing") +
                      " is taken");
}

}  // namespace

void CheckAttributes(Operation& operation) {
  for (const AttributeForm& form : operation.Form().attributes) CheckPresence(operation, form);
  for (const TiXmlAttribute* attribute = operation.Element().FirstAttribute(); attribute != nullptr;
       attribute = attribute->Next()) {
    CheckAttribute(operation, *attribute);
  }
}

}  // namespace Tagwright
