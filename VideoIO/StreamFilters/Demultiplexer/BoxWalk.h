// Walks over sibling boxes.
#pragma once

#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Norvane::MediaKit::Filters::details {

/// Goes once along a row of siblings, so that finding all of them takes as many steps as there are boxes. The row is
/// scanned when none of it has been read yet. It ends where the boxes read so far end, at a size of 0 and at one that
/// leads out of the row.
class BoxWalk {
public:
    /// The children of a box that is not a full box.
    BoxWalk(vio::mp4::mp4_parser_base& parser, const vio::mp4::box& parent);
    /// The top level of the stream.
    static BoxWalk TopLevel(vio::mp4::mp4_parser_base& parser);

    /// The next box of a type, or null. Throws core::exception for a row that cannot be read.
    std::shared_ptr<vio::mp4::box> Next(std::uint32_t type);
    /// The same as class T; null also for a box of another class.
    template <class T>
    std::shared_ptr<T> Next() {
        return std::dynamic_pointer_cast<T>(Next(T::code));
    }
    /// All that are left.
    template <class T>
    std::vector<std::shared_ptr<T>> Rest() {
        std::vector<std::shared_ptr<T>> found;
        while (std::shared_ptr<T> box = Next<T>()) found.push_back(std::move(box));
        return found;
    }

private:
    BoxWalk(vio::mp4::mp4_parser_base& parser, std::uint64_t offset, std::uint64_t left, bool topLevel)
        : m_parser(parser), m_offset(offset), m_left(left), m_topLevel(topLevel) {}

    void StepOver(const vio::mp4::box& box);

    vio::mp4::mp4_parser_base& m_parser;
    std::uint64_t m_offset;
    std::uint64_t m_left;  ///< bytes from m_offset on; 0 at the end
    const bool m_topLevel;
};

}  // namespace Norvane::MediaKit::Filters::details
