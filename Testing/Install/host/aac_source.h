// A source filter of a host: the frames of an AAC file (ADTS, 48 kHz, two channels), as fast as they are taken.
#pragma once

#include <Platform/DirectShow/CSource.h>
#include <Platform/DirectShow/IMediaSample.h>
#include <Platform/DirectShow/MediaFormats.h>
#include <Platform/DirectShow/Uuids.h>
#include <Platform/DirectShow/WaveFormatTags.h>
#include <Platform/Kernel/Event.h>

#include <cstring>
#include <fstream>

class AacStream : public CSourceStream {
public:
    AacStream(CSource* filter, const char* path, HRESULT* phr)
        : CSourceStream("aac", phr, filter, L"aac"), m_file(path, std::ios::binary) {}

    /// Waits until the last frame is read.
    void WaitForEnd() { m_end.Wait(); }

    HRESULT GetMediaType(CMediaType* type) override {
        const WAVEFORMATEX wave{WAVE_FORMAT_MPEG_ADTS_AAC, 2, 48000, 16000, 1, 16, 2};
        const BYTE config[] = {0x11, 0x90};  // AudioSpecificConfig of ISO/IEC 14496-3: AAC-LC, 48 kHz, two channels
        *type = CMediaType(&MEDIATYPE_Audio);
        type->subtype = MEDIASUBTYPE_MPEG_ADTS_AAC;
        type->formattype = FORMAT_WaveFormatEx;
        BYTE* const block = type->AllocFormatBuffer(sizeof wave + sizeof config);
        std::memcpy(block, &wave, sizeof wave);
        std::memcpy(block + sizeof wave, config, sizeof config);
        return S_OK;
    }

    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) override {
        ALLOCATOR_PROPERTIES wanted{100, 8192, 1, 0};  // an ADTS frame has at most 8191 bytes
        ALLOCATOR_PROPERTIES actual{};
        return allocator->SetProperties(&wanted, &actual);
    }

    HRESULT FillBuffer(IMediaSample* sample) override {
        BYTE* data = nullptr;
        sample->GetPointer(&data);
        const LONG size = ReadFrame(reinterpret_cast<char*>(data));
        if (size == 0) {
            m_end.Set();
            return S_FALSE;
        }
        REFERENCE_TIME start = m_frame * 1024 * 10'000'000 / 48000;
        REFERENCE_TIME stop = ++m_frame * 1024 * 10'000'000 / 48000;
        sample->SetActualDataLength(size);
        sample->SetTime(&start, &stop);
        sample->SetSyncPoint(TRUE);
        return S_OK;
    }

private:
    LONG ReadFrame(char* data) {
        if (!m_file.read(data, 7)) return 0;
        const auto* const header = reinterpret_cast<const BYTE*>(data);
        const LONG size = (header[3] & 3) << 11 | header[4] << 3 | header[5] >> 5;
        return size >= 7 && m_file.read(data + 7, size - 7) ? size : 0;
    }

    std::ifstream m_file;
    REFERENCE_TIME m_frame = 0;
    CAMEvent m_end{true};
};

class AacSource : public CSource {
public:
    AacSource(const char* path, HRESULT* phr)
        : CSource("source", nullptr, GUID_NULL, phr), stream(new AacStream(this, path, phr)) {}

    AacStream* const stream;  ///< the filter owns it
};
