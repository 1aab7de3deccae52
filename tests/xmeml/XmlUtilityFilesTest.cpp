#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/xmeml/XmlTestSupport.h"
#include "xmeml/QRLXmlUtility.h"

namespace qrl {
namespace {

using testing::readText;
using testing::TempDirectory;
using testing::writeText;
using U = QRLXmlUtility;

constexpr const char* kSequence =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<xmeml version=\"5\">\n"
    "\t<sequence id=\"seq1\">\n"
    "\t\t<name>First</name>\n"
    "\t\t<rate>\n\t\t\t<ntsc>FALSE</ntsc>\n\t\t\t<timebase>30</timebase>\n\t\t</rate>\n"
    "\t\t<clip id=\"A1\" kind=\"video\">\n\t\t\t<name>Second</name>\n\t\t</clip>\n"
    "\t</sequence>\n"
    "</xmeml>";

class XmlFilesTest : public ::testing::Test {
 protected:
  std::filesystem::path file(const std::string& name, const std::string& text) {
    std::filesystem::path p = dir_ / name;
    writeText(p, text);
    return p;
  }
  TempDirectory dir_;
};

TEST_F(XmlFilesTest, LeafKeysKeepTheLastValuePerParentName) {
  auto leaves = U::leafKeysAndValuesFromXmlFile(file("seq.xml", kSequence));
  EXPECT_EQ(leaves, (std::map<std::string, std::string>{
                        {"name", "Second"}, {"ntsc", "FALSE"}, {"timebase", "30"}}));
  EXPECT_TRUE(U::leafKeysAndValuesFromXmlFile(dir_ / "missing.xml").empty());
}

TEST_F(XmlFilesTest, LeafKeysCountEmptyElementsUnderTheirParent) {
  auto leaves = U::leafKeysAndValuesFromXmlFile(file("e.xml", "<r><a><b/></a><c>t</c></r>"));
  EXPECT_EQ(leaves, (std::map<std::string, std::string>{{"a", ""}, {"c", "t"}}));
}

TEST_F(XmlFilesTest, FindXmlTagInfoStripsTheTagsOrReturnsTheLine) {
  auto path = file("seq.xml", kSequence);
  EXPECT_EQ(U::findXmlTagInfo("<timebase>", path), "30");
  EXPECT_EQ(U::findXmlTagInfo("<name>", path), "First");
  EXPECT_EQ(U::findXmlTagInfo("<clip", path, std::string("A1")),
            "<clip id=\"A1\" kind=\"video\"><name>Second</name></clip>");
  EXPECT_EQ(U::findXmlTagInfo("<clip", path, std::string("B2")), std::nullopt);
  EXPECT_EQ(U::findXmlTagInfo("<absent>", path), std::nullopt);
  EXPECT_EQ(U::findXmlTagInfo("", path), std::nullopt);
  EXPECT_EQ(U::findXmlTagInfo("<timebase>", dir_ / "missing.xml"), std::nullopt);
  // The root element's own line is never a candidate.
  EXPECT_EQ(U::findXmlTagInfo("<xmeml", path), std::nullopt);
}

TEST_F(XmlFilesTest, StripValueFromInfoTable) {
  struct Case {
    std::optional<std::string> info;
    std::string descriptor;
    std::optional<std::string> expected;
  };
  const std::vector<Case> cases = {
      {"<clip id=\"A1\" kind=\"video\">", "id", "A1"},
      {"<clip id=\"A1\" kind=\"video\">", "kind", "video"},
      {"<clip id=\"A1\">", "name", std::nullopt},
      {"<clip id=A1>", "id", std::nullopt},
      {"<clip id=\"A1>", "id", std::nullopt},
      {"<clip id=\"\">", "id", ""},
      {std::nullopt, "id", std::nullopt},
      {"<clip id=\"A1\">", "", std::nullopt},
  };
  for (const Case& c : cases)
    EXPECT_EQ(U::stripValueFromInfo(c.info, c.descriptor), c.expected)
        << c.info.value_or("(none)") << " / " << c.descriptor;
}

TEST_F(XmlFilesTest, NodeWithNameSkipsTheRootElement) {
  auto nested = file("n.xml", "<a><b><a>inner</a></b></a>");
  auto found = U::nodeWithName("a", nested);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->XMLString(), "<a>inner</a>");
  EXPECT_FALSE(U::nodeWithName("a", file("flat.xml", "<a><b/></a>")));
  EXPECT_FALSE(U::nodeWithName("b", dir_ / "missing.xml"));
  auto clip = U::nodeWithName("clip", file("seq.xml", kSequence));
  ASSERT_TRUE(clip);
  EXPECT_EQ(clip->attributeForName("id"), "A1");
}

TEST_F(XmlFilesTest, MalformedInputIsRepairedBeforeTheHelpersSeeIt) {
  auto path =
      file("broken.xml", "<xmeml><clip><name>Broken & bold</name><rate><timebase>25</clip>");
  EXPECT_EQ(U::findXmlTagInfo("<timebase>", path), "25");
  auto leaves = U::leafKeysAndValuesFromXmlFile(path);
  EXPECT_EQ(leaves["timebase"], "25");
  EXPECT_EQ(leaves["name"], "Broken  bold");
  auto garbage = file("garbage.xml", "\x01\x02 not xml at all");
  EXPECT_EQ(U::xmlDocumentForXmlFile(garbage), nullptr);
  EXPECT_FALSE(U::removeXMLNode("clip", garbage, true));
  EXPECT_EQ(readText(garbage), "\x01\x02 not xml at all");
}

TEST_F(XmlFilesTest, RemoveWithHeaderTakesTheWholeFirstElement) {
  auto path = file("seq.xml", kSequence);
  ASSERT_TRUE(U::removeXMLNode("rate", path, true));
  std::string text = readText(path);
  EXPECT_EQ(text,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<xmeml version=\"5\"><sequence id=\"seq1\"><name>First</name>"
            "<clip id=\"A1\" kind=\"video\"><name>Second</name></clip></sequence></xmeml>\n");
  testing::expectWellFormed(path);
}

TEST_F(XmlFilesTest, RemoveWithoutHeaderTakesOnlyTheFirstChild) {
  auto path = file("seq.xml", kSequence);
  ASSERT_TRUE(U::removeXMLNode("rate", path, false));
  std::string text = readText(path);
  EXPECT_NE(text.find("<rate><timebase>30</timebase></rate>"), std::string::npos) << text;
  EXPECT_EQ(text.find("ntsc"), std::string::npos) << text;
}

TEST_F(XmlFilesTest, RemoveOnlyDescendsTheFirstChildChainOfADetachedNode) {
  // Once <a> is cut out, the walk follows first children inside it and stops:
  // the second <a> survives.
  auto path = file("two.xml", "<r><a><b><c>x</c></b><d/></a><a>keep</a></r>");
  ASSERT_TRUE(U::removeXMLNode("a", path, true));
  EXPECT_EQ(readText(path), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r><a>keep</a></r>\n");
  auto noHeader = file("three.xml", "<r><a><b><c>x</c></b><d/></a></r>");
  ASSERT_TRUE(U::removeXMLNode("a", noHeader, false));
  EXPECT_EQ(readText(noHeader),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r><a><d></d></a></r>\n");
}

TEST_F(XmlFilesTest, RemoveOfAnAbsentTagRewritesTheFileUnchangedInContent) {
  auto path = file("seq.xml", kSequence);
  EXPECT_TRUE(U::removeXMLNode("absent", path, true));
  EXPECT_EQ(U::leafKeysAndValuesFromXmlFile(path)["timebase"], "30");
}

TEST_F(XmlFilesTest, RemoveReportsAFileThatCannotBeReplaced) {
  // A name of 250 bytes leaves no room for the temporary file beside it
  // (names stop at 255 bytes), so the rewrite fails even for root.
  auto path = file(std::string(250, 'n'), kSequence);
  EXPECT_FALSE(U::removeXMLNode("rate", path, true));
  EXPECT_EQ(readText(path), kSequence);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.path()), {}), 1);
}

