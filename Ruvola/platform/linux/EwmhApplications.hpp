#pragma once

#include "Ruvola/platform/Applications.hpp"

namespace ruvola::platform {

class EwmhApplications final : public Applications {
public:
    std::optional<RunningApplication> frontmost() override;
    std::vector<RunningApplication> running() override;
    bool hide(const RunningApplication& application) override;
    bool activate(const RunningApplication& application) override;
    bool hasVisibleWindow(const RunningApplication& application) override;
    bool isFileManager(const RunningApplication& application) override;
    ActionCompletion launch(const std::string& name, const ApplicationMatch& matches) override;
    ActionCompletion reopen(const RunningApplication& application) override;
};

class EwmhFrontmostWatcher final : public FrontmostWatcher {
public:
    bool start(std::function<void()> changed) override;
};

} // namespace ruvola::platform
