#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"
#include "records/QRLTimecodeDetailsWrapper.h"

namespace qrl {

class XmlDocument;

// The conduit's service for writing xmeml edit lists: one document for a
// group of clips, written to every path asked for.
class QRLMediaDocumentWriter32 {
 public:
  // What every document begins with, before the pretty-printed root element.
  static constexpr std::string_view kHeader =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n";

  // Unarchives every blob (a keyed archive of a QRLTimecodeDetailsWrapper)
  // and writes as the overload below. A blob that does not decode to such a
  // record throws a parse Exception before anything is written.
  bool saveFinalCut7XmlToPaths(const std::vector<std::string>& paths,
                               const std::vector<archive::Data>& forTimecodeDetailsData,
                               bool ignoreTimecode) const;

  // Builds a clip for each record whose movie opens (others are skipped
  // silently), using no timecode when ignoreTimecode is set, and writes the
  // header followed by the root element printed by
  // QRLXmlUtility::spacedXmlStringForElement at depth 0 to every path,
  // atomically, in UTF-8, without a final line feed. A path that cannot take
  // that text is given the document's plain serialisation instead. True when
  // every path was written (and with no paths); one failure does not stop the
  // others.
  bool saveFinalCut7XmlToPaths(
      const std::vector<std::string>& paths,
      const std::vector<QRLTimecodeDetailsWrapper>& forTimecodeDetailsInGroup,
      bool ignoreTimecode) const;

  // The document for the records, as saveFinalCut7XmlToPaths builds it.
  static std::unique_ptr<XmlDocument> documentForTimecodeDetails(
      const std::vector<QRLTimecodeDetailsWrapper>& records, bool ignoreTimecode);
  // The text written for a document: the header and the printed root element.
  static std::string textForDocument(const XmlDocument& document);
};

}  // namespace qrl
