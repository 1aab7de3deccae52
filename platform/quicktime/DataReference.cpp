#include "platform/quicktime/DataReference.h"

#include <vector>

#include "platform/quicktime/ByteReader.h"
#include "platform/quicktime/ByteWriter.h"
#include "platform/quicktime/FourCC.h"

namespace qrl::quicktime {
namespace {

std::string pascal(std::span<const uint8_t> field) {
  if (field.empty())
    return {};
  size_t length = std::min<size_t>(field[0], field.size() - 1);
  return std::string(field.begin() + 1, field.begin() + 1 + static_cast<std::ptrdiff_t>(length));
}

std::vector<std::string> components(const std::string& path, char separator) {
  std::vector<std::string> parts;
  std::string part;
  for (char c : path) {
    if (c == separator) {
      if (!part.empty())
        parts.push_back(part);
      part.clear();
    } else if (c != '\0') {
      part += c;
    }
  }
  if (!part.empty())
    parts.push_back(part);
  return parts;
}

struct Alias {
  std::string fileName;
  int16_t levelsFrom = -1;
  int16_t levelsTo = -1;
  std::string carbonPath;  // tag 2, "Volume:dir:file"
  std::string posixPath;   // tag 18
};

// Reads what we need of a version 2 alias record; a damaged record yields
// what could be read before the damage.
Alias readAlias(std::span<const uint8_t> data) {
  Alias a;
  try {
    ByteReader in(data, "alias record");
    in.skip(10);  // creator, size, version, kind
    in.skip(28);  // volume name
    in.skip(12);  // volume date, fs type, disk type, parent
    a.fileName = pascal(in.bytes(64));
    in.skip(16);  // file number, date, creator, type
    a.levelsFrom = in.i16();
    a.levelsTo = in.i16();
    in.skip(16);  // volume attributes, fs id, reserved
    while (in.remaining() >= 4) {
      int16_t tag = in.i16();
      uint16_t length = in.u16();
      if (tag == -1)
        break;
      auto value = in.bytes(length);
      if (length % 2 != 0 && in.remaining() > 0)
        in.skip(1);
      if (tag == 2)
        a.carbonPath.assign(value.begin(), value.end());
      if (tag == 18)
        a.posixPath.assign(value.begin(), value.end());
    }
  } catch (const std::exception&) {
    // keep what was read
  }
  return a;
}

void pascalField(ByteWriter& out, const std::string& text, size_t fieldSize) {
  size_t length = std::min(text.size(), fieldSize - 1);
  out.u8(static_cast<uint8_t>(length));
  out.bytes({reinterpret_cast<const uint8_t*>(text.data()), length});
  out.zeros(fieldSize - 1 - length);
}

void tag(ByteWriter& out, int16_t type, const std::string& value) {
  size_t length = std::min<size_t>(value.size(), 0xFFFF);
  out.i16(type);
  out.u16(static_cast<uint16_t>(length));
  out.bytes({reinterpret_cast<const uint8_t*>(value.data()), length});
  if (length % 2 != 0)
    out.u8(0);
}

}  // namespace

DataReferenceAtom::Entry DataReference::aliasTo(const std::filesystem::path& target,
                                                const std::filesystem::path& moviePath) {
  namespace fs = std::filesystem;
  const fs::path to = fs::weakly_canonical(fs::absolute(target));
  const fs::path from = fs::weakly_canonical(fs::absolute(moviePath)).parent_path();
  auto toParts = components(to.string(), '/');
  auto fromParts = components(from.string(), '/');
  size_t common = 0;
  while (common < toParts.size() && common < fromParts.size() &&
         toParts[common] == fromParts[common]) {
    ++common;
  }
  const auto levelsFrom =
      static_cast<int16_t>(std::min<size_t>(fromParts.size() - common + 1, 0x7FFF));
  const auto levelsTo = static_cast<int16_t>(std::min<size_t>(toParts.size() - common, 0x7FFF));

  const std::string volume = "Macintosh HD";
  std::string carbon = volume;
  for (const auto& part : toParts)
    carbon += ":" + part;

  std::vector<uint8_t> record;
  ByteWriter out(record);
  out.u32(0);  // application type
  out.u16(0);  // record size, set below
  out.u16(2);  // version
  out.u16(0);  // kind: file
  pascalField(out, volume, 28);
  out.u32(0);       // volume date
  out.u16(0x482B);  // 'H+'
  out.u16(0);       // fixed disk
  out.u32(0);       // parent directory ID
  pascalField(out, to.filename().string(), 64);
  out.zeros(16);  // file number, date, creator, type
  out.i16(levelsFrom);
  out.i16(levelsTo);
  out.zeros(16);  // volume attributes, file-system ID, reserved
  tag(out, 0, to.parent_path().filename().string());
  tag(out, 2, carbon);
  tag(out, 18, to.string());
  out.i16(-1);
  out.u16(0);
  auto size = static_cast<uint16_t>(std::min<size_t>(record.size(), 0xFFFF));
  record[4] = static_cast<uint8_t>(size >> 8);
  record[5] = static_cast<uint8_t>(size);
  return {fourCC("alis"), 0, std::move(record)};
}

DataReference DataReference::resolve(const DataReferenceAtom::Entry& entry,
                                     const std::filesystem::path& moviePath) {
  DataReference ref;
  ref.type = entry.type;
  ref.isSelfReference = entry.isSelfReference();
  if (ref.isSelfReference) {
    ref.path = moviePath;
    ref.fileName = moviePath.filename().string();
    return ref;
  }
  std::filesystem::path directory = moviePath.parent_path();
  std::vector<std::filesystem::path> candidates;
  if (entry.type == fourCC("alis")) {
    Alias alias = readAlias(entry.data);
    ref.fileName = alias.fileName;
    auto parts = !alias.posixPath.empty() ? components(alias.posixPath, '/')
                                          : components(alias.carbonPath, ':');
    if (alias.levelsFrom > 0 && alias.levelsTo > 0 &&
        static_cast<size_t>(alias.levelsTo) <= parts.size()) {
      std::filesystem::path p = directory;
      for (int i = 1; i < alias.levelsFrom; ++i)
        p /= "..";
      for (size_t i = parts.size() - static_cast<size_t>(alias.levelsTo); i < parts.size(); ++i) {
        p /= parts[i];
      }
      candidates.push_back(p);
    }
    if (!alias.posixPath.empty() && alias.posixPath.front() == '/') {
      candidates.emplace_back(alias.posixPath.c_str());
    }
    if (!alias.fileName.empty())
      candidates.push_back(directory / alias.fileName);
  } else if (entry.type == fourCC("url ")) {
    std::string url(entry.data.begin(), entry.data.end());
    url = url.c_str();  // up to the terminator
    if (url.rfind("file://", 0) == 0)
      url = url.substr(7);
    if (!url.empty()) {
      std::filesystem::path p(url);
      candidates.push_back(p.is_absolute() ? p : directory / p);
      ref.fileName = p.filename().string();
    }
  }
  for (const auto& c : candidates) {
    std::error_code ec;
    if (std::filesystem::is_regular_file(c, ec)) {
      ref.path = c;
      return ref;
    }
  }
  if (!candidates.empty())
    ref.path = candidates.front();
  return ref;
}

}  // namespace qrl::quicktime
