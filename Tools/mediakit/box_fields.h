// The fields of a box as names and values.
#pragma once

#include "Tools/mediakit/box_field_sink.h"
#include "Tools/mediakit/box_walk.h"

#include <cstdint>

namespace mediakit_tool {

/// Ticks a second, 0 while not known, to tell durations by.
struct FieldScales {
    std::uint32_t movie = 0;
};

/// Reads boxes one by one, in file order. The parsers of the container library read what they know, tables of layouts
/// some of the rest; of all others the first bytes are told. Memory follows from the size of the box at hand, which is
/// that of the file at most. The file is looked at.
class BoxFields {
public:
    explicit BoxFields(vio::byte_stream& file) : m_file(file) {}

    /// Fields that cannot be read are a problem told to the sink.
    void Tell(const BoxHeader& box, FieldSink& sink);

private:
    bool TellByParser(const BoxHeader& box, FieldSink& sink);
    void TellFirstBytes(const BoxHeader& box, FieldSink& sink);

    vio::byte_stream& m_file;
    FieldScales m_scales;
};

}  // namespace mediakit_tool
