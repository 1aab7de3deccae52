#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/process/SystemLog.h"
#include "xmeml/QRLXmlUtility.h"
#include "xmeml/XmlDocument.h"

namespace qrl {
namespace {

std::unique_ptr<XmlDocument> parse(const std::string& text) {
  return XmlDocument::parseData(
      std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

std::string printed(const std::string& xml, int32_t depth) {
  auto document = parse(xml);
  EXPECT_NE(document, nullptr) << xml;
  if (!document)
    return "";
  return QRLXmlUtility::xmlUtility()->spacedXmlStringForElement(document->rootElement(), depth);
}

TEST(PrettyPrinterTest, LayoutTable) {
  struct Case {
    const char* what;
    std::string xml;
    int32_t depth;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"leaf and empty element", "<a><b>x</b><c/></a>", 0, "<a>\n\t<b>x</b>\n\t<c></c>\n</a>"},
      {"nested closings", "<a><b><c>x</c></b></a>", 0, "<a>\n\t<b>\n\t\t<c>x</c>\n\t</b>\n</a>"},
      {"three closings in a row", "<a><b><c><d>x</d></c></b><e/></a>", 0,
       "<a>\n\t<b>\n\t\t<c>\n\t\t\t<d>x</d>\n\t\t</c>\n\t</b>\n\t<e></e>\n</a>"},
      {"starting depth indents all but follows the running depth", "<a><b><c>x</c></b></a>", 2,
       "\t\t<a>\n\t\t\t<b>\n\t\t\t\t<c>x</c>\n\t\t\t</b>\n\t\t</a>"},
      {"a closing tag after an opening one is not indented", "<a><b></b></a>", 1,
       "\t<a>\n\t\t<b></b>\n\t</a>"},
      {"the last tag stays at the starting depth", "<a><b><c/></b></a>", 0,
       "<a>\n\t<b>\n\t\t<c></c>\n\t</b>\n</a>"},
      {"negative depth counts as none", "<a><b>x</b></a>", -3, "<a>\n<b>x</b>\n</a>"},
      {"a lone empty element", "<a/>", 0, "<a></a>"},
      {"escaped text is not split", "<a><b>1 &lt; 2</b></a>", 0, "<a>\n\t<b>1 &lt; 2</b>\n</a>"},
      {"attributes stay with their tag", "<a id=\"1\"><b k=\"v\">x</b></a>", 0,
       "<a id=\"1\">\n\t<b k=\"v\">x</b>\n</a>"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(printed(c.xml, c.depth), c.expected) << c.what;
}

TEST(PrettyPrinterTest, MixedContentKeepsTheRulesMechanically) {
  // Text after a closing tag travels with that closing tag's piece.
  EXPECT_EQ(printed("<a><b>x</b>tail<c>y</c></a>", 0), "<a>\n\t<b>x</b>tail\n\t<c>y</c>\n</a>");
}

TEST(PrettyPrinterTest, LogsLookOncePerCall) {
  process::CapturingLog log;
  printed("<a><b/></a>", 0);
  printed("<a/>", 0);
  EXPECT_EQ(log.messages(), (std::vector<std::string>{"Look", "Look"}));
}

TEST(CreateElementTest, AttributesOnlyFromEqualNonEmptyArraysOfStrings) {
  using archive::Value;
  struct Case {
    const char* what;
    std::optional<Value::Array> names;
    std::optional<Value::Array> values;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"pairs in order", Value::Array{"a", "b"}, Value::Array{"1", "2"}, "<e a=\"1\" b=\"2\"></e>"},
      {"non-string pairs skipped", Value::Array{"a", int64_t{5}, "c"},
       Value::Array{"1", "2", Value::Array{}}, "<e a=\"1\"></e>"},
      {"counts differ", Value::Array{"a", "b"}, Value::Array{"1"}, "<e></e>"},
      {"names missing", std::nullopt, Value::Array{"1"}, "<e></e>"},
      {"values missing", Value::Array{"a"}, std::nullopt, "<e></e>"},
      {"both empty", Value::Array{}, Value::Array{}, "<e></e>"},
  };
  for (const Case& c : cases) {
    XmlElement e = QRLXmlUtility::createElementWithName(
        "e", c.names ? &*c.names : nullptr, c.values ? &*c.values : nullptr, std::nullopt);
    EXPECT_EQ(e.XMLString(), c.expected) << c.what;
  }
}

TEST(CreateElementTest, TextIsEscapedAndNoTextLeavesTheElementEmpty) {
  EXPECT_EQ(QRLXmlUtility::createElementWithName("e", nullptr, nullptr, "a<b&c").XMLString(),
            "<e>a&lt;b&amp;c</e>");
  XmlElement empty = QRLXmlUtility::createElementWithName("e", nullptr, nullptr, std::nullopt);
  EXPECT_EQ(empty.childCount(), 0u);
}

TEST(WhitespaceHelperTest, RemovesTrailingWhitespaceOnly) {
  struct Case {
    std::string in;
    std::string out;
  };
  const std::vector<Case> cases = {
      {"abc", "abc"},
      {"abc  \t\n", "abc"},
      {"  abc", "  abc"},
      {" a b \r\n", " a b"},
      {"a\xC2\xA0", "a"},            // no-break space is whitespace
      {"a\xE2\x80\xA8 ", "a"},       // line separator
      {"\xC3\xA9", "\xC3\xA9"},      // U+00E9: low byte E9 is é again
      {"\xC4\x81x", "\x01x"},        // U+0101 keeps only its low byte
      {"\xE2\x82\xAC", "\xC2\xAC"},  // U+20AC becomes U+00AC
      {"", ""},
      {" \t ", ""},
  };
  auto utility = QRLXmlUtility::xmlUtility();
  for (const Case& c : cases)
    EXPECT_EQ(utility->removeLeadingAndTrailingWhiteSpaceFromString(c.in), c.out) << c.in;
}

}  // namespace
}  // namespace qrl
