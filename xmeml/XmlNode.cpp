#include "xmeml/XmlNode.h"

#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <cstring>
#include <memory>

namespace qrl {

namespace {

const xmlChar* xml(std::string_view text, std::string& storage) {
  storage.assign(text);
  return reinterpret_cast<const xmlChar*>(storage.c_str());
}

std::string text(const xmlChar* chars) {
  return chars == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(chars));
}

bool hasChildren(const xmlNode* node) {
  return node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE ||
         node->type == XML_HTML_DOCUMENT_NODE;
}

// Text of the node's text descendants in document order. Entity references
// add nothing: expanding them could multiply a small file into a huge text.
void appendDescendantText(const xmlNode* node, std::string& out) {
  for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
    if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
      out += text(child->content);
    } else if (hasChildren(child)) {
      appendDescendantText(child, out);
    }
  }
}

std::string qualifiedName(const xmlNode* node) {
  std::string name = text(node->name);
  if (node->ns != nullptr && node->ns->prefix != nullptr)
    name = text(node->ns->prefix) + ":" + name;
  return name;
}

// Length of the well-formed UTF-8 sequence at s[i] and its code point; 0 when
// the bytes there do not form one.
size_t decodeUtf8(std::string_view s, size_t i, char32_t& cp) {
  auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  unsigned char b0 = byte(i);
  size_t len = b0 < 0x80           ? 1
               : (b0 >> 5) == 0x6  ? 2
               : (b0 >> 4) == 0xE  ? 3
               : (b0 >> 3) == 0x1E ? 4
                                   : 0;
  if (len == 0 || i + len > s.size())
    return 0;
  cp = len == 1 ? b0 : len == 2 ? (b0 & 0x1F) : len == 3 ? (b0 & 0x0F) : (b0 & 0x07);
  for (size_t k = 1; k < len; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80)
      return 0;
    cp = (cp << 6) | (byte(i + k) & 0x3F);
  }
  static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (cp < kSmallest[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
    return 0;
  return len;
}

bool allowedInXml(char32_t cp) {
  if (cp < 0x20)
    return cp == 0x9 || cp == 0xA || cp == 0xD;
  return cp != 0xFFFE && cp != 0xFFFF;
}

}  // namespace

XmlNode::Kind XmlNode::kind() const {
  if (node_ == nullptr)
    return Kind::Null;
  switch (node_->type) {
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE:
      return Kind::Document;
    case XML_ELEMENT_NODE:
      return Kind::Element;
    case XML_ATTRIBUTE_NODE:
      return Kind::Attribute;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
      return Kind::Text;
    case XML_COMMENT_NODE:
      return Kind::Comment;
    case XML_PI_NODE:
      return Kind::ProcessingInstruction;
    default:
      return Kind::Other;
  }
}

std::optional<std::string> XmlNode::name() const {
  switch (kind()) {
    case Kind::Element:
    case Kind::Attribute:
    case Kind::ProcessingInstruction:
      return qualifiedName(node_);
    default:
      return std::nullopt;
  }
}

bool XmlNode::hasName(std::string_view wanted) const {
  std::optional<std::string> n = name();
  return n && *n == wanted;
}

std::optional<std::string> XmlNode::attributeForName(std::string_view wanted) const {
  if (kind() != Kind::Element)
    return std::nullopt;
  for (xmlAttr* a = node_->properties; a != nullptr; a = a->next) {
    XmlNode attribute(reinterpret_cast<xmlNode*>(a));
    if (qualifiedName(attribute.get()) == wanted)
      return attribute.stringValue();
  }
  return std::nullopt;
}

std::string XmlNode::stringValue() const {
  std::string out;
  switch (kind()) {
    case Kind::Null:
    case Kind::Other:
      break;
    case Kind::Text:
    case Kind::Comment:
    case Kind::ProcessingInstruction:
      out = text(node_->content);
      break;
    case Kind::Attribute:
      for (const xmlNode* c = node_->children; c != nullptr; c = c->next) {
        if (c->type == XML_TEXT_NODE)
          out += text(c->content);
      }
      break;
    case Kind::Document:
    case Kind::Element:
      appendDescendantText(node_, out);
      break;
  }
  return out;
}

void XmlNode::setStringValue(std::string_view value) const {
  std::string safe = xmlSafeText(value);
  switch (kind()) {
    case Kind::Text:
    case Kind::Comment:
    case Kind::ProcessingInstruction:
      xmlNodeSetContent(node_, reinterpret_cast<const xmlChar*>(safe.c_str()));
      break;
    case Kind::Element:
    case Kind::Attribute: {
      xmlFreeNodeList(node_->children);
      node_->children = nullptr;
      node_->last = nullptr;
      if (!safe.empty()) {
        std::string storage;
        xmlNode* t = xmlNewDocText(node_->doc, xml(safe, storage));
        t->parent = node_;
        node_->children = t;
        node_->last = t;
      }
      break;
    }
    default:
      break;
  }
}

size_t XmlNode::childCount() const {
  size_t count = 0;
  if (node_ != nullptr && hasChildren(node_)) {
    for (xmlNode* c = node_->children; c != nullptr; c = c->next)
      ++count;
  }
  return count;
}

std::vector<XmlNode> XmlNode::children() const {
  std::vector<XmlNode> out;
  if (node_ != nullptr && hasChildren(node_)) {
    for (xmlNode* c = node_->children; c != nullptr; c = c->next)
      out.emplace_back(c);
  }
  return out;
}

XmlNode XmlNode::parent() const {
  return XmlNode(node_ == nullptr ? nullptr : node_->parent);
}

XmlNode XmlNode::nextNode() const {
  if (node_ == nullptr)
    return {};
  if (hasChildren(node_) && node_->children != nullptr)
    return XmlNode(node_->children);
  for (xmlNode* n = node_; n != nullptr; n = n->parent) {
    if (n->next != nullptr)
      return XmlNode(n->next);
  }
  return {};
}

std::string XmlNode::XMLString() const {
  if (node_ == nullptr)
    return {};
  std::unique_ptr<xmlBuffer, decltype(&xmlBufferFree)> buffer(xmlBufferCreate(), xmlBufferFree);
  if (!buffer)
    throw std::bad_alloc();
  xmlSaveCtxt* save = xmlSaveToBuffer(buffer.get(), "UTF-8",
                                      XML_SAVE_NO_EMPTY | XML_SAVE_NO_DECL | XML_SAVE_AS_XML);
  if (save == nullptr)
    throw std::bad_alloc();
  xmlSaveTree(save, node_);
  xmlSaveClose(save);
  return std::string(reinterpret_cast<const char*>(xmlBufferContent(buffer.get())),
                     static_cast<size_t>(xmlBufferLength(buffer.get())));
}

std::string xmlSafeText(std::string_view in) {
  static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string out;
  out.reserve(in.size());
  size_t i = 0;
  while (i < in.size()) {
    char32_t cp = 0;
    size_t len = decodeUtf8(in, i, cp);
    if (len == 0) {
      out += kReplacement;
      ++i;
    } else {
      if (allowedInXml(cp))
        out.append(in, i, len);
      else
        out += kReplacement;
      i += len;
    }
  }
  return out;
}

}  // namespace qrl
