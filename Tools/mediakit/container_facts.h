// What a file says of itself and of the tracks in it (ISO/IEC 14496-12), whether or not they can be played.
#pragma once

#include "Platform/Com/Types.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mediakit_tool {

/// A `trak` by what is there of it.
struct FileTrack {
    std::uint32_t trackId = 0;
    std::string handler;  ///< "vide"; empty without one
    std::string entry;    ///< code of the first sample entry, "vp09"; empty without one

    /// "track 1 (vp09)"
    std::string ToText() const;
};

struct ContainerFacts {
    std::uint64_t size = 0;  ///< bytes
    std::string majorBrand;  ///< empty without `ftyp`
    std::uint32_t minorVersion = 0;
    std::vector<std::string> compatibleBrands;
    bool fragmented = false;            ///< `moov` has an `mvex`
    std::uint64_t fragments = 0;        ///< `moof` boxes
    std::optional<std::uint64_t> moov;  ///< offsets of the first one
    std::optional<std::uint64_t> mdat;
    std::optional<std::uint64_t> created;  ///< seconds since 1904-01-01 in universal time; 0 in files that do not tell
    std::optional<REFERENCE_TIME> duration;  ///< as `mvhd` says, 100 ns
    std::vector<FileTrack> tracks;           ///< of the first `moov`, in its order

    /// "moov, mdat", the other way round, or what there is of the two.
    std::string Order() const;
    /// "2024-05-01T12:34:56Z"; empty when the file does not tell or no calendar goes so far.
    std::string CreationText() const;
};

/// Reads headers and the few boxes that matter, whatever the rest is like.
ContainerFacts ReadContainerFacts(vio::byte_stream& file);

}  // namespace mediakit_tool
