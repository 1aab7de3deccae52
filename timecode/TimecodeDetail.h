#pragma once

// Helpers shared by the timecode sources; not part of the library's interface.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qrl::timecode_detail {

// A UTF-8 string seen as UTF-16 code units, the unit every timecode position counts in.
// ASCII text (the usual case) is used in place; anything else is decoded once, each
// malformed byte becoming U+FFFD. The text must outlive the object.
class CodeUnits {
 public:
  explicit CodeUnits(std::string_view text);

  size_t size() const { return ascii_ ? text_.size() : wide_.size(); }
  char16_t operator[](size_t index) const {
    return ascii_ ? static_cast<char16_t>(static_cast<unsigned char>(text_[index])) : wide_[index];
  }
  // count units from index, back in UTF-8; a lone surrogate half becomes U+FFFD.
  std::string slice(size_t index, size_t count) const;

 private:
  std::string_view text_;
  std::u16string wide_;
  bool ascii_;
};

void appendUtf8(std::string& out, std::u16string_view units);

// The leading decimal integer of count units from index, as a string's intValue reads it:
// leading blanks, an optional sign, digits; 0 when there are none. Saturates.
int32_t leadingInteger(const CodeUnits& units, size_t index, size_t count);

struct Fields {
  int32_t hours = 0;
  int32_t minutes = 0;
  int32_t seconds = 0;
  int32_t frames = 0;
};

// Hours from units 0-1, minutes 3-4, seconds 6-7, frames 9-10; separators are not looked
// at. nullopt when the text is shorter than 11 units (the range failure callers catch).
std::optional<Fields> parseFields(const CodeUnits& units);
inline std::optional<Fields> parseFields(std::string_view timecode) {
  return parseFields(CodeUnits(timecode));
}

// Writes a segment ("%d", or "0%d" for 9 or less) and returns the end; needs 12 chars.
inline char* writeSegment(char* out, int32_t value) {
  if (value <= 9) {
    *out++ = '0';
  }
  if (value >= 0 && value < 100) {
    if (value >= 10) {
      *out++ = static_cast<char>('0' + value / 10);
    }
    *out++ = static_cast<char>('0' + value % 10);
    return out;
  }
  return std::to_chars(out, out + 11, value).ptr;
}

// "%@:%@:%@%@%@" of four segments and the separator.
inline std::string joinTimecode(int32_t hours, int32_t minutes, int32_t seconds, char separator,
                                int32_t frames) {
  char buffer[4 * 12 + 3];
  char* p = writeSegment(buffer, hours);
  *p++ = ':';
  p = writeSegment(p, minutes);
  *p++ = ':';
  p = writeSegment(p, seconds);
  *p++ = separator;
  p = writeSegment(p, frames);
  return std::string(buffer, p);
}

// Conversions to a 32-bit integer truncate toward zero; values outside the range saturate
// and NaN gives 0, so out-of-contract rates never reach undefined behaviour.
int32_t truncateToInt32(double value);

// 32-bit two's-complement addition, wrapping as the counters always have.
inline int32_t wrappingAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// Integer distribution: units and remainder by truncating division; 0/0 for 0 frames.
// perUnit is 64-bit so that products of a large rate need not overflow first.
inline int32_t distributeWhole(int32_t frames, int64_t perUnit, int32_t& units) {
  if (frames == 0 || perUnit == 0) {
    units = 0;
    return 0;
  }
  units = static_cast<int32_t>(frames / perUnit);
  return static_cast<int32_t>(frames % perUnit);
}

// Fractional distribution: the first k with (k + 1) x perUnit > frames, in double.
int32_t distributeFractional(int32_t frames, double perUnit, int32_t& units);

// Shortest decimal text of a double without an exponent ("29.97", "24").
std::string shortestDecimal(double value);

// value formatted with "%.2lf" and read back.
double roundedToHundredths(double value);

}  // namespace qrl::timecode_detail
