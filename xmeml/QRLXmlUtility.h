#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"
#include "xmeml/XmlDocument.h"
#include "xmeml/XmlElement.h"
#include "xmeml/XmlNode.h"

namespace qrl {

// Small helpers over XML trees and XML files: making leaf elements, printing
// an element one tag per line with tabs, looking up nodes and tag lines,
// reading leaf values, rewriting a value and cutting a tagged block out of a
// file. Stateless.
//
// Files are read with XmlDocument::parseFile, which repairs malformed input.
// "Document order" is XmlNode::nextNode's walk, text nodes included.
class QRLXmlUtility {
 public:
  static std::unique_ptr<QRLXmlUtility> xmlUtility();

  // --- Writing ---------------------------------------------------------------------------
  // An element with the name. When both arrays are given, have equal counts
  // and are not empty, each index adds an attribute, skipping pairs where
  // either side is not a string. A given text becomes the element's escaped
  // text; none leaves the element empty.
  static XmlElement createElementWithName(std::string_view name,
                                          const archive::Value::Array* withAttributes,
                                          const archive::Value::Array* values,
                                          const std::optional<std::string>& andStringValue);

  // The element one tag per line, indented with tabs from `withDepth`: a leaf
  // stays on one line with its closing tag, a closing tag is indented only
  // right after another closing tag, and the last tag is written at the
  // starting depth without a line feed. Logs "Look" once per call.
  std::string spacedXmlStringForElement(XmlNode element, int32_t withDepth) const;

  // Drops trailing whitespace and line breaks only; leading ones stay. Every
  // character is cut to its low 8 bits: 7-bit characters pass unchanged, any
  // other becomes the Latin-1 character of its low byte (U+0101 gives U+0001).
  std::string removeLeadingAndTrailingWhiteSpaceFromString(std::string_view text) const;

  // --- Trees -----------------------------------------------------------------------------
  // Parent, grandparent, ... up to and including the document node.
  std::vector<XmlNode> ancestorsForElement(XmlNode node) const;
  // The node itself or its nearest ancestor that has the attribute; null if none.
  XmlNode nearestElementWithAttribute(std::string_view attribute, XmlNode forElement) const;

  // Sets the text of the first direct child with the name; nothing without one.
  static void updateValueForChildWithName(std::string_view name, XmlNode inElement,
                                          std::string_view newValue);
  static XmlNode childNodeWithName(std::string_view name, XmlNode fromParent);
  // Pre-order: each child followed by all of its own descendants.
  static std::vector<XmlNode> allDescendantsForNode(XmlNode node);

  // --- Files -----------------------------------------------------------------------------
  // Null when the file cannot be read or gives no root element.
  static std::unique_ptr<XmlDocument> xmlDocumentForXmlFile(const std::filesystem::path& path);

  // The first node after the root element, in document order, with the name
  // (never the root element itself), as a copy owned by the caller; none when
  // the file does not parse or nothing matches.
  static std::optional<XmlElement> nodeWithName(std::string_view name,
                                                const std::filesystem::path& fromXmlfile);
  static XmlNode nodeWithName(std::string_view name, const XmlDocument& fromDocument);

  // Every childless descendant of the root element (text nodes, empty
  // elements) gives its text under its parent's name; the last in document
  // order wins. Empty when the file does not parse.
  static std::map<std::string, std::string> leafKeysAndValuesFromXmlFile(
      const std::filesystem::path& path);
  static std::map<std::string, std::string> leafKeysAndValuesFromDocument(
      const XmlDocument& document);

  // The compact text of the first node after the root element whose compact
  // text begins with `tag` and, when a descriptor is given, contains it.
  static std::optional<std::string> findTagLine(
      std::string_view tag, const XmlDocument& fromDocument,
      const std::optional<std::string>& withValueDescriptor);
  // Without a descriptor: the tag line with every `tag` and its closing form
  // ("<" made "</") removed, so "<timebase>" gives the element's text. With
  // one: the whole tag line. None when the file does not parse or no line fits.
  static std::optional<std::string> findXmlTagInfo(std::string_view tag,
                                                   const std::filesystem::path& fromFile);
  static std::optional<std::string> findXmlTagInfo(
      std::string_view tag, const std::filesystem::path& fromFile,
      const std::optional<std::string>& withDescriptor);
  // The text between the first double quote after the descriptor and the next
  // one: `id="A1"` with descriptor "id" gives A1. None without the descriptor,
  // an opening or a closing quote.
  static std::optional<std::string> stripValueFromInfo(const std::optional<std::string>& info,
                                                       std::string_view withValueDescriptor);

  // Cuts a block out of the file and rewrites it (atomically). Walking the
  // nodes after the root element, a node whose compact text begins with the
  // closing tag ends removing, a node met while removing is detached, and a
  // node beginning with the opening tag starts removing (and is detached
  // itself when tagIsHeader). The walk goes on from a detached node into its
  // own subtree only, so in effect: with tagIsHeader the first element with
  // the tag goes with all it holds; without, only that element's first child.
  // False when the file does not parse (left untouched) or cannot be written.
  static bool removeXMLNode(std::string_view tag, const std::filesystem::path& fromFile,
                            bool tagIsHeader);
  // The same on a document in memory; returns whether anything was detached.
  static bool removeXMLNodeFromDocument(std::string_view tag, XmlDocument& document,
                                        bool tagIsHeader);
};

}  // namespace qrl
