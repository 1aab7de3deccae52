#include "xmeml/QRLXmlUtility.h"

#include "platform/base/AtomicFile.h"
#include "platform/base/Exception.h"

namespace qrl {

namespace {

// Prefix and containment as the platform's strings answer them: an empty
// needle is never found.
bool beginsWith(std::string_view text, std::string_view prefix) {
  return !prefix.empty() && text.starts_with(prefix);
}

bool contains(std::string_view text, std::string_view needle) {
  return !needle.empty() && text.find(needle) != std::string_view::npos;
}

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty())
    return text;
  std::string out;
  size_t start = 0;
  for (size_t at; (at = text.find(from, start)) != std::string::npos; start = at + from.size()) {
    out.append(text, start, at - start);
    out += to;
  }
  out.append(text, start);
  return out;
}

}  // namespace

std::unique_ptr<XmlDocument> QRLXmlUtility::xmlDocumentForXmlFile(
    const std::filesystem::path& path) {
  return XmlDocument::parseFile(path);
}

XmlNode QRLXmlUtility::nodeWithName(std::string_view name, const XmlDocument& fromDocument) {
  for (XmlNode n = fromDocument.rootElement().nextNode(); n; n = n.nextNode()) {
    if (n.hasName(name))
      return n;
  }
  return {};
}

std::optional<XmlElement> QRLXmlUtility::nodeWithName(std::string_view name,
                                                      const std::filesystem::path& fromXmlfile) {
  std::unique_ptr<XmlDocument> document = xmlDocumentForXmlFile(fromXmlfile);
  if (!document)
    return std::nullopt;
  XmlNode found = nodeWithName(name, *document);
  if (!found)
    return std::nullopt;
  return XmlElement::copyOf(found);
}

std::map<std::string, std::string> QRLXmlUtility::leafKeysAndValuesFromDocument(
    const XmlDocument& document) {
  std::map<std::string, std::string> out;
  for (XmlNode n : allDescendantsForNode(document.rootElement())) {
    if (n.childCount() != 0)
      continue;
    if (std::optional<std::string> key = n.parent().name())
      out[*key] = n.stringValue();
  }
  return out;
}

std::map<std::string, std::string> QRLXmlUtility::leafKeysAndValuesFromXmlFile(
    const std::filesystem::path& path) {
  std::unique_ptr<XmlDocument> document = xmlDocumentForXmlFile(path);
  if (!document)
    return {};
  return leafKeysAndValuesFromDocument(*document);
}

std::optional<std::string> QRLXmlUtility::findTagLine(
    std::string_view tag, const XmlDocument& fromDocument,
    const std::optional<std::string>& withValueDescriptor) {
  for (XmlNode n = fromDocument.rootElement().nextNode(); n; n = n.nextNode()) {
    std::string line = n.XMLString();
    if (beginsWith(line, tag) && (!withValueDescriptor || contains(line, *withValueDescriptor)))
      return line;
  }
  return std::nullopt;
}

std::optional<std::string> QRLXmlUtility::findXmlTagInfo(std::string_view tag,
                                                         const std::filesystem::path& fromFile) {
  return findXmlTagInfo(tag, fromFile, std::nullopt);
}

std::optional<std::string> QRLXmlUtility::findXmlTagInfo(
    std::string_view tag, const std::filesystem::path& fromFile,
    const std::optional<std::string>& withDescriptor) {
  std::unique_ptr<XmlDocument> document = xmlDocumentForXmlFile(fromFile);
  if (!document)
    return std::nullopt;
  std::optional<std::string> line = findTagLine(tag, *document, withDescriptor);
  if (!line || withDescriptor)
    return line;
  std::string closing = replaceAll(std::string(tag), "<", "</");
  return replaceAll(replaceAll(*line, tag, ""), closing, "");
}

std::optional<std::string> QRLXmlUtility::stripValueFromInfo(const std::optional<std::string>& info,
                                                             std::string_view withValueDescriptor) {
  if (!info || withValueDescriptor.empty())
    return std::nullopt;
  size_t at = info->find(withValueDescriptor);
  if (at == std::string::npos)
    return std::nullopt;
  size_t open = info->find('"', at);
  if (open == std::string::npos)
    return std::nullopt;
  size_t close = info->find('"', open + 1);
  if (close == std::string::npos)
    return std::nullopt;
  return info->substr(open + 1, close - open - 1);
}

bool QRLXmlUtility::removeXMLNodeFromDocument(std::string_view tag, XmlDocument& document,
                                              bool tagIsHeader) {
  // Appended rather than "<" + tag: GCC 12's -Wrestrict misfires on that at -O3.
  const std::string opening = std::string("<").append(tag).append(">");
  const std::string closing = std::string("</").append(tag).append(">");
  // Detached nodes live until the walk is over: it goes on inside them.
  std::vector<XmlElement> detached;
  bool removing = false;
  XmlNode n = document.rootElement().nextNode();
  while (n) {
    std::string text = n.XMLString();
    if (beginsWith(text, closing))
      removing = false;
    bool detachedHere = false;
    if (removing) {
      detached.push_back(XmlElement::detach(n));
      detachedHere = true;
    }
    if (beginsWith(text, opening)) {
      removing = true;
      // Detaching twice would leave two owners; once is all it takes.
      if (tagIsHeader && !detachedHere)
        detached.push_back(XmlElement::detach(n));
    }
    n = n.nextNode();
  }
  return !detached.empty();
}

bool QRLXmlUtility::removeXMLNode(std::string_view tag, const std::filesystem::path& fromFile,
                                  bool tagIsHeader) {
  std::unique_ptr<XmlDocument> document = xmlDocumentForXmlFile(fromFile);
  if (!document)
    return false;
  removeXMLNodeFromDocument(tag, *document, tagIsHeader);
  try {
    writeFileAtomically(fromFile, document->XMLData());
  } catch (const Exception&) {
    return false;
  }
  return true;
}

}  // namespace qrl
