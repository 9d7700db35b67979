// Samples and streams for the tests of track handlers.
#pragma once

#include "Testing/Kit/failing_stream.h"
#include "Testing/Kit/heap_sample.h"
#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

#include <initializer_list>
#include <vector>

namespace Norvane::MediaKit::Filters::testdata {

using Bytes = std::vector<std::uint8_t>;

inline Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// The units with start codes of three and four bytes by turns.
inline Bytes AnnexB(std::initializer_list<Bytes> units) {
    Bytes all;
    bool four = true;
    for (const Bytes& unit : units) {
        if (four) all.push_back(0);
        four = !four;
        all.insert(all.end(), {0, 0, 1});
        all.insert(all.end(), unit.begin(), unit.end());
    }
    return all;
}

/// The units behind 4-byte lengths, as they are to stand in `mdat`.
inline Bytes Prefixed(std::initializer_list<Bytes> units) {
    Bytes all;
    for (const Bytes& unit : units) {
        for (int shift = 24; shift >= 0; shift -= 8) all.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
        all.insert(all.end(), unit.begin(), unit.end());
    }
    return all;
}

inline CMediaType TypeOf(const GUID& major, const GUID& subtype) {
    CMediaType type(&major);
    type.subtype = subtype;
    return type;
}

inline ComPtr<mediakit_test::heap_sample> Sample(Bytes bytes, bool sync = false) {
    return mediakit_test::heap_sample::create(std::move(bytes), 0, 1, sync);
}

/// A handler writing to a stream that holds 100 bytes already.
struct Writing {
    explicit Writing(const CMediaType& type, IMediaSample* first = nullptr, RecordingOptions options = {})
        : handler(details::create_byte_stream_handler(type, first, options)) {
        stream.content.resize(100);
        stream.position = 100;
    }

    HRESULT Write(Bytes bytes, bool sync = false) {
        const std::size_t before = stream.content.size();
        const HRESULT hr = handler->write(*Sample(std::move(bytes), sync), stream, written);
        last.assign(stream.content.begin() + static_cast<std::ptrdiff_t>(before), stream.content.end());
        return hr;
    }
    Bytes Configuration() {
        Bytes record = {0xEE};
        handler->decoder_configuration(record);
        return record;
    }

    std::unique_ptr<details::byte_stream_handler> handler;
    mediakit_test::failing_stream stream;
    details::WrittenSample written;
    Bytes last;  ///< what the last write added
};

}  // namespace Norvane::MediaKit::Filters::testdata
