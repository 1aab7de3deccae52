#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "xmeml/XmlNode.h"

namespace qrl {

// Owns one XML node that is in no tree (normally an element) with all its
// descendants. Adding it to a parent hands the node over to the parent's
// owner. Move-only; a moved-from element is null.
class XmlElement {
 public:
  // A new element with the name and nothing in it.
  explicit XmlElement(std::string_view name);
  // Takes a node out of its tree and its document and owns it from then on;
  // handles into its subtree stay valid, handles on its old siblings and
  // ancestors no longer lead to it. A null handle gives a null element.
  static XmlElement detach(XmlNode node);
  // A deep copy of any node, owned by the caller.
  static XmlElement copyOf(XmlNode node);

  ~XmlElement();
  XmlElement(XmlElement&& other) noexcept;
  XmlElement& operator=(XmlElement&& other) noexcept;
  XmlElement(const XmlElement&) = delete;
  XmlElement& operator=(const XmlElement&) = delete;

  explicit operator bool() const { return static_cast<bool>(node_); }
  XmlNode node() const { return node_; }

  std::string name() const { return node_.name().value_or(""); }
  std::optional<std::string> attributeForName(std::string_view name) const {
    return node_.attributeForName(name);
  }
  std::string stringValue() const { return node_.stringValue(); }
  size_t childCount() const { return node_.childCount(); }
  std::vector<XmlNode> children() const { return node_.children(); }
  std::string XMLString() const { return node_.XMLString(); }

  // Adds (or replaces) an attribute; the value is escaped when written.
  void addAttribute(std::string_view name, std::string_view value);
  void setStringValue(std::string_view value) { node_.setStringValue(value); }
  // Appends the child as the last child; this element's tree owns it then.
  void addChild(XmlElement child);

  // Gives up ownership; the caller is responsible for the node.
  _xmlNode* release();

 private:
  explicit XmlElement(_xmlNode* node) : node_(node) {}
  XmlNode node_;
};

}  // namespace qrl
