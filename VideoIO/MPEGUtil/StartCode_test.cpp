#include "VideoIO/MPEGUtil/StartCode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <vector>

namespace qz_MPEGUtil {
namespace {

/// Where the first 00 00 01 begins, by the standard library.
std::size_t Expected(const std::vector<std::uint8_t>& data) {
    static constexpr std::array<std::uint8_t, 3> code = {0, 0, 1};
    return static_cast<std::size_t>(std::search(data.begin(), data.end(), code.begin(), code.end()) - data.begin());
}

/// Searches in a block of its own, so that the address sanitizer sees any read outside the range.
void ExpectBothFind(const std::vector<std::uint8_t>& data, std::size_t alignment) {
    const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[alignment + data.size()]);
    // A start code that straddles the beginning must not be seen.
    std::fill_n(block.get(), alignment, std::uint8_t{0});
    std::uint8_t* begin = std::copy(data.begin(), data.end(), block.get() + alignment) - data.size();
    const std::uint8_t* end = begin + data.size();
    const std::size_t expected = Expected(data);
    ASSERT_EQ(static_cast<std::size_t>(FindStartCode(begin, end) - begin), expected)
        << "size " << data.size() << " alignment " << alignment;
    ASSERT_EQ(static_cast<std::size_t>(FindStartCodePlain(begin, end) - begin), expected)
        << "size " << data.size() << " alignment " << alignment;
}

TEST(StartCode, IsFoundAtEveryPlaceOfEveryLength) {
    for (std::size_t size = 0; size <= 300; ++size) {
        for (std::size_t place = 0; place + 3 <= size; ++place) {
            std::vector<std::uint8_t> data(size, 0xFF);
            data[place] = data[place + 1] = 0;
            data[place + 2] = 1;
            ExpectBothFind(data, place % 16);
        }
        ExpectBothFind(std::vector<std::uint8_t>(size, 0), size % 16);
        ExpectBothFind(std::vector<std::uint8_t>(size, 1), size % 16);
    }
}

TEST(StartCode, AgreesWithTheStandardSearchOnRandomBytes) {
    std::mt19937 random(20240607);
    for (std::size_t alignment = 0; alignment < 64; ++alignment) {
        for (std::size_t size = 0; size <= 200; ++size) {
            // Few different values, so that zeros, pairs and near misses (00 00 03) abound; sparse in half the runs.
            const unsigned values = size % 2 == 0 ? 4 : 40;
            std::vector<std::uint8_t> data(size);
            std::generate(data.begin(), data.end(), [&] { return static_cast<std::uint8_t>(random() % values); });
            ExpectBothFind(data, alignment);
        }
    }
}

TEST(StartCode, BeforeTheRangeAndCutByItsEndIsNotSeen) {
    std::vector<std::uint8_t> data = {0, 0, 1, 0x65, 7, 7, 0, 0, 1};
    const std::uint8_t* begin = data.data();
    EXPECT_EQ(FindStartCode(begin + 1, begin + 6), begin + 6);
    EXPECT_EQ(FindStartCode(begin + 1, begin + 8), begin + 8);
    EXPECT_EQ(FindStartCode(begin + 1, begin + 9), begin + 6);
}

}  // namespace
}  // namespace qz_MPEGUtil
