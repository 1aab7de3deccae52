#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "timecode/QRLVideoFrameRate.h"

namespace qrl {

// The timecode engine: the frame-rate catalogue, timecode text, the conversions between
// frame counts and timecodes, and a counter that answers the timecode of any frame counted
// from a start timecode.
//
// Timecode strings are UTF-8; positions in them ("index 8", "the first nine characters")
// count UTF-16 code units, as the wire format and stored records always have, so a stray
// non-ASCII character is judged and kept exactly as the rest of the system sees it.
//
// The conversion families deliberately disagree with one another and, in places, with
// broadcast drop-frame practice: stored data and callers depend on each family's exact
// numbers, so none of them is to be "fixed" or merged. Where a family computes in single
// precision every step is rounded to float.
//
// The catalogue methods are static: the tables never depend on an instance, so any
// instance (`u.videoFrameRateIsNTSC(code)`) and the class answer the same. The members
// that are not static are the text and arithmetic operations a parent reaches through an
// instance; they read no instance state either. The counter fields are atomic each.
class QRLTimecodeUtility {
 public:
  // --- Counter (rate 30.0, start "00:00:00:00") -------------------------------------------
  QRLTimecodeUtility();
  // Remembers the rate and a copy of the start timecode; derives the drop flag and the
  // frame offset once from them. View type starts at 0.
  QRLTimecodeUtility(float frameRate, std::string_view andStartTimecode);
  ~QRLTimecodeUtility();
  QRLTimecodeUtility(const QRLTimecodeUtility&) = delete;
  QRLTimecodeUtility& operator=(const QRLTimecodeUtility&) = delete;

  // The process-wide instance, made on first use and never destroyed; concurrent first
  // callers agree on one object.
  static QRLTimecodeUtility& sharedInstance();
  // A fresh default instance owned by the caller.
  static std::unique_ptr<QRLTimecodeUtility> timecodeUtility();

  // Hours, minutes and seconds of frameOffset + frameNumber at framesPerSecond; the frames
  // field is frameNumber itself, not the remainder (callers rely on that).
  std::string timecodeAtFrame(int32_t frameNumber) const;

  float framesPerSecond() const { return framesPerSecond_.load(); }
  void setFramesPerSecond(float value) { framesPerSecond_.store(value); }
  int32_t frameOffset() const { return frameOffset_.load(); }
  void setFrameOffset(int32_t value) { frameOffset_.store(value); }
  bool isDropFrame() const { return isDropFrame_.load(); }
  void setIsDropFrame(bool value) { isDropFrame_.store(value); }
  std::string startTimecode() const;
  void setStartTimecode(std::string value);
  QRLFrameRateViewType frameRateViewType() const { return frameRateViewType_.load(); }
  void setFrameRateViewType(QRLFrameRateViewType value) { frameRateViewType_.store(value); }

  // --- Frame-rate catalogue ---------------------------------------------------------------
  // Numeric rate of a code (view type 0); 0.0 for 10 and anything above.
  static double numericRateForVideoFrameRate(QRLVideoFrameRate rate);
  // As above, but view type 1 counts the interlaced codes in frames (7 -> 29.97, 4 -> 25.0).
  static double numericRateForVideoFrameRate(QRLVideoFrameRate rate, QRLFrameRateViewType viewType);
  // Shortest decimal text of the view-type-0 rate: "24", "23.976", "59.94", "0".
  static std::string stringRateForVideoFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate videoFrameRateFromNumericRate(double rate);
  static QRLVideoFrameRate videoFrameRateFromNumericRate(double rate, QRLScanType scanType);
  // Only the first two characters after trimming spaces and tabs count ("29.97 DF" -> 5).
  static QRLVideoFrameRate videoFrameRateFromFrameRateDescription(std::string_view description);
  static QRLVideoFrameRate videoFrameRateFromFrameRateDescription(std::string_view description,
                                                                  QRLScanType scanType);
  // The numeric lookup without a scan type: 60 always gives 9 and 50 always 8.
  static QRLVideoFrameRate frameRateForDouble(double rate);

  static bool videoFrameRateIsNTSC(QRLVideoFrameRate rate);
  static bool videoFrameRateIsDropFrame(QRLVideoFrameRate rate);
  static bool videoFrameRateIsProgressive(QRLVideoFrameRate rate);
  static bool videoFrameRateIsInterlaced(QRLVideoFrameRate rate);
  static bool frameRateIsDrop(QRLVideoFrameRate rate);

