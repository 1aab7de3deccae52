#include "platform/quicktime/MovieCompactor.h"

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "platform/base/AtomicFile.h"
#include "platform/base/Exception.h"
#include "platform/quicktime/ByteWriter.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"

namespace qrl::quicktime {
namespace {

bool inOwnFile(const Media& media, uint32_t descriptionNumber) {
  const auto& descriptions = media.sampleDescriptions();
  const auto& refs = media.dataReferences();
  if (descriptionNumber == 0 || descriptionNumber > descriptions.size())
    return false;
  size_t ref = descriptions[descriptionNumber - 1].dataReferenceIndex;
  return refs.empty() || ref == 0 || ref > refs.size() || refs[ref - 1].isSelfReference;
}

ChunkOffsetAtom* chunkOffsets(const Media& media) {
  auto* stbl = media.atom().container({fourCC("minf"), fourCC("stbl")});
  if (stbl == nullptr)
    return nullptr;
  if (auto* stco = stbl->childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType32))
    return stco;
  return stbl->childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType64);
}

}  // namespace

MovieCompactor::Result MovieCompactor::compact(const std::filesystem::path& path) {
  auto movie = Movie::open(path);
  const auto& top = movie->topLevelAtoms();
  if (top.size() == 1 && top.front().size == 0)
    throw Exception::unsupported(path.string() + ": a sound file is not a movie file");
  Result result;
  result.sizeBefore = movie->data().size();
  AtomicFile out(path);
  const ByteSource& source = movie->data();

  // File type first, then whatever else the file holds that is not media,
  // movie or free space.
  for (int pass = 0; pass < 2; ++pass) {
    for (const auto& a : top) {
      bool isType = a.type == fourCC("ftyp");
      if ((pass == 0) != isType || a.type == fourCC("moov") || a.type == fourCC("mdat") ||
          a.type == fourCC("free") || a.type == fourCC("skip") || a.type == fourCC("wide")) {
        continue;
      }
      out.append(source.read(a.offset, static_cast<size_t>(a.size)));
    }
  }

  const uint64_t mdat = out.size();
  std::vector<uint8_t> header;
  ByteWriter(header).u32(8);
  ByteWriter(header).u32(fourCC("wide"));
  ByteWriter(header).u32(0);
  ByteWriter(header).u32(fourCC("mdat"));
  out.append(header);

  std::map<uint64_t, std::pair<uint64_t, uint64_t>> copied;  // old offset -> (new, length)
  std::vector<uint8_t> buffer;
  for (const auto& track : movie->tracks()) {
    const Media& media = track->media();
    ChunkOffsetAtom* stco = chunkOffsets(media);
    if (stco == nullptr)
      continue;
    std::vector<uint64_t> offsets = stco->offsets();
    media.sampleTable().forEachChunk(
        [&](size_t chunk, uint64_t offset, uint32_t first, uint32_t count, uint32_t description) {
          if (!inOwnFile(media, description) || chunk >= offsets.size())
            return;
          uint64_t length = media.sampleTable().bytesOf(first, count);
          if (auto it = copied.find(offset); it != copied.end() && it->second.second >= length) {
            offsets[chunk] = it->second.first;
            return;
          }
          uint64_t at = out.size();
          for (uint64_t done = 0; done < length;) {
            size_t piece = static_cast<size_t>(std::min<uint64_t>(length - done, 1 << 20));
            buffer.resize(piece);
            source.read(offset + done, buffer);
            out.append(buffer);
            done += piece;
          }
          copied[offset] = {at, length};
          offsets[chunk] = at;
        });
    if (offsets != stco->offsets()) {
      if (!stco->isWide() && offsets.size() > 0) {
        auto wide = std::make_unique<ChunkOffsetAtom>(true);
        wide->setOffsets(offsets);
        if (!wide->needsWide()) {
          stco->setOffsets(offsets);
          continue;
        }
        auto* stbl = media.atom().container({fourCC("minf"), fourCC("stbl")});
        stbl->replaceChild(stco, std::move(wide));
      } else {
        stco->setOffsets(offsets);
      }
    }
  }
  const uint64_t mdatSize = out.size() - (mdat + 8);
  std::vector<uint8_t> size;
  if (mdatSize <= std::numeric_limits<uint32_t>::max()) {
    ByteWriter(size).u32(static_cast<uint32_t>(mdatSize));
    out.writeAt(mdat + 8, size);
  } else {
    ByteWriter(size).u32(1);
    ByteWriter(size).u32(fourCC("mdat"));
    ByteWriter(size).u64(mdatSize + 8);
    out.writeAt(mdat, size);
  }
  std::vector<uint8_t> moov;
  ByteWriter writer(moov);
  movie->movieAtom().write(writer);
  out.append(moov);
  result.sizeAfter = out.size();
  out.commit();
  return result;
}

}  // namespace qrl::quicktime
