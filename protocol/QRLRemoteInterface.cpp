#include "protocol/QRLRemoteInterface.h"

namespace qrl {
namespace {

constexpr const QRLRemoteMethod* kRows[] = {
    &remote::vendAsDistributedObject,
    &remote::vendAsDistributedObjectWithRegisteredName,
    &remote::distributedProcessIdentifier,
    &remote::ensureParentApplicationIsRunning,
    &remote::configureKillTimer,
    &remote::setParentProcessId,
    &remote::communicationLocked,
    &remote::lockCommunication,
    &remote::killSelf,
    &remote::durationOfFileInMiliseconds,
    &remote::setEnabledStateOfQTTimecodeTracksForMovieEnabled,
    &remote::posterImageForFilePathCompressImage,
    &remote::posterImageForFilePath,
    &remote::thumbnailSizeForImageSize,
    &remote::addTimecodeTrackToMovieVideoFrameRateBeginningTimecodeIncludeTimeCodeFontSize,
    &remote::timeScaleForVideoFrameRate,
    &remote::frameCountFromVideoFrameRate,
    &remote::extractStartTimecodeFromTimecodeTrack,
    &remote::videoFrameRateFromTimecodeDef,
    &remote::videoFrameRateForTrack,
    &remote::timecodeSeriesForMovie,
    &remote::timecodeAtCurrentPlayPositionForMovie,
    &remote::copyAudioTracksFromMovieIntoMovie,
    &remote::overlayWatermarkImageIntoMovieAtLocation,
    &remote::overlayWatermarkImageIntoMovieAtPathAtLocation,
    &remote::overlayWatermarkImageIntoMovieAtPathAtLocationWithSize,
    &remote::overlayTextualMessageIntoMovieAtLocationWithFontSizeAndColor,
    &remote::addTextualWatermarkOverlayToMovieAtPathOverlayAttributes,
    &remote::addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData,
    &remote::addTimecodeBurnToMovieBurnAttributes,
    &remote::addTimecodeBurnToMovieAtPathBurnAttributes,
    &remote::addTimecodeBurnToMovieAtPathBurnDictionary,
    &remote::insertTimeCodeTrackIntoMovieTrackAttributes,
    &remote::insertTimeCodeTrackIntoMovieAtPathTrackAttributes,
    &remote::insertAudioTracksIntoMovieAtPath,
    &remote::insertTimecodeTracksFromComponentMoviesIntoAggregateMovieTrackAttributes,
    &remote::timecodesEmbeddedInFileAtPath,
    &remote::addTextualOverlayToMovieAtPathWithTextOverlay,
    &remote::addTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateTimecodeOverlayData,
    &remote::
        addQuicktimeTimecodeOverlayToVideoAtPathStartTimcodeWithBurnAttributeWrapperConformingToVideoFrameRate,
    &remote::
        addCompressedTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateAndCompressionPresetData,
    &remote::addImageOverlayToMovieAtPathWithImageOverlay,
    &remote::removeAudioTracksFromQuicktimeMovieAtPath,
    &remote::removeVideoTracksFromQuicktimeMovieAtPath,
    &remote::removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath,
    &remote::beginningTimecodeForQuicktimeVideoAtPath,
    &remote::loadCompressorPanelWithCompressionData,
    &remote::saveFinalCut7XmlToPathsForTimecodeDetailsDataIgnoreTimecode,
    &remote::saveFinalCut7XmlToPathsForTimecodeDetailsInGroupIgnoreTimecode,
};

}  // namespace

std::span<const QRLRemoteMethod* const> QRLRemoteInterface() {
  return kRows;
}

const QRLRemoteMethod* QRLRemoteMethodForSelector(std::string_view selector) {
  for (const QRLRemoteMethod* method : kRows) {
    if (method->selector() == selector)
      return method;
  }
  return nullptr;
}

std::string_view QRLProtocolName(QRLProtocol protocol) {
  using enum QRLProtocol;
  switch (protocol) {
    case QRLDistributedAppCommunicationProtocol:
      return "QRLDistributedAppCommunicationProtocol";
    case QRLQuickTime32Protocol:
      return "QRLQuickTime32Protocol";
    case QRLQTOverlayProtocol:
      return "QRLQTOverlayProtocol";
    case QRLDistributedQTOverlayProtocol:
      return "QRLDistributedQTOverlayProtocol";
    case QRLQTSettingsParserProtocol:
      return "QRLQTSettingsParserProtocol";
    case QRLMediaDocumentWriter32Protocol:
      return "QRLMediaDocumentWriter32Protocol";
  }
  return "";
}

ipc::SignatureTable QRLSignatureTableForProtocol(QRLProtocol protocol) {
  ipc::SignatureTable signatures;
  for (const QRLRemoteMethod* method : kRows) {
    if (method->protocol() == protocol)
      signatures.emplace(std::string(method->selector()), method->signature());
  }
  return signatures;
}

ipc::SignatureTable QRLSignatureTable() {
  ipc::SignatureTable signatures;
  for (const QRLRemoteMethod* method : kRows)
    signatures.emplace(std::string(method->selector()), method->signature());
  return signatures;
}

archive::Value QRLCall(ipc::Proxy& proxy, const QRLRemoteMethod& method,
                       std::vector<archive::Value> arguments) {
  return proxy.send(std::string(method.selector()), std::move(arguments));
}

}  // namespace qrl