  static std::vector<QRLVideoFrameRate> ntscFrameRates();
  static std::vector<QRLVideoFrameRate> palVideoFrameRates();
  static std::vector<QRLVideoFrameRate> dropFrameVideoFrameRates();
  static std::vector<QRLVideoFrameRate> nonDropFrameVideoFrameRates();
  static std::vector<QRLVideoFrameRate> progressiveVideoFrameRates();
  static std::vector<QRLVideoFrameRate> interlacedVideoFrameRates();
  static std::vector<QRLVideoFrameRate> allDefinedVideoFrameRates();
  static std::vector<QRLMovieRateDefinition> allDefinedOldFrameRates();
  // Signed, as the movie-rate list has always been handed out.
  static std::vector<int32_t> allDefinedMovieRates();

  static QRLVideoFrameRate progressiveEquivalentForVideoFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate interlacedEquivalentForVideoFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate dropFrameEquivalentForVideoFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate nonDropFrameEquivalentForVideoFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate palEquivalentForVideoFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate adjustVideoFrameRateToViewingFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate videoFrameRateEquivalentForFrameRate(
      QRLVideoFrameRate rate, QRLFrameRateViewType basedOnViewType);
  static QRLVideoFrameRate dropFrameRateForNonDropFrameRate(QRLVideoFrameRate rate);
  static QRLVideoFrameRate nonDropFrameRateForDropFrameRate(QRLVideoFrameRate rate);

  static QRLVideoFrameRate convertOldFrameRateDefinition(QRLMovieRateDefinition definition);
  // First movie rate, in allDefinedOldFrameRates order, converting to the code; else 107.
  static QRLMovieRateDefinition convertVideoFrameRateDefinitionToOld(QRLVideoFrameRate rate);
  static int32_t numericMovieRateFromRateDefinitions(QRLMovieRateDefinition definition);
  static std::string movieRateFromRateDefinition(QRLMovieRateDefinition definition);
  static QRLMovieRateDefinition movieRateFromString(std::string_view text, bool withDropFrame);
  // Judged by the first two characters of the number's shortest decimal text; never
  // answers a drop-frame or 30-frame definition.
  static QRLMovieRateDefinition movieRateFromNumber(double number);

  // A placeholder that always answers 0.0; callers depend on it staying so.
  static double adjustedFrameRate(double rate, bool forDropFrame);

  static QRLVideoFrameRate defaultVideoFrameRate() { return QRLVideoFrameRate30; }
  static QRLScanType defaultScanType() { return QRLScanTypeProgressive; }
  // The shared instance's view type.
  static QRLFrameRateViewType defaultViewType();
  static QRLMovieRateDefinition defaultFramerateDefinition() { return QRLMovieRate30; }

  // --- Timecode text ----------------------------------------------------------------------
  // Shape only: 11 code units, ':' at 2 and 5, ':' or ';' at 8, digits elsewhere, each
  // judged by the low byte of its code unit. 99:99:99:99 is valid.
  bool timecodeIsValid(std::string_view timecode) const;
  bool timecodeHasDropFrameIndicator(std::string_view timecode) const;
  // A valid timecode with ';' (flag set) or ':' at index 8; anything else unchanged.
  std::string forceTimecodeToMatchDropFrameFormat(std::string_view timecode, bool dropFrame) const;
  // Local-time HH:MM:SS:00; "00:00:00:00" when the time cannot be broken down.
  std::string dateToTimecode(std::chrono::system_clock::time_point date) const;

  static bool isValidTimeCode(std::string_view timecode);
  // ';' at index 8, without validating; too short gives false.
  static bool timecodeIsDropFrame(std::string_view timecode);
  static std::string augmentTimecodeDropFrame(std::string_view timecode, bool dropFrameStatus);
  // "%d", or "0%d" for anything 9 or less: 7 -> "07", -5 -> "0-5", 123 -> "123".
  static std::string timecodeSegmentFromInteger(int32_t value);
  static std::string formatTimeCodeSegmentFromInteger(int32_t value);
  // No range checks: 100 frames give a 12-character (invalid) timecode.
  static std::string timecodeFromHours(int32_t hours, int32_t minutes, int32_t seconds,
                                       int32_t frames, bool dropFrame);
  // FF:SS:MM:HH (FF;SS:MM:HH when the input had a ';'); nullopt unless exactly eight
  // characters remain once every ':' and ';' is removed.
  static std::optional<std::string> reverseTimecodeString(std::string_view timecode);
  static std::string defaultTimecode();
  static std::string freshNonDropFrameTimecode();
  static std::string freshDropFrameTimecode();
  static std::string timecodeFromDate(std::chrono::system_clock::time_point date);

