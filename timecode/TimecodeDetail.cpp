#include "timecode/TimecodeDetail.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace qrl::timecode_detail {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool isContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// Decodes one well-formed UTF-8 sequence at text[i]; returns its length, or 0 when the
// bytes there are not one.
size_t decodeOne(std::string_view text, size_t i, char32_t& codePoint) {
  auto at = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  unsigned char lead = at(i);
  size_t length = 0;
  char32_t min = 0;
  if (lead < 0x80) {
    codePoint = lead;
    return 1;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2, codePoint = lead & 0x1F, min = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, codePoint = lead & 0x0F, min = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, codePoint = lead & 0x07, min = 0x10000;
  } else {
    return 0;
  }
  if (i + length > text.size()) {
    return 0;
  }
  for (size_t k = 1; k < length; ++k) {
    if (!isContinuation(at(i + k))) {
      return 0;
    }
    codePoint = (codePoint << 6) | (at(i + k) & 0x3F);
  }
  bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  if (codePoint < min || codePoint > 0x10FFFF || surrogate) {
    return 0;
  }
  return length;
}

bool isBlank(char16_t unit) {
  return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

}  // namespace

CodeUnits::CodeUnits(std::string_view text) : text_(text), ascii_(true) {
  for (char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      ascii_ = false;
      break;
    }
  }
  if (ascii_) {
    return;
  }
  wide_.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    char32_t codePoint = 0;
    size_t length = decodeOne(text, i, codePoint);
    if (length == 0) {
      wide_.push_back(kReplacement);
      i += 1;
    } else if (codePoint >= 0x10000) {
      codePoint -= 0x10000;
      wide_.push_back(static_cast<char16_t>(0xD800 + (codePoint >> 10)));
      wide_.push_back(static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF)));
      i += length;
    } else {
      wide_.push_back(static_cast<char16_t>(codePoint));
      i += length;
    }
  }
}

std::string CodeUnits::slice(size_t index, size_t count) const {
  if (ascii_) {
    return std::string(text_.substr(index, count));
  }
  std::string out;
  appendUtf8(out, std::u16string_view(wide_).substr(index, count));
  return out;
}

void appendUtf8(std::string& out, std::u16string_view units) {
  for (size_t i = 0; i < units.size(); ++i) {
    char32_t c = units[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
        units[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = kReplacement;
    }
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (c >> 18)));
      out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
}

int32_t leadingInteger(const CodeUnits& units, size_t index, size_t count) {
  size_t end = index + count < units.size() ? index + count : units.size();
  size_t i = index;
  while (i < end && isBlank(units[i])) {
    ++i;
  }
  bool negative = false;
  if (i < end && (units[i] == '-' || units[i] == '+')) {
    negative = units[i] == '-';
    ++i;
  }
  int64_t value = 0;
  for (; i < end && units[i] >= '0' && units[i] <= '9'; ++i) {
    value = value * 10 + (units[i] - '0');
    if (value > std::numeric_limits<int32_t>::max()) {
      value = std::numeric_limits<int32_t>::max() + int64_t{1};
    }
  }
  value = negative ? -value : value;
  if (value > std::numeric_limits<int32_t>::max()) {
    value = std::numeric_limits<int32_t>::max();
  }
  return static_cast<int32_t>(value);
}

std::optional<Fields> parseFields(const CodeUnits& units) {
  if (units.size() < 11) {
    return std::nullopt;
  }
  return Fields{leadingInteger(units, 0, 2), leadingInteger(units, 3, 2),
                leadingInteger(units, 6, 2), leadingInteger(units, 9, 2)};
}

int32_t truncateToInt32(double value) {
  if (std::isnan(value)) {
    return 0;
  }
  if (value >= 2147483647.0) {
    return std::numeric_limits<int32_t>::max();
  }
  if (value <= -2147483648.0) {
    return std::numeric_limits<int32_t>::min();
  }
  return static_cast<int32_t>(value);
}

int32_t distributeFractional(int32_t frames, double perUnit, int32_t& units) {
  units = 0;
  if (frames == 0) {
    return 0;
  }
  double f = frames;
  if (perUnit > f) {  // also every negative count, which stops at k = 0
    return frames;
  }
  // The counting would never stop, or stop beyond what a unit count holds.
  if (!(perUnit > 0.0) || f / perUnit > 2147483646.0) {
    throw std::domain_error("frames per unit too small to distribute " + std::to_string(frames) +
                            " frames");
  }
  // Start from the quotient and settle on the first k the counting loop would stop at;
  // (k + 1) x perUnit never decreases as k grows, so the adjustment is exact.
  int64_t k = static_cast<int64_t>(f / perUnit);
  while (static_cast<double>(k + 1) * perUnit <= f) {
    ++k;
  }
  while (k > 0 && static_cast<double>(k) * perUnit > f) {
    --k;
  }
  units = static_cast<int32_t>(k);
  return truncateToInt32(f - static_cast<double>(k) * perUnit);
}

std::string shortestDecimal(double value) {
  char buffer[400];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  return std::string(buffer, result.ptr);
}

double roundedToHundredths(double value) {
  if (!std::isfinite(value)) {
    return value;
  }
  char buffer[400];
  auto written = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 2);
  double back = 0.0;
  std::from_chars(buffer, written.ptr, back);
  return back;
}

}  // namespace qrl::timecode_detail
