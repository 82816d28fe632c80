#include "encode/markup_limits.h"

#include <algorithm>

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

bool IsNameStart(unsigned char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         character == '_' || character >= 0x7F;
}

bool StartsWithName(std::string_view text) {
  return !text.empty() && IsNameStart(static_cast<unsigned char>(text.front()));
}

bool IsBeyondAscii(unsigned char character) { return character >= 0x80; }

bool IsNamePart(unsigned char character) {
  return IsNameStart(character) || (character >= '0' && character <= '9') || character == '-' ||
         character == '.' || character == ':';
}

/// The length that the first byte of a UTF-8 sequence announces.
std::size_t AnnouncedLength(unsigned char first) {
  if (first >= 0xF0) return 4;
  if (first >= 0xE0) return 3;
  return first >= 0xC0 ? 2 : 1;
}

class MarkupScanner {
 public:
  MarkupScanner(std::string_view text, const MarkupLimits& limits) : _rest(text), _limits(limits) {}

  bool IsWithinLimits() {
    while (!_rest.empty()) {
      const bool isRegular = _rest.front() == '<' ? PassMarkup() : PassText('<');
      if (_deepest > _limits.depth || ++_nodes > _limits.nodes) return false;
      if (_attributes > _limits.attributes) return false;
      if (!isRegular) return IsRestWithinLimits();
    }
    return true;
  }

 private:
  /// Each of these takes what it stands before out of the rest; false at an irregularity.
  bool PassMarkup() {
    if (_rest.starts_with("<!--")) return PassTo("-->", 4);
    if (_rest.starts_with("<![CDATA[")) return PassTo("]]>", 9);
    if (_rest.starts_with("<?")) return PassDeclaration();
    if (_rest.starts_with("</") && _depth > 0) return PassEndTag();
    if (StartsWithName(_rest.substr(1))) return PassElement();
    return PassTo(">", 1);
  }

  bool PassTo(std::string_view end, std::size_t from) {
    const std::size_t at = _rest.find(end, from);
    if (at == _rest.npos) return false;
    _rest.remove_prefix(at + end.size());
    return true;
  }

  /// Only the plain form: in any other one the parser may look for the declaration's end elsewhere.
  bool PassDeclaration() {
    if (!_rest.starts_with("<?xml")) return false;
    const std::string_view content = _rest.substr(5, _rest.find("?>") - 5);
    MarkupScanner attributes(content, _limits);
    const bool isPlain = content.find_first_of("<>&") == content.npos &&
                         std::none_of(content.begin(), content.end(), IsBeyondAscii);
    return isPlain && attributes.PassDeclarationAttributes() && PassTo("?>", 5);
  }

  bool PassDeclarationAttributes() {
    for (PassWhiteSpace(); !_rest.empty(); PassWhiteSpace()) {
      const bool isKnown = _rest.starts_with("version") || _rest.starts_with("encoding") ||
                           _rest.starts_with("standalone");
      if (!isKnown || !PassAttribute()) return false;
    }
    return true;
  }

  bool PassEndTag() {
    --_depth;
    return PassTo(">", 2);
  }

  /// Text up to `end`, which stays. A sequence that announces more bytes than it has would make the
  /// parser jump over the end.
  bool PassText(char end) {
    while (!_rest.empty() && _rest.front() != end) {
      const std::size_t length = AnnouncedLength(static_cast<unsigned char>(_rest.front()));
      if (length > _rest.size() || _rest.substr(0, length).find(end) != _rest.npos) return false;
      _rest.remove_prefix(1);
    }
    return true;
  }

  bool PassElement() {
    _deepest = std::max(_deepest, ++_depth);
    _rest.remove_prefix(1);
    PassName();
    _attributes = 0;
    for (;;) {
      PassWhiteSpace();
      if (_rest.starts_with("/>")) {
        --_depth;
        return Pass(2);
      }
      if (_rest.starts_with(">")) return Pass(1);
      if (++_attributes > _limits.attributes || !PassAttribute()) return false;
    }
  }

  bool PassAttribute() {
    if (!StartsWithName(_rest)) return false;
    PassName();
    PassWhiteSpace();
    if (!_rest.starts_with('=')) return false;
    Pass(1);
    PassWhiteSpace();
    if (!_rest.starts_with('"') && !_rest.starts_with('\'')) return false;
    const char quote = _rest.front();
    Pass(1);
    return PassText(quote) && !_rest.empty() && Pass(1);
  }

  void PassName() {
    const auto end = std::find_if_not(_rest.begin(), _rest.end(), [](char character) {
      return IsNamePart(static_cast<unsigned char>(character));
    });
    _rest.remove_prefix(static_cast<std::size_t>(end - _rest.begin()));
  }

  void PassWhiteSpace() {
    _rest.remove_prefix(std::min(_rest.find_first_not_of(kWhiteSpace), _rest.size()));
  }

  bool Pass(std::size_t count) {
    _rest.remove_prefix(count);
    return true;
  }

  bool IsRestWithinLimits() const {
    const auto count = [this](char sign) {
      return static_cast<std::size_t>(std::count(_rest.begin(), _rest.end(), sign));
    };
    return _depth + count('<') <= _limits.unclearMarkup &&
           _attributes + count('=') <= _limits.unclearMarkup;
  }

  std::string_view _rest;
  const MarkupLimits& _limits;
  std::size_t _depth = 0;
  std::size_t _deepest = 0;
  std::size_t _nodes = 0;
  std::size_t _attributes = 0;  // Of the present element.
};

}  // namespace

bool IsWithinLimits(std::string_view text, const MarkupLimits& limits) {
  return MarkupScanner(text, limits).IsWithinLimits();
}
