// Reading what may be broken.
#pragma once

#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"

#include <exception>
#include <new>

namespace Norvane::MediaKit::Filters::details {

/// Calls `read`, which throws for what cannot be read. When the host wants broken parts left out, that becomes a
/// finding.
template <class Read>
void ReadPart(const ReadingContext& context, Read read) {
    if (!context.options.skipBrokenParts) return read();
    try {
        read();
    } catch (const std::bad_alloc&) {
        throw;  // says nothing of the file
    } catch (const std::exception& error) {
        context.findings.ReportExclusion(ReadingFindings::Severity::Warning,
                                         L"A broken part of the file is left out: %S", error.what());
    }
}

}  // namespace Norvane::MediaKit::Filters::details
