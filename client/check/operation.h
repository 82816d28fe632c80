/// One operation element under examination: its attributes as the program reads them, and the
/// report on it.
#pragma once

#include <tinyxml.h>

#include <string>

#include "client/check/job_elements.h"
#include "client/check/job_report.h"
#include "client/check/tag_sizes.h"

namespace Tagwright {

class Operation {
 public:
  /// All four outlive the object. `tag` is the one that the operation finds.
  Operation(const TiXmlElement& element, const ElementForm& form, const TagSizes& tag,
            JobReport& report)
      : _element(element), _form(form), _tag(tag), _report(report) {}

  const ElementForm& Form() const { return _form; }
  const TiXmlElement& Element() const { return _element; }
  const TagSizes& Tag() const { return _tag; }

  bool Has(const char* name) const { return _element.Attribute(name) != nullptr; }
  /// 0 when the attribute is absent.
  int Number(const char* name) const;
  /// Empty when the attribute is absent.
  std::string Text(const char* name) const;
  /// The whole words of four digits in a text of data.
  int Words(const char* name) const { return static_cast<int>(Text(name).size() / 4); }

  /// Reports a doubt at the attribute, or at the element when the attribute is absent.
  void Doubt(const char* name, const std::string& text);
  void Doubt(const TiXmlBase& place, const std::string& text);
  /// Says what the program does.
  void Does(const std::string& text);

 private:
  const TiXmlElement& _element;
  const ElementForm& _form;
  const TagSizes& _tag;
  JobReport& _report;
};

/// Reports what is wrong with the attributes one by one: unknown, absent, or read differently from
/// what stands there.
void CheckAttributes(Operation& operation);

/// Says what the operation does, and reports what its values together make doubtful.
void ExplainOperation(Operation& operation);

}  // namespace Tagwright
