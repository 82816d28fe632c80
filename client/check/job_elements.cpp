#include "client/check/job_elements.h"

#include <algorithm>

#include "client/check/nearest_word.h"

namespace Tagwright {
namespace {

using enum AttributeKind;

constexpr AttributeForm kPrinterAttributes[] = {
    {"port_type", kNumber, true},
    {"port_address", kText, true},
    {"uhfEncodeMode_ReaderConnectPerCard", kFlag, false}};
constexpr AttributeForm kWriteAttributes[] = {
    {"segment", kNumber, true}, {"offset", kNumber, false}, {"data", kData, true}};
constexpr AttributeForm kLockAttributes[] = {{"lock_action", kNumber, false},
                                             {"password", kPassword, true},
                                             {"block", kYes, false},
                                             {"startblock", kNumber, false},
                                             {"blockcount", kNumber, false}};
constexpr AttributeForm kUnlockAttributes[] = {{"lock_action", kNumber, true},
                                               {"password", kPassword, true}};
constexpr AttributeForm kSetPasswordAttributes[] = {{"type", kNumber, true},
                                                    {"password", kPassword, true}};
constexpr AttributeForm kKillTagAttributes[] = {{"password", kPassword, true}};

constexpr ElementForm kElements[] = {
    {"printer", kPrinterAttributes},
    {"write", kWriteAttributes},
    {"lock", kLockAttributes},
    {"unlock", kUnlockAttributes},
    {"setpassword", kSetPasswordAttributes},
    {"killtag", kKillTagAttributes},
};

}  // namespace

std::span<const ElementForm> ElementForms() { return kElements; }

const ElementForm* FindElement(std::string_view name) {
  const auto* const element = std::ranges::find_if(kElements, [name](const ElementForm& form) {
    return form.name.size() == name.size() && EditDistance(form.name, name) == 0;
  });
  return element == std::end(kElements) ? nullptr : element;
}

const AttributeForm* FindAttribute(const ElementForm& element, std::string_view name) {
  const auto attribute = std::ranges::find(element.attributes, name, &AttributeForm::name);
  return attribute == element.attributes.end() ? nullptr : &*attribute;
}

}  // namespace Tagwright
