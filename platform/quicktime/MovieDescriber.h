#pragma once

#include <cstdint>
#include <string_view>

namespace qrl::quicktime {

class Movie;

// A visitor over what the inspector reports of a movie: named fields inside
// nested objects and arrays. The text and JSON printers implement it; a test
// can implement it to collect the fields.
class MovieDescriber {
 public:
  virtual ~MovieDescriber() = default;

  // `name` is empty for an object that is an element of an array.
  virtual void startObject(std::string_view name) = 0;
  virtual void endObject() = 0;
  virtual void startArray(std::string_view name) = 0;
  virtual void endArray() = 0;
  virtual void addText(std::string_view name, std::string_view value) = 0;
  virtual void addInteger(std::string_view name, int64_t value) = 0;
  virtual void addReal(std::string_view name, double value) = 0;
  virtual void addBool(std::string_view name, bool value) = 0;

  // Walks the movie and its tracks: type, ID, enabled, layer, name, size,
  // duration, sample count, codec and, for timecode tracks, the start timecode.
  // Leaves the movie's current time as it found it.
  static void inspect(Movie& movie, MovieDescriber& inspector);
};

}  // namespace qrl::quicktime
