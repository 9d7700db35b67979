#include "VideoIO/StreamFilters/Container/chunk_reader.h"

#include "Testing/Kit/failing_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

namespace vio::details {
namespace {

/// Moves although it fails, as a stream may that finds its end half-way.
class half_way_stream : public mediakit_test::failing_stream {
public:
    using failing_stream::failing_stream;
    bool read(void* buffer, std::uint32_t count) override {
        return fails ? go_half(count) : failing_stream::read(buffer, count);
    }
    bool skip(std::int64_t delta) override { return fails ? go_half(delta) : failing_stream::skip(delta); }

    bool fails = false;

private:
    bool go_half(std::int64_t count) {
        position += static_cast<std::uint64_t>(count) / 2;
        return false;
    }
};

TEST(ChunkReader, WhatFailsChangesNothing) {
    std::vector<std::uint8_t> content(5000);
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i / 7);
    std::array<std::uint8_t, 3000> got{};
    const struct {
        const char* what;
        std::function<bool(chunk_reader&)> call;
    } kCalls[] = {
        {"a small read", [&](chunk_reader& reader) { return reader.read(got.data(), 1000); }},
        {"a large read", [&](chunk_reader& reader) { return reader.read(got.data(), 3000); }},
        {"an exact read", [&](chunk_reader& reader) { return reader.read_exactly(got.data(), 1000); }},
        {"a skip", [&](chunk_reader& reader) { return reader.skip(3000); }},
    };
    for (const std::uint64_t read_before : {0u, 100u}) {  // with the first part read ahead, or not
        for (const auto& [what, call] : kCalls) {
            half_way_stream stream(content);
            chunk_reader reader({stream, {10'000, 4000}});
            ASSERT_TRUE(reader.read(got.data(), read_before));
            const auto chunks = reader.chunk_stack;
            stream.fails = true;
            EXPECT_FALSE(call(reader)) << what;
            EXPECT_EQ(reader.position(), read_before) << what;
            EXPECT_EQ(reader.chunk_stack, chunks) << what;
            stream.fails = false;
            ASSERT_TRUE(reader.read(got.data(), 2000)) << what;
            EXPECT_TRUE(std::equal(got.begin(), got.begin() + 2000, content.begin() + static_cast<long>(read_before)))
                << what;
        }
    }
}

}  // namespace
}  // namespace vio::details