TEST(XmlTreeHelpersTest, AncestorsNearestAttributeChildrenAndDescendants) {
  std::string text = "<r id=\"root\"><a><b k=\"1\"><c>t</c></b><d/></a></r>";
  auto document =
      XmlDocument::parseData(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
  ASSERT_NE(document, nullptr);
  auto utility = U::xmlUtility();
  XmlNode r = document->rootElement();
  XmlNode a = U::childNodeWithName("a", r);
  XmlNode b = U::childNodeWithName("b", a);
  XmlNode c = U::childNodeWithName("c", b);
  ASSERT_TRUE(c);
  EXPECT_FALSE(U::childNodeWithName("c", a));

  EXPECT_EQ(utility->ancestorsForElement(c), (std::vector<XmlNode>{b, a, r, document->node()}));
  EXPECT_TRUE(utility->ancestorsForElement(document->node()).empty());
  EXPECT_EQ(utility->nearestElementWithAttribute("k", c), b);
  EXPECT_EQ(utility->nearestElementWithAttribute("k", b), b);
  EXPECT_EQ(utility->nearestElementWithAttribute("id", c), r);
  EXPECT_FALSE(utility->nearestElementWithAttribute("zz", c));

  std::vector<std::string> names;
  for (XmlNode n : U::allDescendantsForNode(r))
    names.push_back(n.name().value_or("#text"));
  EXPECT_EQ(names, (std::vector<std::string>{"a", "b", "c", "#text", "d"}));

  U::updateValueForChildWithName("c", b, "new & improved");
  U::updateValueForChildWithName("zz", b, "ignored");
  EXPECT_EQ(r.XMLString(),
            "<r id=\"root\"><a><b k=\"1\"><c>new &amp; improved</c></b><d></d></a></r>");
}

}  // namespace
}  // namespace qrl
