#include "conduit/QRLRemoteInterface.h"

namespace qrl {
namespace {

using ipc::Kind;
using P = QRLProtocol;

const std::vector<QRLRemoteMethod>& table() {
  static const std::vector<QRLRemoteMethod> methods{
      // Performed by the controller itself.
      {"vendAsDistributedObject", P::QRLDistributedAppCommunicationProtocol, {{}, Kind::None}},
      {"vendAsDistributedObjectWithRegisteredName:",
       P::QRLDistributedAppCommunicationProtocol,
       {{Kind::String}, Kind::None}},
      {"distributedProcessIdentifier",
       P::QRLDistributedAppCommunicationProtocol,
       {{}, Kind::Int32}},
      {"ensureParentApplicationIsRunning",
       P::QRLDistributedAppCommunicationProtocol,
       {{}, Kind::None}},
      {"configureKillTimer", P::QRLDistributedAppCommunicationProtocol, {{}, Kind::None}},
      {"setParentProcessId:",
       P::QRLDistributedAppCommunicationProtocol,
       {{Kind::Int32}, Kind::None}},
      {"communicationLocked", P::QRLDistributedAppCommunicationProtocol, {{}, Kind::Bool}},
      {"lockCommunication", P::QRLDistributedAppCommunicationProtocol, {{}, Kind::None}},
      {"killSelf", P::QRLDistributedAppCommunicationProtocol, {{}, Kind::None}},

      // Timecode tracks and movie queries.
      {"durationOfFileInMiliseconds:", P::QRLQuickTime32Protocol, {{Kind::String}, Kind::Int64}},
      {"setEnabledStateOfQTTimecodeTracksForMovie:enabled:",
       P::QRLQuickTime32Protocol,
       {{Kind::Movie, Kind::Bool}, Kind::None}},
      {"posterImageForFilePath:compressImage:",
       P::QRLQuickTime32Protocol,
       {{Kind::String, Kind::Bool}, Kind::Object}},
      {"posterImageForFilePath:", P::QRLQuickTime32Protocol, {{Kind::String}, Kind::Object}},
      {"thumbnailSizeForImageSize:", P::QRLQuickTime32Protocol, {{Kind::Size}, Kind::Size}},
      {"addTimecodeTrackToMovie:videoFrameRate:beginningTimecode:includeTimeCode:fontSize:",
       P::QRLQuickTime32Protocol,
       {{Kind::Movie, Kind::UInt32, Kind::String, Kind::Bool, Kind::Int32}, Kind::Bool}},
      {"timeScaleForVideoFrameRate:", P::QRLQuickTime32Protocol, {{Kind::UInt32}, Kind::Int32}},
      {"frameCountFromVideoFrameRate:", P::QRLQuickTime32Protocol, {{Kind::UInt32}, Kind::UInt8}},
      {"extractStartTimecodeFromTimecodeTrack:",
       P::QRLQuickTime32Protocol,
       {{Kind::Track}, Kind::String}},
      {"videoFrameRateFromTimecodeDef:",
       P::QRLQuickTime32Protocol,
       {{Kind::TimeCodeDef}, Kind::UInt32}},
      {"videoFrameRateForTrack:", P::QRLQuickTime32Protocol, {{Kind::Track}, Kind::UInt32}},
      {"timecodeSeriesForMovie:", P::QRLQuickTime32Protocol, {{Kind::Movie}, Kind::Object}},
      {"timecodeAtCurrentPlayPositionForMovie:",
       P::QRLQuickTime32Protocol,
       {{Kind::Movie}, Kind::String}},
      {"copyAudioTracksFromMovie:intoMovie:",
       P::QRLQuickTime32Protocol,
       {{Kind::Movie, Kind::Movie}, Kind::Bool}},

      // Overlays, burns and track edits.
      {"overlayWatermarkImage:intoMovie:atLocation:",
       P::QRLQTOverlayProtocol,
       {{Kind::Object, Kind::Movie, Kind::Point}, Kind::None}},
      {"overlayWatermarkImage:intoMovieAtPath:atLocation:",
       P::QRLQTOverlayProtocol,
       {{Kind::Object, Kind::String, Kind::Point}, Kind::None}},
      {"overlayWatermarkImage:intoMovieAtPath:atLocation:withSize:",
       P::QRLQTOverlayProtocol,
       {{Kind::Object, Kind::String, Kind::Point, Kind::Size}, Kind::None}},
      {"overlayTextualMessage:intoMovie:atLocation:withFontSize:andColor:",
       P::QRLQTOverlayProtocol,
       {{Kind::String, Kind::Movie, Kind::Point, Kind::Int32, Kind::Object}, Kind::None}},
      {"addTextualWatermarkOverlayToMovieAtPath:overlayAttributes:",
       P::QRLQTOverlayProtocol,
       {{Kind::String, Kind::Data}, Kind::None}},
      {"addTextualWatermarkOverlayToMovieAtPath:withCompressionPresetData:",
       P::QRLQTOverlayProtocol,
       {{Kind::String, Kind::Data}, Kind::None}},
      {"addTimecodeBurnToMovie:burnAttributes:",
       P::QRLQTOverlayProtocol,
       {{Kind::Movie, Kind::Data}, Kind::None}},
      {"addTimecodeBurnToMovieAtPath:burnAttributes:",
       P::QRLQTOverlayProtocol,
       {{Kind::String, Kind::Data}, Kind::None}},
      {"addTimecodeBurnToMovieAtPath:burnDictionary:",
       P::QRLQTOverlayProtocol,
       {{Kind::String, Kind::Object}, Kind::None}},
      {"insertTimeCodeTrackIntoMovie:trackAttributes:",
       P::QRLQTOverlayProtocol,
       {{Kind::Movie, Kind::Data}, Kind::None}},
      {"insertTimeCodeTrackIntoMovieAtPath:trackAttributes:",
       P::QRLQTOverlayProtocol,
       {{Kind::String, Kind::Data}, Kind::None}},
      {"insertAudioTracks:intoMovieAtPath:",
       P::QRLQTOverlayProtocol,
       {{Kind::Object, Kind::String}, Kind::None}},
      {"insertTimecodeTracksFromComponentMovies:intoAggregateMovie:trackAttributes:",
       P::QRLQTOverlayProtocol,
       {{Kind::Object, Kind::Movie, Kind::Data}, Kind::None}},
      {"timecodesEmbeddedInFileAtPath:", P::QRLQTOverlayProtocol, {{Kind::String}, Kind::Object}},

      {"addTextualOverlayToMovieAtPath:withTextOverlay:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String, Kind::Object}, Kind::None}},
      {"addTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:timecodeOverlayData:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String, Kind::String, Kind::UInt32, Kind::Object}, Kind::None}},
      {"addQuicktimeTimecodeOverlayToVideoAtPath:startTimcode:withBurnAttributeWrapper:"
       "conformingToVideoFrameRate:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String, Kind::String, Kind::Object, Kind::UInt32}, Kind::Bool}},
      {"addCompressedTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:"
       "andCompressionPresetData:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String, Kind::String, Kind::UInt32, Kind::Data}, Kind::None}},
      {"addImageOverlayToMovieAtPath:withImageOverlay:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String, Kind::Object}, Kind::None}},
      {"removeAudioTracksFromQuicktimeMovieAtPath:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String}, Kind::None}},
      {"removeVideoTracksFromQuicktimeMovieAtPath:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String}, Kind::None}},
      {"removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String}, Kind::None}},
      {"beginningTimecodeForQuicktimeVideoAtPath:",
       P::QRLDistributedQTOverlayProtocol,
       {{Kind::String}, Kind::String}},

      // Compression settings; the caller always receives nil.
      {"loadCompressorPanelWithCompressionData:",
       P::QRLQTSettingsParserProtocol,
       {{Kind::Data}, Kind::Object}},

      // Edit-list XML.
      {"saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:",
       P::QRLMediaDocumentWriter32Protocol,
       {{Kind::Object, Kind::Object, Kind::Bool}, Kind::Bool}},
      {"saveFinalCut7XmlToPaths:forTimecodeDetailsInGroup:ignoreTimecode:",
       P::QRLMediaDocumentWriter32Protocol,
       {{Kind::Object, Kind::Object, Kind::Bool}, Kind::Bool}},
  };
  return methods;
}

}  // namespace

std::span<const QRLRemoteMethod> QRLRemoteInterface() {
  return table();
}

const QRLRemoteMethod* QRLRemoteMethodForSelector(std::string_view selector) {
  for (const auto& method : table()) {
    if (method.selector == selector)
      return &method;
  }
  return nullptr;
}

std::string_view QRLProtocolName(QRLProtocol protocol) {
  switch (protocol) {
    case P::QRLDistributedAppCommunicationProtocol:
      return "QRLDistributedAppCommunicationProtocol";
    case P::QRLQuickTime32Protocol:
      return "QRLQuickTime32Protocol";
    case P::QRLQTOverlayProtocol:
      return "QRLQTOverlayProtocol";
    case P::QRLDistributedQTOverlayProtocol:
      return "QRLDistributedQTOverlayProtocol";
    case P::QRLQTSettingsParserProtocol:
      return "QRLQTSettingsParserProtocol";
    case P::QRLMediaDocumentWriter32Protocol:
      return "QRLMediaDocumentWriter32Protocol";
  }
  return "";
}

ipc::SignatureTable QRLSignatureTableForProtocol(QRLProtocol protocol) {
  ipc::SignatureTable signatures;
  for (const auto& method : table()) {
    if (method.protocol == protocol) {
      signatures.emplace(std::string(method.selector), method.signature);
    }
  }
  return signatures;
}

}  // namespace qrl
