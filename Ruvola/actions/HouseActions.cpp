#include "Ruvola/actions/HouseActions.hpp"

#include "Ruvola/platform/Launcher.hpp"
#include "Ruvola/platform/Processes.hpp"
#include "Ruvola/platform/SyntheticInput.hpp"
#include "Ruvola/platform/Windows.hpp"
#include "RuvolaCore/Overloaded.hpp"
#include "RuvolaCore/Unicode.hpp"

#include <QDir>
#include <QString>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>

namespace ruvola {

using platform::RunningApplication;
using namespace std::chrono_literals;

namespace {

constexpr std::size_t chunkUnits = 16;
constexpr auto chunkPause = 1200us;
constexpr int windowPolls = 10;
constexpr auto windowPollInterval = 50ms;

bool isAddress(const std::string& target) {
    return target.find("://") != std::string::npos;
}

bool isPath(const std::string& target) {
    return target.starts_with('/') || target.starts_with('~');
}

std::string expandingTilde(const std::string& path) {
    const char* home = std::getenv("HOME");
    if (home == nullptr || !(path == "~" || path.starts_with("~/"))) {
        return path;
    }
    return home + path.substr(1);
}

// Trimmed, lower-cased, without one ".desktop", then folded for case and accents: "  Gédit.desktop"
// and "gedit" are the same application.
QString normalisedName(const std::string& text) {
    QString name = QString::fromStdString(text).trimmed().toLower();
    if (name.endsWith(QLatin1String(".desktop"))) {
        name.chop(8);
    }
    QString folded;
    for (const QChar character : name.normalized(QString::NormalizationForm_D)) {
        if (character.category() != QChar::Mark_NonSpacing) {
            folded += character;
        }
    }
    return folded.toCaseFolded();
}

std::string entryId(const std::string& desktopEntry) {
    if (desktopEntry.empty()) {
        return {};
    }
    std::string id = std::filesystem::path(desktopEntry).filename().string();
    if (id.ends_with(".desktop")) {
        id.resize(id.size() - 8);
    }
    return id;
}

bool nameMatches(const std::string& target, const std::string& name, const std::string& id) {
    if (isAddress(target)) {
        return false;
    }
    const QString wanted = normalisedName(target);
    for (const std::string* candidate : {&name, &id}) {
        if (!candidate->empty() && normalisedName(*candidate) == wanted) {
            return true;
        }
    }
    return false;
}

} // namespace

struct HouseActions::Shared {
    platform::Processes& processes;
    platform::SyntheticInput& input;
    platform::Windows& applications;
    platform::Launcher& launcher;

    std::mutex mutex;
    bool alive = true;
    Log log;

    // Lines from runs that outlive their owner go nowhere.
    void say(const std::string& line) {
        const std::scoped_lock lock(mutex);
        if (alive && log) {
            log(line);
        }
    }

    bool isAlive() {
        const std::scoped_lock lock(mutex);
        return alive;
    }

    // Starts `work` on a thread of its own; if none can be made, `failed` reports why, here.
    void inBackground(std::function<void()> work,
                      const std::function<void(const ActionCompletion&)>& failed) {
        try {
            std::thread(std::move(work)).detach();
        } catch (const std::system_error& error) {
            failed(ActionCompletion::failed({ActionFailure::CouldNotLaunch{error.what()}}));
        }
    }

    ActionCompletion execute(const HouseAction& action) {
        return std::visit(
            Overloaded{
                [&](const HouseAction::Shell& shell) {
                    return processes.run("/bin/sh", {"-c", shell.command});
                },
                [&](const HouseAction::Open& open) { return this->open(open.target); },
                [&](const HouseAction::Keystroke& keystroke) {
                    return input.post(keystroke.chord) ? ActionCompletion::succeeded()
                                                       : couldNotPostInput();
                },
                [&](const HouseAction::Text& text) {
                    return type(text.text) ? ActionCompletion::succeeded() : couldNotPostInput();
                },
            },
            action.value);
    }

    static ActionCompletion couldNotPostInput() {
        return ActionCompletion::failed({ActionFailure::CouldNotPostInput{}});
    }

    bool type(const std::string& utf8) {
        bool first = true;
        for (const std::u16string& chunk : unicodeChunks(utf8)) {
            if (!first) {
                std::this_thread::sleep_for(chunkPause);
            }
            first = false;
            if (!input.type(QString::fromStdU16String(chunk).toStdString())) {
                return false;
            }
        }
        return true;
    }

