#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace ruvola::platform {

/// Where this program lives and what it may write: the installed copy, and the user's folders.
class Installation {
public:
    virtual ~Installation() = default;

    /// The application's identifier when the running executable is the installed copy (its
    /// install prefix holds the application's desktop entry), else nothing.
    virtual std::optional<std::string> bundleIdentifier() const = 0;

    /// How to run the installed copy, as a sentence beginning in lower case.
    virtual std::string bundleRemedy() const = 0;

    /// The user's home folder, from the environment.
    virtual std::filesystem::path homeDirectory() const = 0;

    /// The folder that holds the log file.
    virtual std::filesystem::path logDirectory() const = 0;
};

} // namespace ruvola::platform
