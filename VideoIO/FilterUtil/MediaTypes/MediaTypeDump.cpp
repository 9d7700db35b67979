#include "VideoIO/FilterUtil/MediaTypes/MediaTypeDump.h"

#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeNames.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"

#include <concepts>

namespace qz_DSFilters {

namespace {

std::wstring Text(const RECT& rect) {
    return std::to_wstring(rect.left) + L", " + std::to_wstring(rect.top) + L", " + std::to_wstring(rect.right) +
           L", " + std::to_wstring(rect.bottom);
}

/// Collects lines. Values are taken by copy, since those of the packed wave formats lie unaligned.
class Writer {
public:
    Writer(std::wstring& text, std::wstring_view indent) : m_text(text), m_indent(indent) {}

    void Line(std::wstring_view content) {
        m_text += m_indent;
        m_text += content;
        m_text += L"\r\n";
    }

    /// Labels are aligned at their colon by the blanks they bring.
    void Field(std::wstring_view label, std::wstring_view value) {
        m_text += m_indent;
        m_text += label;
        m_text += L' ';
        m_text += value;
        m_text += L"\r\n";
    }
    template <std::integral Number>
    void Field(std::wstring_view label, Number value) {
        Field(label, std::to_wstring(value));
    }
    void Field(std::wstring_view label, const RECT& rect) { Field(label, Text(rect)); }

