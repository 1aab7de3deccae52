#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/quicktime/DataReference.h"
#include "platform/quicktime/SampleDescription.h"
#include "platform/quicktime/SampleTable.h"
#include "platform/quicktime/Time.h"

namespace qrl::quicktime {

class MediaHeaderAtom;
class HandlerAtom;
class ByteSource;
class ContainerAtom;
class Movie;

// A track's media: its time scale, language, handler, data references,
// sample descriptions and samples. Owned by its Track; reads the atoms of
// the 'mdia' it was built from, which the movie owns.
class Media {
 public:
  // Reads and checks the 'mdia' atom; throws a parse Exception naming what is wrong.
  Media(const Movie& movie, ContainerAtom& mdia);
  ~Media();
  Media(const Media&) = delete;
  Media& operator=(const Media&) = delete;

  // The media handler's subtype: 'vide', 'soun', 'tmcd', ...
  uint32_t mediaType() const { return mediaType_; }
  std::string handlerName() const;
  int32_t timeScale() const { return timeScale_; }
  // mdhd's duration in the media time scale.
  Time duration() const;
  // Macintosh language code (below 0x400) or packed ISO 639-2/T code.
  uint16_t language() const;
  // Three-letter ISO 639-2 form; "und" when unknown.
  std::string languageCode() const;

  const std::vector<DataReference>& dataReferences() const { return dataReferences_; }
  const std::vector<SampleDescription>& sampleDescriptions() const { return descriptions_; }
  const SampleTable& sampleTable() const { return samples_; }

  // The bytes of one sample (0-based index), from the file its description's
  // data reference names. Throws a range or IO Exception.
  std::vector<uint8_t> readSample(uint32_t index) const;

  ContainerAtom& atom() const { return mdia_; }

 private:
  const ByteSource& sourceFor(uint32_t descriptionNumber) const;

  const Movie& movie_;
  ContainerAtom& mdia_;
  // Checked present at construction; owned by mdia_.
  const MediaHeaderAtom* mdhd_ = nullptr;
  const HandlerAtom* hdlr_ = nullptr;
  uint32_t mediaType_ = 0;
  int32_t timeScale_ = 1;
  std::vector<DataReference> dataReferences_;
  std::vector<SampleDescription> descriptions_;
  SampleTable samples_;
  // External files opened on first read, one per data reference.
  mutable std::vector<std::unique_ptr<ByteSource>> externalSources_;
};

}  // namespace qrl::quicktime
