#include "client/check/well_formedness.h"

#include <string>

#include "client/check/job_elements.h"

namespace Tagwright {
namespace {

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
    case TiXmlBase::TIXML_ERROR_DOCUMENT_EMPTY:
      return "it holds no element";
    default:
      return document.ErrorDesc();
  }
}

void Report(JobReport& report, Severity severity, Place place, const std::string& text) {
  report.findings.push_back({severity, place.row, place.column, text});
}

/// Whether the text ends inside its job.
bool BreaksOff(std::string_view text) {
  const std::string name(kRootName);
  return text.find("</" + name) == std::string_view::npos &&
         text.find("<" + name) != std::string_view::npos;
}

}  // namespace

std::string_view CutAtNul(std::string_view text, JobReport& report) {
  const std::size_t nul = text.find('\0');
  if (nul == std::string_view::npos) return text;
  Report(report, Severity::kUnusable, EndOf(text.substr(0, nul)),
         "a NUL byte ends the document here, as in text that is UTF-16");
  return text.substr(0, nul);
}

void CheckParsing(std::string_view text, const TiXmlDocument& document, JobReport& report) {
  if (!document.Error()) return;
  if (document.ErrorId() == TiXmlBase::TIXML_ERROR) {
    return Report(report, Severity::kUnusable, {},
                  "too deep, too many tags or too many attributes: the program does not read the "
                  "document, and the job fails");
  }
  if (BreaksOff(text)) {
    return Report(report, Severity::kUnusable, EndOf(text),
                  "the document breaks off; the program executes what it has read until then");
  }
  const bool placed = document.ErrorRow() > 0;
  Report(report, Severity::kUnusable,
         placed ? Place{document.ErrorRow(), document.ErrorCol()} : EndOf(text),
         "not well-formed (" + CauseOf(document) +
             "); the program executes what it has read until then");
}

void CheckComments(std::string_view text, JobReport& report) {
  std::size_t start = text.find("<!--");
  while (start != std::string_view::npos) {
    const std::size_t end = text.find("-->", start);
    if (end == std::string_view::npos) {
      return Report(report, Severity::kDoubt, EndOf(text.substr(0, start)),
                    "this comment is never closed: all that follows belongs to it");
    }
    start = text.find("<!--", end);
  }
}

}  // namespace Tagwright
