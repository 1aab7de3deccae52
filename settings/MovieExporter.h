#pragma once

#include <cstdint>
#include <optional>

#include "platform/quicktime/AtomContainer.h"
#include "platform/quicktime/ExportParameters.h"

namespace qrl::settings {

// How the payloads of one settings section ('vide', 'soun', 'isiz') were
// stored, and why we think so.
struct PayloadOrder {
  bool littleEndian = false;
  bool versPresent = false;       // a 'vers' atom in the section, or else at the root
  bool versLittleEndian = false;  // its flag: the writer ran on a little-endian host
  int plausibleBig = 0;           // fields that make sense read big-endian
  int plausibleLittle = 0;        // … read little-endian
};

// The movie exporter ('spit'/'MooV') as far as compression settings go: it
// loads a settings container, keeps the settings a movie export needs, and
// gives them back as a complete container or as export parameters.
//
// Reading. Leaf payloads are big-endian in the file format, but the 'vers'
// atom's flag says that the writer ran on a little-endian host, which
// suggests that some writers stored host order. The original platform's own
// containers carry the flag with big-endian payloads, so the flag alone does
// not decide: a section whose 'vers' has the flag clear was written on a
// big-endian host and is read big-endian; otherwise each section is read in
// the order in which more of its fields are plausible (codec codes
// printable and known, frame rates 1-240 fps, sample rates 8-192 kHz, 1-32
// channels, sample sizes 8/16/24/32, sizes, depths, qualities and key-frame
// distances in range), big-endian on a tie.
//
// What it reads, in the first atom of each type: 'vide' > 'sptl' (codec,
// depth, spatial quality), 'tprl' (temporal quality, 16.16 frame rate,
// key-frame distance), 'drat' (bytes per second), 'wdth'/'hegt' (16.16);
// 'isiz' > 'iwdt'/'ihgt' (pixels; they win over 'wdth'/'hegt' when not 0);
// 'soun' > 'ssct', 'ssrt' (16.16 hertz), 'ssss', 'sscc'; 'envi' and 'enso'
// (video is exported unless 'envi' is 0, sound only when 'enso' is not 0).
// Leaves too short for a field leave it as it was.
//
// Defaults, before anything is loaded: H.264 ('avc1', 24 bits, normal
// quality 0x200) at the source's size and rate, no data-rate limit, the
// encoder's key frames; sound off, AAC ('aac ') 48 kHz, 16 bits, stereo.
class MovieExporter {
 public:
  MovieExporter();

  // Loads the settings the container holds over the current ones, and keeps
  // the container so that the atoms it does not understand travel on.
  // Throws a parse Exception when a settings atom has the wrong shape (a
  // section that holds data, a setting that holds atoms).
  void setSettingsFromAtomContainer(const quicktime::AtomContainer& settings);

  // The current settings as a new container: the loaded one with its own
  // atoms kept, and 'vide' {'sptl', 'tprl', 'drat', 'wdth', 'hegt', 'vers'},
  // 'isiz' {'iwdt', 'ihgt'}, 'soun' {'ssct', 'ssrt', 'ssss', 'sscc', 'vers'},
  // 'envi' and 'enso' written over or added, big-endian, with the 'vers'
  // flag saying which host wrote them.
  quicktime::AtomContainer getSettingsAsAtomContainer() const;

  const quicktime::ExportParameters& parameters() const { return parameters_; }
  // Replaces the settings, filling in the FFmpeg encoder and formats from
  // the compressor registry. Throws a range Exception for values a settings
  // container cannot hold (sizes, rates, counts past its fields).
  void setParameters(const quicktime::ExportParameters& parameters);

  // The export parameters of a settings container, defaults for what it
  // does not hold.
  static quicktime::ExportParameters exportParameters(const quicktime::AtomContainer& settings);

  // The payload order of the first section of the type at the root
  // ('vide', 'soun' or 'isiz'); nothing when there is none.
  static std::optional<PayloadOrder> payloadOrder(const quicktime::AtomContainer& settings,
                                                  quicktime::QTAtomType section);

 private:
  quicktime::ExportParameters parameters_;
  std::optional<quicktime::AtomContainer> loaded_;
};

}  // namespace qrl::settings
