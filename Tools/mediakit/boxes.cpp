#include "Tools/mediakit/boxes.h"

#include "Tools/mediakit/box_writers.h"
#include "Tools/mediakit/file_byte_stream.h"
#include "Tools/mediakit/input_file.h"
#include "Tools/mediakit/log_watch.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/standard_output.h"
#include "Tools/mediakit/system_error.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace mediakit_tool {

namespace {

const std::string kBoxesFooter =
    "Each box is told with its offset and size in the file and its fields; what is wrong with a box\n"
    "stands behind a \"!\". Text shows the first " +
    std::to_string(kTextRows) + " rows of a table, twice as many of a list; JSON\nshows " + std::to_string(kJsonRows) +
    " rows and " + std::to_string(kJsonBytes) +
    " bytes of a row of bytes. Sample data is not read.\n"
    "Exit status: 0 done, also when boxes are broken, 1 failed, 2 wrong usage.";

}  // namespace

CLI::App* AddBoxesVerb(CLI::App& program, BoxesOptions& options) {
    CLI::App* verb = program.add_subcommand("boxes", "Show the boxes of an MP4 file with their fields");
    verb->footer(kBoxesFooter);
    verb->add_option("FILE", options.file, "The file to read")->required()->type_name("");
    verb->add_option("--depth", options.depth, "Levels of boxes to show")
        ->check(CLI::Range(1, BoxWalk::kDeepest).description(""))
        ->type_name("N");
    verb->add_flag("--json", options.json, "Print the tree as one JSON object");
    return verb;
}

int Boxes(const BoxesOptions& options) {
    Messages messages;
    const LogWatch log(messages, 0, 0);  // what is wrong with a box is told with the box
    const auto fail = [&messages](const std::string& text) {
        messages.Error(text);
        return 1;
    };
    const std::string objection = InputObjection(options.file);
    if (!objection.empty()) return fail(options.file + ": " + objection);
    FileByteStream file;
    const DWORD error = file.Open(options.file);
    if (error != NO_ERROR) return fail(options.file + ": cannot be opened: " + SystemErrorText(error));
    const int levels = options.depth == 0 ? BoxWalk::kDeepest : options.depth;
    std::uint64_t boxes = 0;
    if (options.json) {
        BoxJsonWriter writer(file, stdout);
        writer.Begin(options.file, file.size());
        BoxWalk(file, writer, levels).Run();
        writer.End();
        boxes = writer.Boxes();
    } else {
        BoxTextWriter writer(file, stdout);
        BoxWalk(file, writer, levels).Run();
        boxes = writer.Boxes();
    }
    if (!FlushStandardOutput(messages)) return 1;
    return boxes > 0 ? 0 : fail(options.file + ": has no boxes");
}

}  // namespace mediakit_tool
