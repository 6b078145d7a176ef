// Usage: fuzz-NAME FOLDER RUNS
// In the place of libFuzzer's main(), so that a target is an ordinary test: runs every file of the
// folder, and then so many inputs made from them, the same ones every time.

#include "util/files.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

using Inputs = std::vector<std::string>;

void run(const std::string &input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
}

/// Changes inputs as a fuzzer does that knows nothing of the code. Of the standard library only the
/// engine itself is the same everywhere.
class Mutator {
  public:
    explicit Mutator(Inputs seeds) : seeds_(std::move(seeds)) {}

    std::string next() {
        std::string input = anySeed();
        for (std::size_t changes = 1 + below(6); changes > 0; --changes)
            change(input);
        return input;
    }

  private:
    std::size_t below(std::size_t limit) { return engine_() % std::max<std::size_t>(limit, 1); }
    const std::string &anySeed() { return seeds_[below(seeds_.size())]; }
    std::string anyPiece(const std::string &text) {
        const std::size_t start = below(text.size() + 1);
        return text.substr(start, below(std::size_t{1} << below(8)) + 1);
    }

    void change(std::string &input) {
        const std::size_t place = below(input.size() + 1);
        switch (below(5)) {
        case 0:
            input.insert(place, 1, static_cast<char>(below(256)));
            break;
        case 1:
            input.insert(place, anyPiece(input));
            break;
        case 2:
            input.insert(place, anyPiece(anySeed()));
            break;
        case 3:
            input.erase(place, 1 + below(8));
            break;
        default:
            if (place < input.size())
                input[place] = static_cast<char>(below(2) == 0 ? below(256) : input[place] ^ 0x20);
        }
    }

    Inputs seeds_;
    std::mt19937 engine_;
};

} // namespace

int main(int argc, char **argv) {
    if (argc != 3)
        return EXIT_FAILURE;
    LLVMFuzzerInitialize(&argc, &argv);
    Inputs seeds;
    for (const std::string &name : zandorin::namesIn(argv[1], ""))
        if (const auto seed = zandorin::readFile(std::string(argv[1]) + "/" + name))
            seeds.push_back(*seed);
    if (seeds.empty()) {
        std::fprintf(stderr, "%s: no seeds\n", argv[1]);
        return EXIT_FAILURE;
    }
    for (const std::string &seed : seeds)
        run(seed);
    Mutator mutator(std::move(seeds));
    for (long left = std::strtol(argv[2], nullptr, 10); left > 0; --left)
        run(mutator.next());
    return EXIT_SUCCESS;
}
