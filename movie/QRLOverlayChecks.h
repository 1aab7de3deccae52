#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive/Color.h"
#include "platform/archive/Object.h"
#include "platform/base/Point.h"
#include "platform/base/Time.h"
#include "platform/graphics/Color.h"
#include "platform/graphics/Image.h"
#include "platform/quicktime/TimeCode.h"

namespace qrl::quicktime {
class Movie;
class Media;
class Track;
class TimeCodeMediaHandler;
}  // namespace qrl::quicktime

// Input checks and conversions shared by the overlay writer's files. Each
// check that fails writes one line to the system log saying why.
namespace qrl::overlay {

void log(const std::string& message);
// The movie at the path, or null after logging why it does not open.
std::unique_ptr<quicktime::Movie> openMovie(const std::string& path);
// The image in the data, or none after logging that it does not decode.
std::optional<graphics::Image> decodeImage(std::span<const uint8_t> data, const std::string& path);
// The movie has an enabled picture of at least one pixel.
bool hasPicture(const quicktime::Movie& movie);
// The point lies within the movie's picture (lower left at 0, 0).
bool isInside(const quicktime::Movie& movie, Point location);
bool isUsableFontSize(int64_t fontSize, const std::string& path);
std::optional<graphics::Color> fromArchive(const std::optional<archive::Color>& color);
// What "%@" prints for an object: a string as itself, else "<ClassName>",
// "(null)" for nil.
std::string description(const archive::ObjectPtr& object);

// Pixels as 16.16, saturating from 2^31 on as the toolbox's conversion does.
int32_t fixed(double pixels);
double pixelsOf(int32_t fixedValue);
// The 38-byte 'tmcd' sample description: header, a reserved word, the
// definition, and a trailing zero word.
std::vector<uint8_t> timecodeDescription(const quicktime::TimeCodeDef& definition,
                                         uint16_t dataReference);

// Shows or hides the track's timecode text, then fills the track with its one
// sample: the big-endian frame number of the record, lasting `duration`
// (0 when the record does not convert).
void fillTimecodeTrack(quicktime::Track& track, quicktime::Media& media,
                       quicktime::TimeCodeMediaHandler& handler,
                       const quicktime::TimeCodeDef& definition,
                       const quicktime::TimeCodeRecord& record, const Duration& duration,
                       bool showTimecode);

}  // namespace qrl::overlay
