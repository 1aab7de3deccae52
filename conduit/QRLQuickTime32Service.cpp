#include "conduit/QRLQuickTime32Service.h"

#include <cstdint>
#include <memory>

#include "platform/base/Exception.h"
#include "platform/graphics/PngEncoder.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/Movie.h"

namespace qrl {

using archive::Value;

namespace {

// The movie at a path, or none when it does not open (a nil movie).
std::unique_ptr<quicktime::Movie> openMovie(const Value& path) {
  try {
    return quicktime::Movie::open(*path.string());
  } catch (const Exception&) {
    return nullptr;
  }
}

// A movie the call may change: opened editable, and saved in place after
// the call when it changed and was not saved. None when it does not open
// for writing (a nil movie).
class EditedMovie {
 public:
  explicit EditedMovie(const Value& path) {
    try {
      movie_ = quicktime::Movie::open(*path.string());
      movie_->setEditable(true);
    } catch (const Exception&) {
      movie_.reset();
    }
  }
  ~EditedMovie() {
    if (!movie_ || !movie_->hasChanges())
      return;
    try {
      movie_->updateMovieFile();
    } catch (const Exception& e) {
      // The file keeps its last saved movie.
      process::SystemLog::write(e.what());
    }
  }
  EditedMovie(const EditedMovie&) = delete;
  EditedMovie& operator=(const EditedMovie&) = delete;
  quicktime::Movie* get() const { return movie_.get(); }

 private:
  std::unique_ptr<quicktime::Movie> movie_;
};

// A track argument: its movie, opened for the call, and the numbered track.
struct OpenTrack {
  std::unique_ptr<quicktime::Movie> movie;
  QRLMovieTrack track;
};

OpenTrack openTrack(const Value& value) {
  OpenTrack open;
  open.movie = openMovie(*value.find("path"));
  open.track.movie = open.movie.get();
  int64_t number = value.find("index")->integer().value_or(0);
  if (open.movie && number >= 1 && static_cast<uint64_t>(number) <= open.movie->trackCount())
    open.track.track = &open.movie->track(static_cast<size_t>(number));
  return open;
}

double number(const Value& container, std::string_view key) {
  const Value* value = container.find(key);
  if (value == nullptr)
    throw Exception::parse("missing field '" + std::string(key) + "'");
  if (auto i = value->integer())
    return static_cast<double>(*i);
  if (auto r = value->real())
    return *r;
  throw Exception::parse("field '" + std::string(key) + "' must be a number");
}

// A whole number within [low, high]; reals are accepted as the wire allows.
int64_t wholeNumber(const Value& container, std::string_view key, int64_t low, int64_t high) {
  double n = number(container, key);
  if (!(n >= static_cast<double>(low) && n <= static_cast<double>(high)))
    throw Exception::parse("field '" + std::string(key) + "' is out of range");
  return static_cast<int64_t>(n);
}

Value optionalString(const std::optional<std::string>& text) {
  return text ? Value(*text) : Value();
}

QRLVideoFrameRate rateOf(const Value& value) {
  return static_cast<QRLVideoFrameRate>(*value.integer());
}

Value imageValue(const graphics::Image& image) {
  if (image.width() == 0 || image.height() == 0)
    return Value(archive::Data{});
  return Value(archive::Data(graphics::PngEncoder::encode(image)));
}

}  // namespace

QRLQuickTime32Service::QRLQuickTime32Service() {
  addPerformer("durationOfFileInMiliseconds:", [this](const Arguments& a) {
    return Value(service_.durationOfFileInMiliseconds(*a[0].string()));
  });
  addPerformer("posterImageForFilePath:compressImage:", [this](const Arguments& a) {
    return imageValue(service_.posterImageForFilePath(*a[0].string(), *a[1].boolean()));
  });
  addPerformer("posterImageForFilePath:", [this](const Arguments& a) {
    return imageValue(service_.posterImageForFilePath(*a[0].string()));
  });
  addPerformer("thumbnailSizeForImageSize:", [this](const Arguments& a) {
    Size size{static_cast<float>(number(a[0], "width")),
              static_cast<float>(number(a[0], "height"))};
    Size result = service_.thumbnailSizeForImageSize(size);
    return Value(
        Value::Dictionary{{"width", Value(result.width)}, {"height", Value(result.height)}});
  });
  addPerformer("timeScaleForVideoFrameRate:", [this](const Arguments& a) {
    return Value(service_.timeScaleForVideoFrameRate(rateOf(a[0])));
  });
  addPerformer("frameCountFromVideoFrameRate:", [this](const Arguments& a) {
    return Value(service_.frameCountFromVideoFrameRate(rateOf(a[0])));
  });
  addPerformer("videoFrameRateFromTimecodeDef:", [this](const Arguments& a) {
    constexpr int64_t kLow = INT32_MIN, kHigh = INT32_MAX;
    quicktime::TimeCodeDef d;
    d.flags = static_cast<int32_t>(wholeNumber(a[0], "flags", kLow, kHigh));
    d.fTimeScale = static_cast<int32_t>(wholeNumber(a[0], "timeScale", kLow, kHigh));
    d.frameDuration = static_cast<int32_t>(wholeNumber(a[0], "frameDuration", kLow, kHigh));
    d.numFrames = static_cast<uint8_t>(wholeNumber(a[0], "numFrames", 0, 255));
    return Value(static_cast<uint32_t>(service_.videoFrameRateFromTimecodeDef(d)));
  });
  addPerformer("extractStartTimecodeFromTimecodeTrack:", [this](const Arguments& a) {
    OpenTrack open = openTrack(a[0]);
    return optionalString(service_.extractStartTimecodeFromTimecodeTrack(open.track));
  });
  addPerformer("videoFrameRateForTrack:", [this](const Arguments& a) {
    OpenTrack open = openTrack(a[0]);
    return Value(static_cast<uint32_t>(service_.videoFrameRateForTrack(open.track)));
  });
  addPerformer("timecodeSeriesForMovie:", [this](const Arguments& a) {
    auto movie = openMovie(a[0]);
    auto series = service_.timecodeSeriesForMovie(movie.get());
    return Value(Value::Array(series.begin(), series.end()));
  });
  addPerformer("setEnabledStateOfQTTimecodeTracksForMovie:enabled:", [this](const Arguments& a) {
    EditedMovie movie(a[0]);
    service_.setEnabledStateOfQTTimecodeTracksForMovie(movie.get(), *a[1].boolean());
    return Value();
  });
  addPerformer("addTimecodeTrackToMovie:videoFrameRate:beginningTimecode:includeTimeCode:fontSize:",
               [this](const Arguments& a) {
                 EditedMovie movie(a[0]);
                 return Value(service_.addTimecodeTrackToMovie(
                     movie.get(), rateOf(a[1]), *a[2].string(), *a[3].boolean(),
                     static_cast<int32_t>(*a[4].integer())));
               });
  addPerformer("copyAudioTracksFromMovie:intoMovie:", [this](const Arguments& a) {
    auto source = openMovie(a[0]);
    EditedMovie destination(a[1]);
    return Value(service_.copyAudioTracksFromMovie(source.get(), destination.get()));
  });
  addPerformer("timecodeAtCurrentPlayPositionForMovie:", [this](const Arguments& a) {
    auto movie = openMovie(a[0]);
    return optionalString(service_.timecodeAtCurrentPlayPositionForMovie(movie.get()));
  });
}

}  // namespace qrl
