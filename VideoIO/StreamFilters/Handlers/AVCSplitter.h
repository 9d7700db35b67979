// Catching the parameter sets of an H.264 stream on their way to the file.
#pragma once

#include "VideoIO/MPEGUtil/AVC_Spl.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Norvane::MediaKit::Filters::details {

/// Keeps each parameter set as a record, replaced by a later one of the same id, and as the bytes in which its id was
/// first seen, which is what a decoder configuration holds. Threads: none of its own, no lock.
class AVCSplitter : public ProtectedLibrary::AVC_Spl {
public:
    using Unit = std::span<const std::uint8_t>;
    using UnitBytes = std::vector<std::uint8_t>;

    /// Takes a unit of type 7, 8 or 13, with its header byte; others, and those that cannot be read, change nothing.
    void capture(std::uint32_t type, Unit unit);
    /// Captures from all units of a byte stream.
    void capture_all(Unit stream);

    /// The record of `avcC` (ISO/IEC 14496-15, clause 5.3.3.1), for lengths of 4 bytes; empty, and logged, without a
    /// sequence parameter set.
    UnitBytes configuration_record() const;

    /// The sequence parameter set that the last picture parameter set names, null when there was none.
    const ProtectedLibrary::AVCSeqParamSet* current_seq_param_set() const { return m_sps.find(m_currentSps); }
    /// All sequence parameter sets and then all picture parameter sets, as first seen.
    std::vector<UnitBytes> parameter_sets() const;

private:
    struct FirstBytes {
        std::uint32_t id;
        UnitBytes bytes;
    };
    /// A set as last read, so that the same bytes need not be read again.
    struct LastRead {
        std::uint32_t type;
        std::uint32_t id;
        std::uint32_t sps;  // that a picture parameter set names
        UnitBytes bytes;
    };

    bool seen_again(std::uint32_t type, Unit unit);
    void capture_sps(Unit unit);
    void capture_pps(Unit unit);
    void capture_extension(Unit unit);
    void remember(const LastRead& set);
    static void keep_first(std::vector<FirstBytes>& list, std::uint32_t id, Unit unit);

    ProtectedLibrary::AVCHeaderTable<ProtectedLibrary::AVCSeqParamSet> m_sps;
    ProtectedLibrary::AVCHeaderTable<ProtectedLibrary::AVCPicParamSet> m_pps;
    ProtectedLibrary::AVCHeaderTable<ProtectedLibrary::AVCSeqParamSetExtension> m_extensions;
    std::uint32_t m_currentSps = ProtectedLibrary::AVCHeaderTable<ProtectedLibrary::AVCSeqParamSet>::none;
    std::vector<FirstBytes> m_spsBytes;
    std::vector<FirstBytes> m_ppsBytes;
    std::vector<UnitBytes> m_extensionBytes;  // repeats and all
    std::vector<LastRead> m_lastRead;
};

}  // namespace Norvane::MediaKit::Filters::details
