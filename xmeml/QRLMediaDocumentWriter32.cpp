#include "xmeml/QRLMediaDocumentWriter32.h"

#include "platform/archive/KeyedUnarchiver.h"
#include "platform/base/AtomicFile.h"
#include "platform/base/Exception.h"
#include "records/QRLRecordClasses.h"
#include "xmeml/QRLFCP7XmlExporter32.h"
#include "xmeml/QRLXmlUtility.h"
#include "xmeml/XmlDocument.h"

namespace qrl {

namespace {

bool tryWrite(const std::string& path, std::string_view bytes) {
  try {
    writeFileAtomically(path, bytes);
    return true;
  } catch (const Exception&) {
    return false;
  }
}

}  // namespace

bool QRLMediaDocumentWriter32::saveFinalCut7XmlToPaths(
    const std::vector<std::string>& paths, const std::vector<archive::Data>& forTimecodeDetailsData,
    bool ignoreTimecode) const {
  std::vector<QRLTimecodeDetailsWrapper> records;
  records.reserve(forTimecodeDetailsData.size());
  for (const archive::Data& blob : forTimecodeDetailsData) {
    archive::ObjectPtr object =
        archive::KeyedUnarchiver::unarchiveTopLevelObjectWithData(blob, recordClassRegistry());
    auto record = std::dynamic_pointer_cast<const QRLTimecodeDetailsWrapper>(object);
    if (!record) {
      throw Exception::parse(object ? "the archive holds a " +
                                          std::string(object->classChain().front()) +
                                          ", not a QRLTimecodeDetailsWrapper"
                                    : std::string("the archive holds no object"));
    }
    records.push_back(*record);
  }
  return saveFinalCut7XmlToPaths(paths, records, ignoreTimecode);
}

std::unique_ptr<XmlDocument> QRLMediaDocumentWriter32::documentForTimecodeDetails(
    const std::vector<QRLTimecodeDetailsWrapper>& records, bool ignoreTimecode) {
  QRLFCP7XmlExporter32 exporter;
  std::vector<XmlElement> clips;
  for (const QRLTimecodeDetailsWrapper& record : records) {
    if (!record.sourceFilePath())
      continue;
    std::optional<std::string> timecode = ignoreTimecode ? std::nullopt : record.startTimecode();
    std::optional<XmlElement> clip = exporter.clipElementForQuickTimeFile(
        *record.sourceFilePath(), timecode, static_cast<QRLVideoFrameRate>(record.frameRate()));
    if (clip)
      clips.push_back(std::move(*clip));
  }
  return exporter.sevenXmlDocument()->xmlDocumentForXmlClips(std::move(clips));
}

std::string QRLMediaDocumentWriter32::textForDocument(const XmlDocument& document) {
  return std::string(kHeader) +
         QRLXmlUtility::xmlUtility()->spacedXmlStringForElement(document.rootElement(), 0);
}

bool QRLMediaDocumentWriter32::saveFinalCut7XmlToPaths(
    const std::vector<std::string>& paths,
    const std::vector<QRLTimecodeDetailsWrapper>& forTimecodeDetailsInGroup,
    bool ignoreTimecode) const {
  std::unique_ptr<XmlDocument> document =
      documentForTimecodeDetails(forTimecodeDetailsInGroup, ignoreTimecode);
  const std::string text = textForDocument(*document);
  bool allWritten = true;
  for (const std::string& path : paths) {
    if (!tryWrite(path, text) && !tryWrite(path, document->XMLData()))
      allWritten = false;
  }
  return allWritten;
}

}  // namespace qrl