  // --- Arithmetic -------------------------------------------------------------------------
  // Single precision at the code's rate, then two frames off per minute except tenth
  // minutes for drop-frame codes, on top of the fractional rate (00:10:00;00 at code 5 is
  // 17964). 0 for an invalid timecode.
  int32_t framesRepresentedByTimecode(std::string_view timecode,
                                      QRLVideoFrameRate videoFrameRate) const;
  // Integer distribution at single-precision unit sizes; frames are never re-inserted for
  // drop-frame (17982 at code 5 is 00:10:00;02). Code 10 gives the default timecode.
  std::string timecodeFromFrames(int32_t frames, QRLVideoFrameRate videoFrameRate,
                                 QRLFrameRateViewType viewType) const;
  // Truncating division; 0/0 when frames or framesPerMeasurement is 0. Returns the remainder.
  int32_t remainingFramesAfterDistributionToTimeMeasurement(int32_t& time,
                                                            int32_t framesToDistribute,
                                                            int32_t framesPerMeasurement) const;
  // Wraps surplus fields of an interlaced code's timecode into seconds (60 and 60 stand,
  // 61 wraps); the input itself for a code that is its own progressive equivalent.
  // Throws std::out_of_range for a timecode shorter than 11 characters.
  std::string progressiveTimecodeForInterlacedVideoFrameRate(QRLVideoFrameRate rate,
                                                             std::string_view andTimecode) const;

  // Double precision at the rate rounded to two decimals; parses without validating;
  // 0 for a timecode too short to parse.
  static int32_t totalFramesInTimeCode(std::string_view timecode, double frameRate,
                                       bool andIsDropFrame);
  static int32_t totalFramesInTimeCode(std::string_view timecode, double frameRate);
  // Fractional distribution at the table rate of the rate's code, drop-frame equivalent
  // when the flag is set (30 with the flag counts at 29.97). nullopt for an unknown rate.
  static std::optional<std::string> timecodeFromFrames(int32_t frames, double withFrameRate,
                                                       bool andDropFrame);
  // Whole frames per second; a drop-frame minute that is not a tenth starts at frame 2.
  // Throws std::domain_error for 0 frames per second and a non-zero count.
  static std::string createTimecodeFromFrames(int32_t frames, int32_t framesRate, bool dropFrame);
  // Truncating division into units; returns the remainder. perUnit must not be 0
  // (std::domain_error).
  static int32_t findTimeRepresentedByFrames(int32_t frames, int32_t framesPerMeasurment,
                                             int32_t& time);
  // The first k with (k + 1) x perUnit > frames; returns frames - k x perUnit truncated.
  // A negative count is returned whole. Throws std::domain_error when a positive count
  // meets a perUnit that is not positive, or would give more than INT32_MAX units.
  static int32_t framesRemainingAfterDistribution(int32_t frames, double framesPerMeasurment,
                                                  int32_t& time);
  static std::string incrementTimecode(std::string_view timecode, int32_t framesToStep,
                                       int32_t frameRate);
  // Rescales the frames field only, unwrapped: 01:00:00:15 from 102 to 110 is 01:00:00:18.
  static std::string adjustTimecode(std::string_view timecode,
                                    QRLMovieRateDefinition fromRecordedRate,
                                    QRLMovieRateDefinition toTimecodeRate);

  // One timecode per frame from frameOffset, fractional distribution at float unit sizes;
  // the flag only picks the separator.
  static std::vector<std::string> timecodeSeriesForFrames(int32_t count, int32_t withFrameOffset,
                                                          float frameRate, bool andDropFrame);
  // Counts on from the start (the default when invalid) at the rounded rate; seconds and
  // minutes reach 60 before wrapping and no frame numbers are skipped.
  static std::vector<std::string> timecodeSeriesForStartTimecode(std::string_view startTimecode,
                                                                 int32_t frameCount,
                                                                 float frameRate, bool dropFrame);

 private:
  std::atomic<float> framesPerSecond_;
  std::atomic<int32_t> frameOffset_;
  std::atomic<bool> isDropFrame_;
  std::atomic<std::shared_ptr<const std::string>> startTimecode_;
  std::atomic<QRLFrameRateViewType> frameRateViewType_;
};

}  // namespace qrl
