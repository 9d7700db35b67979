// Runs every harness over its corpus: seeds, and the inputs that once were faults.
#include "Fuzz/harness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// The build gives each harness's entry a name of its own, and their list.
#define HARNESS(name) extern "C" int name##_fuzz(const std::uint8_t*, std::size_t);
FUZZ_HARNESSES
#undef HARNESS

namespace {

struct harness {
    const char* name;
    int (*run)(const std::uint8_t*, std::size_t);
};

std::ostream& operator<<(std::ostream& out, const harness& of) { return out << of.name; }

class FuzzCorpus : public testing::TestWithParam<harness> {};

std::vector<std::filesystem::path> corpus(const std::string& name) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(FUZZ_CORPUS) / name))
        files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

TEST_P(FuzzCorpus, IsReadWithoutFault) {
    const auto files = corpus(GetParam().name);
    ASSERT_FALSE(files.empty());
    for (const auto& path : files) {
        std::ifstream file(path, std::ios::binary);
        ASSERT_TRUE(file) << path;
        const std::vector<char> content((std::istreambuf_iterator<char>(file)), {});
        // A fault ends the program: this line then tells of which file.
        std::cout << path.filename().string() << std::endl;
        // A copy of its own size, so that a sanitizer sees a read behind it.
        const mediakit_fuzz::bytes input(content.begin(), content.end());
        EXPECT_EQ(GetParam().run(input.data(), input.size()), 0);
    }
}

#define HARNESS(name) harness{#name, name##_fuzz},
constexpr harness kHarnesses[] = {FUZZ_HARNESSES};
#undef HARNESS

INSTANTIATE_TEST_SUITE_P(Harnesses, FuzzCorpus, testing::ValuesIn(kHarnesses),
                         [](const auto& of) { return std::string(of.param.name); });

}  // namespace
