// Feeds arbitrary bytes to the XML helpers: the recovering parse their files
// go through, the node walks, the look-ups, the tab pretty-printer over what
// was parsed and the block removal. None may crash or grow without bound.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/process/SystemLog.h"
#include "xmeml/QRLXmlUtility.h"
#include "xmeml/XmlDocument.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = [] {
    qrl::process::SystemLog::setSink([](std::string_view) {});
    return true;
  }();
  (void)quiet;
  using U = qrl::QRLXmlUtility;
  std::string_view text(reinterpret_cast<const char*>(data), size);
  // The first line (up to 32 bytes) doubles as a tag to look for.
  std::string tag(text.substr(0, std::min(text.find('\n'), size_t{32})));

  U::stripValueFromInfo(std::string(text), tag);
  auto utility = U::xmlUtility();
  utility->removeLeadingAndTrailingWhiteSpaceFromString(text.substr(0, 4096));

  auto document = qrl::XmlDocument::parseData(std::span(data, size));
  if (!document)
    return 0;
  qrl::XmlNode root = document->rootElement();
  U::leafKeysAndValuesFromDocument(*document);
  U::findTagLine(tag, *document, std::nullopt);
  U::findTagLine("<", *document, tag);
  U::nodeWithName(tag, *document);
  U::childNodeWithName(tag, root);
  size_t visited = 0;
  for (qrl::XmlNode n : U::allDescendantsForNode(root)) {
    if (++visited > 64)
      break;
    utility->ancestorsForElement(n);
    utility->nearestElementWithAttribute(tag, n);
  }
  utility->spacedXmlStringForElement(root, static_cast<int32_t>(size % 5) - 1);
  U::updateValueForChildWithName(tag, root, text.substr(0, 16));
  U::removeXMLNodeFromDocument(tag, *document, (size & 1) != 0);
  U::removeXMLNodeFromDocument("clip", *document, (size & 2) != 0);
  document->XMLData();
  return 0;
}
