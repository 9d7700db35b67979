// mediakit: records elementary streams through a filter graph, and reads what was recorded.
#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/boxes.h"
#include "Tools/mediakit/extract.h"
#include "Tools/mediakit/info.h"
#include "Tools/mediakit/record.h"
#include "Tools/mediakit/remux.h"
#include "Tools/mediakit/samples.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

using namespace mediakit_tool;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

/// What the program can do. One verb is chosen on the command line.
class Verbs {
public:
    explicit Verbs(CLI::App& program) : m_program(program) {}

    /// `add` makes the verb with its options, which land in the object that `run` gets.
    template <class Options>
    void Add(CLI::App* (*add)(CLI::App&, Options&), int (*run)(const Options&)) {
        const auto options = std::make_shared<Options>();
        m_verbs.emplace_back(add(m_program, *options), [options, run] { return run(*options); });
    }

    int RunChosen() const {
        for (const auto& [verb, run] : m_verbs)
            if (verb->parsed()) return run();
        return kWrongUsage;
    }

private:
    CLI::App& m_program;
    std::vector<std::pair<CLI::App*, std::function<int()>>> m_verbs;
};

void AddVerbs(Verbs& verbs) {
    verbs.Add(AddRecordVerb, Record);
    verbs.Add(AddInfoVerb, Info);
    verbs.Add(AddSamplesVerb, ListSamples);
    verbs.Add(AddExtractVerb, Extract);
    verbs.Add(AddRemuxVerb, Remux);
    verbs.Add(AddBoxesVerb, Boxes);
}

/// Names of files are UTF-8 throughout.
bool IsValidUtf8(const char* text) {
    return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0) != 0;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN);  // a limit on file sizes shall fail the write, not end the process
#endif
    CLI::App program("Norvane MediaKit: records H.264, H.265 and AAC into MP4 files, and reads them", "mediakit");
    program.set_version_flag("--version", "mediakit " MEDIAKIT_VERSION);
    program.require_subcommand(1);
    Verbs verbs(program);
    AddVerbs(verbs);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : kWrongUsage;
    }
    for (int i = 1; i < argc; ++i) {
        if (IsValidUtf8(argv[i])) continue;
        std::fprintf(stderr, "mediakit: %s: the name is not valid UTF-8\n", argv[i]);
        return kFailed;
    }
    try {
        return verbs.RunChosen();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "mediakit: %s\n", failure.what());
        return kFailed;
    }
}
