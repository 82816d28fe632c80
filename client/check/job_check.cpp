#include "client/check/job_check.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "client/check/nearest_word.h"
#include "client/check/operation.h"
#include "client/check/well_formedness.h"
#include "client/text.h"
#include "encode/job_document.h"

namespace Tagwright {
namespace {

std::vector<std::string_view> OperationNames() {
  std::vector<std::string_view> names;
  for (const ElementForm& form : ElementForms()) names.push_back(form.name);
  return names;
}

std::string Tag(const TiXmlNode& node) { return "<" + node.ValueStr() + ">"; }

class JobChecker {
 public:
  JobChecker(std::span<const std::uint8_t> document, const PrinterTags& printers)
      : _text(reinterpret_cast<const char*>(document.data()), document.size()),
        _printers(printers) {}

  JobReport Check() {
    if (_text.empty()) {
      Unusable("the job is empty: the program does nothing and answers with success");
      return std::move(_report);
    }
    _text = CutAtNul(_text, _report);
    const JobDocumentPtr document =
        ParseJobDocument(reinterpret_cast<const unsigned char*>(_text.data()),
                         static_cast<DWORD>(_text.size()), Places::kCounted);
    CheckParsing(_text, *document, _report);
    if (document->ErrorId() != TiXmlBase::TIXML_ERROR) CheckRoots(*document);
    CheckComments(_text, _report);
    SortFindings();
    return std::move(_report);
  }

 private:
  void Unusable(const std::string& text) {
    _report.findings.push_back({Severity::kUnusable, 1, 1, text});
  }
  void Doubt(const TiXmlBase& place, const std::string& text) {
    _report.findings.push_back({Severity::kDoubt, place.Row(), place.Column(), text});
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
      Unusable("no <zsdk_job> element at the top: the job fails");
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
    if (element.FirstChildElement() != nullptr) {
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
