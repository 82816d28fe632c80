#include "client/check/job_check.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "client/check/nearest_word.h"
#include "client/check/operation.h"
#include "client/text.h"
#include "encode/job_document.h"

namespace Tagwright {
namespace {

/// The last place of a text, where it breaks off.
struct Place {
  int row = 1;
  int column = 1;
};

Place EndOf(std::string_view text) {
  Place end;
  for (const char character : text) {
    end.column = character == '\n' ? 1 : end.column + 1;
    end.row += character == '\n';
  }
  return end;
}

std::vector<std::string_view> OperationNames() {
  std::vector<std::string_view> names;
  for (const ElementForm& form : ElementForms()) names.push_back(form.name);
  return names;
}

/// What the parser's error stands for; its own words name the step at which it gave up.
std::string CauseOf(const TiXmlDocument& document) {
  switch (document.ErrorId()) {
    case TiXmlBase::TIXML_ERROR_PARSING_ELEMENT:
      return "an attribute stands twice, or its quotes are not closed";
    case TiXmlBase::TIXML_ERROR_READING_ELEMENT_VALUE:
      return "an element is not closed";
    case TiXmlBase::TIXML_ERROR_READING_ATTRIBUTES:
      return "an attribute has no value, or its value has no end";
    case TiXmlBase::TIXML_ERROR_PARSING_EMPTY:
      return "no > follows a /";
    case TiXmlBase::TIXML_ERROR_READING_END_TAG:
      return "an element is not closed, or another one is closed first";
    default:
      return document.ErrorDesc();
  }
}

std::string Tag(const TiXmlNode& node) { return "<" + node.ValueStr() + ">"; }

class JobChecker {
 public:
  JobChecker(std::span<const std::uint8_t> document, const PrinterTags& printers)
      : _text(reinterpret_cast<const char*>(document.data()), document.size()),
        _printers(printers) {}

  JobReport Check() {
    if (_text.empty()) {
      Unusable({}, "the job is empty: the program does nothing and answers with success");
      return std::move(_report);
    }
    CheckNul();
    const JobDocumentPtr document =
        ParseJobDocument(reinterpret_cast<const unsigned char*>(_text.data()),
                         static_cast<DWORD>(_text.size()), Places::kCounted);
    if (document->Error()) CheckError(*document);
    if (document->ErrorId() != TiXmlBase::TIXML_ERROR) CheckRoots(*document);
    CheckComments();
    SortFindings();
    return std::move(_report);
  }

 private:
  void Report(Severity severity, Place place, const std::string& text) {
    _report.findings.push_back({severity, place.row, place.column, text});
  }
  void Unusable(Place place, const std::string& text) { Report(Severity::kUnusable, place, text); }
  void Doubt(const TiXmlBase& place, const std::string& text) {
    Report(Severity::kDoubt, {place.Row(), place.Column()}, text);
  }

  void CheckNul() {
    const std::size_t nul = _text.find('\0');
    if (nul == std::string_view::npos) return;
    Unusable(EndOf(_text.substr(0, nul)),
             "a NUL byte ends the document here, as in text that is UTF-16");
    _text = _text.substr(0, nul);
  }

  void CheckComments() {
    std::size_t start = _text.find("<!--");
    while (start != std::string_view::npos) {
      const std::size_t end = _text.find("-->", start);
      if (end == std::string_view::npos) {
        return Report(Severity::kDoubt, EndOf(_text.substr(0, start)),
                      "this comment is never closed: all that follows belongs to it");
      }
      start = _text.find("<!--", end);
    }
  }

  void CheckError(const TiXmlDocument& document) {
    if (document.ErrorId() == TiXmlBase::TIXML_ERROR) {
      Unusable({},
               "too deep, too many tags or too many attributes: the program does not read the "
               "document, and the job fails");
      return;
    }
    if (_text.find("</" + std::string(kRootName)) == std::string_view::npos &&
        _text.find("<" + std::string(kRootName)) != std::string_view::npos) {
      Unusable(EndOf(_text),
               "the document breaks off; the program executes what it has read until then");
      return;
    }
    const bool placed = document.ErrorRow() > 0;
    Unusable(placed ? Place{document.ErrorRow(), document.ErrorCol()} : EndOf(_text),
             "not well-formed (" + CauseOf(document) +
                 "); the program executes what it has read until then");
  }

