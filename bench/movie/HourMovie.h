#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace qrl::bench {

// An hour of 29.97 video (108,000 tiny frames) with a 01:00:00;00 timecode
// track, as ffmpeg writes such a movie; made once and kept in the temporary
// directory between runs.
inline const std::filesystem::path& hourMovie() {
  static const std::filesystem::path path = [] {
    auto p = std::filesystem::temp_directory_path() / "qrl-bench-hour-2997.mov";
    if (!std::filesystem::exists(p)) {
      std::string command =
          "ffmpeg -nostdin -v error -y -f lavfi -i color=c=gray:s=16x16:r=30000/1001 "
          "-frames:v 108000 -c:v mpeg4 -g 300 -timecode '01:00:00;00' '" +
          p.string() + "'";
      if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "ffmpeg could not make %s\n", p.c_str());
        std::exit(1);
      }
    }
    return p;
  }();
  return path;
}

}  // namespace qrl::bench
