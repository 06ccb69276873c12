#include "Ruvola/platform/linux/EwmhApplications.hpp"

namespace ruvola::platform {

std::optional<RunningApplication> EwmhApplications::frontmost() { return std::nullopt; }
std::vector<RunningApplication> EwmhApplications::running() { return {}; }
bool EwmhApplications::hide(const RunningApplication&) { return false; }
bool EwmhApplications::activate(const RunningApplication&) { return false; }
bool EwmhApplications::hasVisibleWindow(const RunningApplication&) { return false; }
bool EwmhApplications::isFileManager(const RunningApplication&) { return false; }
ActionCompletion EwmhApplications::launch(const std::string&, const ApplicationMatch&) {
    return ActionCompletion::failed({ActionFailure::CouldNotLaunch{"not yet"}});
}
ActionCompletion EwmhApplications::reopen(const RunningApplication&) {
    return ActionCompletion::succeeded();
}
bool EwmhFrontmostWatcher::start(std::function<void()>) { return false; }

} // namespace ruvola::platform
