// A byte stream cut into NAL units and frames, given in pieces. The first byte chooses the codec and the pieces.
#include "Fuzz/harness.h"
#include "VideoIO/MPEGUtil/AVC_Spl.h"
#include "VideoIO/MPEGUtil/NALUnitSplitter.h"
#include "VideoIO/MPEGUtil/ScannerBase.h"

#include <algorithm>
#include <memory>

namespace mediakit_fuzz {
namespace {

using namespace qz_MPEGUtil;

/// The input in pieces of their own memory, which are gone when the next is given.
class pieces {
public:
    pieces(bytes_view input, std::uint8_t choice) : m_rest(input), m_choice(choice) {}

    bool next(nal_buffer& buffer) {
        if (m_rest.empty()) return false;
        // 1 to 16 bytes, or as many times 97, or all.
        std::size_t size = 1 + m_choice % 16U;
        if ((m_choice & 16) != 0) size *= 97;
        if ((m_choice & 32) != 0) size = m_rest.size();
        size = std::min(size, m_rest.size());
        m_piece = std::make_unique<std::uint8_t[]>(size);
        std::ranges::copy(m_rest.first(size), m_piece.get());
        m_rest = m_rest.subspan(size);
        buffer = {.time = m_time++,
                  .base = m_piece.get(),
                  .offset = 0,
                  .size = static_cast<std::uint32_t>(size),
                  .flags = (m_choice & 64) != 0 ? nal_buffer::complete : 0};
        return true;
    }

private:
    bytes_view m_rest;
    const std::uint8_t m_choice;
    std::unique_ptr<std::uint8_t[]> m_piece;
    std::int64_t m_time = 0;
};

/// Reads every byte, so that a sanitizer sees a unit that is not there.
void touch(const std::uint8_t* begin, const std::uint8_t* end) {
    [[maybe_unused]] volatile std::uint8_t last = 0;
    for (; begin != end; ++begin) last = *begin;
}

/// Units from one piece, or the flushed last one. A unit or a byte is taken each time.
void take_units(nal_unit_splitter_base& splitter, nal_buffer* piece) {
    const std::size_t most = piece != nullptr ? piece->size + 2U : 2U;
    for (std::size_t i = 0;; ++i) {
        require(i <= most, "units without end");
        nal_buffer* unit = nullptr;
        if (splitter.next_nal_unit(piece, unit) == 0) return;
        require(unit != nullptr, "a type without a unit");
        touch(unit->begin(), unit->end());
    }
}

template <class Splitter>
void split_units(bytes_view input, std::uint8_t choice) {
    Splitter splitter;
    splitter.init();
    pieces from(input, choice);
    for (nal_buffer piece; from.next(piece);) {
        splitter.first_nal_type(piece);
        take_units(splitter, &piece);
    }
    take_units(splitter, nullptr);
}

void take_frames(ProtectedLibrary::AVC_Spl& splitter, nal_buffer* piece) {
    const std::size_t most = piece != nullptr ? piece->size + 2U : 2U;
    for (std::size_t i = 0;; ++i) {
        require(i <= most, "frames without end");
        const ProtectedLibrary::AVCFrame* frame = nullptr;
        const std::int32_t status = splitter.next_frame(piece, frame);
        if (frame != nullptr) {
            touch(frame->data, frame->data + frame->data_size);
            for (std::uint32_t slice = 0; slice < frame->slice_count; ++slice)
                require(std::uint64_t{frame->slices[slice].offset} + frame->slices[slice].size <= frame->data_size,
                        "a slice outside its frame");
            splitter.clear_frame();
        }
        if (status == ProtectedLibrary::AVC_ERR_NOT_ENOUGH_DATA || (frame == nullptr && status == 0)) return;
    }
}

void split_frames(bytes_view input, std::uint8_t choice) {
    ProtectedLibrary::AVC_Spl splitter;
    pieces from(input, choice);
    for (nal_buffer piece; from.next(piece);) take_frames(splitter, &piece);
    take_frames(splitter, nullptr);
}

}  // namespace
}  // namespace mediakit_fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace mediakit_fuzz;
    const trial trial(size);
    bytes_view input(data, size);
    const std::uint8_t choice = take_byte(input);
    qz_MPEGUtil::ScannerBase::DetectStreamType(input.data(), input.size());
    if ((choice & 128) != 0) {
        split_units<qz_MPEGUtil::HEVCNALUnitSplitter>(input, choice);
    } else {
        split_units<qz_MPEGUtil::NALUnitSplitter>(input, choice);
        split_frames(input, choice);
    }
    return 0;
}
