#pragma once

#include "Ruvola/platform/Desktop.hpp"

#include <vector>

namespace ruvola::testing {

/// Records the files it is asked to open instead of starting an editor.
class RecordingDesktop final : public platform::Desktop {
public:
    void openInEditor(const std::filesystem::path& file) override { opened.push_back(file); }

    std::vector<std::filesystem::path> opened;
};

} // namespace ruvola::testing
