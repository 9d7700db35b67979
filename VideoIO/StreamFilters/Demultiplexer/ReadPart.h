// Reading what may be broken.
#pragma once

#include "Logging/Checks.h"
#include "MediaKit/IReadingPolicy.h"

#include <exception>
#include <new>

namespace Norvane::MediaKit::Filters::details {

/// Calls `read`, which throws for what cannot be read. When the host wants broken parts left out, that is told in the
/// log and forgiven.
template <class Read>
void ReadPart(const ReadingOptions& options, Read read) {
    if (!options.skipBrokenParts) return read();
    try {
        read();
    } catch (const std::bad_alloc&) {
        throw;  // says nothing of the file
    } catch (const std::exception& error) {
        QZReport(2, L"A broken part of the file is left out: %S", error.what());
    }
}

}  // namespace Norvane::MediaKit::Filters::details