  void CheckRoots(const TiXmlDocument& document) {
    const TiXmlElement* job = nullptr;
    for (const TiXmlElement* root = document.FirstChildElement(); root != nullptr;
         root = root->NextSiblingElement()) {
      if (job == nullptr && root->ValueStr() == kRootName) {
        job = root;
      } else {
        CheckOtherRoot(*root);
      }
    }
    if (job == nullptr) {
      Unusable({}, "no <zsdk_job> element at the top: the job fails");
    } else {
      CheckOperations(*job);
    }
  }

  void CheckOtherRoot(const TiXmlElement& root) {
    const std::string_view names[] = {kRootName};
    Doubt(root, Tag(root) + " at the top is not read: the job is the first <zsdk_job>" +
                    (root.ValueStr() == kRootName ? "" : DidYouMean(root.Value(), names)));
  }

  void CheckOperations(const TiXmlElement& job) {
    if (job.FirstChildElement() == nullptr) Doubt(job, "the job has no operation: it does nothing");
    for (const TiXmlNode* node = job.FirstChild(); node != nullptr; node = node->NextSibling()) {
      if (const TiXmlElement* const element = node->ToElement()) CheckElement(*element);
      if (node->ToText() != nullptr) Doubt(*node, "text between the operations is ignored");
    }
  }

  void CheckElement(const TiXmlElement& element) {
    const ElementForm* const form = FindElement(element.Value());
    if (form == nullptr) {
      Doubt(element, "unknown operation " + Tag(element) + ": the job fails here" +
                         DidYouMean(element.Value(), OperationNames()));
      if (!_failed) _report.steps.push_back({element.Row(), "fails: unknown operation"});
      _failed = true;
      return;
    }
    CheckOrder(element, *form);
    Operation operation(element, *form, _tag, _report);
    if (form->name == "printer") TakePrinter(operation);
    CheckAttributes(operation);
    const std::size_t before = _report.steps.size();
    ExplainOperation(operation);
    // What stands behind a failure is checked all the same, but never done.
    if (_failed) _report.steps.resize(before);
    if (!element.NoChildren() && element.FirstChildElement() != nullptr) {
      Doubt(*element.FirstChildElement(), "elements inside an operation are ignored");
    }
  }

  void CheckOrder(const TiXmlElement& element, const ElementForm& form) {
    if (form.name == "printer") {
      _connected = true;
      _killed = false;
    } else if (!_connected) {
      Doubt(element, Tag(element) + " stands before the first <printer>: there is no connection");
    } else if (_killed) {
      Doubt(element, Tag(element) + " comes after <killtag>: a killed tag never answers");
    }
    if (form.name == "killtag") _killed = true;
  }

  /// From here on the tag is the one in this printer.
  void TakePrinter(Operation& operation) {
    _tag = {};
    const std::string address = AnsiToUtf8(operation.Text("port_address"));
    if (!_printers || address.empty()) return;
    const auto found = _printers->find(address);
    if (found != _printers->end()) {
      _tag = found->second;
    } else {
      std::vector<std::string_view> addresses;
      for (const auto& [known, tag] : *_printers) addresses.push_back(known);
      operation.Doubt("port_address", "there is no printer at \"" + address + "\"" +
                                          DidYouMean(address, addresses));
    }
  }

  void SortFindings() {
    std::ranges::stable_sort(_report.findings, [](const Finding& left, const Finding& right) {
      return std::pair(left.row, left.column) < std::pair(right.row, right.column);
    });
  }

  std::string_view _text;
  const PrinterTags& _printers;
  TagSizes _tag;
  JobReport _report;
  bool _connected = false;
  bool _killed = false;
  bool _failed = false;
};

}  // namespace

bool JobReport::IsUsable() const {
  return std::ranges::none_of(
      findings, [](const Finding& finding) { return finding.severity == Severity::kUnusable; });
}

JobReport CheckJob(std::span<const std::uint8_t> document, const PrinterTags& printers) {
  return JobChecker(document, printers).Check();
}

}  // namespace Tagwright
