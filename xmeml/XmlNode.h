#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct _xmlNode;

namespace qrl {

// A non-owning handle on one node of an XML tree held by an XmlDocument or an
// XmlElement; it stays valid while that owner keeps the node. A default handle
// is null and answers empty results.
class XmlNode {
 public:
  enum class Kind {
    Null,
    Document,
    Element,
    Attribute,
    Text,
    Comment,
    ProcessingInstruction,
    Other
  };

  XmlNode() = default;
  explicit XmlNode(_xmlNode* node) : node_(node) {}

  explicit operator bool() const { return node_ != nullptr; }
  _xmlNode* get() const { return node_; }
  Kind kind() const;

  // Elements, attributes and processing instructions have a name; text,
  // comments and documents have none.
  std::optional<std::string> name() const;
  bool hasName(std::string_view name) const;
  // Only elements carry attributes.
  std::optional<std::string> attributeForName(std::string_view name) const;

  // The text of the node and all its descendants, unescaped.
  std::string stringValue() const;
  // Replaces an element's children with one text node (escaped when written);
  // sets the content of a text or comment node.
  void setStringValue(std::string_view value) const;

  // Children in order, text nodes included; attributes are not children, and
  // an entity reference counts as a leaf.
  size_t childCount() const;
  std::vector<XmlNode> children() const;
  XmlNode parent() const;
  // Document order: the first child, else the next sibling, else the next
  // sibling of the nearest ancestor that has one; null at the end. A detached
  // subtree has no ancestors, so the walk ends when it leaves it.
  XmlNode nextNode() const;

  // Compact serialisation in UTF-8: no whitespace added between tags, text
  // escaped, an empty element written as an opening and a closing tag.
  // Outside a document, non-ASCII characters in attribute values come out as
  // character references (equivalent XML).
  std::string XMLString() const;

  friend bool operator==(const XmlNode&, const XmlNode&) = default;

 private:
  _xmlNode* node_ = nullptr;
};

// Makes text safe to hold in an XML 1.0 document: every byte that does not
// start a well-formed UTF-8 sequence, and every character XML 1.0 cannot
// carry (control characters other than tab, line feed and carriage return),
// becomes U+FFFD. Well-formed text passes unchanged.
std::string xmlSafeText(std::string_view text);

}  // namespace qrl
