#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"
#include "xmeml/XmlDocument.h"
#include "xmeml/XmlElement.h"

namespace qrl {

// The xmeml document around a list of clips: the root element, the document
// settings and the rule that turns a frame rate into a time base. Stateless.
class QRLFCP7XmlDocument {
 public:
  // A new `xmeml` element with version "5".
  XmlElement xmemlElement() const;

  // From a rate's text ("23.976", "2997", "25"), by its first two characters:
  // 23/24 give 24, 25 gives 25, 29/30 give 30, 50 gives 50, 59/60 give 60;
  // none for anything else and for text shorter than two characters.
  std::optional<int32_t> timeBaseForFrameRate(std::string_view stringRate) const;
  // 24, 25, 30, 50, 60 (for callers; the clip builder does not consult it).
  std::vector<int32_t> validTimeBases() const;
  // "NTSC" = "TRUE" or "FALSE", "timeBase" = the time base in decimal.
  archive::Value::Dictionary rateDictionary(bool ntsc, int32_t withTimeBase) const;

  // A document holding a new `xmeml` root with the clips appended in order
  // (null ones left out): XML version "1.0", encoding "UTF-8", document type
  // "xmeml" with no identifiers. No clips give a root without children.
  std::unique_ptr<XmlDocument> xmlDocumentForXmlClips(std::vector<XmlElement> clips) const;
  // The `clip` children of the root element, in order; they belong to the document.
  std::vector<XmlNode> extractClipElementsFromDocument(const XmlDocument& document) const;
};

}  // namespace qrl
