/// What a job document may hold: the operations, their attributes and how each is read.
#pragma once

#include <span>
#include <string_view>

namespace Tagwright {

enum class AttributeKind {
  kNumber,
  kText,
  kFlag,      ///< On for exactly "1".
  kYes,       ///< On for "yes" in any letter case.
  kData,      ///< Whole words of hexadecimal digits.
  kPassword,  ///< Eight hexadecimal digits. Never shown.
};

struct AttributeForm {
  std::string_view name;
  AttributeKind kind;
  bool required;
};

struct ElementForm {
  std::string_view name;
  std::span<const AttributeForm> attributes;
};

inline constexpr std::string_view kRootName = "zsdk_job";

/// The six operations, in the order of the documentation.
std::span<const ElementForm> ElementForms();

/// The operation of that name, letter case aside; null for any other.
const ElementForm* FindElement(std::string_view name);

/// The attribute of exactly that name; null when the operation does not read it.
const AttributeForm* FindAttribute(const ElementForm& element, std::string_view name);

}  // namespace Tagwright
