#include "timecode/QRLTimecodeUtility.h"

#include "timecode/TimecodeDetail.h"

namespace qrl {

QRLTimecodeUtility::QRLTimecodeUtility() : QRLTimecodeUtility(30.0f, "00:00:00:00") {}

QRLTimecodeUtility::QRLTimecodeUtility(float frameRate, std::string_view andStartTimecode)
    : framesPerSecond_(frameRate),
      frameOffset_(0),
      isDropFrame_(false),
      startTimecode_(std::make_shared<const std::string>(andStartTimecode)),
      frameRateViewType_(QRLFrameRateViewTypeAsDefined) {
  QRLVideoFrameRate code =
      videoFrameRateFromNumericRate(static_cast<double>(frameRate), defaultScanType());
  isDropFrame_ = videoFrameRateIsDropFrame(code);
  // An unknown rate counts at 0.0: only the start's frames field is left.
  frameOffset_ = framesRepresentedByTimecode(andStartTimecode, code);
}

QRLTimecodeUtility::~QRLTimecodeUtility() = default;

QRLTimecodeUtility& QRLTimecodeUtility::sharedInstance() {
  static std::atomic<QRLTimecodeUtility*> shared{nullptr};
  QRLTimecodeUtility* current = shared.load(std::memory_order_acquire);
  while (current == nullptr) {
    auto* fresh = new QRLTimecodeUtility();
    QRLTimecodeUtility* expected = nullptr;
    if (shared.compare_exchange_strong(expected, fresh, std::memory_order_seq_cst)) {
      current = fresh;  // kept for the life of the process
    } else {
      delete fresh;  // another thread got there first
      current = expected;
    }
  }
  return *current;
}

std::unique_ptr<QRLTimecodeUtility> QRLTimecodeUtility::timecodeUtility() {
  return std::make_unique<QRLTimecodeUtility>();
}

std::string QRLTimecodeUtility::startTimecode() const {
  std::shared_ptr<const std::string> value = startTimecode_.load();
  return value ? *value : std::string();
}

void QRLTimecodeUtility::setStartTimecode(std::string value) {
  startTimecode_.store(std::make_shared<const std::string>(std::move(value)));
}

std::string QRLTimecodeUtility::timecodeAtFrame(int32_t frameNumber) const {
  int32_t total = timecode_detail::wrappingAdd(frameOffset(), frameNumber);
  float fps = framesPerSecond();
  float hourSize = 3600.0f * fps;
  float minuteSize = 60.0f * fps;
  int32_t hours = 0, minutes = 0, seconds = 0;
  int32_t rest =
      timecode_detail::distributeWhole(total, timecode_detail::truncateToInt32(hourSize), hours);
  rest =
      timecode_detail::distributeWhole(rest, timecode_detail::truncateToInt32(minuteSize), minutes);
  timecode_detail::distributeWhole(rest, timecode_detail::truncateToInt32(fps), seconds);
  // The frames field is the frame asked for; the remainder above is dropped on purpose.
  return timecode_detail::joinTimecode(hours, minutes, seconds, isDropFrame() ? ';' : ':',
                                       frameNumber);
}

}  // namespace qrl
