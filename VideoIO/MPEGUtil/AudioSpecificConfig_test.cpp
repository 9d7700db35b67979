#include "VideoIO/MPEGUtil/AudioSpecificConfig.h"

#include "Testing/Kit/bit_writer.h"

#include <gtest/gtest.h>

namespace qz_MPEGUtil {
namespace {

using mediakit_test::bit_writer;

TEST(AudioSpecificConfig, ReadsTypeFrequencyAndChannels) {
    const struct {
        bit_writer bits;
        AudioSpecificConfig expected;
    } cases[] = {
        {bit_writer().u(5, 2).u(4, 3).u(4, 2), {2, 48000, 2}},
        {bit_writer().u(5, 1).u(4, 0).u(4, 1), {1, 96000, 1}},
        {bit_writer().u(5, 4).u(4, 12).u(4, 6), {4, 7350, 6}},
        {bit_writer().u(5, 2).u(4, 4).u(4, 7), {2, 44100, 8}},
        {bit_writer().u(5, 2).u(4, 15).u(24, 96001).u(4, 5), {2, 96001, 5}},
        {bit_writer().u(5, 31).u(6, 10).u(4, 11).u(4, 3), {42, 8000, 3}},
        // SBR and PS: the frequency of the core comes first, the doubled one behind the channels.
        {bit_writer().u(5, 5).u(4, 6).u(4, 2).u(4, 3).u(5, 2), {5, 24000, 2}},
        {bit_writer().u(5, 29).u(4, 7).u(4, 1).u(4, 4).u(5, 2), {29, 22050, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto bytes = c.bits.bytes();
        const auto config = ReadAudioSpecificConfig(bytes);
        ASSERT_TRUE(config);
        EXPECT_EQ(config->objectType, c.expected.objectType);
        EXPECT_EQ(config->samplesPerSecond, c.expected.samplesPerSecond);
        EXPECT_EQ(config->channels, c.expected.channels);
        EXPECT_FALSE(ReadAudioSpecificConfig(std::span(bytes).first(1)));
    }
}

TEST(AudioSpecificConfig, RefusesWhatTellsNoFrequencyOrChannels) {
    const bit_writer cases[] = {
        bit_writer(),
        bit_writer().u(5, 2).u(4, 3).u(4, 0),  // told by a program config element
        bit_writer().u(5, 2).u(4, 3).u(4, 8),
        bit_writer().u(5, 2).u(4, 3).u(4, 15),
        bit_writer().u(5, 2).u(4, 13).u(4, 2),
        bit_writer().u(5, 2).u(4, 14).u(4, 2),
        bit_writer().u(5, 2).u(4, 15).u(24, 0).u(4, 2),
        bit_writer().u(5, 2).u(4, 15).u(23, 0x40),      // ends within the frequency
        bit_writer().u(5, 31).u(6, 1).u(4, 3).u(1, 1),  // ends within the channels
    };
    for (const auto& c : cases) EXPECT_FALSE(ReadAudioSpecificConfig(c.bytes())) << &c - cases;
}

}  // namespace
}  // namespace qz_MPEGUtil
