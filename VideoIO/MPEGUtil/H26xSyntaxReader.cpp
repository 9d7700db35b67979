#include "VideoIO/MPEGUtil/H26xSyntaxReader.h"

#include "Logging/Checks.h"
#include "MediaKit/Results.h"

#include <algorithm>

namespace qz_MPEGUtil {

HRESULT H26xSyntaxReader::TakeByte(BYTE& byte) {
    const BYTE* const next = m_source->ReadPointer();
    if (next == m_source->End()) {
        return QZ_E_MORE_DATA;
    }
    byte = *next;
    return m_source->SetReadPointer(next + 1);
}

HRESULT H26xSyntaxReader::FetchByte() {
    if (m_bitPosition < 8) {
        return S_OK;
    }
    BYTE byte = 0;
    HRESULT hr = TakeByte(byte);
    if (hr == S_OK && byte == 3 && m_zeroCount >= 2) {
        ++m_emulationCount;
        m_zeroCount = 0;
        hr = TakeByte(byte);
    }
    if (hr != S_OK) {
        return hr;
    }
    m_zeroCount = byte == 0 ? m_zeroCount + 1 : 0;
    m_currentByte = byte;
    m_bitPosition = 0;
    return S_OK;
}

HRESULT H26xSyntaxReader::ReadBits(std::uint32_t count, std::uint32_t& value) {
    value = 0;
    while (count > 0) {
        const HRESULT hr = FetchByte();
        if (hr == QZ_E_MORE_DATA) {
            return hr;
        }
        QZCheckHRESULT(hr);
        const std::uint32_t taken = std::min(count, 8 - m_bitPosition);
        const std::uint32_t bits = (m_currentByte >> (8 - m_bitPosition - taken)) & ((1u << taken) - 1);
        value = (value << taken) | bits;
        m_bitPosition += taken;
        count -= taken;
    }
    return S_OK;
}

HRESULT H26xSyntaxReader::ReadUE(std::uint32_t& value) {
    value = 0;
    std::uint32_t leadingZeros = 0;
    for (std::uint32_t bit = 0;; ++leadingZeros) {
        QZCheckCondition(leadingZeros <= 31, QZ_E_BAD_DATA);
        const HRESULT hr = ReadBits(1, bit);
        if (hr != S_OK) {
            return hr;
        }
        if (bit != 0) {
            break;
        }
    }
    std::uint32_t bits = 0;
    const HRESULT hr = ReadBits(leadingZeros, bits);
    if (hr == S_OK) {
        value = bits - 1 + (1u << leadingZeros);
    }
    return hr;
}

HRESULT H26xSyntaxReader::ReadSE(std::int32_t& value) {
    std::uint32_t code = 0;
    const HRESULT hr = ReadUE(code);
    const auto magnitude = static_cast<std::int32_t>((code >> 1) + (code & 1));
    value = (code & 1) != 0 ? magnitude : -magnitude;
    return hr;
}

HRESULT H26xSyntaxReader::SavePosition(Position& position) const {
    position = {m_source->ReadPointer(), m_bitPosition, m_currentByte, m_zeroCount};
    return S_OK;
}

void H26xSyntaxReader::Reset() {
    m_bitPosition = 8;
    m_currentByte = 0;
    m_emulationCount = 0;
    m_zeroCount = 0;
}

void H26xSyntaxReader::RestorePosition(const Position& position) {
    QZLogHRESULT(m_source->SetReadPointer(position.readPointer));
    m_bitPosition = position.bitPosition;
    m_currentByte = position.currentByte;
    m_zeroCount = position.zeroCount;
}

}  // namespace qz_MPEGUtil
