#include "xmeml/XmlElement.h"

#include <libxml/tree.h>

#include <new>
#include <utility>

namespace qrl {

XmlElement::XmlElement(std::string_view name) {
  std::string safe = xmlSafeText(name);
  xmlNode* node = xmlNewNode(nullptr, reinterpret_cast<const xmlChar*>(safe.c_str()));
  if (node == nullptr)
    throw std::bad_alloc();
  node_ = XmlNode(node);
}

XmlElement XmlElement::detach(XmlNode handle) {
  xmlNode* node = handle.get();
  if (node == nullptr)
    return XmlElement(static_cast<xmlNode*>(nullptr));
  xmlUnlinkNode(node);
  // Free of its document too, so that it may outlive the document.
  xmlSetTreeDoc(node, nullptr);
  return XmlElement(node);
}

XmlElement XmlElement::copyOf(XmlNode handle) {
  if (!handle)
    return XmlElement(static_cast<xmlNode*>(nullptr));
  xmlNode* copy = xmlDocCopyNode(handle.get(), nullptr, 1);
  if (copy == nullptr)
    throw std::bad_alloc();
  return XmlElement(copy);
}

XmlElement::~XmlElement() {
  if (node_)
    xmlFreeNode(node_.get());
}

XmlElement::XmlElement(XmlElement&& other) noexcept : node_(std::exchange(other.node_, {})) {}

XmlElement& XmlElement::operator=(XmlElement&& other) noexcept {
  if (this != &other) {
    if (node_)
      xmlFreeNode(node_.get());
    node_ = std::exchange(other.node_, {});
  }
  return *this;
}

void XmlElement::addAttribute(std::string_view name, std::string_view value) {
  if (node_.kind() != XmlNode::Kind::Element)
    return;
  std::string safeName = xmlSafeText(name);
  std::string safeValue = xmlSafeText(value);
  if (xmlSetProp(node_.get(), reinterpret_cast<const xmlChar*>(safeName.c_str()),
                 reinterpret_cast<const xmlChar*>(safeValue.c_str())) == nullptr)
    throw std::bad_alloc();
}

void XmlElement::addChild(XmlElement child) {
  if (!child || node_.kind() != XmlNode::Kind::Element)
    return;
  xmlNode* c = child.release();
  // Adjacent text nodes would be merged (and the child freed) by
  // xmlAddChild; linking by hand keeps every child as given.
  c->parent = node_.get();
  c->prev = node_.get()->last;
  c->next = nullptr;
  if (node_.get()->last != nullptr)
    node_.get()->last->next = c;
  else
    node_.get()->children = c;
  node_.get()->last = c;
  if (c->doc != node_.get()->doc)
    xmlSetTreeDoc(c, node_.get()->doc);
}

_xmlNode* XmlElement::release() {
  return std::exchange(node_, {}).get();
}

}  // namespace qrl
