#include "encode/job_document.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "support/wiped_buffer.h"

namespace {

/// A NUL-terminated copy of the payload.
WipedBuffer Terminated(const unsigned char* buffer, DWORD sizeBytes) {
  WipedBuffer copy(std::size_t{sizeBytes} + 1);
  *std::copy_n(buffer, sizeBytes, copy.Data()) = 0;
  return copy;
}

/// The parser calls itself once a level, so that deep nesting would use up the stack. The number of
/// markup signs bounds the depth of every document, whatever its comments and quotes look like; a
/// job has a few dozen.
constexpr std::ptrdiff_t kMaxMarkupSigns = 1000;

bool HasTooMuchMarkup(std::string_view text) {
  return std::count(text.begin(), text.end(), '<') > kMaxMarkupSigns;
}

// The parser hands its strings out read-only; only their own memory is the one worth wiping.
void WipeString(const std::string& text) {
  SecureWipe(const_cast<char*>(text.data()), text.size());
}

void WipeAttributes(const TiXmlElement& element) {
  for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
       attribute = attribute->Next()) {
    WipeString(attribute->ValueStr());
  }
}

}  // namespace

void WipeNode(TiXmlNode& node) {
  WipeString(node.ValueStr());
  if (const TiXmlElement* element = node.ToElement()) WipeAttributes(*element);
  for (TiXmlNode* child = node.FirstChild(); child != nullptr; child = child->NextSibling()) {
    WipeNode(*child);
  }
}

void JobDocumentDeleter::operator()(TiXmlDocument* document) const {
  WipeNode(*document);
  delete document;
}

JobDocumentPtr ParseJobDocument(const unsigned char* buffer, DWORD sizeBytes) {
  const WipedBuffer copy = Terminated(buffer, sizeBytes);
  const auto* const text = reinterpret_cast<const char*>(copy.Data());
  JobDocumentPtr document(new TiXmlDocument());
  if (HasTooMuchMarkup(text)) {
    document->SetError(TiXmlBase::TIXML_ERROR, nullptr, nullptr, TIXML_ENCODING_UNKNOWN);
    return document;
  }
  document->Parse(text, nullptr, TIXML_ENCODING_UNKNOWN);
  return document;
}
