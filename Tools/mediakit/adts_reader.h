// Cuts AAC in ADTS into frames.
#pragma once

#include "Tools/mediakit/adts.h"
#include "Tools/mediakit/unit_reader.h"

#include <span>

namespace mediakit_tool {

/// Each unit is a whole ADTS frame, header included; its times follow from the number of samples in
/// front of it at the rate in the header. That is the core rate: ADTS cannot say that a decoder will
/// double it (SBR), and 1024 core samples a block last as long as the 2048 that come out.
///
/// Bytes that are no frame are passed over up to the next place where one frame follows another.
class AdtsReader final : public UnitReader {
public:
    AdtsReader(ByteInput& input, StreamReport& report);

    bool Open() override;
    bool Next(Unit* unit) override;

private:
    /// Makes the window begin with a whole frame; false at the end of the input.
    bool FindFrame(AdtsHeader* header);
    bool FrameAt(std::size_t offset, bool confirm, AdtsHeader* header);
    /// Has `size` unread bytes, unless the input ends before.
    bool Have(std::size_t size);
    void PassOver(std::size_t size);
    std::uint32_t EstimateByteRate() const;
    bool BuildMediaType(const AacConfig& config);

    AdtsHeader m_first;          ///< of the stream
    std::int64_t m_samples = 0;  ///< in front of the next frame
    bool m_inStep = false;       ///< the frame before ended where the next is looked for
};

}  // namespace mediakit_tool
