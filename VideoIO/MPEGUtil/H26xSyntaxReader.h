// Reads the syntax elements of an H.264 or H.265 payload straight out of a DataBuffer.
#pragma once

#include "MediaKit/Results.h"
#include "VideoIO/MPEGUtil/DataBuffer.h"

#include <cstddef>
#include <cstdint>

namespace qz_MPEGUtil {

/// A bit reader that removes emulation prevention bytes (ITU-T H.264 clause 7.4.1) on the way and
/// reports a lack of data as a state of its own, QZ_E_MORE_DATA, which is never logged: a parser
/// restores the position it saved and runs again when more bytes have come. The buffer is not owned.
class H26xSyntaxReader {
public:
    struct Position {
        const BYTE* readPointer = nullptr;
        std::uint32_t bitPosition = 8;
        // What the bytes before the read pointer tell, which the buffer may have dropped.
        BYTE currentByte = 0;
        std::uint32_t zeroCount = 0;
    };

    explicit H26xSyntaxReader(DataBuffer& source) : m_source(&source) {}

    /// u(n) with count up to 32; a count of 0 gives 0.
    HRESULT ReadBits(std::uint32_t count, std::uint32_t& value);
    /// ue(v). More than 31 leading zeros are QZ_E_BAD_DATA.
    HRESULT ReadUE(std::uint32_t& value);
    /// se(v).
    HRESULT ReadSE(std::int32_t& value);

    HRESULT SavePosition(Position& position) const;
    void RestorePosition(const Position& position);

    /// For a buffer with new content: reading begins with a whole byte.
    void Reset();

    /// Bytes between the buffer's start and the read pointer.
    std::size_t GetBytesRead() const { return m_source->BytesRead(); }
    const BYTE* GetReadPointer() const { return m_source->ReadPointer(); }
    /// Bytes left to read.
    std::size_t GetPosition() const { return m_source->BytesLeft(); }

private:
    HRESULT FetchByte();
    HRESULT TakeByte(BYTE& byte);

    std::uint32_t m_bitPosition = 8;  // the next bit of m_currentByte, from its top; 8 when it is used up
    BYTE m_currentByte = 0;
    DataBuffer* m_source;
    std::uint32_t m_emulationCount = 0;  // emulation prevention bytes passed over
    std::uint32_t m_zeroCount = 0;       // zero bytes in a row before the read pointer
};

/// H26xSyntaxReader with the error behaviour of RbspReader, so that one parser serves both: behind
/// the first failure nothing more is read and every value is 0.
class H26xSyntaxCursor {
public:
    explicit H26xSyntaxCursor(H26xSyntaxReader& reader) : m_reader(reader) {}

    std::uint32_t Bits(unsigned count) {
        std::uint32_t value = 0;
        if (!Failed()) {
            m_result = m_reader.ReadBits(count, value);
        }
        return Failed() ? 0 : value;
    }
    bool Flag() { return Bits(1) != 0; }
    std::uint32_t UE() {
        std::uint32_t value = 0;
        if (!Failed()) {
            m_result = m_reader.ReadUE(value);
        }
        return Failed() ? 0 : value;
    }
    std::int32_t SE() {
        std::int32_t value = 0;
        if (!Failed()) {
            m_result = m_reader.ReadSE(value);
        }
        return Failed() ? 0 : value;
    }
    void Refuse() {
        if (!Failed()) {
            m_result = QZ_E_BAD_DATA;
        }
    }
    HRESULT Result() const { return m_result; }
    bool Failed() const { return m_result != S_OK; }

private:
    H26xSyntaxReader& m_reader;
    HRESULT m_result = S_OK;
};

}  // namespace qz_MPEGUtil
