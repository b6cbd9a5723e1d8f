// Stands in for libFuzzer's main: runs a target over the files of a corpus and over random mutations of them,
// always the same ones. It takes the arguments that the tests give: -runs=N -seed=N CORPUS.
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
    if (argc != 4)
        return 2;
    const unsigned long runs = std::strtoul(argv[1] + std::strlen("-runs="), nullptr, 10);
    const unsigned long seed = std::strtoul(argv[2] + std::strlen("-seed="), nullptr, 10);
    std::vector<std::string> corpus{""};
    for (auto const& entry : std::filesystem::directory_iterator(argv[3])) {
        std::ifstream file(entry.path(), std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    std::mt19937 random(static_cast<unsigned>(seed));
    const auto pick = [&](std::size_t below) { return below ? random() % below : 0; };
    for (unsigned long run = 0; run < runs; ++run) {
        std::string input = run < corpus.size() ? corpus[run] : corpus[pick(corpus.size())];
        for (std::size_t change = run < corpus.size() ? 0 : pick(8); change > 0; --change) {
            const std::size_t at = pick(input.size() + 1);
            const std::string pieces[] = {"", std::string(1, static_cast<char>(pick(256))),
                                          std::string(1, "!%;=,#:.\xff\x00 9a"[pick(14)]),
                                          corpus[pick(corpus.size())].substr(0, pick(40))};
            input.replace(at, pick(5), pieces[pick(4)]);
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
    std::printf("%lu inputs\n", runs);
}
