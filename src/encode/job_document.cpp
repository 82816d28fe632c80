#include "encode/job_document.h"

#include <algorithm>
#include <string>

#include "encode/markup_limits.h"
#include "support/wiped_buffer.h"

namespace {

/// A copy of the payload up to its first NUL, where the parser ends. The parser takes a damaged
/// UTF-8 sequence for as long as its first byte says: it does not get past so many terminators.
WipedBuffer Terminated(const unsigned char* buffer, DWORD sizeBytes) {
  constexpr std::size_t kTerminators = 4;
  const auto* const end = std::find(buffer, buffer + sizeBytes, 0);
  WipedBuffer copy(static_cast<std::size_t>(end - buffer) + kTerminators);
  std::fill_n(std::copy(buffer, end, copy.Data()), kTerminators, 0);
  return copy;
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

JobDocumentPtr ParseJobDocument(const unsigned char* buffer, DWORD sizeBytes, Places places) {
  const WipedBuffer copy = Terminated(buffer, sizeBytes);
  const auto* const text = reinterpret_cast<const char*>(copy.Data());
  JobDocumentPtr document(new TiXmlDocument());
  if (!IsWithinLimits(text)) {
    document->SetError(TiXmlBase::TIXML_ERROR, nullptr, nullptr, TIXML_ENCODING_UNKNOWN);
    return document;
  }
  if (places == Places::kUncounted) document->SetTabSize(0);
  document->Parse(text, nullptr, TIXML_ENCODING_UNKNOWN);
  return document;
}
