#include "clients/cpp/QRLConduitProxies.h"

#include "protocol/QRLWireValues.h"

namespace qrl::client {

using archive::Value;

namespace {

Value flag(bool b) {
  return Value(b);
}
Value number(int64_t i) {
  return Value(i);
}

}  // namespace

// Communication.

void QRLDistributedAppCommunicationProxy::vendAsDistributedObject() {
  call(remote::vendAsDistributedObject);
}
void QRLDistributedAppCommunicationProxy::vendAsDistributedObjectWithRegisteredName(
    const std::string& name) {
  call(remote::vendAsDistributedObjectWithRegisteredName, {Value(name)});
}
int32_t QRLDistributedAppCommunicationProxy::distributedProcessIdentifier() {
  return static_cast<int32_t>(call(remote::distributedProcessIdentifier).integer().value_or(0));
}
void QRLDistributedAppCommunicationProxy::ensureParentApplicationIsRunning() {
  call(remote::ensureParentApplicationIsRunning);
}
void QRLDistributedAppCommunicationProxy::configureKillTimer() {
  call(remote::configureKillTimer);
}
void QRLDistributedAppCommunicationProxy::setParentProcessId(int32_t processId) {
  call(remote::setParentProcessId, {number(processId)});
}
bool QRLDistributedAppCommunicationProxy::communicationLocked() {
  return call(remote::communicationLocked).boolean().value_or(false);
}
void QRLDistributedAppCommunicationProxy::lockCommunication() {
  call(remote::lockCommunication);
}
void QRLDistributedAppCommunicationProxy::killSelf() {
  call(remote::killSelf);
}

// Timecode tracks and movie queries.

int64_t QRLQuickTime32Proxy::durationOfFileInMiliseconds(const std::string& path) {
  return call(remote::durationOfFileInMiliseconds, {Value(path)}).integer().value_or(0);
}
void QRLQuickTime32Proxy::setEnabledStateOfQTTimecodeTracksForMovie(const std::string& movie,
                                                                    bool enabled) {
  call(remote::setEnabledStateOfQTTimecodeTracksForMovieEnabled, {Value(movie), flag(enabled)});
}
Value QRLQuickTime32Proxy::posterImageForFilePath(const std::string& path, bool compressImage) {
  return call(remote::posterImageForFilePathCompressImage, {Value(path), flag(compressImage)});
}
Value QRLQuickTime32Proxy::posterImageForFilePath(const std::string& path) {
  return call(remote::posterImageForFilePath, {Value(path)});
}
Size QRLQuickTime32Proxy::thumbnailSizeForImageSize(Size size) {
  return wire::size(call(remote::thumbnailSizeForImageSize, {wire::encode(size)}));
}
bool QRLQuickTime32Proxy::addTimecodeTrackToMovie(const std::string& movie, uint32_t rate,
                                                  const std::string& beginningTimecode,
                                                  bool includeTimeCode, int32_t fontSize) {
  return call(remote::addTimecodeTrackToMovieVideoFrameRateBeginningTimecodeIncludeTimeCodeFontSize,
              {Value(movie), number(rate), Value(beginningTimecode), flag(includeTimeCode),
               number(fontSize)})
      .boolean()
      .value_or(false);
}
int32_t QRLQuickTime32Proxy::timeScaleForVideoFrameRate(uint32_t rate) {
  return static_cast<int32_t>(
      call(remote::timeScaleForVideoFrameRate, {number(rate)}).integer().value_or(0));
}
uint8_t QRLQuickTime32Proxy::frameCountFromVideoFrameRate(uint32_t rate) {
  return static_cast<uint8_t>(
      call(remote::frameCountFromVideoFrameRate, {number(rate)}).integer().value_or(0));
}
std::optional<std::string> QRLQuickTime32Proxy::extractStartTimecodeFromTimecodeTrack(
    const QRLTrackReference& track) {
  return wire::optionalString(
      call(remote::extractStartTimecodeFromTimecodeTrack, {wire::encode(track)}));
}
uint32_t QRLQuickTime32Proxy::videoFrameRateFromTimecodeDef(const QRLTimeCodeDef& definition) {
  return static_cast<uint32_t>(
      call(remote::videoFrameRateFromTimecodeDef, {wire::encode(definition)})
          .integer()
          .value_or(10));
}
uint32_t QRLQuickTime32Proxy::videoFrameRateForTrack(const QRLTrackReference& track) {
  return static_cast<uint32_t>(
      call(remote::videoFrameRateForTrack, {wire::encode(track)}).integer().value_or(10));
}
Value QRLQuickTime32Proxy::timecodeSeriesForMovie(const std::string& movie) {
  return call(remote::timecodeSeriesForMovie, {Value(movie)});
}
std::optional<std::string> QRLQuickTime32Proxy::timecodeAtCurrentPlayPositionForMovie(
    const std::string& movie) {
  return wire::optionalString(call(remote::timecodeAtCurrentPlayPositionForMovie, {Value(movie)}));
}
bool QRLQuickTime32Proxy::copyAudioTracksFromMovie(const std::string& movie,
                                                   const std::string& intoMovie) {
  return call(remote::copyAudioTracksFromMovieIntoMovie, {Value(movie), Value(intoMovie)})
      .boolean()
      .value_or(false);
}

// Overlays, burns and track edits.

void QRLQTOverlayProxy::overlayWatermarkImage(const archive::Data& image,
                                              const std::string& intoMovie, Point at) {
  call(remote::overlayWatermarkImageIntoMovieAtLocation,
       {Value(image), Value(intoMovie), wire::encode(at)});
}
void QRLQTOverlayProxy::overlayWatermarkImageIntoMovieAtPath(const archive::Data& image,
                                                             const std::string& path, Point at) {
  call(remote::overlayWatermarkImageIntoMovieAtPathAtLocation,
       {Value(image), Value(path), wire::encode(at)});
}
void QRLQTOverlayProxy::overlayWatermarkImageIntoMovieAtPath(const archive::Data& image,
                                                             const std::string& path, Point at,
                                                             Size size) {
  call(remote::overlayWatermarkImageIntoMovieAtPathAtLocationWithSize,
       {Value(image), Value(path), wire::encode(at), wire::encode(size)});
}
void QRLQTOverlayProxy::overlayTextualMessage(const std::string& message,
                                              const std::string& intoMovie, Point at,
                                              int32_t fontSize, const Value& color) {
  call(remote::overlayTextualMessageIntoMovieAtLocationWithFontSizeAndColor,
       {Value(message), Value(intoMovie), wire::encode(at), number(fontSize), color});
}
void QRLQTOverlayProxy::addTextualWatermarkOverlayToMovieAtPath(const std::string& path,
                                                                const archive::Data& attributes) {
  call(remote::addTextualWatermarkOverlayToMovieAtPathOverlayAttributes,
       {Value(path), Value(attributes)});
}
void QRLQTOverlayProxy::addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData(
    const std::string& path, const archive::Data& presetData) {
  call(remote::addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData,
       {Value(path), Value(presetData)});
}
void QRLQTOverlayProxy::addTimecodeBurnToMovie(const std::string& movie,
                                               const archive::Data& burnAttributes) {
  call(remote::addTimecodeBurnToMovieBurnAttributes, {Value(movie), Value(burnAttributes)});
}
void QRLQTOverlayProxy::addTimecodeBurnToMovieAtPath(const std::string& path,
                                                     const archive::Data& burnAttributes) {
  call(remote::addTimecodeBurnToMovieAtPathBurnAttributes, {Value(path), Value(burnAttributes)});
}
void QRLQTOverlayProxy::addTimecodeBurnToMovieAtPath(const std::string& path,
                                                     const Value& burnDictionary) {
  call(remote::addTimecodeBurnToMovieAtPathBurnDictionary, {Value(path), burnDictionary});
}
void QRLQTOverlayProxy::insertTimeCodeTrackIntoMovie(const std::string& movie,
                                                     const archive::Data& trackAttributes) {
  call(remote::insertTimeCodeTrackIntoMovieTrackAttributes, {Value(movie), Value(trackAttributes)});
}
void QRLQTOverlayProxy::insertTimeCodeTrackIntoMovieAtPath(const std::string& path,
                                                           const archive::Data& trackAttributes) {
  call(remote::insertTimeCodeTrackIntoMovieAtPathTrackAttributes,
       {Value(path), Value(trackAttributes)});
}
void QRLQTOverlayProxy::insertAudioTracks(const Value& audioTracks, const std::string& path) {
  call(remote::insertAudioTracksIntoMovieAtPath, {audioTracks, Value(path)});
}
void QRLQTOverlayProxy::insertTimecodeTracksFromComponentMovies(
    const std::vector<std::string>& componentMovies, const std::string& intoAggregateMovie,
    const archive::Data& trackAttributes) {
  call(remote::insertTimecodeTracksFromComponentMoviesIntoAggregateMovieTrackAttributes,
       {wire::encode(componentMovies), Value(intoAggregateMovie), Value(trackAttributes)});
}
Value QRLQTOverlayProxy::timecodesEmbeddedInFileAtPath(const std::string& path) {
  return call(remote::timecodesEmbeddedInFileAtPath, {Value(path)});
}

void QRLDistributedQTOverlayProxy::addTextualOverlayToMovieAtPath(const std::string& path,
                                                                  const Value& textOverlay) {
  call(remote::addTextualOverlayToMovieAtPathWithTextOverlay, {Value(path), textOverlay});
}
void QRLDistributedQTOverlayProxy::addTimecodeOverlayToMovieAtPath(const std::string& path,
                                                                   const std::string& start,
                                                                   uint32_t frameRate,
                                                                   const Value& overlayData) {
  call(remote::addTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateTimecodeOverlayData,
       {Value(path), Value(start), number(frameRate), overlayData});
}
bool QRLDistributedQTOverlayProxy::addQuicktimeTimecodeOverlayToVideoAtPath(
    const std::string& path, const std::string& startTimcode, const Value& burnAttributeWrapper,
    uint32_t conformingToVideoFrameRate) {
  return call(
             remote::
                 addQuicktimeTimecodeOverlayToVideoAtPathStartTimcodeWithBurnAttributeWrapperConformingToVideoFrameRate,
             {Value(path), Value(startTimcode), burnAttributeWrapper,
              number(conformingToVideoFrameRate)})
      .boolean()
      .value_or(false);
}
void QRLDistributedQTOverlayProxy::addCompressedTimecodeOverlayToMovieAtPath(
    const std::string& path, const std::string& start, uint32_t frameRate,
    const archive::Data& presetData) {
  call(
      remote::
          addCompressedTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateAndCompressionPresetData,
      {Value(path), Value(start), number(frameRate), Value(presetData)});
}
void QRLDistributedQTOverlayProxy::addImageOverlayToMovieAtPath(const std::string& path,
                                                                const Value& imageOverlay) {
  call(remote::addImageOverlayToMovieAtPathWithImageOverlay, {Value(path), imageOverlay});
}
void QRLDistributedQTOverlayProxy::removeAudioTracksFromQuicktimeMovieAtPath(
    const std::string& path) {
  call(remote::removeAudioTracksFromQuicktimeMovieAtPath, {Value(path)});
}
void QRLDistributedQTOverlayProxy::removeVideoTracksFromQuicktimeMovieAtPath(
    const std::string& path) {
  call(remote::removeVideoTracksFromQuicktimeMovieAtPath, {Value(path)});
}
void QRLDistributedQTOverlayProxy::
    removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath(
        const std::string& path) {
  call(remote::removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath,
       {Value(path)});
}
std::optional<std::string> QRLDistributedQTOverlayProxy::beginningTimecodeForQuicktimeVideoAtPath(
    const std::string& path) {
  return wire::optionalString(
      call(remote::beginningTimecodeForQuicktimeVideoAtPath, {Value(path)}));
}

void QRLQTSettingsParserProxy::loadCompressorPanelWithCompressionData(
    const archive::Data& settings) {
  call(remote::loadCompressorPanelWithCompressionData, {Value(settings)});
}

bool QRLMediaDocumentWriter32Proxy::saveFinalCut7XmlToPathsForTimecodeDetailsData(
    const std::vector<std::string>& paths, const std::vector<archive::Data>& details,
    bool ignoreTimecode) {
  return call(remote::saveFinalCut7XmlToPathsForTimecodeDetailsDataIgnoreTimecode,
              {wire::encode(paths), wire::encode(details), flag(ignoreTimecode)})
      .boolean()
      .value_or(false);
}
bool QRLMediaDocumentWriter32Proxy::saveFinalCut7XmlToPathsForTimecodeDetailsInGroup(
    const std::vector<std::string>& paths, const Value::Array& details, bool ignoreTimecode) {
  return call(remote::saveFinalCut7XmlToPathsForTimecodeDetailsInGroupIgnoreTimecode,
              {wire::encode(paths), Value(details), flag(ignoreTimecode)})
      .boolean()
      .value_or(false);
}

}  // namespace qrl::client
