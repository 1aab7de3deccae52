#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xmeml/XmlDocument.h"
#include "xmeml/XmlElement.h"

namespace qrl {
namespace {

XmlElement withText(const std::string& name, const std::string& text) {
  XmlElement e(name);
  e.setStringValue(text);
  return e;
}

TEST(XmlElementTest, CompactFormWritesEmptyElementsAsTwoTagsAndEscapesText) {
  XmlElement a("a");
  a.addAttribute("id", "x\"y<z&");
  a.addChild(withText("b", "1 < 2 & 3 > 2"));
  a.addChild(XmlElement("c"));
  a.addChild(withText("d", ""));
  EXPECT_EQ(a.XMLString(),
            "<a id=\"x&quot;y&lt;z&amp;\"><b>1 &lt; 2 &amp; 3 &gt; 2</b><c></c><d></d></a>");
}

TEST(XmlElementTest, SetStringValueReplacesChildrenAndReadsBackUnescaped) {
  XmlElement a("a");
  a.addChild(withText("b", "old"));
  a.setStringValue("<new>");
  EXPECT_EQ(a.childCount(), 1u);
  EXPECT_EQ(a.stringValue(), "<new>");
  EXPECT_EQ(a.XMLString(), "<a>&lt;new&gt;</a>");
}

TEST(XmlElementTest, AttributesReadBackAndReplace) {
  XmlElement a("a");
  EXPECT_FALSE(a.attributeForName("id"));
  a.addAttribute("id", "1");
  a.addAttribute("id", "2");
  EXPECT_EQ(a.attributeForName("id"), "2");
  EXPECT_EQ(a.XMLString(), "<a id=\"2\"></a>");
}

TEST(XmlElementTest, DetachedNodeKeepsItsSubtreeAndLeavesTheTree) {
  XmlElement a("a");
  XmlElement b("b");
  b.addChild(withText("c", "x"));
  a.addChild(std::move(b));
  a.addChild(XmlElement("d"));
  XmlNode bNode = a.children().front();
  XmlElement detached = XmlElement::detach(bNode);
  EXPECT_EQ(a.XMLString(), "<a><d></d></a>");
  EXPECT_EQ(detached.XMLString(), "<b><c>x</c></b>");
  EXPECT_FALSE(detached.node().parent());
  // From the detached node the walk enters its subtree and then ends.
  XmlNode c = detached.node().nextNode();
  ASSERT_TRUE(c.hasName("c"));
  XmlNode text = c.nextNode();
  EXPECT_EQ(text.kind(), XmlNode::Kind::Text);
  EXPECT_FALSE(text.nextNode());
}

TEST(XmlSafeTextTest, KeepsWellFormedTextAndReplacesWhatXmlCannotCarry) {
  struct Case {
    std::string in;
    std::string out;
  };
  const std::string r = "\xEF\xBF\xBD";
  const std::vector<Case> cases = {
      {"plain", "plain"},
      {"tab\tlf\ncr\r", "tab\tlf\ncr\r"},
      {"\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},
      {"\xF0\x9F\x8E\xAC", "\xF0\x9F\x8E\xAC"},
      {std::string("nul\0x", 5), "nul" + r + "x"},
      {"bell\x07", "bell" + r},
      {"stray\xE9z", "stray" + r + "z"},
      {"overlong\xC0\xAF", "overlong" + r + r},
      {"surrogate\xED\xA0\x80", "surrogate" + r + r + r},
      {"cut\xE2\x82", "cut" + r + r},
      {"nonchar\xEF\xBF\xBF", "nonchar" + r},
  };
  for (const Case& c : cases)
    EXPECT_EQ(xmlSafeText(c.in), c.out) << c.in;
}

TEST(XmlSafeTextTest, BadBytesNeverReachTheSerialisation) {
  XmlElement a("a");
  a.setStringValue("x\x01y\xFF");
  EXPECT_EQ(a.XMLString(), "<a>x\xEF\xBF\xBDy\xEF\xBF\xBD</a>");
}

TEST(XmlDocumentTest, SettingsAndWholeDocumentSerialisation) {
  XmlDocument document;
  document.setCharacterEncoding("UTF-8");
  document.setDocumentTypeName("xmeml");
  XmlElement root("xmeml");
  root.addAttribute("version", "5");
  root.addChild(withText("name", "\xC3\xA9t\xC3\xA9"));
  document.setRootElement(std::move(root));
  EXPECT_EQ(document.version(), "1.0");
  EXPECT_EQ(document.characterEncoding(), "UTF-8");
  EXPECT_EQ(document.documentTypeName(), "xmeml");
  EXPECT_EQ(document.XMLData(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n"
            "<xmeml version=\"5\"><name>\xC3\xA9t\xC3\xA9</name></xmeml>\n");
}

TEST(XmlDocumentTest, ParserRepairsOrRefuses) {
  struct Case {
    std::string input;
    std::string root;  // "" when no document is expected
  };
  const std::vector<Case> cases = {
      {"<a><b>1</b></a>", "<a><b>1</b></a>"},
      {"<a><b>1</a>", "<a><b>1</b></a>"},
      {"<a>x &amp; y</a>", "<a>x &amp; y</a>"},
      {"<a>\n  <b/>\n  <c>t</c>\n</a>", "<a><b></b><c>t</c></a>"},
      {"", ""},
      {"just text", ""},
      {std::string("\x00\x01\x02", 3), ""},
  };
  for (const Case& c : cases) {
    auto bytes = std::span(reinterpret_cast<const uint8_t*>(c.input.data()), c.input.size());
    auto document = XmlDocument::parseData(bytes);
    if (c.root.empty()) {
      EXPECT_EQ(document, nullptr) << c.input;
    } else {
      ASSERT_NE(document, nullptr) << c.input;
      EXPECT_EQ(document->rootElement().XMLString(), c.root) << c.input;
    }
  }
}

TEST(XmlDocumentTest, ExternalEntitiesAreNotLoaded) {
  std::string input = "<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><a>&e;</a>";
  auto document = XmlDocument::parseData(
      std::span(reinterpret_cast<const uint8_t*>(input.data()), input.size()));
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(document->rootElement().stringValue(), "");
  EXPECT_EQ(document->rootElement().XMLString(), "<a>&e;</a>");
}

TEST(XmlNodeTest, NextNodeWalksInDocumentOrderWithTextNodes) {
  std::string input = "<r><a>1<b>2</b></a><c/>3</r>";
  auto document = XmlDocument::parseData(
      std::span(reinterpret_cast<const uint8_t*>(input.data()), input.size()));
  ASSERT_NE(document, nullptr);
  std::vector<std::string> seen;
  for (XmlNode n = document->rootElement().nextNode(); n; n = n.nextNode())
    seen.push_back(n.name().value_or("#" + n.stringValue()));
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "#1", "b", "#2", "c", "#3"}));
}

}  // namespace
}  // namespace qrl
