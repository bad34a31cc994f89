// A driver for fuzz entries built without libFuzzer (GCC has none): runs the
// entry on the seed files, then on mutations of them for a bounded time.
// It accepts the libFuzzer options scripts use:
//   json_request_fuzzer [-max_total_time=S] [-runs=N] [-seed=N]
//                       [-artifact_prefix=DIR/] [-dict=FILE] SEED-FILE-OR-DIR...
// Inputs the entry answers without an error are kept as further seeds, a
// cheap stand-in for coverage feedback. When the entry crashes under the
// sanitizers, the input is written to ARTIFACT_PREFIX crash-N first.

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// Offered by the sanitizer runtimes; absent in a plain build.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));
namespace vantrove::fuzz {
// Set by the entry: whether the last input got past the reader into a call.
extern bool lastInputAnswered;
}  // namespace vantrove::fuzz

namespace {

std::string g_current;
std::string g_artifacts;

void SaveCurrent() {
  const std::string path = g_artifacts + "crash-" + std::to_string(std::hash<std::string>{}(g_current));
  std::ofstream(path, std::ios::binary) << g_current;
  std::fprintf(stderr, "fuzz driver: the crashing input is in %s\n", path.c_str());
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void AddSeeds(const std::string& path, std::vector<std::string>& seeds) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) return;
  if (!S_ISDIR(st.st_mode)) {
    seeds.push_back(ReadFile(path));
    return;
  }
  DIR* dir = opendir(path.c_str());
  if (dir == nullptr) return;
  std::vector<std::string> names;
  while (const dirent* e = readdir(dir)) {
    if (e->d_name[0] != '.') names.emplace_back(e->d_name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  for (const std::string& n : names) AddSeeds(path + "/" + n, seeds);
}

// Tokens of a libFuzzer dictionary: lines of the form name="text" or "text".
std::vector<std::string> ReadDictionary(const std::string& path) {
  std::vector<std::string> tokens;
  std::istringstream lines(ReadFile(path));
  for (std::string line; std::getline(lines, line);) {
    const size_t open = line.find('"'), close = line.rfind('"');
    if (line.empty() || line[0] == '#' || open == std::string::npos || close <= open) continue;
    std::string token;
    for (size_t i = open + 1; i < close; ++i) {
      if (line[i] == '\\' && i + 1 < close) {
        ++i;
        if (line[i] == 'x' && i + 2 < close) {
          token += static_cast<char>(std::strtol(line.substr(i + 1, 2).c_str(), nullptr, 16));
          i += 2;
          continue;
        }
      }
      token += line[i];
    }
    tokens.push_back(token);
  }
  return tokens;
}

class Mutator {
 public:
  Mutator(uint32_t seed, std::vector<std::string> dict) : rng_(seed), dict_(std::move(dict)) {}

  std::string Mutate(const std::string& from, const std::vector<std::string>& pool) {
    std::string s = from;
    for (int n = 1 + static_cast<int>(Below(6)); n > 0; --n) Step(s, pool);
    if (s.size() > kMaxSize) s.resize(kMaxSize);
    return s;
  }

 private:
  static constexpr size_t kMaxSize = 1 << 16;

  size_t Below(size_t n) { return n == 0 ? 0 : std::uniform_int_distribution<size_t>(0, n - 1)(rng_); }

  void Step(std::string& s, const std::vector<std::string>& pool) {
    const size_t at = Below(s.size() + 1);
    switch (Below(9)) {
      case 0:  // flip a bit
        if (!s.empty()) s[Below(s.size())] ^= static_cast<char>(1u << Below(8));
        break;
      case 1:  // a random byte
        s.insert(at, 1, static_cast<char>(Below(256)));
        break;
      case 2:  // drop a range
        if (at < s.size()) s.erase(at, 1 + Below(std::min<size_t>(16, s.size() - at)));
        break;
      case 3:  // repeat a range
        if (at < s.size()) {
          const std::string piece = s.substr(at, 1 + Below(std::min<size_t>(64, s.size() - at)));
          for (size_t k = 1 + Below(8); k > 0; --k) s.insert(at, piece);
        }
        break;
      case 4:
      case 5:  // a dictionary token
        if (!dict_.empty()) s.insert(at, dict_[Below(dict_.size())]);
        break;
      case 6:  // splice with another input
        if (!pool.empty()) {
          const std::string& other = pool[Below(pool.size())];
          const size_t from = Below(other.size() + 1);
          s = s.substr(0, at) + other.substr(from, Below(other.size() - from + 1));
        }
        break;
      case 7:  // a digit string, often past every range
        s.insert(at, std::string(1 + Below(400), static_cast<char>('0' + Below(10))));
        break;
      default:  // deep nesting around the limit
        s.insert(at, std::string(60 + Below(10), Below(2) ? '[' : '{'));
        break;
    }
  }

  std::mt19937 rng_;
  std::vector<std::string> dict_;
};

bool Option(const char* arg, const char* name, std::string& value) {
  const size_t n = std::strlen(name);
  if (std::strncmp(arg, name, n) != 0 || arg[n] != '=') return false;
  value = arg + n + 1;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  double seconds = 60;
  uint64_t runs = UINT64_MAX;
  uint32_t seed = static_cast<uint32_t>(std::random_device{}());
  std::vector<std::string> seeds, dict;
  for (int i = 1; i < argc; ++i) {
    std::string v;
    if (Option(argv[i], "-max_total_time", v)) seconds = std::atof(v.c_str());
    else if (Option(argv[i], "-runs", v)) runs = std::strtoull(v.c_str(), nullptr, 10);
    else if (Option(argv[i], "-seed", v)) seed = static_cast<uint32_t>(std::strtoul(v.c_str(), nullptr, 10));
    else if (Option(argv[i], "-artifact_prefix", v)) g_artifacts = v;
    else if (Option(argv[i], "-dict", v)) dict = ReadDictionary(v);
    else if (argv[i][0] == '-') std::fprintf(stderr, "fuzz driver: ignoring %s\n", argv[i]);
    else AddSeeds(argv[i], seeds);
  }
  if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(SaveCurrent);
  if (seeds.empty()) seeds.emplace_back("{}");
  std::printf("fuzz driver: %zu seeds, %zu dictionary tokens, seed %u, up to %.0f s\n", seeds.size(), dict.size(),
              seed, seconds);
  std::fflush(stdout);

  const auto run = [](const std::string& input) {
    g_current = input;
    return LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
  };
  for (const std::string& s : seeds) run(s);

  Mutator mutator(seed, dict);
  std::vector<std::string> pool = seeds;
  std::mt19937 pick(seed ^ 0x9e3779b9u);
  const auto start = std::chrono::steady_clock::now();
  uint64_t done = 0;
  for (; done < runs; ++done) {
    if ((done & 63) == 0 &&
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() >= seconds) {
      break;
    }
    std::string input = mutator.Mutate(pool[pick() % pool.size()], pool);
    run(input);
    if (vantrove::fuzz::lastInputAnswered && pool.size() < 4096) pool.push_back(std::move(input));
  }
  const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("fuzz driver: %llu runs in %.0f s, no crash; %zu inputs kept\n", static_cast<unsigned long long>(done),
              took, pool.size());
  return 0;
}
