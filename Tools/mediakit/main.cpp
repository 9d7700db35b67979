// mediakit: records elementary streams through a filter graph.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>

#include "Tools/mediakit/record.h"
#include "Tools/mediakit/record_options.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN);  // a limit on file sizes shall fail the write, not end the process
#endif
    CLI::App program("Norvane MediaKit: records H.264, H.265 and AAC into MP4 files", "mediakit");
    program.set_version_flag("--version", "mediakit " MEDIAKIT_VERSION);
    program.require_subcommand(1);
    mediakit_tool::RecordOptions record;
    mediakit_tool::AddRecordVerb(program, record);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : kWrongUsage;
    }
    try {
        return mediakit_tool::Record(record);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "mediakit: %s\n", failure.what());
        return kFailed;
    }
}
