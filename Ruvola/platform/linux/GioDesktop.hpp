#pragma once

#include "Ruvola/platform/Desktop.hpp"

namespace ruvola::platform {

/// Opens files with the desktop's handlers as GIO finds them in the desktop entries and
/// mimeapps.list, falling back on xdg-open.
class GioDesktop final : public Desktop {
public:
    void openInEditor(const std::filesystem::path& file) override;
    bool sessionAvailable() const override;
};

} // namespace ruvola::platform
