#include "encode/job_document.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "support/secure_wipe.h"

namespace {

/// A NUL-terminated copy of the payload, wiped before it is freed.
class PayloadCopy {
 public:
  PayloadCopy(const unsigned char* buffer, DWORD sizeBytes)
      : _sizeBytes(std::size_t{sizeBytes} + 1), _text(new char[_sizeBytes]) {
    std::copy_n(buffer, sizeBytes, _text.get());
    _text[sizeBytes] = 0;
  }
  ~PayloadCopy() { SecureWipe(_text.get(), _sizeBytes); }
  PayloadCopy(const PayloadCopy&) = delete;
  PayloadCopy& operator=(const PayloadCopy&) = delete;

  const char* Text() const { return _text.get(); }

 private:
  std::size_t _sizeBytes;
  std::unique_ptr<char[]> _text;
};

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
  const PayloadCopy copy(buffer, sizeBytes);
  JobDocumentPtr document(new TiXmlDocument());
  if (HasTooMuchMarkup(copy.Text())) {
    document->SetError(TiXmlBase::TIXML_ERROR, nullptr, nullptr, TIXML_ENCODING_UNKNOWN);
    return document;
  }
  document->Parse(copy.Text(), nullptr, TIXML_ENCODING_UNKNOWN);
  return document;
}
