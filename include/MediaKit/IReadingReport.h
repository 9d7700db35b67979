// What opening a file has found out about it.
#pragma once

#include "Platform/Com/Unknown.h"

#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// One observation.
struct ReadingFinding {
    enum class Severity { Error = 1, Warning = 2, Information = 3 };  ///< the levels of the log

    Severity severity = Severity::Information;
    std::wstring text;
    /// The file, a track or a part of it is not played because of this.
    bool excludes = false;
};

/// Offered by the demultiplexer.
struct IReadingReport : IUnknown {
    /// Copies what the last connection of the input has found, also when it failed, in the order in which it was found;
    /// at most 200 findings, of which the last excluding one is always the last. Any thread; waits while a file is
    /// being opened.
    virtual HRESULT GetFindings(std::vector<ReadingFinding>* findings) = 0;

protected:
    ~IReadingReport() = default;
};

inline constexpr IID IID_IReadingReport = make_guid("9E4B7D15-62C0-4A3F-8F1D-D05C38A9B672");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IReadingReport> =
    Norvane::MediaKit::Filters::IID_IReadingReport;