    /// A heading, what `content` writes four blanks further in, and the closing parenthesis.
    template <class Content>
    void Block(std::wstring_view name, Content content) {
        Line(std::wstring(name) + L" (");
        Writer inner(m_text, m_indent + L"    ");
        content(inner);
        Line(L")");
    }

private:
    std::wstring& m_text;
    const std::wstring m_indent;
};

void DumpBitmapInfo(Writer& out, const BITMAPINFOHEADER& bitmap) {
    out.Block(L"BITMAPINFOHEADER", [&](Writer& block) {
        block.Field(L"            biSize:", bitmap.biSize);
        block.Field(L"           biWidth:", bitmap.biWidth);
        block.Field(L"          biHeight:", bitmap.biHeight);
        block.Field(L"          biPlanes:", bitmap.biPlanes);
        block.Field(L"        biBitCount:", bitmap.biBitCount);
        block.Field(L"     biCompression:", GetFourCCName(bitmap.biCompression));
        block.Field(L"       biSizeImage:", bitmap.biSizeImage);
        block.Field(L"   biXPelsPerMeter:", bitmap.biXPelsPerMeter);
        block.Field(L"   biYPelsPerMeter:", bitmap.biYPelsPerMeter);
        block.Field(L"         biClrUsed:", bitmap.biClrUsed);
        block.Field(L"    biClrImportant:", bitmap.biClrImportant);
    });
}

/// The fields that both kinds of video header have.
template <class Header>
void DumpCommonVideoFields(Writer& block, const Header& header) {
    block.Field(L"          rcSource:", header.rcSource);
    block.Field(L"          rcTarget:", header.rcTarget);
    block.Field(L"         dwBitRate:", header.dwBitRate);
    block.Field(L"    dwBitErrorRate:", header.dwBitErrorRate);
    block.Field(L"   AvgTimePerFrame:", FormatTime(header.AvgTimePerFrame));
    DumpBitmapInfo(block, header.bmiHeader);
}

void DumpHeader(Writer& out, const VIDEOINFOHEADER& header) {
    out.Block(L"VIDEOINFOHEADER", [&](Writer& block) { DumpCommonVideoFields(block, header); });
}

const wchar_t* InterlaceText(DWORD interlaceFlags) {
    if ((interlaceFlags & AMINTERLACE_IsInterlaced) == 0) return L"PROGRESSIVE";
    return (interlaceFlags & AMINTERLACE_Field1First) != 0 ? L"INTERLACED TFF" : L"INTERLACE BFF";
}

void DumpHeader(Writer& out, const VIDEOINFOHEADER2& header) {
    out.Block(L"VIDEOINFOHEADER2", [&](Writer& block) {
        DumpCommonVideoFields(block, header);
        block.Field(L"  dwInterlaceFlags:", InterlaceText(header.dwInterlaceFlags));
        block.Field(L"dwCopyProtectFlags:", header.dwCopyProtectFlags);
        block.Field(L"dwPictAspectRatioX:", header.dwPictAspectRatioX);
        block.Field(L"dwPictAspectRatioY:", header.dwPictAspectRatioY);
        block.Field(L"    dwControlFlags:", header.dwControlFlags);
        block.Field(L"       dwReserved2:", header.dwReserved2);
    });
}

/// The fields that both kinds of MPEG header have. Sequence headers can be long: they are not shown.
template <class Info>
void DumpCommonMPEGFields(Writer& block, const Info& info) {
    DumpHeader(block, info.hdr);
    block.Field(L"   dwStartTimeCode:", info.dwStartTimeCode);
    block.Field(L"  cbSequenceHeader:", info.cbSequenceHeader);
    block.Field(L"   bSequenceHeader:", L"[Not shown]");
}

void DumpMPEG1(Writer& out, const MPEG1VIDEOINFO& info) {
    out.Block(L"MPEG1VIDEOINFO", [&](Writer& block) { DumpCommonMPEGFields(block, info); });
}

void DumpMPEG2(Writer& out, const MPEG2VIDEOINFO& info) {
    out.Block(L"MPEG2VIDEOINFO", [&](Writer& block) {
        DumpCommonMPEGFields(block, info);
        block.Field(L"         dwProfile:", info.dwProfile);
        block.Field(L"           dwLevel:", info.dwLevel);
        block.Field(L"           dwFlags:", info.dwFlags);
    });
}

void DumpAnalogVideo(Writer& out, const ANALOGVIDEOINFO& info) {
    out.Block(L"ANALOGVIDEOINFO", [&](Writer& block) {
        block.Field(L"          rcSource:", info.rcSource);
        block.Field(L"          rcTarget:", info.rcTarget);
        block.Field(L"     dwActiveWidth:", info.dwActiveWidth);
        block.Field(L"    dwActiveHeight:", info.dwActiveHeight);
    });
}

void DumpExtensible(Writer& out, const WAVEFORMATEXTENSIBLE& wave) {
    const GUID subFormat = wave.SubFormat;
    const WORD samples = wave.Samples.wValidBitsPerSample;  // one field with three names
    out.Block(L"WAVEFORMATEXTENSIBLE", [&](Writer& block) {
        block.Field(L"  wSamplesPerBlock:", samples);
        block.Field(L"  wValidBitsPerSa.:", samples);
        block.Field(L"         wReserved:", samples);
        block.Field(L"     dwChannelMask:", GetChannelNames(wave.dwChannelMask));
        block.Field(L"         SubFormat:", GetSubtypeName(subFormat));
    });
}

void DumpMPEG1Wave(Writer& out, const MPEG1WAVEFORMAT& wave) {
    out.Block(L"MPEG1WAVEFORMAT", [&](Writer& block) {
        block.Field(L"       fwHeadLayer:", wave.fwHeadLayer);
        block.Field(L"     dwHeadBitrate:", wave.dwHeadBitrate);
        block.Field(L"        fwHeadMode:", wave.fwHeadMode);
        block.Field(L"     fwHeadModeExt:", wave.fwHeadModeExt);
        block.Field(L"     wHeadEmphasis:", wave.wHeadEmphasis);
        block.Field(L"       fwHeadFlags:", wave.fwHeadFlags);
        block.Field(L"          dwPTSLow:", wave.dwPTSLow);
        block.Field(L"         dwPTSHigh:", wave.dwPTSHigh);
    });
}

void DumpWaveFormat(Writer& out, const AM_MEDIA_TYPE& type, const WAVEFORMATEX& wave) {
    out.Block(L"WAVEFORMATEX", [&](Writer& block) {
        block.Field(L"        wFormatTag:", GetWaveFormatTagName(wave.wFormatTag));
        block.Field(L"         nChannels:", wave.nChannels);
        block.Field(L"    nSamplesPerSec:", wave.nSamplesPerSec);
        block.Field(L"   nAvgBytesPerSec:", wave.nAvgBytesPerSec);
        block.Field(L"       nBlockAlign:", wave.nBlockAlign);
        block.Field(L"    wBitsPerSample:", wave.wBitsPerSample);
        block.Field(L"            cbSize:", wave.cbSize);
        if (wave.wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
            if (const auto* extensible = FormatBlock<WAVEFORMATEXTENSIBLE>(type)) DumpExtensible(block, *extensible);
        } else if (wave.wFormatTag == WAVE_FORMAT_MPEG) {
            if (const auto* mpeg = FormatBlock<MPEG1WAVEFORMAT>(type)) DumpMPEG1Wave(block, *mpeg);
        }
    });
}

/// False when the block's kind is unknown or the block is too short for it.
bool DumpFormatBlock(Writer& out, const AM_MEDIA_TYPE& type) {
    if (type.formattype == FORMAT_VideoInfo) {
        if (const auto* header = FormatBlock<VIDEOINFOHEADER>(type)) return DumpHeader(out, *header), true;
    } else if (type.formattype == FORMAT_VideoInfo2) {
        if (const auto* header = FormatBlock<VIDEOINFOHEADER2>(type)) return DumpHeader(out, *header), true;
    } else if (type.formattype == FORMAT_MPEGVideo) {
        if (const auto* info = FormatBlock<MPEG1VIDEOINFO>(type, MPEG1VideoInfoLength))
            return DumpMPEG1(out, *info), true;
    } else if (type.formattype == FORMAT_MPEG2Video) {
        if (const auto* info = FormatBlock<MPEG2VIDEOINFO>(type, MPEG2VideoInfoLength))
            return DumpMPEG2(out, *info), true;
    } else if (type.formattype == FORMAT_AnalogVideo) {
        if (const auto* info = FormatBlock<ANALOGVIDEOINFO>(type)) return DumpAnalogVideo(out, *info), true;
    } else if (type.formattype == FORMAT_WaveFormatEx) {
        if (const auto* wave = FormatBlock<WAVEFORMATEX>(type)) return DumpWaveFormat(out, type, *wave), true;
    }
    return false;
}

}  // namespace

std::wstring DumpMediaType(const AM_MEDIA_TYPE& type, std::wstring_view indent) {
    std::wstring text;
    Writer out(text, indent);
    out.Line(L"AM_MEDIA_TYPE");
    out.Field(L"         majortype:", GetMajorTypeName(type.majortype));
    out.Field(L"           subtype:", GetSubtypeName(type.subtype));
    out.Field(L" bFixedSizeSamples:", type.bFixedSizeSamples);
    out.Field(L"bTemporalCompress.:", type.bTemporalCompression);
    out.Field(L"       lSampleSize:", type.lSampleSize);
    out.Field(L"        formattype:", GetFormatTypeName(type.formattype));
    out.Field(L"          cbFormat:", type.cbFormat);
    if (!DumpFormatBlock(out, type)) out.Line(L"Warning: Unknown Format Type");
    return text;
}

}  // namespace qz_DSFilters
