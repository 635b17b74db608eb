// Runs a fuzz target over its corpus, and over some variants of each input, without libFuzzer: any
// compiler can build it, and it does the same every time.
//
// Usage: NAME_replay FOLDER VARIANTS

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

/// What is under way, for whoever looks for the reason of an end.
std::string under_way;

void tell_and_end(int signal) {
  const auto written = write(STDERR_FILENO, under_way.data(), under_way.size());
  static_cast<void>(std::signal(signal, SIG_DFL));
  static_cast<void>(std::raise(written < 0 ? SIGKILL : signal));
}

struct Sample {
  std::string name;
  std::string bytes;
};

std::vector<Sample> read_corpus(const std::string& folder) {
  std::vector<Sample> corpus;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    corpus.push_back({entry.path().filename().string(),
                      {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()}});
  }
  std::sort(corpus.begin(), corpus.end(),
            [](const Sample& left, const Sample& right) { return left.name < right.name; });
  return corpus;
}

/// Changes inputs as a fault, or an attacker, might.
class Mutator {
 public:
  // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): the same variants every time are the purpose.
  explicit Mutator(const std::vector<Sample>& corpus) : corpus_(corpus), random_(1) {}

  std::string variant(std::string bytes) {
    constexpr std::size_t most_changes = 4;
    for (auto changes = 1 + below(most_changes); changes > 0; --changes) {
      change(bytes);
    }
    return bytes;
  }

 private:
  /// Not a library's distribution, which differs from one library to the next.
  std::size_t below(std::size_t bound) { return random_() % bound; }

  void change(std::string& bytes) {
    constexpr std::size_t longest = 64;
    const auto at = below(bytes.size() + 1);
    switch (below(5)) {
      case 0:
        bytes.erase(at, below(longest));
        break;
      case 1:
        bytes.insert(at, 1, static_cast<char>(below(256)));
        break;
      case 2:
        bytes.insert(at, piece(bytes, longest));
        break;
      case 3:
        bytes.insert(at, piece(corpus_.at(below(corpus_.size())).bytes, longest));
        break;
      default:
        if (at < bytes.size()) {
          bytes.at(at) = static_cast<char>(bytes.at(at) ^ (1U << below(8)));
        }
    }
  }

  std::string piece(const std::string& bytes, std::size_t longest) {
    return bytes.substr(below(bytes.size() + 1), below(longest));
  }

  const std::vector<Sample>& corpus_;
  std::mt19937 random_;
};

void run_all(const std::string& folder, int variants) {
  const auto corpus = read_corpus(folder);
  if (corpus.empty()) {
    throw std::runtime_error("no input in " + folder);
  }
  Mutator mutator(corpus);
  for (const auto& sample : corpus) {
    for (int i = 0; i <= variants; ++i) {
      const auto bytes = i == 0 ? sample.bytes : mutator.variant(sample.bytes);
      under_way = "replay: " + sample.name + ", variant " + std::to_string(i) + "\n";
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
  }
  std::cout << corpus.size() << " inputs, each with " << variants << " variants\n";
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::vector<std::string> arguments(argv, argv + argc);
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE}) {
      static_cast<void>(std::signal(signal, tell_and_end));
    }
    run_all(arguments.at(1), std::stoi(arguments.at(2)));
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << under_way << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
