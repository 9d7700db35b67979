// Samples of a file line by line, as text or as JSON, written while they come.
#pragma once

#include "Tools/mediakit/playback_graph.h"
#include "Tools/mediakit/text_output.h"

#include <memory>
#include <optional>
#include <string>

namespace mediakit_tool {

/// A sample as a pin pushed it; times in 100 ns.
struct SampleRow {
    std::int64_t index = 0;  ///< in the list, from 0
    REFERENCE_TIME dts = 0;  ///< the media time
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    std::int64_t size = 0;  ///< bytes
    bool sync = false;
    bool preroll = false;
    bool discontinuity = false;
    std::optional<std::uint32_t> crc32 = {};
};

/// `hash` computes the CRC-32.
SampleRow Describe(IMediaSample& sample, std::int64_t index, bool hash);

/// Calls come in order: Begin, then for each pin BeginPin, Add ..., EndPin, then End.
class SampleList {
public:
    virtual ~SampleList() = default;
    virtual void Begin(const std::string& file) = 0;
    virtual void BeginPin(const Stream& stream) = 0;
    virtual void Add(const SampleRow& row) = 0;
    virtual void EndPin() = 0;
    /// `error`: why it is not complete, or empty.
    virtual void End(const std::string& error) = 0;
};

/// Columns, a line a sample. The output outlives the list.
std::unique_ptr<SampleList> MakeTextSampleList(TextOutput& output);
/// One object; what follows from a failure is a further field "error".
std::unique_ptr<SampleList> MakeJsonSampleList(TextOutput& output);

/// A major type or subtype by the four characters it is made of ("vids", "AVC1"), else in its text form.
std::string TypeText(const GUID& type);

}  // namespace mediakit_tool
