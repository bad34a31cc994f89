// SortTwoDArray (30,000 rows x 5 columns, two keys) and SortOneDArray
// (1,000,000 strings), against the standard library's sorts on the same data.
#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "bench_util.hpp"
#include "vantrove/component.hpp"

using namespace vantrove;
using vantrove::bench::Best;

namespace {

std::string Word(std::mt19937& rng, size_t len) {
  std::string s(len, 'a');
  for (char& c : s) c = static_cast<char>('a' + rng() % 26);
  return s;
}

void Rows() {
  constexpr int kRows = 30000;
  std::mt19937 rng(42);
  SafeArray table = SafeArray::Matrix(kRows, 5);
  for (int r = 0; r < kRows; ++r) {
    table.at(r, 0) = Variant(static_cast<int32_t>(r));
    table.at(r, 1) = Variant(Word(rng, 2));  // many ties for the second key to break
    table.at(r, 2) = Variant(Word(rng, 12));
    table.at(r, 3) = Variant(static_cast<double>(rng() % 100000) / 10.0);
    table.at(r, 4) = Variant(Word(rng, 8));
  }
  clsVantrove v;
  std::vector<Variant> keys{Variant(int32_t{1}), Variant("asc"), Variant(int32_t{3}), Variant("dec")};
  Variant work;
  const double ours = Best(3, [&] { work = Variant(table); }, [&] { v.SortTwoDArray(work, false, keys); });

  // The same rows and key comparison with the standard library's sorts.
  using Row = std::array<Variant, 5>;
  std::vector<Row> rows(kRows), copy;
  for (int r = 0; r < kRows; ++r) {
    for (int c = 0; c < 5; ++c) rows[static_cast<size_t>(r)][static_cast<size_t>(c)] = table.at(r, c);
  }
  const auto less = [](const Row& a, const Row& b) {
    if (int c = Compare(a[1], b[1]); c != 0) return c < 0;
    return Compare(a[3], b[3]) > 0;
  };
  const double stdSort = Best(3, [&] { copy = rows; }, [&] { std::sort(copy.begin(), copy.end(), less); });
  const double stdStable = Best(3, [&] { copy = rows; }, [&] { std::stable_sort(copy.begin(), copy.end(), less); });
  bool same = true;
  for (int r = 0; r < kRows; ++r) {
    same = same && Compare(work.array().at(r, 1), copy[static_cast<size_t>(r)][1]) == 0 &&
           Compare(work.array().at(r, 3), copy[static_cast<size_t>(r)][3]) == 0;
  }
  std::printf("SortTwoDArray, %d rows x 5 columns, keys (1 asc, 3 dec): %.4f s\n", kRows, ours);
  std::printf("  std::sort on the same rows, same key comparison:        %.4f s (ratio %.2f)\n", stdSort,
              ours / stdSort);
  std::printf("  std::stable_sort on the same rows, same key comparison: %.4f s (ratio %.2f)\n", stdStable,
              ours / stdStable);
  std::printf("  key order agrees with the standard sort: %s\n", same ? "yes" : "NO");
}

void Strings() {
  constexpr int kCount = 1'000'000;
  std::mt19937 rng(7);
  std::vector<std::string> words;
  std::vector<Variant> items;
  for (int i = 0; i < kCount; ++i) {
    words.push_back(Word(rng, 4 + rng() % 12));
    items.emplace_back(words.back());
  }
  const Variant original(SafeArray::Vector(items));
  clsVantrove v;
  Variant work;
  const double ours = Best(3, [&] { work = original; }, [&] { v.SortOneDArray(work); });
  std::vector<std::string> copy;
  const double stdSort = Best(3, [&] { copy = words; }, [&] { std::sort(copy.begin(), copy.end()); });
  const double stdStable = Best(3, [&] { copy = words; }, [&] { std::stable_sort(copy.begin(), copy.end()); });
  bool same = true;
  for (int i = 0; i < kCount; ++i) same = same && work.array().data()[static_cast<size_t>(i)].str() == copy[static_cast<size_t>(i)];
  std::printf("SortOneDArray, %d strings: %.4f s\n", kCount, ours);
  std::printf("  std::sort of the same strings (std::string):        %.4f s (ratio %.2f)\n", stdSort, ours / stdSort);
  std::printf("  std::stable_sort of the same strings (std::string): %.4f s (ratio %.2f)\n", stdStable,
              ours / stdStable);
  std::printf("  same order as the standard sort: %s\n", same ? "yes" : "NO");
}

}  // namespace

int main() {
  Rows();
  Strings();
  return 0;
}
