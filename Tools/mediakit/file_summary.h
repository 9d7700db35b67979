// What a file is, in words and as JSON.
#pragma once

#include "Tools/mediakit/container_facts.h"
#include "Tools/mediakit/log_watch.h"
#include "Tools/mediakit/stream_facts.h"

#include <optional>
#include <string>
#include <vector>

namespace mediakit_tool {

struct StreamSummary {
    std::string pin;
    std::string entry;  ///< "avc1"
    Norvane::MediaKit::Filters::TrackInformation track;
    StreamFacts facts;

    /// 100 ns. Of PCM it follows from the bytes: a sample may stand for many, and lasts one of them.
    REFERENCE_TIME Duration() const;
    /// Bits a second, 0 without a duration.
    double BitRate() const;
};

struct FileSummary {
    std::string file;
    std::optional<ContainerFacts> container;  ///< when the file could be opened
    std::optional<REFERENCE_TIME> duration;   ///< 100 ns
    std::vector<LogWatch::Note> messages;     ///< of the check
    std::vector<StreamSummary> streams;
    std::vector<FileTrack> notPlayed;  ///< tracks without a stream
    std::string error;                 ///< empty: the file can be played
};

/// A few lines, each ended.
std::string ToText(const FileSummary& summary);
/// One object in one line, ended. Times are in seconds, sizes in bytes, rates a second.
std::string ToJson(const FileSummary& summary);

}  // namespace mediakit_tool
