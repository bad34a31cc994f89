// Real 2007 drawings, damaged: what the error correction can repair opens
// exactly as the undamaged file does; truncated files and copies with random
// damage give a clear status, with no crash and bounded memory.
//
// This executable counts heap use (operator new is replaced below) to check
// that a damaged file never makes the reader allocate without limit.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "dwg/decoder.hpp"
#include "vantrove/engine/description.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace {

// Live and peak heap bytes allocated through operator new.
std::atomic<size_t> g_live{0}, g_peak{0};
constexpr size_t kPrefix = 16;  // keeps the block aligned for any type

void* Allocate(size_t size) {
  void* p = std::malloc(size + kPrefix);
  if (p == nullptr) throw std::bad_alloc();
  *static_cast<size_t*>(p) = size;
  const size_t live = g_live.fetch_add(size) + size;
  size_t peak = g_peak.load();
  while (live > peak && !g_peak.compare_exchange_weak(peak, live)) {
  }
  return static_cast<char*>(p) + kPrefix;
}

void Release(void* p) {
  if (p == nullptr) return;
  char* base = static_cast<char*>(p) - kPrefix;
  g_live.fetch_sub(*reinterpret_cast<size_t*>(base));
  std::free(base);
}

}  // namespace

void* operator new(size_t size) { return Allocate(size); }
void* operator new[](size_t size) { return Allocate(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void operator delete(void* p, const std::nothrow_t&) noexcept { Release(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { Release(p); }
void operator delete(void* p) noexcept { Release(p); }
void operator delete[](void* p) noexcept { Release(p); }
void operator delete(void* p, size_t) noexcept { Release(p); }
void operator delete[](void* p, size_t) noexcept { Release(p); }

namespace vantrove::engine {
namespace {

namespace fs = std::filesystem;

std::vector<uint8_t> Corpus(const std::string& name) {
  const fs::path path = fs::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg" / name;
  std::vector<uint8_t> bytes;
  dwg::ReadError error;
  if (fs::exists(path)) dwg::ReadWholeFile(path.string(), bytes, error);
  return bytes;
}

std::string Describe(const Document& doc) {
  DescriptionSections all;
  all.blocks = all.attribute_definitions = all.external_references = all.layers = all.layouts = all.images =
      all.text = true;
  return DescriptionText(doc, all);
}

bool HasWarning(const Document& doc, const std::string& part) {
  for (const std::string& w : doc.warnings)
    if (w.find(part) != std::string::npos) return true;
  return false;
}

// Opens `bytes`; the status must be a success or one of the clear refusals,
// naming the file; the heap must stay within the reader's budget.
Status OpenChecked(const std::vector<uint8_t>& bytes, const std::string& what, Document& doc) {
  const size_t before = g_live.load();
  g_peak.store(before);
  Status status = ReadDwgBuffer(bytes, "damaged.dwg", doc);
  const size_t used = g_peak.load() - before;
  // Sections are budgeted at 64 MiB + 64 x the file; the objects, their
  // source bytes and the model come on top, a small multiple of the file.
  EXPECT_LE(used, (size_t{64} << 20) + 100 * bytes.size()) << what;
  if (!status.ok() && !status.done_with_note()) {  // an incomplete drawing opens
    EXPECT_TRUE(status.code == StatusCode::kDamaged || status.code == StatusCode::kNotADrawing ||
                status.code == StatusCode::kUnsupportedVersion || status.code == StatusCode::kFileTooLarge ||
                status.code == kStatusPasswordProtected)
        << what << ": " << status.Text();
    EXPECT_NE(status.message.find("damaged.dwg"), std::string::npos) << what << ": " << status.Text();
  }
  return status;
}

TEST(Dwg2007Damage, RepairableDamageOpensAsTheUndamagedFile) {
  const std::vector<uint8_t> pristine = Corpus("ldwg_example_2007.dwg");
  if (pristine.empty()) GTEST_SKIP() << "corpus not available";
  Document good;
  ASSERT_TRUE(ReadDwgBuffer(pristine, "good.dwg", good).ok());
  const std::string expected = Describe(good);

  // A burst of 24 bytes in the file header: 8 in each of its 3 codewords.
  std::vector<uint8_t> bytes = pristine;
  for (size_t i = 0x100; i < 0x118; ++i) bytes[i] ^= 0xA5;
  {
    Document doc;
    ASSERT_TRUE(ReadDwgBuffer(bytes, "good.dwg", doc).ok());
    EXPECT_EQ(Describe(doc), expected);
    EXPECT_TRUE(HasWarning(doc, "repaired 24 damaged bytes"));
  }

  // Single damaged bytes spread over the pages: one per codeword at most.
  bytes = pristine;
  for (size_t at = 0x500; at < bytes.size(); at += 4099) bytes[at] ^= 0x3C;
  Document doc;
  ASSERT_TRUE(ReadDwgBuffer(bytes, "good.dwg", doc).ok());
  EXPECT_EQ(Describe(doc), expected);
  EXPECT_TRUE(HasWarning(doc, "error correction repaired"));
}

TEST(Dwg2007Damage, EveryTruncationGivesAStatus) {
  const std::vector<uint8_t> pristine = Corpus("ldwg_ATMOS-DC22S.dwg");
  if (pristine.empty()) GTEST_SKIP() << "corpus not available";
  // Every length through the header area and the first pages, then every
  // 97th; VANTROVE_DWG_EVERY_TRUNCATION=1 tries them all.
  const bool all = std::getenv("VANTROVE_DWG_EVERY_TRUNCATION") != nullptr;
  size_t tried = 0;
  for (size_t keep = 0; keep < pristine.size(); keep += (all || keep < 0x1000) ? 1 : 97) {
    std::vector<uint8_t> cut(pristine.begin(), pristine.begin() + static_cast<std::ptrdiff_t>(keep));
    Document doc;
    Status status = OpenChecked(cut, "kept " + std::to_string(keep), doc);
    // A cut copy never opens as if whole: cutting only what the reader does
    // not need opens it as incomplete.
    EXPECT_FALSE(status.ok()) << keep;
    if (status.done_with_note()) {
      EXPECT_EQ(status.code, StatusCode::kIncomplete) << keep;
      EXPECT_TRUE(HasWarning(doc, "the file is truncated")) << keep;
    }
    ++tried;
  }
  EXPECT_GT(tried, 7000u);
}

TEST(Dwg2007Damage, DamagedCopiesGiveAStatus) {
  const std::vector<uint8_t> pristine = Corpus("ldwg_example_2007.dwg");
  if (pristine.empty()) GTEST_SKIP() << "corpus not available";
  std::mt19937 rng(1021);
  int opened = 0, refused = 0;
  for (int copy = 0; copy < 300; ++copy) {
    std::vector<uint8_t> bytes = pristine;
    const size_t n = bytes.size();
    switch (copy % 4) {
      case 0:  // scattered bytes anywhere
        for (int k = 0, count = 1 + static_cast<int>(rng() % 64); k < count; ++k) bytes[rng() % n] = static_cast<uint8_t>(rng());
        break;
      case 1: {  // a zeroed run
        const size_t at = rng() % n, len = std::min<size_t>(n - at, 1 + rng() % 4096);
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(at + len), 0);
        break;
      }
      case 2:  // the file header area, past what its code can repair
        for (int k = 0; k < 40; ++k) bytes[0x80 + rng() % 0x3D8] ^= static_cast<uint8_t>(1 + rng() % 255);
        break;
      default:  // the system pages at the end of the file
        for (int k = 0, count = 1 + static_cast<int>(rng() % 200); k < count; ++k)
          bytes[n - 1 - rng() % std::min<size_t>(n, 8192)] ^= static_cast<uint8_t>(1 + rng() % 255);
        break;
    }
    Document doc;
    Status status = OpenChecked(bytes, "copy " + std::to_string(copy), doc);
    status.ok() ? ++opened : ++refused;
  }
  // Both outcomes occur: repairable copies open, others are refused.
  EXPECT_GT(opened, 0);
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace vantrove::engine
