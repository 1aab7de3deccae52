#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "tests/xmeml/XmlTestSupport.h"

namespace qrl::testing {

// Tiny clips made by ffmpeg once per test program (64x36, 1 second, MPEG-4
// video, 16-bit PCM sound), in a temporary folder removed at exit.
class Clips {
 public:
  static const Clips& shared() {
    static const Clips clips;
    return clips;
  }

  // The folder holding the clips (and naming the reel of those directly in it).
  std::filesystem::path root() const { return dir_ / "clips"; }
  // Two video tracks and one stereo 48 kHz sound track.
  std::filesystem::path twoVideoStereo() const { return root() / "twoVideoStereo.mov"; }
  // One video track and one mono 22.05 kHz sound track.
  std::filesystem::path mono() const { return root() / "mono.mov"; }
  // Video only.
  std::filesystem::path silent() const { return root() / "silent.mov"; }
  // A folder and a name with spaces and non-ASCII characters.
  std::filesystem::path spaced() const {
    return root() / "My Clips" / "\xC3\x89t\xC3\xA9 clip.mov";
  }
  // A clip whose folder names the reel.
  std::filesystem::path reel() const { return root() / "Reel1" / "clip.mov"; }
  // 29.97 drop-frame video with its own timecode track starting 01:00:00;00.
  std::filesystem::path withTimecodeTrack() const { return root() / "tc2997.mov"; }

 private:
  Clips() {
    const std::string video = " -f lavfi -i color=c=gray:s=64x36:r=25:d=1";
    make(twoVideoStereo(), video + " -f lavfi -i color=c=blue:s=64x36:r=25:d=1" +
                               " -f lavfi -i sine=f=440:r=48000:d=1" +
                               " -map 0 -map 1 -map 2 -c:v mpeg4 -c:a pcm_s16le -ac 2");
    make(mono(), video + " -f lavfi -i sine=f=440:r=22050:d=1 -c:v mpeg4 -c:a pcm_s16le -ac 1");
    make(silent(), video + " -c:v mpeg4");
    make(spaced(), video + " -f lavfi -i sine=r=48000:d=1 -c:v mpeg4 -c:a pcm_s16le -ac 2");
    make(reel(), video + " -c:v mpeg4");
    make(withTimecodeTrack(),
         " -f lavfi -i color=c=gray:s=64x36:r=30000/1001:d=1 -c:v mpeg4 -timecode '01:00:00;00'");
  }

  void make(const std::filesystem::path& path, const std::string& inputsAndOptions) const {
    std::filesystem::create_directories(path.parent_path());
    std::string command = "ffmpeg -nostdin -v error -y" + inputsAndOptions +
                          " -fflags +bitexact -flags:v +bitexact -flags:a +bitexact " +
                          quoted(path);
    std::string output;
    int status = runCommand(command, &output);
    if (status != 0)
      ADD_FAILURE() << command << "\n" << output;
  }

  TempDirectory dir_;
};

}  // namespace qrl::testing
