#include "clients/cpp/QRLConduitProxies.h"

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

Value wireValue(QRLPoint point) {
  return Value::Dictionary{{"x", Value(point.x)}, {"y", Value(point.y)}};
}

Value wireValue(QRLSize size) {
  return Value::Dictionary{{"width", Value(size.width)}, {"height", Value(size.height)}};
}

Value wireValue(const QRLTrackReference& track) {
  return Value::Dictionary{{"path", Value(track.moviePath)}, {"index", number(track.index)}};
}

Value wireValue(const QRLTimeCodeDef& d) {
  return Value::Dictionary{{"flags", number(d.flags)},
                           {"timeScale", number(d.fTimeScale)},
                           {"frameDuration", number(d.frameDuration)},
                           {"numFrames", number(d.numFrames)}};
}

Value wireValue(const std::vector<std::string>& strings) {
  Value::Array array(strings.begin(), strings.end());
  return Value(std::move(array));
}

Value wireValue(const std::vector<archive::Data>& blobs) {
  Value::Array array(blobs.begin(), blobs.end());
  return Value(std::move(array));
}

std::optional<std::string> QRLTypedProxy::optionalString(const Value& value) {
  if (const std::string* s = value.string())
    return *s;
  return std::nullopt;
}

// Communication.

void QRLDistributedAppCommunicationProxy::vendAsDistributedObject() {
  call("vendAsDistributedObject");
}
void QRLDistributedAppCommunicationProxy::vendAsDistributedObjectWithRegisteredName(
    const std::string& name) {
  call("vendAsDistributedObjectWithRegisteredName:", {Value(name)});
}
int32_t QRLDistributedAppCommunicationProxy::distributedProcessIdentifier() {
  return static_cast<int32_t>(call("distributedProcessIdentifier").integer().value_or(0));
}
void QRLDistributedAppCommunicationProxy::ensureParentApplicationIsRunning() {
  call("ensureParentApplicationIsRunning");
}
void QRLDistributedAppCommunicationProxy::configureKillTimer() {
  call("configureKillTimer");
}
void QRLDistributedAppCommunicationProxy::setParentProcessId(int32_t processId) {
  call("setParentProcessId:", {number(processId)});
}
bool QRLDistributedAppCommunicationProxy::communicationLocked() {
  return call("communicationLocked").boolean().value_or(false);
}
void QRLDistributedAppCommunicationProxy::lockCommunication() {
  call("lockCommunication");
}
void QRLDistributedAppCommunicationProxy::killSelf() {
  call("killSelf");
}

// Timecode tracks and movie queries.

int64_t QRLQuickTime32Proxy::durationOfFileInMiliseconds(const std::string& path) {
  return call("durationOfFileInMiliseconds:", {Value(path)}).integer().value_or(0);
}
void QRLQuickTime32Proxy::setEnabledStateOfQTTimecodeTracksForMovie(const std::string& movie,
                                                                    bool enabled) {
  call("setEnabledStateOfQTTimecodeTracksForMovie:enabled:", {Value(movie), flag(enabled)});
}
Value QRLQuickTime32Proxy::posterImageForFilePath(const std::string& path, bool compressImage) {
  return call("posterImageForFilePath:compressImage:", {Value(path), flag(compressImage)});
}
Value QRLQuickTime32Proxy::posterImageForFilePath(const std::string& path) {
  return call("posterImageForFilePath:", {Value(path)});
}
QRLSize QRLQuickTime32Proxy::thumbnailSizeForImageSize(QRLSize size) {
  Value result = call("thumbnailSizeForImageSize:", {wireValue(size)});
  auto component = [&](std::string_view key) {
    const Value* v = result.find(key);
    if (v == nullptr)
      return 0.0f;
    return static_cast<float>(v->real().value_or(static_cast<double>(v->integer().value_or(0))));
  };
  return {component("width"), component("height")};
}
bool QRLQuickTime32Proxy::addTimecodeTrackToMovie(const std::string& movie, uint32_t rate,
                                                  const std::string& beginningTimecode,
                                                  bool includeTimeCode, int32_t fontSize) {
  return call("addTimecodeTrackToMovie:videoFrameRate:beginningTimecode:includeTimeCode:fontSize:",
              {Value(movie), number(rate), Value(beginningTimecode), flag(includeTimeCode),
               number(fontSize)})
      .boolean()
      .value_or(false);
}
int32_t QRLQuickTime32Proxy::timeScaleForVideoFrameRate(uint32_t rate) {
  return static_cast<int32_t>(
      call("timeScaleForVideoFrameRate:", {number(rate)}).integer().value_or(0));
}
uint8_t QRLQuickTime32Proxy::frameCountFromVideoFrameRate(uint32_t rate) {
  return static_cast<uint8_t>(
      call("frameCountFromVideoFrameRate:", {number(rate)}).integer().value_or(0));
}
std::optional<std::string> QRLQuickTime32Proxy::extractStartTimecodeFromTimecodeTrack(
    const QRLTrackReference& track) {
  return optionalString(call("extractStartTimecodeFromTimecodeTrack:", {wireValue(track)}));
}
uint32_t QRLQuickTime32Proxy::videoFrameRateFromTimecodeDef(const QRLTimeCodeDef& definition) {
  return static_cast<uint32_t>(
      call("videoFrameRateFromTimecodeDef:", {wireValue(definition)}).integer().value_or(10));
}
uint32_t QRLQuickTime32Proxy::videoFrameRateForTrack(const QRLTrackReference& track) {
  return static_cast<uint32_t>(
      call("videoFrameRateForTrack:", {wireValue(track)}).integer().value_or(10));
}
Value QRLQuickTime32Proxy::timecodeSeriesForMovie(const std::string& movie) {
  return call("timecodeSeriesForMovie:", {Value(movie)});
}
std::optional<std::string> QRLQuickTime32Proxy::timecodeAtCurrentPlayPositionForMovie(
    const std::string& movie) {
  return optionalString(call("timecodeAtCurrentPlayPositionForMovie:", {Value(movie)}));
}
bool QRLQuickTime32Proxy::copyAudioTracksFromMovie(const std::string& movie,
                                                   const std::string& intoMovie) {
  return call("copyAudioTracksFromMovie:intoMovie:", {Value(movie), Value(intoMovie)})
      .boolean()
      .value_or(false);
}

