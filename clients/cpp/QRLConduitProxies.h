#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/archive/Value.h"
#include "platform/base/Point.h"
#include "platform/base/Size.h"
#include "platform/ipc/Proxy.h"
#include "protocol/QRLRemoteInterface.h"
#include "protocol/QRLWireValues.h"

namespace qrl::client {

// One typed proxy per protocol, over the rows of protocol/QRLRemoteInterface.h
// and the wire forms of protocol/QRLWireValues.h (which also encodes the
// overlay descriptions and colours that travel as objects). Movies are given
// by path; results that may be nil are optional. Every call throws qrl::Exception on an error
// reply.
class QRLTypedProxy {
 public:
  explicit QRLTypedProxy(ipc::Proxy& proxy) : proxy_(proxy) {}

 protected:
  archive::Value call(const QRLRemoteMethod& method, std::vector<archive::Value> arguments = {}) {
    return QRLCall(proxy_, method, std::move(arguments));
  }

 private:
  ipc::Proxy& proxy_;
};

class QRLDistributedAppCommunicationProxy : public QRLTypedProxy {
 public:
  using QRLTypedProxy::QRLTypedProxy;
  void vendAsDistributedObject();
  void vendAsDistributedObjectWithRegisteredName(const std::string& name);
  int32_t distributedProcessIdentifier();
  void ensureParentApplicationIsRunning();
  void configureKillTimer();
  void setParentProcessId(int32_t processId);
  bool communicationLocked();
  void lockCommunication();
  void killSelf();
};

class QRLQuickTime32Proxy : public QRLTypedProxy {
 public:
  using QRLTypedProxy::QRLTypedProxy;
  int64_t durationOfFileInMiliseconds(const std::string& path);
  void setEnabledStateOfQTTimecodeTracksForMovie(const std::string& movie, bool enabled);
  archive::Value posterImageForFilePath(const std::string& path, bool compressImage);
  archive::Value posterImageForFilePath(const std::string& path);
  Size thumbnailSizeForImageSize(Size size);
  bool addTimecodeTrackToMovie(const std::string& movie, uint32_t videoFrameRate,
                               const std::string& beginningTimecode, bool includeTimeCode,
                               int32_t fontSize);
  int32_t timeScaleForVideoFrameRate(uint32_t rate);
  uint8_t frameCountFromVideoFrameRate(uint32_t rate);
  std::optional<std::string> extractStartTimecodeFromTimecodeTrack(const QRLTrackReference& track);
  uint32_t videoFrameRateFromTimecodeDef(const QRLTimeCodeDef& definition);
  uint32_t videoFrameRateForTrack(const QRLTrackReference& track);
  archive::Value timecodeSeriesForMovie(const std::string& movie);
  std::optional<std::string> timecodeAtCurrentPlayPositionForMovie(const std::string& movie);
  bool copyAudioTracksFromMovie(const std::string& movie, const std::string& intoMovie);
};

class QRLQTOverlayProxy : public QRLTypedProxy {
 public:
  using QRLTypedProxy::QRLTypedProxy;
  // Images travel as image-file bytes (PNG, JPEG, TIFF, ...).
  void overlayWatermarkImage(const archive::Data& image, const std::string& intoMovie,
                             Point atLocation);
  void overlayWatermarkImageIntoMovieAtPath(const archive::Data& image, const std::string& path,
                                            Point atLocation);
  void overlayWatermarkImageIntoMovieAtPath(const archive::Data& image, const std::string& path,
                                            Point atLocation, Size withSize);
  void overlayTextualMessage(const std::string& message, const std::string& intoMovie,
                             Point atLocation, int32_t withFontSize,
                             const archive::Value& andColor);
  void addTextualWatermarkOverlayToMovieAtPath(const std::string& path,
                                               const archive::Data& overlayAttributes);
  void addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData(
      const std::string& path, const archive::Data& presetData);
  void addTimecodeBurnToMovie(const std::string& movie, const archive::Data& burnAttributes);
  void addTimecodeBurnToMovieAtPath(const std::string& path, const archive::Data& burnAttributes);
  void addTimecodeBurnToMovieAtPath(const std::string& path, const archive::Value& burnDictionary);
  void insertTimeCodeTrackIntoMovie(const std::string& movie, const archive::Data& trackAttributes);
  void insertTimeCodeTrackIntoMovieAtPath(const std::string& path,
                                          const archive::Data& trackAttributes);
  void insertAudioTracks(const archive::Value& audioTracks, const std::string& intoMovieAtPath);
  void insertTimecodeTracksFromComponentMovies(const std::vector<std::string>& componentMovies,
                                               const std::string& intoAggregateMovie,
                                               const archive::Data& trackAttributes);
  archive::Value timecodesEmbeddedInFileAtPath(const std::string& path);
};

class QRLDistributedQTOverlayProxy : public QRLTypedProxy {
 public:
  using QRLTypedProxy::QRLTypedProxy;
  void addTextualOverlayToMovieAtPath(const std::string& path, const archive::Value& textOverlay);
  void addTimecodeOverlayToMovieAtPath(const std::string& path, const std::string& startingTimecode,
                                       uint32_t frameRate, const archive::Value& overlayData);
  bool addQuicktimeTimecodeOverlayToVideoAtPath(const std::string& path,
                                                const std::string& startTimcode,
                                                const archive::Value& burnAttributeWrapper,
                                                uint32_t conformingToVideoFrameRate);
  void addCompressedTimecodeOverlayToMovieAtPath(const std::string& path,
                                                 const std::string& startingTimecode,
                                                 uint32_t frameRate,
                                                 const archive::Data& compressionPresetData);
  void addImageOverlayToMovieAtPath(const std::string& path, const archive::Value& imageOverlay);
  void removeAudioTracksFromQuicktimeMovieAtPath(const std::string& path);
  void removeVideoTracksFromQuicktimeMovieAtPath(const std::string& path);
  void removeVideoTracksNotAddedByQuorlanProductsOverlayRoutinesFromQuickTimeMovieAtPath(
      const std::string& path);
  std::optional<std::string> beginningTimecodeForQuicktimeVideoAtPath(const std::string& path);
};

class QRLQTSettingsParserProxy : public QRLTypedProxy {
 public:
  using QRLTypedProxy::QRLTypedProxy;
  // The parser runs later on the conduit's main thread; the answer is nil.
  void loadCompressorPanelWithCompressionData(const archive::Data& settings);
};

class QRLMediaDocumentWriter32Proxy : public QRLTypedProxy {
 public:
  using QRLTypedProxy::QRLTypedProxy;
  bool saveFinalCut7XmlToPathsForTimecodeDetailsData(const std::vector<std::string>& paths,
                                                     const std::vector<archive::Data>& details,
                                                     bool ignoreTimecode);
  // Each record as its archive data or its dictionary form.
  bool saveFinalCut7XmlToPathsForTimecodeDetailsInGroup(const std::vector<std::string>& paths,
                                                        const archive::Value::Array& details,
                                                        bool ignoreTimecode);
};

}  // namespace qrl::client
