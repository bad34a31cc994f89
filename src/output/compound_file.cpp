// OLE compound files: sectors chained through an allocation table, a
// directory of named entries, and a mini stream for small streams.
#include "compound_file.hpp"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>

#include "vantrove/runtime.hpp"

namespace vantrove::office {

namespace {

constexpr uint32_t kFree = 0xFFFFFFFF, kEnd = 0xFFFFFFFE, kFatSect = 0xFFFFFFFD, kDifSect = 0xFFFFFFFC;
constexpr uint32_t kNoStream = 0xFFFFFFFF;
constexpr uint32_t kMiniCutoff = 4096;
constexpr size_t kSector = 512, kMini = 64;

[[noreturn]] void Damaged(const std::string& what) { Raise(1004, "The encrypted file is damaged: " + what); }

uint32_t U32(std::string_view s, size_t at) {
  if (at + 4 > s.size()) Damaged("it ends early");
  uint32_t v;
  std::memcpy(&v, s.data() + at, 4);
  return v;
}
uint16_t U16(std::string_view s, size_t at) {
  if (at + 2 > s.size()) Damaged("it ends early");
  uint16_t v;
  std::memcpy(&v, s.data() + at, 2);
  return v;
}

void Put32(std::string& s, size_t at, uint32_t v) { std::memcpy(s.data() + at, &v, 4); }
void Put16(std::string& s, size_t at, uint16_t v) { std::memcpy(s.data() + at, &v, 2); }

class Reader {
 public:
  explicit Reader(std::string_view f) : f_(f) {
    if (f.size() < 512 || U16(f, 28) != 0xFFFE) Damaged("no compound file header");
    const uint16_t shift = U16(f, 30);
    if (shift != 9 && shift != 12) Damaged("unknown sector size");
    sector_ = size_t{1} << shift;
    miniSector_ = size_t{1} << U16(f, 32);
    cutoff_ = U32(f, 56);
    // The allocation table's sectors: 109 in the header, more in the DIFAT chain.
    std::vector<uint32_t> fatSectors;
    for (size_t i = 0; i < 109; ++i) {
      const uint32_t s = U32(f, 76 + 4 * i);
      if (s != kFree) fatSectors.push_back(s);
    }
    uint32_t difat = U32(f, 68);
    for (size_t guard = 0; difat != kEnd && difat != kFree; ++guard) {
      if (guard > Sectors()) Damaged("a looping DIFAT chain");
      const size_t at = Offset(difat);
      for (size_t i = 0; i + 1 < sector_ / 4; ++i) {
        const uint32_t s = U32(f, at + 4 * i);
        if (s != kFree) fatSectors.push_back(s);
      }
      difat = U32(f, at + sector_ - 4);
    }
    for (uint32_t s : fatSectors) {
      const size_t at = Offset(s);
      for (size_t i = 0; i < sector_ / 4; ++i) fat_.push_back(U32(f, at + 4 * i));
    }
    dir_ = Chain(U32(f, 48), fat_, [&](uint32_t s) { return std::string(f_.substr(Offset(s), sector_)); });
    const std::string miniFatBytes =
        Chain(U32(f, 60), fat_, [&](uint32_t s) { return std::string(f_.substr(Offset(s), sector_)); });
    for (size_t i = 0; i + 4 <= miniFatBytes.size(); i += 4) miniFat_.push_back(U32(miniFatBytes, i));
    if (dir_.size() < 128) Damaged("no directory");
    miniStream_ = Chain(U32(dir_, 116), fat_, [&](uint32_t s) { return std::string(f_.substr(Offset(s), sector_)); });
  }

  bool Find(const std::string& name, std::string& out) {
    for (size_t at = 0; at + 128 <= dir_.size(); at += 128) {
      if (dir_[at + 66] != 2) continue;  // streams only
      const uint16_t len = U16(dir_, at + 64);
      std::string n;
      for (size_t i = 0; i + 2 <= std::min<size_t>(len, 64) && dir_[at + i] != 0; i += 2) n += dir_[at + i];
      if (n.size() != name.size() || !std::equal(n.begin(), n.end(), name.begin(), [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
          })) {
        continue;
      }
      const uint32_t start = U32(dir_, at + 116);
      const uint64_t size = U32(dir_, at + 120);
      if (size < cutoff_) {
        out = Chain(start, miniFat_, [&](uint32_t s) {
          if ((s + 1) * miniSector_ > miniStream_.size()) Damaged("a mini sector outside the mini stream");
          return miniStream_.substr(s * miniSector_, miniSector_);
        });
      } else {
        out = Chain(start, fat_, [&](uint32_t s) { return std::string(f_.substr(Offset(s), sector_)); });
      }
      if (out.size() < size) Damaged("a stream shorter than its entry says");
      out.resize(static_cast<size_t>(size));
      return true;
    }
    return false;
  }