// Overlays, burns and track edits.

void QRLQTOverlayProxy::overlayWatermarkImage(const archive::Data& image,
                                              const std::string& intoMovie, QRLPoint at) {
  call("overlayWatermarkImage:intoMovie:atLocation:",
       {Value(image), Value(intoMovie), wireValue(at)});
}
void QRLQTOverlayProxy::overlayWatermarkImageIntoMovieAtPath(const archive::Data& image,
                                                             const std::string& path, QRLPoint at) {
  call("overlayWatermarkImage:intoMovieAtPath:atLocation:",
       {Value(image), Value(path), wireValue(at)});
}
void QRLQTOverlayProxy::overlayWatermarkImageIntoMovieAtPath(const archive::Data& image,
                                                             const std::string& path, QRLPoint at,
                                                             QRLSize size) {
  call("overlayWatermarkImage:intoMovieAtPath:atLocation:withSize:",
       {Value(image), Value(path), wireValue(at), wireValue(size)});
}
void QRLQTOverlayProxy::overlayTextualMessage(const std::string& message,
                                              const std::string& intoMovie, QRLPoint at,
                                              int32_t fontSize, const Value& color) {
  call("overlayTextualMessage:intoMovie:atLocation:withFontSize:andColor:",
       {Value(message), Value(intoMovie), wireValue(at), number(fontSize), color});
}
void QRLQTOverlayProxy::addTextualWatermarkOverlayToMovieAtPath(const std::string& path,
                                                                const archive::Data& attributes) {
  call("addTextualWatermarkOverlayToMovieAtPath:overlayAttributes:",
       {Value(path), Value(attributes)});
}
void QRLQTOverlayProxy::addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData(
    const std::string& path, const archive::Data& presetData) {
  call("addTextualWatermarkOverlayToMovieAtPath:withCompressionPresetData:",
       {Value(path), Value(presetData)});
}
void QRLQTOverlayProxy::addTimecodeBurnToMovie(const std::string& movie,
                                               const archive::Data& burnAttributes) {
  call("addTimecodeBurnToMovie:burnAttributes:", {Value(movie), Value(burnAttributes)});
}
void QRLQTOverlayProxy::addTimecodeBurnToMovieAtPath(const std::string& path,
                                                     const archive::Data& burnAttributes) {
  call("addTimecodeBurnToMovieAtPath:burnAttributes:", {Value(path), Value(burnAttributes)});
}
void QRLQTOverlayProxy::addTimecodeBurnToMovieAtPath(const std::string& path,
                                                     const Value& burnDictionary) {
  call("addTimecodeBurnToMovieAtPath:burnDictionary:", {Value(path), burnDictionary});
}
void QRLQTOverlayProxy::insertTimeCodeTrackIntoMovie(const std::string& movie,
                                                     const archive::Data& trackAttributes) {
  call("insertTimeCodeTrackIntoMovie:trackAttributes:", {Value(movie), Value(trackAttributes)});
}
void QRLQTOverlayProxy::insertTimeCodeTrackIntoMovieAtPath(const std::string& path,
                                                           const archive::Data& trackAttributes) {
  call("insertTimeCodeTrackIntoMovieAtPath:trackAttributes:",
       {Value(path), Value(trackAttributes)});
}
void QRLQTOverlayProxy::insertAudioTracks(const Value& audioTracks, const std::string& path) {
  call("insertAudioTracks:intoMovieAtPath:", {audioTracks, Value(path)});
}
void QRLQTOverlayProxy::insertTimecodeTracksFromComponentMovies(
    const std::vector<std::string>& componentMovies, const std::string& intoAggregateMovie,
    const archive::Data& trackAttributes) {
  call("insertTimecodeTracksFromComponentMovies:intoAggregateMovie:trackAttributes:",
       {wireValue(componentMovies), Value(intoAggregateMovie), Value(trackAttributes)});
}
Value QRLQTOverlayProxy::timecodesEmbeddedInFileAtPath(const std::string& path) {
  return call("timecodesEmbeddedInFileAtPath:", {Value(path)});
}

