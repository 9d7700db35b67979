// What `mediakit record` was asked to do.
#pragma once

#include "Tools/mediakit/common_options.h"
#include "Tools/mediakit/frame_rate.h"

#include <optional>
#include <string>
#include <vector>

namespace mediakit_tool {

/// One elementary stream to record. "-" is standard input.
struct InputOption {
    enum class Kind { Video, Audio };
    Kind kind;
    std::string path;
};

struct RecordOptions : CommonOptions {
    std::string output;
    std::string video;  ///< empty: none
    std::vector<std::string> audio;
    std::string fps;                ///< as given, see rate
    std::optional<FrameRate> rate;  ///< of --fps
    int rotate = 0;                 ///< degrees clockwise
    std::optional<std::string> title;
    std::optional<std::string> software;
    bool faststart = false;
    bool force = false;

    /// The inputs in track order: video first.
    std::vector<InputOption> Inputs() const;
};

/// Adds the verb to the program; its options land in `options` when the command line is parsed.
CLI::App* AddRecordVerb(CLI::App& program, RecordOptions& options);

}  // namespace mediakit_tool
