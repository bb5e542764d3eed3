// Runs a fuzz target without libFuzzer: every seed file of the corpus directory as it is, then
// a fixed number of mutations of them (bit flips, cuts, splices, repeated bytes), from a fixed
// seed so that a failure repeats.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR [MUTATIONS]\n", argv[0]);
        return 2;
    }
    std::vector<std::vector<uint8_t>> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    seeds.emplace_back();
    for (const auto& seed : seeds) {
        LLVMFuzzerTestOneInput(seed.data(), seed.size());
    }
    const long mutations = argc > 2 ? std::atol(argv[2]) : 10000;
    std::mt19937_64 random(0x5eed);
    for (long i = 0; i < mutations; ++i) {
        auto input = seeds[random() % seeds.size()];
        const int edits = 1 + static_cast<int>(random() % 8);
        for (int e = 0; e < edits; ++e) {
            const size_t at = input.empty() ? 0 : random() % input.size();
            switch (random() % 5) {
                case 0:
                    if (!input.empty())
                        input[at] ^= static_cast<uint8_t>(1u << (random() % 8));
                    break;
                case 1:
                    input.resize(at);
                    break;
                case 2:
                    input.insert(input.begin() + static_cast<long>(at),
                                 static_cast<uint8_t>(random()));
                    break;
                case 3: {
                    const auto& other = seeds[random() % seeds.size()];
                    if (!other.empty()) {
                        const size_t from = random() % other.size();
                        input.insert(input.begin() + static_cast<long>(at),
                                     other.begin() + static_cast<long>(from), other.end());
                    }
                    break;
                }
                default:
                    input.insert(input.begin() + static_cast<long>(at), random() % 64,
                                 static_cast<uint8_t>(random()));
                    break;
            }
        }
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    std::printf("%zu seeds and %ld mutations ran\n", seeds.size(), mutations);
    return 0;
}
