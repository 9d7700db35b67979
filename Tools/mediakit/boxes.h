// mediakit boxes: the box tree of a file.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace mediakit_tool {

struct BoxesOptions {
    std::string file;
    int depth = 0;  ///< levels to show, 0 all
    bool json = false;
};

/// Adds the verb to the program; its options land in `options` when the command line is parsed.
CLI::App* AddBoxesVerb(CLI::App& program, BoxesOptions& options);

/// The program's exit status.
int Boxes(const BoxesOptions& options);

}  // namespace mediakit_tool
