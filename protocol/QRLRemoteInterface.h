#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>

#include "platform/ipc/MethodSignature.h"
#include "platform/ipc/Proxy.h"
#include "protocol/QRLWireKinds.h"

namespace qrl {

// The protocols the conduit's remote interface is made of.
enum class QRLProtocol {
  QRLDistributedAppCommunicationProtocol,
  QRLQuickTime32Protocol,
  QRLQTOverlayProtocol,
  QRLDistributedQTOverlayProtocol,
  QRLQTSettingsParserProtocol,
  QRLMediaDocumentWriter32Protocol,
};

// One remote method: its selector, protocol and argument and result kinds.
// A selector has one keyword per argument; a row where they differ does not
// compile.
class QRLRemoteMethod {
 public:
  static constexpr size_t kMaxArguments = 5;

  constexpr QRLRemoteMethod(std::string_view selector, QRLProtocol protocol,
                            std::initializer_list<ipc::ValueKind> arguments, ipc::ValueKind result)
      : selector_(selector),
        protocol_(protocol),
        argumentCount_(arguments.size()),
        result_(result) {
    if (arguments.size() > kMaxArguments)
      throw "more arguments than a remote method may have";
    size_t colons = 0;
    for (char c : selector)
      colons += c == ':' ? 1 : 0;
    if (colons != arguments.size())
      throw "a selector has one keyword per argument";
    size_t i = 0;
    for (const ipc::ValueKind& kind : arguments)
      arguments_[i++] = kind;
  }

  constexpr std::string_view selector() const { return selector_; }
  constexpr QRLProtocol protocol() const { return protocol_; }
  constexpr std::span<const ipc::ValueKind> argumentKinds() const {
    return {arguments_.data(), argumentCount_};
  }
  constexpr ipc::ValueKind resultKind() const { return result_; }
  ipc::MethodSignature signature() const {
    auto kinds = argumentKinds();
    return {{kinds.begin(), kinds.end()}, result_};
  }

