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
  for (const char* within :
       {"<a><b><c/></b></a>", "<a><b/><b/><b/><b/><b/><b/><b/><b/><b/><b/></a>",
        "<a><!--<b><b><b>--><![CDATA[<b><b><b>]]><b c='<d><d><d>'/></a>",
        "<?xml version=\"1.0\" encoding='~' standalone='x'?><!DOCTYPE a><a b='1' c='2'/><b/>",
        "<a b='1' c='2'/><a b='1' c='2'/>", "<a>\xC3\xA4</a><a><b/></a>",
        "<a></a><b><c><d/></c></b>",
        // What is regular may have more markup than what is not.
        "<!----><a/><a/><a/>", "<![CDATA[]]><a/><a/><a/>", "<?xml?><a/><a/><a/>", "<1><1><1><1>",
        "<aZz09_-.:\x7F/><a/><a/><a/>", "<a \t\n\v\f\rb \t=\n'1'/><a/><a/><a/>", "<a>z</a><a/><a/>",
        "<a>\xC0z</a><a/><a/>", "<a>\xE0zz</a><a/><a/>", "<a>\xF0zzz</a><a/><a/>",
        "<a b=1 c=2 d=3>", "<a b=1><c/></a>", "\xF0<===", ""}) {
    EXPECT_TRUE(IsWithinLimits(within, kSmall)) << within;
  }
  for (const char* beyond :
       {"<a><b><c><d/></c></b></a>", "<a><b/><b/><b/><b/><b/><b/><b/><b/><b/><b/><b/></a>",
        "<a b='1' c='2' d='3'/>", "<a b='</a>'><a b='</a>'><a b='</a>'><a b='</a>'>",
        "</a><a><b><c><d>", "<a/><b><c><d><e>", "<><a><b><c><d>", "<a>x<b><c><d>", "<z><A><Z><_>",
        "<a><b><c><\x7F>",
        // Behind an irregularity each sign counts.
        "<?xmlx version='1'?><a/><a/><a/>", "<?xml x='1'?><a/><a/><a/>",
        "<?xml version='&'?><a/><a/><a/>", "<?xml version='>'?><a/><a/><a/>",
        "<?xml version='\x80'?><a/><a/><a/>", "<a ='1'/><a/><a/><a/>", "<a>\xC0</a></a></a></a>",
        "<a b=1><c/><c/></a>", "<a b=1 c=2 d=3 e=4>", "<a>\xF0</a></a></a></a>",
        "<a>\xF0zz</a></a></a></a>", "<a>\xE0z</a></a></a></a>", "<a></><b><c><d><e>",
        "<?xml a\" version=\"1?><!-- \"?><a><a><a><a>-->"}) {
    EXPECT_FALSE(IsWithinLimits(beyond, kSmall)) << beyond;
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

/// The depth, and the attributes of the element that has the most.
using Extent = std::pair<std::size_t, std::size_t>;

Extent ExtentOf(const TiXmlNode& node) {
  Extent extent;
  auto& [depth, attributes] = extent;
  if (const TiXmlElement* element = node.ToElement()) {
    for (auto* at = element->FirstAttribute(); at != nullptr; at = at->Next()) ++attributes;
  }
  for (const TiXmlNode* child = node.FirstChild(); child != nullptr; child = child->NextSibling()) {
    const auto [depthBelow, attributesBelow] = ExtentOf(*child);
    depth = std::max(depth, depthBelow + (child->ToElement() != nullptr ? 1 : 0));
    attributes = std::max(attributes, attributesBelow);
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
    const auto [depth, attributes] = ExtentOf(document);
    ASSERT_LE(depth, kSmall.depth) << text;
    ASSERT_LE(attributes, kSmall.unclearMarkup) << text;
  }
  EXPECT_GT(within, 2000);
}

}  // namespace
