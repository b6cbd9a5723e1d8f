// Stands in for libFuzzer's main: runs a target over the files of a corpus and over random mutations of them,
// always the same ones, and takes the same arguments as far as the tests give them.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    unsigned long runs = 0;
    unsigned seed = 0;
    std::vector<std::string> corpus{""};
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "-runs=", 6) == 0) {
            runs = std::strtoul(argv[i] + 6, nullptr, 10);
        } else if (std::strncmp(argv[i], "-seed=", 6) == 0) {
            seed = static_cast<unsigned>(std::strtoul(argv[i] + 6, nullptr, 10));
        } else {
            for (auto const& entry : std::filesystem::directory_iterator(argv[i])) {
                std::ifstream file(entry.path(), std::ios::binary);
                corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
            }
        }
    }
    std::mt19937 random(seed);
    const auto pick = [&](std::size_t below) { return below ? random() % below : 0; };
    for (unsigned long run = 0; run < runs; ++run) {
        std::string input = run < corpus.size() ? corpus[run] : corpus[pick(corpus.size())];
        for (std::size_t change = run < corpus.size() ? 0 : pick(8); change > 0; --change) {
            const std::size_t at = pick(input.size() + 1);
            switch (pick(4)) {
            case 0:
                input.insert(at, 1, static_cast<char>(pick(256)));
                break;
            case 1:
                input.erase(at, pick(5));
                break;
            case 2:
                input.insert(at, corpus[pick(corpus.size())].substr(0, pick(40)));
                break;
            default:
                if (at < input.size())
                    input[at] = "!%;=,#:.\xff\x00 9a"[pick(14)];
            }
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
    std::printf("%lu inputs\n", runs);
}
