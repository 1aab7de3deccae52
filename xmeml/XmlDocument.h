#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "xmeml/XmlElement.h"
#include "xmeml/XmlNode.h"

struct _xmlDoc;

namespace qrl {

// Owns an XML document: its settings (version, encoding, document type), its
// root element and everything under it. A resource: one owner, not copyable.
class XmlDocument {
 public:
  // An empty document with XML version "1.0" and no root element.
  XmlDocument();
  ~XmlDocument();
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;

  // Parses leniently: malformed input is repaired as far as libxml2's
  // recovering parser can (unclosed elements closed, stray end tags and bad
  // characters dropped), and whitespace-only text between elements is
  // dropped. Nothing is fetched from the network, no external entity or DTD is
  // loaded and entities are kept as references. Null when no root element
  // comes out of the input.
  static std::unique_ptr<XmlDocument> parseFile(const std::filesystem::path& path);
  static std::unique_ptr<XmlDocument> parseData(std::span<const uint8_t> bytes);

  // The document node itself (the root element's parent).
  XmlNode node() const;
  XmlNode rootElement() const;
  // Replaces the root element; the document owns it from then on.
  void setRootElement(XmlElement root);

  std::string version() const;
  void setVersion(std::string_view version);
  std::optional<std::string> characterEncoding() const;
  void setCharacterEncoding(std::string_view encoding);
  // A document type declaration with the name and no identifiers
  // ("<!DOCTYPE name>"), replacing any there was.
  void setDocumentTypeName(std::string_view name);
  std::optional<std::string> documentTypeName() const;

  // The whole document serialised in UTF-8: the XML declaration, the
  // document type, the root element written compactly, a final line feed.
  std::string XMLData() const;

 private:
  explicit XmlDocument(_xmlDoc* doc) : doc_(doc) {}
  static std::unique_ptr<XmlDocument> adopt(_xmlDoc* doc);

  _xmlDoc* doc_;
};

}  // namespace qrl
