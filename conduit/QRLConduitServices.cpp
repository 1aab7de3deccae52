#include "conduit/QRLMediaDocumentWriterService.h"
#include "conduit/QRLQTConduitAppController.h"
#include "conduit/QRLQTOverlayWriterService.h"
#include "conduit/QRLQTSettingsParserService.h"
#include "conduit/QRLQuickTime32Service.h"

namespace qrl {

QRLConduitServices QRLMakeConduitServices() {
  QRLConduitServices services;
  services.qtObject = std::make_shared<QRLQuickTime32Service>();
  services.qtSettingsParser = std::make_shared<QRLQTSettingsParserService>();
  services.qtOverlayWriter = std::make_shared<QRLQTOverlayWriterService>();
  services.mediaDocumentWriter = std::make_shared<QRLMediaDocumentWriterService>();
  return services;
}

std::span<const QRLRemoteMethod* const> QRLUnservedMethods() {
  using namespace remote;
  static constexpr const QRLRemoteMethod* kUnserved[] = {
      &insertTimeCodeTrackIntoMovieTrackAttributes,
      &insertTimeCodeTrackIntoMovieAtPathTrackAttributes,
      &insertAudioTracksIntoMovieAtPath,
      &insertTimecodeTracksFromComponentMoviesIntoAggregateMovieTrackAttributes,
      &timecodesEmbeddedInFileAtPath,
      &addCompressedTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateAndCompressionPresetData,
      &removeAudioTracksFromQuicktimeMovieAtPath,
      &removeVideoTracksFromQuicktimeMovieAtPath,
      &removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath,
  };
  return kUnserved;
}

}  // namespace qrl