    // Brings the target forward, or puts it away when it is already in front.
    ActionCompletion open(const std::string& target) {
        const std::optional<RunningApplication> frontmost = applications.frontmost();
        if (frontmost && openTarget(target, frontmost->name, frontmost->desktopEntry)) {
            // Without a visible window it is only nominally in front (its windows were just
            // hidden): bring them back as for any running application.
            if (applications.hasVisibleWindow(*frontmost)) {
                applications.hide(*frontmost);
                return ActionCompletion::succeeded();
            }
            return bringForward(*frontmost);
        }
        for (const RunningApplication& application : applications.running()) {
            if (openTarget(target, application.name, application.desktopEntry)) {
                return bringForward(application);
            }
        }

        const std::string expanded = expandingTilde(target);
        std::error_code error;
        if (std::filesystem::is_directory(expanded, error) && frontmost &&
            launcher.isFileManager(*frontmost)) {
            applications.hide(*frontmost);
            return ActionCompletion::succeeded();
        }
        if (isPath(target) || isAddress(target)) {
            return launcher.open(expanded);
        }
        return launcher.launch(target, [target](const std::string& name, const std::string& id) {
            return nameMatches(target, name, id);
        });
    }

    // Shows its windows and waits up to half a second for one; failing that, asks for a new one.
    ActionCompletion bringForward(const RunningApplication& application) {
        applications.activate(application);
        for (int poll = 0; poll < windowPolls; ++poll) {
            if (applications.hasVisibleWindow(application)) {
                return ActionCompletion::succeeded();
            }
            std::this_thread::sleep_for(windowPollInterval);
        }
        return launcher.reopen(application);
    }
};

HouseActions::HouseActions(platform::Processes& processes, platform::SyntheticInput& input,
                           platform::Windows& applications, platform::Launcher& launcher, Log log)
    : shared_(std::make_shared<Shared>(processes, input, applications, launcher)) {
    shared_->log = std::move(log);
}

HouseActions::~HouseActions() {
    const std::scoped_lock lock(shared_->mutex);
    shared_->alive = false;
}

void HouseActions::run(HouseAction action, const std::string& name, Completion completion) {
    auto finish = [shared = shared_, name, completion](const ActionCompletion& outcome) {
        const ActionFailure* failure = outcome.failure();
        shared->say(failure == nullptr ? name + ": action completed"
                                       : name + ": action failed — " + failure->description());
        if (completion && shared->isAlive()) {
            completion(outcome);
        }
    };
    shared_->inBackground(
        [shared = shared_, action = std::move(action), finish] { finish(shared->execute(action)); },
        finish);
}

void HouseActions::runShortcut(const std::string& shortcut, const std::string& name) {
    auto finish = [shared = shared_, shortcut, name](const ActionCompletion& outcome) {
        const ActionFailure* failure = outcome.failure();
        const std::string prefix = name + ": shortcut \"" + shortcut + "\" ";
        shared->say(failure == nullptr ? prefix + "ran"
                                       : prefix + "failed — " + failure->description());
    };
    // A name is a file in the shortcuts folder, never a path out of it.
    if (shortcut.find('/') != std::string::npos || shortcut == "." || shortcut == ".." ||
        shortcut.empty()) {
        finish(ActionCompletion::failed(
            {ActionFailure::CouldNotLaunch{"no shortcut can be called \"" + shortcut + "\""}}));
        return;
    }
    shared_->inBackground(
        [shared = shared_, shortcut, finish] { finish(shared->launcher.runShortcut(shortcut)); },
        finish);
}

ActionCompletion HouseActions::execute(const HouseAction& action) {
    return shared_->execute(action);
}

ActionCompletion HouseActions::runProcess(const std::string& executable,
                                          const std::vector<std::string>& arguments) {
    return shared_->processes.run(executable, arguments);
}

std::vector<std::u16string> HouseActions::unicodeChunks(const std::string& utf8) {
    std::vector<std::u16string> chunks;
    std::u16string current;
    for (const std::string& character : unicode::graphemes(utf8)) {
        const std::u16string units = QString::fromStdString(character).toStdU16String();
        if (!current.empty() && current.size() + units.size() > chunkUnits) {
            chunks.push_back(std::move(current));
            current.clear();
        }
        current += units;
    }
    if (!current.empty()) {
        chunks.push_back(std::move(current));
    }
    return chunks;
}

bool HouseActions::openTarget(const std::string& target, const std::string& name,
                              const std::string& desktopEntry) {
    if (isAddress(target)) {
        return false;
    }
    if (isPath(target)) {
        const QString path = QString::fromStdString(expandingTilde(target));
        return path.toLower().endsWith(QLatin1String(".desktop")) && !desktopEntry.empty() &&
               QDir::cleanPath(path) == QDir::cleanPath(QString::fromStdString(desktopEntry));
    }
    return nameMatches(target, name, entryId(desktopEntry));
}

} // namespace ruvola