 private:
  size_t Sectors() const { return f_.size() / sector_; }
  size_t Offset(uint32_t s) const {
    const size_t at = (size_t{s} + 1) * sector_;
    if (s >= kDifSect || at + sector_ > f_.size() + (sector_ - 1)) Damaged("a sector outside the file");
    return at;
  }
  template <class Get>
  std::string Chain(uint32_t s, const std::vector<uint32_t>& table, Get get) {
    std::string out;
    for (size_t guard = 0; s != kEnd && s != kFree; ++guard) {
      if (s >= table.size() || guard > table.size()) Damaged("a broken sector chain");
      out += get(s);
      s = table[s];
    }
    return out;
  }

  std::string_view f_;
  size_t sector_ = 512, miniSector_ = 64;
  uint32_t cutoff_ = kMiniCutoff;
  std::vector<uint32_t> fat_, miniFat_;
  std::string dir_, miniStream_;
};

void DirEntry(std::string& dir, size_t index, const std::string& name, uint8_t type, bool black, uint32_t left,
              uint32_t right, uint32_t child, uint32_t start, uint64_t size) {
  const size_t at = index * 128;
  for (size_t i = 0; i < name.size(); ++i) Put16(dir, at + 2 * i, static_cast<unsigned char>(name[i]));
  Put16(dir, at + 64, static_cast<uint16_t>((name.size() + 1) * 2));
  dir[at + 66] = static_cast<char>(type);
  dir[at + 67] = black ? 1 : 0;
  Put32(dir, at + 68, left);
  Put32(dir, at + 72, right);
  Put32(dir, at + 76, child);
  Put32(dir, at + 116, start);
  Put32(dir, at + 120, static_cast<uint32_t>(size));
}

}  // namespace

bool ReadCompoundStream(std::string_view file, const std::string& name, std::string& out) {
  Reader r(file);
  return r.Find(name, out);
}

std::string WriteCompoundFile(const std::vector<std::pair<std::string, std::string>>& streams) {
  // Small streams go into the mini stream, large ones into sectors of their own.
  std::string mini;
  std::vector<uint32_t> miniFat;
  std::vector<uint32_t> start(streams.size(), kEnd);
  std::vector<std::string> big;
  std::vector<size_t> bigOf(streams.size(), SIZE_MAX);
  for (size_t i = 0; i < streams.size(); ++i) {
    const std::string& data = streams[i].second;
    if (data.size() < kMiniCutoff) {
      if (data.empty()) continue;
      start[i] = static_cast<uint32_t>(mini.size() / kMini);
      const size_t n = (data.size() + kMini - 1) / kMini;
      for (size_t k = 0; k < n; ++k) miniFat.push_back(k + 1 < n ? start[i] + static_cast<uint32_t>(k) + 1 : kEnd);
      mini += data;
      mini.resize(mini.size() + (kMini - mini.size() % kMini) % kMini, '\0');
    } else {
      bigOf[i] = big.size();
      big.push_back(data);
    }
  }
  auto sectorsOf = [](size_t bytes) { return (bytes + kSector - 1) / kSector; };
  const size_t miniSectors = sectorsOf(mini.size());
  const size_t miniFatSectors = sectorsOf(miniFat.size() * 4);
  const size_t dirSectors = sectorsOf((streams.size() + 1) * 128);
  size_t data = miniSectors + miniFatSectors + dirSectors;
  for (const std::string& b : big) data += sectorsOf(b.size());
  // Allocation-table sectors (and DIFAT sectors once the header's 109 run out).
  size_t fatN = 0, difN = 0;
  while (true) {
    const size_t total = data + fatN + difN;
    const size_t needFat = (total + 127) / 128;
    const size_t needDif = needFat > 109 ? (needFat - 109 + 126) / 127 : 0;
    if (needFat == fatN && needDif == difN) break;
    fatN = needFat;
    difN = needDif;
  }
  const size_t total = data + fatN + difN;
  std::vector<uint32_t> fat(fatN * 128, kFree);
  uint32_t next = 0;
  for (size_t i = 0; i < fatN; ++i) fat[next++] = kFatSect;
  const uint32_t firstDif = difN ? next : kEnd;
  for (size_t i = 0; i < difN; ++i) fat[next++] = kDifSect;
  auto chain = [&](size_t n) {
    if (n == 0) return kEnd;
    const uint32_t first = next;
    for (size_t k = 0; k < n; ++k, ++next) fat[next] = k + 1 < n ? next + 1 : kEnd;
    return first;
  };
  const uint32_t dirStart = chain(dirSectors);
  const uint32_t miniFatStart = chain(miniFatSectors);
  const uint32_t miniStart = chain(miniSectors);
  std::vector<uint32_t> bigStart;
  for (const std::string& b : big) bigStart.push_back(chain(sectorsOf(b.size())));
  for (size_t i = 0; i < streams.size(); ++i) {
    if (bigOf[i] != SIZE_MAX) start[i] = bigStart[bigOf[i]];
  }

  std::string out((total + 1) * kSector, '\0');
  // Header.
  static constexpr unsigned char kMagic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  std::memcpy(out.data(), kMagic, 8);
  Put16(out, 24, 0x003E);
  Put16(out, 26, 0x0003);
  Put16(out, 28, 0xFFFE);
  Put16(out, 30, 9);
  Put16(out, 32, 6);
  Put32(out, 44, static_cast<uint32_t>(fatN));
  Put32(out, 48, dirStart);
  Put32(out, 56, kMiniCutoff);
  Put32(out, 60, miniFatSectors ? miniFatStart : kEnd);
  Put32(out, 64, static_cast<uint32_t>(miniFatSectors));
  Put32(out, 68, firstDif);
  Put32(out, 72, static_cast<uint32_t>(difN));
  for (size_t i = 0; i < 109; ++i) Put32(out, 76 + 4 * i, i < fatN ? static_cast<uint32_t>(i) : kFree);
  auto sectorAt = [&](uint32_t s) { return (size_t{s} + 1) * kSector; };
  // DIFAT sectors: the FAT sectors after the first 109.
  for (size_t d = 0; d < difN; ++d) {
    const size_t at = sectorAt(static_cast<uint32_t>(fatN + d));
    for (size_t i = 0; i < 127; ++i) {
      const size_t fatIndex = 109 + d * 127 + i;
      Put32(out, at + 4 * i, fatIndex < fatN ? static_cast<uint32_t>(fatIndex) : kFree);
    }
    Put32(out, at + 508, d + 1 < difN ? static_cast<uint32_t>(fatN + d + 1) : kEnd);
  }
  for (size_t i = 0; i < fat.size(); ++i) Put32(out, sectorAt(static_cast<uint32_t>(i / 128)) + 4 * (i % 128), fat[i]);
  // Directory: the root, then the streams as a chain of right siblings sorted
  // by length, then name: a black node with a red child for the two streams
  // of an encrypted package.
  std::vector<size_t> order(streams.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    const std::string &x = streams[a].first, &y = streams[b].first;
    if (x.size() != y.size()) return x.size() < y.size();
    for (size_t i = 0; i < x.size(); ++i) {
      const int cx = std::toupper(static_cast<unsigned char>(x[i])), cy = std::toupper(static_cast<unsigned char>(y[i]));
      if (cx != cy) return cx < cy;
    }
    return false;
  });
  std::string dir(dirSectors * kSector, '\0');
  for (size_t i = 0; i < dirSectors * 4; ++i) {
    Put32(dir, i * 128 + 68, kNoStream);
    Put32(dir, i * 128 + 72, kNoStream);
    Put32(dir, i * 128 + 76, kNoStream);
  }
  DirEntry(dir, 0, "Root Entry", 5, true, kNoStream, kNoStream, order.empty() ? kNoStream : static_cast<uint32_t>(order[0] + 1),
           miniSectors ? miniStart : kEnd, mini.size());
  for (size_t k = 0; k < order.size(); ++k) {
    const size_t i = order[k];
    const uint32_t right = k + 1 < order.size() ? static_cast<uint32_t>(order[k + 1] + 1) : kNoStream;
    DirEntry(dir, i + 1, streams[i].first, 2, k == 0, kNoStream, right, kNoStream, start[i], streams[i].second.size());
  }
  std::memcpy(out.data() + sectorAt(dirStart), dir.data(), dir.size());
  for (size_t i = 0; i < miniFat.size(); ++i) Put32(out, sectorAt(miniFatStart) + 4 * i, miniFat[i]);
  for (size_t i = miniFat.size(); i < miniFatSectors * 128; ++i) Put32(out, sectorAt(miniFatStart) + 4 * i, kFree);
  if (!mini.empty()) std::memcpy(out.data() + sectorAt(miniStart), mini.data(), mini.size());
  for (size_t b = 0; b < big.size(); ++b) std::memcpy(out.data() + sectorAt(bigStart[b]), big[b].data(), big[b].size());
  return out;
}

}  // namespace vantrove::office
