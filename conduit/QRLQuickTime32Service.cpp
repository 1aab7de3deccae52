#include "conduit/QRLQuickTime32Service.h"

#include <cstdint>

#include "conduit/QRLMovieArguments.h"
#include "platform/graphics/PngEncoder.h"
#include "protocol/QRLWireValues.h"

namespace qrl {

using archive::Value;

namespace {

QRLVideoFrameRate rateOf(const Value& value) {
  return static_cast<QRLVideoFrameRate>(wire::integer(value));
}

// A poster travels as PNG file data; an empty image as empty data.
Value imageValue(const graphics::Image& image) {
  if (image.width() == 0 || image.height() == 0)
    return Value(archive::Data{});
  return Value(archive::Data(graphics::PngEncoder::encode(image)));
}

}  // namespace

QRLQuickTime32Service::QRLQuickTime32Service() {
  using namespace remote;
  addPerformer(durationOfFileInMiliseconds, [this](const Arguments& a) {
    return Value(service_.durationOfFileInMiliseconds(wire::string(a[0])));
  });
  addPerformer(posterImageForFilePathCompressImage, [this](const Arguments& a) {
    return imageValue(service_.posterImageForFilePath(wire::string(a[0]), wire::boolean(a[1])));
  });
  addPerformer(posterImageForFilePath, [this](const Arguments& a) {
    return imageValue(service_.posterImageForFilePath(wire::string(a[0])));
  });
  addPerformer(thumbnailSizeForImageSize, [this](const Arguments& a) {
    return wire::encode(service_.thumbnailSizeForImageSize(wire::size(a[0])));
  });
  addPerformer(timeScaleForVideoFrameRate, [this](const Arguments& a) {
    return Value(service_.timeScaleForVideoFrameRate(rateOf(a[0])));
  });
  addPerformer(frameCountFromVideoFrameRate, [this](const Arguments& a) {
    return Value(service_.frameCountFromVideoFrameRate(rateOf(a[0])));
  });
  addPerformer(videoFrameRateFromTimecodeDef, [this](const Arguments& a) {
    QRLTimeCodeDef wired = wire::timeCodeDef(a[0]);
    quicktime::TimeCodeDef d;
    d.flags = wired.flags;
    d.fTimeScale = wired.fTimeScale;
    d.frameDuration = wired.frameDuration;
    d.numFrames = wired.numFrames;
    return Value(static_cast<uint32_t>(service_.videoFrameRateFromTimecodeDef(d)));
  });
  addPerformer(extractStartTimecodeFromTimecodeTrack, [this](const Arguments& a) {
    QRLTrackArgument open(wire::track(a[0]));
    return wire::encode(service_.extractStartTimecodeFromTimecodeTrack(open.track));
  });
  addPerformer(videoFrameRateForTrack, [this](const Arguments& a) {
    QRLTrackArgument open(wire::track(a[0]));
    return Value(static_cast<uint32_t>(service_.videoFrameRateForTrack(open.track)));
  });
  addPerformer(timecodeSeriesForMovie, [this](const Arguments& a) {
    auto movie = QRLOpenMovieArgument(wire::string(a[0]));
    return wire::encode(service_.timecodeSeriesForMovie(movie.get()));
  });
  addPerformer(setEnabledStateOfQTTimecodeTracksForMovieEnabled, [this](const Arguments& a) {
    QRLEditedMovieArgument movie(wire::string(a[0]));
    service_.setEnabledStateOfQTTimecodeTracksForMovie(movie.get(), wire::boolean(a[1]));
    return Value();
  });
  addPerformer(addTimecodeTrackToMovieVideoFrameRateBeginningTimecodeIncludeTimeCodeFontSize,
               [this](const Arguments& a) {
                 QRLEditedMovieArgument movie(wire::string(a[0]));
                 return Value(service_.addTimecodeTrackToMovie(
                     movie.get(), rateOf(a[1]), wire::string(a[2]), wire::boolean(a[3]),
                     static_cast<int32_t>(wire::integer(a[4]))));
               });
  addPerformer(copyAudioTracksFromMovieIntoMovie, [this](const Arguments& a) {
    auto source = QRLOpenMovieArgument(wire::string(a[0]));
    QRLEditedMovieArgument destination(wire::string(a[1]));
    return Value(service_.copyAudioTracksFromMovie(source.get(), destination.get()));
  });
  addPerformer(timecodeAtCurrentPlayPositionForMovie, [this](const Arguments& a) {
    auto movie = QRLOpenMovieArgument(wire::string(a[0]));
    return wire::encode(service_.timecodeAtCurrentPlayPositionForMovie(movie.get()));
  });
}

}  // namespace qrl
