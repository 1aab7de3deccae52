#include "platform/quicktime/AtomFactory.h"

#include <string>

#include "platform/base/Exception.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/EditListAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/HandlerAtom.h"
#include "platform/quicktime/MediaHeaderAtom.h"
#include "platform/quicktime/MovieHeaderAtom.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/SyncSampleAtom.h"
#include "platform/quicktime/TimeCodeMediaInfoAtom.h"
#include "platform/quicktime/TimeToSampleAtom.h"
#include "platform/quicktime/TrackHeaderAtom.h"
#include "platform/quicktime/TrackReferenceTypeAtom.h"
#include "platform/quicktime/VideoMediaInfoAtom.h"

namespace qrl::quicktime {

bool AtomFactory::isContainer(uint32_t type, uint32_t parentType) {
  switch (type) {
    case fourCC("moov"):
    case fourCC("trak"):
    case fourCC("mdia"):
    case fourCC("minf"):
    case fourCC("stbl"):
    case fourCC("edts"):
    case fourCC("dinf"):
    case fourCC("udta"):
    case fourCC("tref"):
    case fourCC("gmhd"):
      return true;
    case fourCC("tmcd"):
      return parentType == fourCC("gmhd");
    default:
      return false;
  }
}

namespace {

std::unique_ptr<Atom> parseLeaf(uint32_t type, uint32_t parentType, ByteReader& in) {
  switch (type) {
    case MovieHeaderAtom::kType:
      return MovieHeaderAtom::parse(in);
    case TrackHeaderAtom::kType:
      return TrackHeaderAtom::parse(in);
    case MediaHeaderAtom::kType:
      return MediaHeaderAtom::parse(in);
    case HandlerAtom::kType:
      return HandlerAtom::parse(in);
    case EditListAtom::kType:
      return EditListAtom::parse(in);
    case TimeToSampleAtom::kType:
      return TimeToSampleAtom::parse(in);
    case SampleToChunkAtom::kType:
      return SampleToChunkAtom::parse(in);
    case SampleSizeAtom::kType:
      return SampleSizeAtom::parse(in);
    case ChunkOffsetAtom::kType32:
    case ChunkOffsetAtom::kType64:
      return ChunkOffsetAtom::parse(type, in);
    case SyncSampleAtom::kType:
      return SyncSampleAtom::parse(in);
    case SampleDescriptionAtom::kType:
      return SampleDescriptionAtom::parse(in);
    case DataReferenceAtom::kType:
      return DataReferenceAtom::parse(in);
    case TimeCodeMediaInfoAtom::kType:
      return TimeCodeMediaInfoAtom::parse(in);
    case VideoMediaInfoAtom::kType:
      return VideoMediaInfoAtom::parse(in);
    default:
      break;
  }
  if (parentType == fourCC("tref"))
    return TrackReferenceTypeAtom::parse(type, in);
  return std::make_unique<RawAtom>(type, in.rest());
}

}  // namespace

std::unique_ptr<Atom> AtomFactory::parse(ByteReader& in, uint32_t parentType, int depth) {
  size_t start = in.position();
  uint64_t available = in.remaining();
  uint32_t size32 = in.u32();
  uint32_t type = in.u32();
  uint64_t size = size32;
  bool large = false;
  if (size32 == 1) {
    size = in.u64();
    large = true;
  } else if (size32 == 0) {
    size = available;
  }
  uint64_t header = large ? 16 : 8;
  if (size < header || size > available) {
    std::string message = "atom '";
    message.append(fourCCString(type)).append("' at offset ").append(std::to_string(start));
    message.append(" has size ").append(std::to_string(size));
    if (size < header) {
      message.append(", smaller than its header");
    } else {
      message.append(" but its container has only ")
          .append(std::to_string(available))
          .append(" bytes left");
    }
    throw Exception::parse(message);
  }
  ByteReader body(in.bytes(static_cast<size_t>(size - header)), fourCCString(type));
  std::unique_ptr<Atom> atom;
  if (isContainer(type, parentType)) {
    if (depth >= kMaxDepth)
      throw Exception::parse(std::string("atom ").append(quoted(type)) + " is nested too deeply");
    auto container = std::make_unique<ContainerAtom>(type);
    while (!body.atEnd()) {
      // A user data list may end with a 32-bit zero instead of another atom.
      if (body.remaining() == 4 && type == fourCC("udta")) {
        if (body.u32() != 0)
          throw Exception::parse("udta: stray bytes at its end");
        container->setZeroTerminated(true);
        break;
      }
      container->addChild(parse(body, type, depth + 1));
    }
    atom = std::move(container);
  } else {
    atom = parseLeaf(type, parentType, body);
  }
  atom->setLargeSize(large);
  return atom;
}

std::vector<std::unique_ptr<Atom>> AtomFactory::parseAll(std::span<const uint8_t> bytes,
                                                         uint32_t parentType) {
  ByteReader in(bytes, "atoms");
  std::vector<std::unique_ptr<Atom>> atoms;
  while (!in.atEnd())
    atoms.push_back(parse(in, parentType));
  return atoms;
}

}  // namespace qrl::quicktime
