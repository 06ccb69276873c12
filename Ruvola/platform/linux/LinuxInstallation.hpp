#pragma once

#include "Ruvola/platform/Installation.hpp"

namespace ruvola::platform {

/// The installed copy is the executable whose prefix (its folder's parent) holds the application's
/// desktop entry, as `cmake --install` lays them out; the user's folders follow the XDG rules.
class LinuxInstallation final : public Installation {
public:
    /// The application's id: its desktop entry's name without ".desktop", and its windows' app id.
    static constexpr const char* applicationId = "ltd.fennick.ruvola";

    std::optional<std::string> bundleIdentifier() const override;
    std::string bundleRemedy() const override;
    std::filesystem::path homeDirectory() const override;
    std::filesystem::path logDirectory() const override;

private:
    /// The running executable's file name ("ruvola").
    std::string executableName() const;
};

} // namespace ruvola::platform
