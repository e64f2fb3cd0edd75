// Runs a target as a test, without libFuzzer: <program> COUNT SEEDS. Every seed as it is, then COUNT variations of
// seeds, the same ones each time.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int main(int, char** arguments)
{
    auto const run = [](std::string const& input) {
        LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(input.data()), input.size());
    };
    std::vector<std::string> seeds;
    for (auto const& entry : std::filesystem::directory_iterator(arguments[2])) {
        std::ifstream file(entry.path(), std::ios::binary);
        run(seeds.emplace_back(std::istreambuf_iterator(file), std::istreambuf_iterator<char>()));
    }
    std::ranges::sort(seeds);
    std::mt19937 random(1);
    for (int i = 0; i < std::atoi(arguments[1]); ++i) {
        std::string input = seeds[random() % seeds.size()];
        std::string const& other = seeds[random() % seeds.size()];
        for (auto changes = random() % 3 + 1; changes > 0; --changes) {
            std::size_t const at = random() % (input.size() + 1), part = random() % (other.size() + 1);
            switch (random() % 4) {
            case 0: input.insert(at, other, part, random() % 32); break;
            case 1: input.erase(at, random() % 8 + 1); break;
            case 2: input[at == input.size() ? 0 : at] = static_cast<char>(random()); break;
            default:
                input.resize(at + random() % 64);
                std::generate(input.begin() + static_cast<std::ptrdiff_t>(at), input.end(), std::ref(random));
            }
        }
        run(input);
    }
}
