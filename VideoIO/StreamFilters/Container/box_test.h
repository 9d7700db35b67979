// What the tests of the boxes share: one box written, one box read.
#pragma once

#include "Testing/Kit/box_builder.h"
#include "Testing/Kit/failing_stream.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

#include <gtest/gtest.h>

namespace vio::mp4 {

using mediakit_test::box_builder;
using mediakit_test::failing_stream;
using mediakit_test::make_box;
using mediakit_test::make_full_box;

using bytes = std::vector<std::uint8_t>;

/// The bytes of one box; its recorded size must agree with them.
inline bytes written(const std::shared_ptr<box>& box) {
    mp4_writer writer;
    writer.insert_after(nullptr, box, nullptr);
    const auto out = std::make_shared<failing_stream>();
    writer.write(out, true);
    EXPECT_EQ(box->size, out->content.size());
    return out->content;
}

template <class T>
bytes written(const T& record) {
    return written(std::static_pointer_cast<box>(std::make_shared<T>(record)));
}

/// The box that stands first in the bytes, as the parser reads it; null if it is of another class.
template <class T, class Parser = mp4_parser>
std::shared_ptr<T> parsed(const box_builder& built) {
    failing_stream stream(built.bytes());
    Parser parser(stream);
    parser.scan(0, stream.size(), true, false);
    return parser.boxes.empty() ? nullptr : std::dynamic_pointer_cast<T>(parser.boxes.begin()->second);
}

}  // namespace vio::mp4
