#include "dwg/decoder.hpp"

#include <cstdio>
#include <memory>

#include "dwg/codepage.hpp"
#include "dwg/objects.hpp"
#include "dwg/sections.hpp"
#include "vantrove/engine/progress.hpp"

namespace vantrove::engine::dwg {

bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes, ReadError& error) {
  std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!f) {
    error = {kErrFileOpen, "cannot open the file " + path};
    return false;
  }
  if (std::fseek(f.get(), 0, SEEK_END) != 0) {
    error = {kErrFileOpen, "cannot read the file " + path};
    return false;
  }
  long size = std::ftell(f.get());
  if (size < 0 || std::fseek(f.get(), 0, SEEK_SET) != 0) {
    error = {kErrFileOpen, "cannot read the file " + path};
    return false;
  }
  if (static_cast<uint64_t>(size) > kMaxFileSize) {
    error = {kErrTooLarge, "the file " + path + " is larger than the 1 GiB limit"};
    return false;
  }
  bytes.resize(static_cast<size_t>(size));
  if (size > 0 && std::fread(bytes.data(), 1, bytes.size(), f.get()) != bytes.size()) {
    error = {kErrFileOpen, "cannot read the file " + path};
    return false;
  }
  return true;
}

bool DecodeDrawing(const std::vector<uint8_t>& file, DecodedDrawing& out, ReadError& error) {
  if (!ReadContainer(file, out.container, error)) return false;
  Container& c = out.container;
  for (auto& w : c.warnings) out.warnings.push_back(w);

  TextDecoder text(c.codePage);
  ParseClasses(c, text, out.classes, out.warnings);

  std::vector<MapEntry> map;
  ParseObjectMap(c.objectMap, map, out.warnings);
  if (map.empty()) {
    error = {kErrDamaged, "the object map of the drawing is empty or damaged"};
    return false;
  }

  ObjectDecoder decoder(c, out.classes, text);
  out.objects.reserve(map.size());
  size_t crcFailures = 0;
  // Objects are copied as they are stored; a map that points many times at
  // the same bytes must not multiply memory and time.
  const uint64_t rawBudget = uint64_t{4} * c.objects.size + (uint64_t{16} << 20);
  uint64_t rawTotal = 0;
  // Progress goes by objects: the map gives their number before any is read.
  constexpr size_t kProgressObjects = 8192;
  size_t seen = 0;
  for (const MapEntry& e : map) {
    if (seen++ % kProgressObjects == 0) ReportReadProgress(seen - 1, map.size());
    ObjectRecord rec;
    if (e.offset >= 0 && static_cast<uint64_t>(e.offset) >= c.objects.size) ++out.objectsPastEnd;
    if (e.offset < 0 || static_cast<uint64_t>(e.offset) >= c.objects.size || !decoder.Decode(static_cast<size_t>(e.offset), rec)) {
      ++out.failedObjects;
      continue;
    }
    rawTotal += rec.raw.size();
    if (rawTotal > rawBudget) {
      error = {kErrDamaged, "the object map points at overlapping objects"};
      return false;
    }
    if (!rec.crcOk) ++crcFailures;
    if (rec.handle == 0) rec.handle = e.handle;
    if (out.byHandle.count(rec.handle) != 0) {
      out.warnings.push_back("handle " + std::to_string(rec.handle) + " appears twice; the second object is ignored");
      continue;
    }
    rec.index = out.objects.size();
    out.byHandle.emplace(rec.handle, rec.index);
    out.objects.push_back(std::move(rec));
  }
  if (out.objects.empty()) {
    error = {kErrDamaged, "no object of the drawing could be decoded"};
    return false;
  }
  // A few damaged objects are skipped; when a quarter of them are, the
  // rest cannot be trusted either.
  if (out.failedObjects > 16 && out.failedObjects * 4 > map.size()) {
    error = {kErrDamaged, std::to_string(out.failedObjects) + " of " + std::to_string(map.size()) +
                              " objects cannot be decoded"};
    return false;
  }
  if (out.failedObjects > 0)
    out.warnings.push_back(std::to_string(out.failedObjects) + " objects could not be decoded");
  if (crcFailures > 0) out.warnings.push_back(std::to_string(crcFailures) + " objects fail their check value");
  return true;
}

}  // namespace vantrove::engine::dwg
