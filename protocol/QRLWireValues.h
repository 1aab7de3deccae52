#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/archive/Value.h"
#include "platform/base/Point.h"
#include "platform/base/Size.h"
#include "records/QRLTimecodeDetailsWrapper.h"

// The wire form of every value kind a parent and the conduit exchange
// (docs/protocol.md, "Kinds and their wire forms"), one encoder and one
// decoder each. Decoders read dictionaries under QRLFieldReader's rule and
// throw Exception::parse naming the fault; the conduit's argument check runs
// the same decoders, so a value that passes it decodes.
namespace qrl {

// A track: its movie's path and the track's number, counted from 1.
struct QRLTrackReference {
  std::string moviePath;
  int32_t index = 1;

  friend bool operator==(const QRLTrackReference&, const QRLTrackReference&) = default;
};

// The toolbox's timecode definition.
struct QRLTimeCodeDef {
  int32_t flags = 0;
  int32_t fTimeScale = 0;
  int32_t frameDuration = 0;
  uint8_t numFrames = 0;

  friend bool operator==(const QRLTimeCodeDef&, const QRLTimeCodeDef&) = default;
};

// A calibrated RGB colour, components 0 to 1.
struct QRLColorComponents {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  friend bool operator==(const QRLColorComponents&, const QRLColorComponents&) = default;
};

// The overlay descriptions a parent sends, by their accessors. Coordinates
// and sizes are movie pixels from the lower left.
struct QRLTextOverlayDescription {
  std::optional<std::string> text;
  int32_t xCoordinate = 0;
  int32_t yCoordinate = 0;
  bool includeBackgroundColor = false;
  std::optional<QRLColorComponents> backgroundColor;
  int32_t fontSize = 0;
  std::optional<QRLColorComponents> textColor;

  friend bool operator==(const QRLTextOverlayDescription&,
                         const QRLTextOverlayDescription&) = default;
};

struct QRLImageOverlayDescription {
  archive::Data watermarkImage;  // image-file bytes (PNG, JPEG, TIFF...)
  int32_t xCoordinate = 0;
  int32_t yCoordinate = 0;
  int32_t width = 0;
  int32_t height = 0;

  friend bool operator==(const QRLImageOverlayDescription&,
                         const QRLImageOverlayDescription&) = default;
};

// What a burn attribute holder answers through `embeddedTimecodeOverlay`.
struct QRLTimecodeOverlayDescription {
  int32_t xCoordinate = 0;
  int32_t yCoordinate = 0;
  int32_t width = 0;
  int32_t height = 0;
  bool includeBackgroundColor = false;
  std::optional<QRLColorComponents> backgroundColor;
  std::optional<QRLColorComponents> textColor;
  int32_t fontSize = 0;

  friend bool operator==(const QRLTimecodeOverlayDescription&,
                         const QRLTimecodeOverlayDescription&) = default;
};

namespace wire {

// Values whose kind the argument check has already established.
const std::string& string(const archive::Value& value);
const archive::Data& data(const archive::Value& value);
bool boolean(const archive::Value& value);
int64_t integer(const archive::Value& value);

// point {"x", "y"} and size {"width", "height"}: both fields required.
archive::Value encode(Point point);
Point point(const archive::Value& value);
archive::Value encode(Size size);
Size size(const archive::Value& value);

// timecodedef {"flags", "timeScale", "frameDuration", "numFrames"}: all
// required, numFrames 0 to 255, the others within int32.
archive::Value encode(const QRLTimeCodeDef& definition);
QRLTimeCodeDef timeCodeDef(const archive::Value& value);

// track {"path": string, "index": 1 to 2^31-1}.
archive::Value encode(const QRLTrackReference& track);
QRLTrackReference track(const archive::Value& value);

// colour {"red", "green", "blue", "alpha"}: alpha 1 when absent. `what` names
// the value in errors.
archive::Value encode(const QRLColorComponents& color);
QRLColorComponents color(const archive::Value& value, const std::string& what = "the colour");

// Overlay descriptions: dictionaries keyed by accessor, every key optional.
archive::Value encode(const QRLTextOverlayDescription& overlay);
QRLTextOverlayDescription textOverlay(const archive::Value& value);
archive::Value encode(const QRLImageOverlayDescription& overlay);
QRLImageOverlayDescription imageOverlay(const archive::Value& value);
// The holder: {"embeddedTimecodeOverlay": {...}}.
archive::Value encodeHolder(const QRLTimecodeOverlayDescription& overlay);
QRLTimecodeOverlayDescription timecodeOverlayHolder(const archive::Value& value);
// A holder dictionary, or a burn record as its keyed archive (data) or its
// attribute dictionary. A record has no box: its strip sits at the burn
// origin in a box of zero size, in its font size and colour over its
// letterbox colour.
QRLTimecodeOverlayDescription burnAttributeWrapper(const archive::Value& value);

// Image-file data for an image argument: "<what> must be image-file data".
const archive::Data& imageData(const archive::Value& value, const std::string& what);

// Arrays of paths, of data blocks, of timecode detail records (each its keyed
// archive or its dictionary form).
archive::Value encode(const std::vector<std::string>& strings);
std::vector<std::string> strings(const archive::Value& value, const std::string& what);
archive::Value encode(const std::vector<archive::Data>& blobs);
std::vector<archive::Data> dataArray(const archive::Value& value, const std::string& what);
std::vector<QRLTimecodeDetailsWrapper> timecodeDetails(const archive::Value& value);

// A result that may be nil.
archive::Value encode(const std::optional<std::string>& text);
std::optional<std::string> optionalString(const archive::Value& value);

}  // namespace wire
}  // namespace qrl
