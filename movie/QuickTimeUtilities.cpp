#include "movie/QuickTimeUtilities.h"

#include <algorithm>
#include <cmath>

#include "movie/MoviePosterFrame.h"
#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "timecode/FrameRateCatalogue.h"

namespace qrl {

int64_t QuickTimeUtilities::durationOfFileInMiliseconds(const std::string& path) {
  try {
    return quicktime::Movie::open(path)->duration().value;
  } catch (const Exception&) {
    return 0;
  }
}

void QuickTimeUtilities::setEnabledStateOfQTTimecodeTracksForMovie(quicktime::Movie* movie,
                                                                   bool enabled) {
  if (movie == nullptr)
    return;
  try {
    movie->setEditable(true);
    for (quicktime::Track* track : movie->tracksOfMediaType(quicktime::kMediaTypeTimeCode))
      track->setEnabled(enabled);
    movie->updateMovieFile();
  } catch (const Exception&) {
    // Nothing is raised to the caller; the file keeps its last saved movie.
  }
}

graphics::Image QuickTimeUtilities::posterImageForFilePath(const std::string& path,
                                                           bool /*compressImage*/) {
  auto frame = MoviePosterFrame::firstVideoFrame(path);
  if (!frame)
    return graphics::Image(0, 0);
  const double fit = std::min(
      {1.0, double{kPosterFitSize} / frame->width(), double{kPosterFitSize} / frame->height()});
  const int width = std::max(1, static_cast<int>(std::lround(frame->width() * fit)));
  const int height = std::max(1, static_cast<int>(std::lround(frame->height() * fit)));
  graphics::Image thumbnail = frame->scaledTo(width, height);
  return thumbnail.scaledTo(kPosterWidth, kPosterHeight);
}

graphics::Image QuickTimeUtilities::posterImageForFilePath(const std::string& path) {
  return posterImageForFilePath(path, false);
}

Size QuickTimeUtilities::thumbnailSizeForImageSize(Size size) {
  constexpr float kSide = 192.0f;
  if (size.height > size.width)
    return {size.width * kSide / size.height, kSide};
  return {kSide, size.height * kSide / size.width};
}

std::string QuickTimeUtilities::frameRateStringFromTimeCodeRate(QRLMovieRateDefinition rate) {
  return std::string(frame_rate_catalogue::movieRateRow(rate).timecodeText);
}

bool QuickTimeUtilities::isTimeCodeRateDrop(QRLMovieRateDefinition rate) {
  return rate == QRLMovieRate2997Drop;
}

bool QuickTimeUtilities::isTimeCodeRateNTSC(QRLMovieRateDefinition rate) {
  return frame_rate_catalogue::movieRateRow(rate).isNtsc;
}

bool QuickTimeUtilities::isFrameRateNTSC(std::string_view frameRate) {
  if (frameRate.size() < 2)
    return false;
  std::string_view head = frameRate.substr(0, 2);
  return head == "23" || head == "29" || head == "59";
}

void QuickTimeUtilities::showLogForDefinition(const quicktime::TimeCodeDef& /*definition*/) {}

}  // namespace qrl
