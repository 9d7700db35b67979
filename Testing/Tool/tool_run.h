// Running programs in a folder of one's own, and reading what they print.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

namespace mediakit_test {

struct RunResult {
    int status = -1;  ///< exit status
    std::string out;
    std::string err;
};

/// A folder that goes with the object.
class WorkFolder {
public:
    WorkFolder();
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    std::string Path(const std::string& name) const { return (m_path / name).string(); }
    /// Runs a shell command in the folder.
    RunResult Run(const std::string& command) const;
    /// The program under test; arguments in shell form.
    RunResult Tool(const std::string& arguments) const { return Run(MEDIAKIT_PROGRAM " " + arguments); }
    /// What ffmpeg prints; fails the test when it fails, with Warnings::Fail also when it has something to say.
    enum class Warnings { Pass, Fail };
    std::string Ffmpeg(const std::string& arguments, Warnings warnings = Warnings::Pass) const;
    /// ffprobe's JSON, in the same way.
    nlohmann::json Probe(const std::string& file, const std::string& arguments,
                         Warnings warnings = Warnings::Fail) const;

    std::string Read(const std::string& name) const;
    void Write(const std::string& name, const std::string& bytes) const;
    bool Has(const std::string& name) const { return std::filesystem::exists(m_path / name); }

private:
    std::filesystem::path m_path;
};

}  // namespace mediakit_test
