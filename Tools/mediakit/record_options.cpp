#include "Tools/mediakit/record_options.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace mediakit_tool {

namespace {

constexpr const char* kRecordFooter =
    "FILE is a path, or - for standard input (once). Video is H.264 or H.265 in Annex B form, told\n"
    "apart by content; audio is AAC in ADTS. Ctrl-C ends the recording; the file is finished.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.";

/// What one option cannot see: the options together.
void CheckTogether(RecordOptions& options) {
    const std::vector<InputOption> inputs = options.Inputs();
    if (inputs.empty()) throw CLI::RequiredError("--video or --audio");
    const auto fromStandardInput = [](const InputOption& input) { return input.path == "-"; };
    if (std::count_if(inputs.begin(), inputs.end(), fromStandardInput) > 1)
        throw CLI::ValidationError("-", "standard input can be read only once");
    if (!options.fps.empty()) {
        options.rate = ParseFrameRate(options.fps);
        if (!options.rate)
            throw CLI::ValidationError(
                "--fps", "'" + options.fps + "' is not a rate N or N/D from 1/100 to 1000, such as 25 or 30000/1001");
    }
    if (options.video.empty() && (options.rate || options.rotate != 0))
        throw CLI::ValidationError(options.rate ? "--fps" : "--rotate", "there is no --video for it");
}

}  // namespace

std::vector<InputOption> RecordOptions::Inputs() const {
    std::vector<InputOption> inputs;
    if (!video.empty()) inputs.push_back({InputOption::Kind::Video, video});
    for (const std::string& path : audio) inputs.push_back({InputOption::Kind::Audio, path});
    return inputs;
}

CLI::App* AddRecordVerb(CLI::App& program, RecordOptions& options) {
    CLI::App* verb = program.add_subcommand("record", "Record elementary streams into an MP4 file");
    verb->footer(kRecordFooter);
    AddMovieOutputOption(*verb, options.output);
    verb->add_option("--video", options.video, "H.264 or H.265 Annex B")->type_name("FILE");
    verb->add_option("--audio", options.audio, "AAC in ADTS; may be given several times")
        ->type_name("FILE")
        ->allow_extra_args(false);
    verb->add_option("--fps", options.fps, "Frame rate where the stream has none of its own, or to override it")
        ->type_name("N[/D]");
    verb->add_flag("--faststart", options.faststart, "Put the index in front of the data");
    verb->add_option("--rotate", options.rotate, "Degrees clockwise to turn the picture for display")
        ->check(CLI::IsMember({0, 90, 180, 270}).description(""))
        ->type_name("0|90|180|270");
    verb->add_option("--title", options.title, "Description to store in the file")->type_name("TEXT");
    verb->add_option("--software", options.software, "Name of the recording software to store in the file")
        ->type_name("TEXT");
    verb->add_flag("--force", options.force, "Replace an existing output");
    AddProgressOption(*verb, options);
    AddCommonOptions(*verb, options, "Print the summary as one JSON object");
    verb->final_callback([&options] { CheckTogether(options); });
    return verb;
}

}  // namespace mediakit_tool
