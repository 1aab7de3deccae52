#include "xmeml/QRLFCP7XmlDocument.h"

#include <string>

#include "xmeml/QRLFCP7XmlExporter32.h"

namespace qrl {

XmlElement QRLFCP7XmlDocument::xmemlElement() const {
  XmlElement root("xmeml");
  root.addAttribute("version", "5");
  return root;
}

std::optional<int32_t> QRLFCP7XmlDocument::timeBaseForFrameRate(std::string_view stringRate) const {
  if (stringRate.size() < 2)
    return std::nullopt;
  std::string_view head = stringRate.substr(0, 2);
  if (head == "23" || head == "24")
    return 24;
  if (head == "25")
    return 25;
  if (head == "29" || head == "30")
    return 30;
  if (head == "50")
    return 50;
  if (head == "59" || head == "60")
    return 60;
  return std::nullopt;
}

std::vector<int32_t> QRLFCP7XmlDocument::validTimeBases() const {
  return {24, 25, 30, 50, 60};
}

archive::Value::Dictionary QRLFCP7XmlDocument::rateDictionary(bool ntsc,
                                                              int32_t withTimeBase) const {
  archive::Value::Dictionary rate;
  rate.emplace(QRLFCP7DocumentNTSCKeyRate, ntsc ? "TRUE" : "FALSE");
  rate.emplace(QRLFCP7DocumentTimebaseKeyRate, std::to_string(withTimeBase));
  return rate;
}

std::unique_ptr<XmlDocument> QRLFCP7XmlDocument::xmlDocumentForXmlClips(
    std::vector<XmlElement> clips) const {
  XmlElement root = xmemlElement();
  for (XmlElement& clip : clips) {
    if (clip)
      root.addChild(std::move(clip));
  }
  auto document = std::make_unique<XmlDocument>();
  document->setVersion("1.0");
  document->setCharacterEncoding("UTF-8");
  document->setDocumentTypeName("xmeml");
  document->setRootElement(std::move(root));
  return document;
}

std::vector<XmlNode> QRLFCP7XmlDocument::extractClipElementsFromDocument(
    const XmlDocument& document) const {
  std::vector<XmlNode> clips;
  for (XmlNode child : document.rootElement().children()) {
    if (child.hasName("clip"))
      clips.push_back(child);
  }
  return clips;
}

}  // namespace qrl
