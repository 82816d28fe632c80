/// What the limits of a job document let through to the parser.
#include "encode/markup_limits.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

constexpr MarkupLimits kSmall = {.depth = 3, .nodes = 12, .attributes = 2, .unclearMarkup = 3};

TEST(MarkupLimits, BoundDepthNumberAndAttributes) {
  const struct {
    const char* text;
    bool isWithin;
  } cases[] = {
      {"<a><b><c/></b></a>", true},
      {"<a><b><c><d/></c></b></a>", false},
      {"<a><b/><b/><b/><b/><b/><b/><b/><b/><b/><b/></a>", true},
      {"<a><b/><b/><b/><b/><b/><b/><b/><b/><b/><b/><b/></a>", false},
      {"<a><!--<b><b><b>--><![CDATA[<b><b><b>]]><b c='<d><d><d>'/></a>", true},
      {"<?xml version=\"1.0\" encoding='~' standalone='x'?><!DOCTYPE a><a b='1' c='2'/><b/>", true},
      {"<a b='1' c='2'/><a b='1' c='2'/>", true},
      {"<a b='1' c='2' d='3'/>", false},
      {"<a b='</a>'><a b='</a>'><a b='</a>'><a b='</a>'>", false},
      {"<a>\xC3\xA4</a><a><b/></a>", true},
      {"<a></a><b><c><d/></c></b>", true},
      {"</a><a><b><c><d>", false},
      {"<a/><b><c><d><e>", false},
      {"<><a><b><c><d>", false},
      {"<a>x<b><c><d>", false},
      {"<z><A><Z><_>", false},
      {"<a><b><c><\x7F>", false},
      // What is regular may have more markup than what is not.
      {"<!----><a/><a/><a/>", true},
      {"<![CDATA[]]><a/><a/><a/>", true},
      {"<?xml?><a/><a/><a/>", true},
      {"<1><1><1><1>", true},
      {"<aZz09_-.:\x7F/><a/><a/><a/>", true},
      {"<a \t\n\v\f\rb \t=\n'1'/><a/><a/><a/>", true},
      {"<a>z</a><a/><a/>", true},
      {"<a>\xC0z</a><a/><a/>", true},
      {"<a>\xE0zz</a><a/><a/>", true},
      {"<a>\xF0zzz</a><a/><a/>", true},
      {"<a b=1 c=2 d=3>", true},
      // Behind an irregularity each sign counts.
      {"<?xmlx version='1'?><a/><a/><a/>", false},
      {"<?xml x='1'?><a/><a/><a/>", false},
      {"<?xml version='&'?><a/><a/><a/>", false},
      {"<?xml version='>'?><a/><a/><a/>", false},
      {"<?xml version='\x80'?><a/><a/><a/>", false},
      {"<a ='1'/><a/><a/><a/>", false},
      {"<a>\xC0</a></a></a></a>", false},
      {"<a b=1><c/></a>", true},
      {"<a b=1><c/><c/></a>", false},
      {"<a b=1 c=2 d=3 e=4>", false},
      {"<a>\xF0</a></a></a></a>", false},
      {"<a>\xF0zz</a></a></a></a>", false},
      {"<a>\xE0z</a></a></a></a>", false},
      {"<a></><b><c><d><e>", false},
      {"<?xml a\" version=\"1?><!-- \"?><a><a><a><a>-->", false},
      {"\xF0<===", true},
      {"", true},
  };
  for (const auto& expected : cases) {
    EXPECT_EQ(IsWithinLimits(expected.text, kSmall), expected.isWithin) << expected.text;
  }
}

std::string Repeat(const std::string& piece, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += piece;
  return text;
}

TEST(MarkupLimits, AreFarBeyondAnyJob) {
  const std::string write = "<!-- card --><write segment='3' offset='0' data='1111'></write>\n";
  EXPECT_TRUE(IsWithinLimits("<zsdk_job>" + Repeat(write, 100000) + "</zsdk_job>"));
  EXPECT_TRUE(IsWithinLimits(Repeat("<a>", 256) + Repeat("</a>", 256)));
  EXPECT_FALSE(IsWithinLimits(Repeat("<a>", 257)));
  EXPECT_TRUE(IsWithinLimits("<a" + Repeat(" b=''", 100) + "/>"));
  EXPECT_FALSE(IsWithinLimits("<a" + Repeat(" b=''", 101) + "/>"));
  EXPECT_FALSE(IsWithinLimits("<a>" + Repeat("<b/>", 500000) + "</a>"));
  EXPECT_TRUE(IsWithinLimits("<a b=1>" + Repeat("<c/>", 999)));
}

struct Extent {
  std::size_t depth = 0;
  std::size_t attributes = 0;  // Of the element that has the most.
};

Extent ExtentOf(const TiXmlNode& node) {
  Extent extent;
  if (const TiXmlElement* element = node.ToElement()) {
    for (auto* at = element->FirstAttribute(); at != nullptr; at = at->Next()) ++extent.attributes;
  }
  for (const TiXmlNode* child = node.FirstChild(); child != nullptr; child = child->NextSibling()) {
    const Extent below = ExtentOf(*child);
    extent.depth = std::max(extent.depth, below.depth + (child->ToElement() != nullptr ? 1 : 0));
    extent.attributes = std::max(extent.attributes, below.attributes);
  }
  return extent;
}

/// Whatever the pieces make together, the parser builds nothing beyond the limits of what it is
/// given.
TEST(MarkupLimits, HoldForWhateverTheParserMakesOfDamagedText) {
  const std::string pieces[] = {
      "<a>", "<a>",   "<a>",      "</a>", "<b/>",      "<a b='", "<a c=\"",
      "'>",  "\">",   " d='1'",   " e=2", "<!--",      "-->",    ">",
      "]]>", "<?xml", "<?",       "?>",   "version",   "=\"",    "\"",
      "'",   "/",     "<",        "=",    " ",         "x",      "&#x3C;",
      "&",   "\xF0",  "\xE2\x82", "\xC3", "<![CDATA[", "</",     "\xEF\xBB\xBF",
      "<!"};
  std::mt19937 random(20261123);
  const auto upTo = [&](std::size_t last) { return random() % (last + 1); };
  int within = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text = upTo(1) == 0 ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" : "";
    for (std::size_t left = 3 + upTo(20); left > 0; --left) {
      text += pieces[upTo(std::size(pieces) - 1)];
    }
    if (!IsWithinLimits(text, kSmall)) continue;
    ++within;
    TiXmlDocument document;
    document.Parse((text + std::string(4, '\0')).c_str());
    const Extent extent = ExtentOf(document);
    ASSERT_LE(extent.depth, kSmall.depth) << text;
    ASSERT_LE(extent.attributes, kSmall.unclearMarkup) << text;
  }
  EXPECT_GT(within, 2000);
}

}  // namespace
