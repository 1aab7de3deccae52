#include "conduit/QRLMediaDocumentWriterService.h"

#include "protocol/QRLWireValues.h"

namespace qrl {

using archive::Value;

QRLMediaDocumentWriterService::QRLMediaDocumentWriterService() {
  using namespace remote;
  addPerformer(
      saveFinalCut7XmlToPathsForTimecodeDetailsDataIgnoreTimecode, [this](const Arguments& a) {
        return Value(writer_.saveFinalCut7XmlToPaths(wire::strings(a[0], "paths"),
                                                     wire::dataArray(a[1], "timecode details data"),
                                                     wire::boolean(a[2])));
      });
  addPerformer(
      saveFinalCut7XmlToPathsForTimecodeDetailsInGroupIgnoreTimecode, [this](const Arguments& a) {
        return Value(writer_.saveFinalCut7XmlToPaths(
            wire::strings(a[0], "paths"), wire::timecodeDetails(a[1]), wire::boolean(a[2])));
      });
}

}  // namespace qrl
