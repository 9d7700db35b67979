// The box tree of a file, walked as the demultiplexer walks it.
#include "Fuzz/harness.h"
#include "Testing/Kit/memory_async_reader.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"

#include <vector>

namespace mediakit_fuzz {
namespace {

using namespace vio::mp4;

struct family {
    std::uint32_t parent;
    std::vector<std::uint32_t> children;
};

const std::vector<family>& families() {
    static const std::vector<family> all = {
        {fourcc("moov"), {fourcc("mvhd"), fourcc("trak"), fourcc("mvex"), fourcc("udta")}},
        {fourcc("trak"), {fourcc("tkhd"), fourcc("edts"), fourcc("mdia")}},
        {fourcc("edts"), {fourcc("elst")}},
        {fourcc("mdia"), {fourcc("mdhd"), fourcc("hdlr"), fourcc("minf")}},
        {fourcc("minf"), {fourcc("vmhd"), fourcc("smhd"), fourcc("dinf"), fourcc("stbl")}},
        {fourcc("dinf"), {fourcc("dref")}},
        {fourcc("stbl"),
         {fourcc("stsd"), fourcc("stts"), fourcc("ctts"), fourcc("cslg"), fourcc("stss"), fourcc("stsc"),
          fourcc("stsz"), fourcc("stz2"), fourcc("stco"), fourcc("co64"), fourcc("sdtp"), fourcc("sgpd"),
          fourcc("sbgp")}},
        {fourcc("mvex"), {fourcc("mehd"), fourcc("trex")}},
        {fourcc("moof"), {fourcc("mfhd"), fourcc("traf")}},
        {fourcc("traf"), {fourcc("tfhd"), fourcc("tfdt"), fourcc("trun")}},
    };
    return all;
}

/// Children by ordinal, a few of each kind: asking for the n-th walks over those before it.
constexpr std::uint32_t kMostOfAKind = 8;

void walk(mp4_parser& parser, const box& parent) {
    for (const family& of : families()) {
        if (of.parent != parent.type) continue;
        for (const std::uint32_t type : of.children) {
            for (std::uint32_t index = 0; index < kMostOfAKind; ++index) {
                const auto child = parser.find_child(parent, false, index, type);
                if (!child) break;
                walk(parser, *child);
            }
        }
    }
}

void read(bytes_view input) {
    const ComPtr<IAsyncReader> reader(new mediakit_test::memory_async_reader(bytes(input.begin(), input.end())));
    Norvane::MediaKit::Filters::AsyncReaderByteStream stream(reader.get());
    mp4_parser parser(vio::parse_context{stream});
    try {
        parser.parse();
    } catch (const std::exception&) {
        // What was read stays.
    }
    const auto top_level = parser.boxes;
    for (const auto& [offset, box] : top_level) {
        try {
            walk(parser, *box);
        } catch (const std::exception&) {
            // The next scan starts clean.
        }
    }
}

}  // namespace
}  // namespace mediakit_fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const mediakit_fuzz::trial trial(size);
    mediakit_fuzz::read({data, size});
    return 0;
}