void QRLDistributedQTOverlayProxy::addTextualOverlayToMovieAtPath(const std::string& path,
                                                                  const Value& textOverlay) {
  call("addTextualOverlayToMovieAtPath:withTextOverlay:", {Value(path), textOverlay});
}
void QRLDistributedQTOverlayProxy::addTimecodeOverlayToMovieAtPath(const std::string& path,
                                                                   const std::string& start,
                                                                   uint32_t frameRate,
                                                                   const Value& overlayData) {
  call("addTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:timecodeOverlayData:",
       {Value(path), Value(start), number(frameRate), overlayData});
}
bool QRLDistributedQTOverlayProxy::addQuicktimeTimecodeOverlayToVideoAtPath(
    const std::string& path, const std::string& startTimcode, const Value& burnAttributeWrapper,
    uint32_t conformingToVideoFrameRate) {
  return call(
             "addQuicktimeTimecodeOverlayToVideoAtPath:startTimcode:withBurnAttributeWrapper:"
             "conformingToVideoFrameRate:",
             {Value(path), Value(startTimcode), burnAttributeWrapper,
              number(conformingToVideoFrameRate)})
      .boolean()
      .value_or(false);
}
void QRLDistributedQTOverlayProxy::addCompressedTimecodeOverlayToMovieAtPath(
    const std::string& path, const std::string& start, uint32_t frameRate,
    const archive::Data& presetData) {
  call(
      "addCompressedTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:"
      "andCompressionPresetData:",
      {Value(path), Value(start), number(frameRate), Value(presetData)});
}
void QRLDistributedQTOverlayProxy::addImageOverlayToMovieAtPath(const std::string& path,
                                                                const Value& imageOverlay) {
  call("addImageOverlayToMovieAtPath:withImageOverlay:", {Value(path), imageOverlay});
}
void QRLDistributedQTOverlayProxy::removeAudioTracksFromQuicktimeMovieAtPath(
    const std::string& path) {
  call("removeAudioTracksFromQuicktimeMovieAtPath:", {Value(path)});
}
void QRLDistributedQTOverlayProxy::removeVideoTracksFromQuicktimeMovieAtPath(
    const std::string& path) {
  call("removeVideoTracksFromQuicktimeMovieAtPath:", {Value(path)});
}
void QRLDistributedQTOverlayProxy::
    removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath(
        const std::string& path) {
  call("removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath:",
       {Value(path)});
}
std::optional<std::string> QRLDistributedQTOverlayProxy::beginningTimecodeForQuicktimeVideoAtPath(
    const std::string& path) {
  return optionalString(call("beginningTimecodeForQuicktimeVideoAtPath:", {Value(path)}));
}

void QRLQTSettingsParserProxy::loadCompressorPanelWithCompressionData(
    const archive::Data& settings) {
  call("loadCompressorPanelWithCompressionData:", {Value(settings)});
}

bool QRLMediaDocumentWriter32Proxy::saveFinalCut7XmlToPathsForTimecodeDetailsData(
    const std::vector<std::string>& paths, const std::vector<archive::Data>& details,
    bool ignoreTimecode) {
  return call("saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:",
              {wireValue(paths), wireValue(details), flag(ignoreTimecode)})
      .boolean()
      .value_or(false);
}
bool QRLMediaDocumentWriter32Proxy::saveFinalCut7XmlToPathsForTimecodeDetailsInGroup(
    const std::vector<std::string>& paths, const Value::Array& details, bool ignoreTimecode) {
  return call("saveFinalCut7XmlToPaths:forTimecodeDetailsInGroup:ignoreTimecode:",
              {wireValue(paths), Value(details), flag(ignoreTimecode)})
      .boolean()
      .value_or(false);
}

}  // namespace qrl::client