 private:
  std::string_view selector_;
  QRLProtocol protocol_;
  std::array<ipc::ValueKind, kMaxArguments> arguments_{};
  size_t argumentCount_;
  ipc::ValueKind result_;
};

// The remote interface, one constant per method: the one place where the
// selector strings are spelled. Proxies call these rows and the conduit binds
// a performer to each row it serves. A constant's name is the selector's
// keywords joined, each after the first capitalised.
namespace remote {

using enum QRLProtocol;

// Performed by the controller itself.
inline constexpr QRLRemoteMethod vendAsDistributedObject{
    "vendAsDistributedObject", QRLDistributedAppCommunicationProtocol, {}, kind::None};
inline constexpr QRLRemoteMethod vendAsDistributedObjectWithRegisteredName{
    "vendAsDistributedObjectWithRegisteredName:",
    QRLDistributedAppCommunicationProtocol,
    {kind::String},
    kind::None};
inline constexpr QRLRemoteMethod distributedProcessIdentifier{
    "distributedProcessIdentifier", QRLDistributedAppCommunicationProtocol, {}, kind::Int32};
inline constexpr QRLRemoteMethod ensureParentApplicationIsRunning{
    "ensureParentApplicationIsRunning", QRLDistributedAppCommunicationProtocol, {}, kind::None};
inline constexpr QRLRemoteMethod configureKillTimer{
    "configureKillTimer", QRLDistributedAppCommunicationProtocol, {}, kind::None};
inline constexpr QRLRemoteMethod setParentProcessId{
    "setParentProcessId:", QRLDistributedAppCommunicationProtocol, {kind::Int32}, kind::None};
inline constexpr QRLRemoteMethod communicationLocked{
    "communicationLocked", QRLDistributedAppCommunicationProtocol, {}, kind::Bool};
inline constexpr QRLRemoteMethod lockCommunication{
    "lockCommunication", QRLDistributedAppCommunicationProtocol, {}, kind::None};
inline constexpr QRLRemoteMethod killSelf{
    "killSelf", QRLDistributedAppCommunicationProtocol, {}, kind::None};

// Timecode tracks and movie queries, performed by qtObject.
inline constexpr QRLRemoteMethod durationOfFileInMiliseconds{
    "durationOfFileInMiliseconds:", QRLQuickTime32Protocol, {kind::String}, kind::Int64};
inline constexpr QRLRemoteMethod setEnabledStateOfQTTimecodeTracksForMovieEnabled{
    "setEnabledStateOfQTTimecodeTracksForMovie:enabled:",
    QRLQuickTime32Protocol,
    {kind::Movie, kind::Bool},
    kind::None};
inline constexpr QRLRemoteMethod posterImageForFilePathCompressImage{
    "posterImageForFilePath:compressImage:",
    QRLQuickTime32Protocol,
    {kind::String, kind::Bool},
    kind::Object};
inline constexpr QRLRemoteMethod posterImageForFilePath{
    "posterImageForFilePath:", QRLQuickTime32Protocol, {kind::String}, kind::Object};
inline constexpr QRLRemoteMethod thumbnailSizeForImageSize{
    "thumbnailSizeForImageSize:", QRLQuickTime32Protocol, {kind::Size}, kind::Size};
inline constexpr QRLRemoteMethod
    addTimecodeTrackToMovieVideoFrameRateBeginningTimecodeIncludeTimeCodeFontSize{
        "addTimecodeTrackToMovie:videoFrameRate:beginningTimecode:includeTimeCode:fontSize:",
        QRLQuickTime32Protocol,
        {kind::Movie, kind::UInt32, kind::String, kind::Bool, kind::Int32},
        kind::Bool};
inline constexpr QRLRemoteMethod timeScaleForVideoFrameRate{
    "timeScaleForVideoFrameRate:", QRLQuickTime32Protocol, {kind::UInt32}, kind::Int32};
inline constexpr QRLRemoteMethod frameCountFromVideoFrameRate{
    "frameCountFromVideoFrameRate:", QRLQuickTime32Protocol, {kind::UInt32}, kind::UInt8};
inline constexpr QRLRemoteMethod extractStartTimecodeFromTimecodeTrack{
    "extractStartTimecodeFromTimecodeTrack:", QRLQuickTime32Protocol, {kind::Track}, kind::String};
inline constexpr QRLRemoteMethod videoFrameRateFromTimecodeDef{
    "videoFrameRateFromTimecodeDef:", QRLQuickTime32Protocol, {kind::TimeCodeDef}, kind::UInt32};
inline constexpr QRLRemoteMethod videoFrameRateForTrack{
    "videoFrameRateForTrack:", QRLQuickTime32Protocol, {kind::Track}, kind::UInt32};
inline constexpr QRLRemoteMethod timecodeSeriesForMovie{
    "timecodeSeriesForMovie:", QRLQuickTime32Protocol, {kind::Movie}, kind::Object};
inline constexpr QRLRemoteMethod timecodeAtCurrentPlayPositionForMovie{
    "timecodeAtCurrentPlayPositionForMovie:", QRLQuickTime32Protocol, {kind::Movie}, kind::String};
inline constexpr QRLRemoteMethod copyAudioTracksFromMovieIntoMovie{
    "copyAudioTracksFromMovie:intoMovie:",
    QRLQuickTime32Protocol,
    {kind::Movie, kind::Movie},
    kind::Bool};

// Overlays, burns and track edits, performed by qtOverlayWriter.
inline constexpr QRLRemoteMethod overlayWatermarkImageIntoMovieAtLocation{
    "overlayWatermarkImage:intoMovie:atLocation:",
    QRLQTOverlayProtocol,
    {kind::Object, kind::Movie, kind::Point},
    kind::None};
inline constexpr QRLRemoteMethod overlayWatermarkImageIntoMovieAtPathAtLocation{
    "overlayWatermarkImage:intoMovieAtPath:atLocation:",
    QRLQTOverlayProtocol,
    {kind::Object, kind::String, kind::Point},
    kind::None};
inline constexpr QRLRemoteMethod overlayWatermarkImageIntoMovieAtPathAtLocationWithSize{
    "overlayWatermarkImage:intoMovieAtPath:atLocation:withSize:",
    QRLQTOverlayProtocol,
    {kind::Object, kind::String, kind::Point, kind::Size},
    kind::None};
inline constexpr QRLRemoteMethod overlayTextualMessageIntoMovieAtLocationWithFontSizeAndColor{
    "overlayTextualMessage:intoMovie:atLocation:withFontSize:andColor:",
    QRLQTOverlayProtocol,
    {kind::String, kind::Movie, kind::Point, kind::Int32, kind::Object},
    kind::None};
inline constexpr QRLRemoteMethod addTextualWatermarkOverlayToMovieAtPathOverlayAttributes{
    "addTextualWatermarkOverlayToMovieAtPath:overlayAttributes:",
    QRLQTOverlayProtocol,
    {kind::String, kind::Data},
    kind::None};
inline constexpr QRLRemoteMethod addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData{
    "addTextualWatermarkOverlayToMovieAtPath:withCompressionPresetData:",
    QRLQTOverlayProtocol,
    {kind::String, kind::Data},
    kind::None};
inline constexpr QRLRemoteMethod addTimecodeBurnToMovieBurnAttributes{
    "addTimecodeBurnToMovie:burnAttributes:",
    QRLQTOverlayProtocol,
    {kind::Movie, kind::Data},
    kind::None};
inline constexpr QRLRemoteMethod addTimecodeBurnToMovieAtPathBurnAttributes{
    "addTimecodeBurnToMovieAtPath:burnAttributes:",
    QRLQTOverlayProtocol,
    {kind::String, kind::Data},
    kind::None};
inline constexpr QRLRemoteMethod addTimecodeBurnToMovieAtPathBurnDictionary{
    "addTimecodeBurnToMovieAtPath:burnDictionary:",
    QRLQTOverlayProtocol,
    {kind::String, kind::Object},
    kind::None};
inline constexpr QRLRemoteMethod insertTimeCodeTrackIntoMovieTrackAttributes{
    "insertTimeCodeTrackIntoMovie:trackAttributes:",
    QRLQTOverlayProtocol,
    {kind::Movie, kind::Data},
    kind::None};
inline constexpr QRLRemoteMethod insertTimeCodeTrackIntoMovieAtPathTrackAttributes{
    "insertTimeCodeTrackIntoMovieAtPath:trackAttributes:",
    QRLQTOverlayProtocol,
    {kind::String, kind::Data},
    kind::None};
inline constexpr QRLRemoteMethod insertAudioTracksIntoMovieAtPath{
    "insertAudioTracks:intoMovieAtPath:",
    QRLQTOverlayProtocol,
    {kind::Object, kind::String},
    kind::None};
inline constexpr QRLRemoteMethod
    insertTimecodeTracksFromComponentMoviesIntoAggregateMovieTrackAttributes{
        "insertTimecodeTracksFromComponentMovies:intoAggregateMovie:trackAttributes:",
        QRLQTOverlayProtocol,
        {kind::Object, kind::Movie, kind::Data},
        kind::None};
inline constexpr QRLRemoteMethod timecodesEmbeddedInFileAtPath{
    "timecodesEmbeddedInFileAtPath:", QRLQTOverlayProtocol, {kind::String}, kind::Object};

// Overlays and track edits by path, performed by qtOverlayWriter.
inline constexpr QRLRemoteMethod addTextualOverlayToMovieAtPathWithTextOverlay{
    "addTextualOverlayToMovieAtPath:withTextOverlay:",
    QRLDistributedQTOverlayProtocol,
    {kind::String, kind::Object},
    kind::None};
inline constexpr QRLRemoteMethod
    addTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateTimecodeOverlayData{
        "addTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:timecodeOverlayData:",
        QRLDistributedQTOverlayProtocol,
        {kind::String, kind::String, kind::UInt32, kind::Object},
        kind::None};
inline constexpr QRLRemoteMethod
    addQuicktimeTimecodeOverlayToVideoAtPathStartTimcodeWithBurnAttributeWrapperConformingToVideoFrameRate{
        "addQuicktimeTimecodeOverlayToVideoAtPath:startTimcode:withBurnAttributeWrapper:"
        "conformingToVideoFrameRate:",
        QRLDistributedQTOverlayProtocol,
        {kind::String, kind::String, kind::Object, kind::UInt32},
        kind::Bool};
inline constexpr QRLRemoteMethod
    addCompressedTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateAndCompressionPresetData{
        "addCompressedTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:"
        "andCompressionPresetData:",
        QRLDistributedQTOverlayProtocol,
        {kind::String, kind::String, kind::UInt32, kind::Data},
        kind::None};
inline constexpr QRLRemoteMethod addImageOverlayToMovieAtPathWithImageOverlay{
    "addImageOverlayToMovieAtPath:withImageOverlay:",
    QRLDistributedQTOverlayProtocol,
    {kind::String, kind::Object},
    kind::None};
inline constexpr QRLRemoteMethod removeAudioTracksFromQuicktimeMovieAtPath{
    "removeAudioTracksFromQuicktimeMovieAtPath:",
    QRLDistributedQTOverlayProtocol,
    {kind::String},
    kind::None};
inline constexpr QRLRemoteMethod removeVideoTracksFromQuicktimeMovieAtPath{
    "removeVideoTracksFromQuicktimeMovieAtPath:",
    QRLDistributedQTOverlayProtocol,
    {kind::String},
    kind::None};
inline constexpr QRLRemoteMethod
    removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath{
        "removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath:",
        QRLDistributedQTOverlayProtocol,
        {kind::String},
        kind::None};
inline constexpr QRLRemoteMethod beginningTimecodeForQuicktimeVideoAtPath{
    "beginningTimecodeForQuicktimeVideoAtPath:",
    QRLDistributedQTOverlayProtocol,
    {kind::String},
    kind::String};

// Compression settings, performed by qtSettingsParser on the main
// thread; the caller always receives nil.
inline constexpr QRLRemoteMethod loadCompressorPanelWithCompressionData{
    "loadCompressorPanelWithCompressionData:",
    QRLQTSettingsParserProtocol,
    {kind::Data},
    kind::Object};

// Edit-list XML, performed by mediaDocumentWriter.
inline constexpr QRLRemoteMethod saveFinalCut7XmlToPathsForTimecodeDetailsDataIgnoreTimecode{
    "saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:",
    QRLMediaDocumentWriter32Protocol,
    {kind::Object, kind::Object, kind::Bool},
    kind::Bool};
inline constexpr QRLRemoteMethod saveFinalCut7XmlToPathsForTimecodeDetailsInGroupIgnoreTimecode{
    "saveFinalCut7XmlToPaths:forTimecodeDetailsInGroup:ignoreTimecode:",
    QRLMediaDocumentWriter32Protocol,
    {kind::Object, kind::Object, kind::Bool},
    kind::Bool};

}  // namespace remote

// Every row above, grouped by protocol in the order the protocols are listed.
std::span<const QRLRemoteMethod* const> QRLRemoteInterface();

const QRLRemoteMethod* QRLRemoteMethodForSelector(std::string_view selector);

std::string_view QRLProtocolName(QRLProtocol protocol);

// The signatures of one protocol, as a client declares them on its proxy.
ipc::SignatureTable QRLSignatureTableForProtocol(QRLProtocol protocol);
// The signatures of every protocol.
ipc::SignatureTable QRLSignatureTable();

// Sends the method through the proxy and returns its result (ipc::Proxy::send).
archive::Value QRLCall(ipc::Proxy& proxy, const QRLRemoteMethod& method,
                       std::vector<archive::Value> arguments = {});

}  // namespace qrl
