#pragma once

#include <filesystem>

namespace ruvola::platform {

/// The desktop's handlers for files.
class Desktop {
public:
    virtual ~Desktop() = default;

    /// Opens the file in an editor: the application the desktop would use for this file, else the
    /// one it uses for plain text, else the file's default handler. Returns at once; failures are
    /// swallowed, as nothing useful can be done about them.
    virtual void openInEditor(const std::filesystem::path& file) = 0;

    /// Whether a graphical session can be reached now, for windows and a tray icon.
    virtual bool sessionAvailable() const = 0;
};

} // namespace ruvola::platform
