#include "Ruvola/bindings/BindingsStore.hpp"

#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/Desktop.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "RuvolaCore/KeySpec.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <QSaveFile>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <optional>
#include <string>

namespace ruvola {
namespace {

constexpr std::chrono::milliseconds reloadDelay{200};

// The whole file, or nothing when it can't be read. Only regular files are read, so that a FIFO
// or a device put in the file's place can't block the caller.
std::optional<std::string> contents(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    std::string bytes;
    std::array<char, 64 * 1024> chunk;
    while (stream.read(chunk.data(), chunk.size()) || stream.gcount() > 0) {
        bytes.append(chunk.data(), static_cast<std::size_t>(stream.gcount()));
    }
    if (stream.bad()) {
        return std::nullopt;
    }
    return bytes;
}

// The specification of the first keystroke action that isn't one plain chord, if any.
const std::string* unusableKeystroke(const PadBinding& binding) {
    for (const auto* action : {&binding.press, &binding.turnLeft, &binding.turnRight}) {
        const auto* keystroke =
            action->has_value() ? (*action)->as<PadAction::Keystroke>() : nullptr;
        if (keystroke == nullptr) {
            continue;
        }
        const auto trigger = KeySpec::parse(keystroke->specification);
        if (!trigger.ok() || trigger.value().singleChord() == nullptr) {
            return &keystroke->specification;
        }
    }
    return nullptr;
}

// Only single chords can be bound: drop every other keystroke binding, with a problem for each.
void dropUnusableKeystrokes(BindingsFile& file) {
    std::erase_if(file.bindings, [&](const PadBinding& binding) {
        const std::string* specification = unusableKeystroke(binding);
        if (specification != nullptr) {
            file.problems.push_back(binding.control.configName() + ": \"" + *specification +
                                    "\" isn't a single key chord");
        }
        return specification != nullptr;
    });
}

} // namespace

BindingsStore::BindingsStore(std::filesystem::path url, Logging& logger,
                             std::unique_ptr<platform::DirectoryWatcher> watcher,
                             platform::Desktop* desktop)
    : url_(std::move(url)), logger_(logger), watcher_(std::move(watcher)), desktop_(desktop),
      file_(starterBindings::file()) {
    pendingReload_.setSingleShot(true);
    pendingReload_.setInterval(reloadDelay);
    QObject::connect(&pendingReload_, &QTimer::timeout, [this] {
        load();
        if (onChange) {
            onChange();
        }
    });
}

BindingsStore::~BindingsStore() = default;

std::filesystem::path BindingsStore::url(const std::filesystem::path& home) {
    return home / ".config" / "ruvola" / "bindings.json";
}

void BindingsStore::load() {
    const auto bytes = contents(url_);
    if (!bytes) {
        file_ = starterBindings::file();
        return;
    }
    BindingsFile file = BindingsFile::parse(*bytes);
    dropUnusableKeystrokes(file);
    file_ = std::move(file);
    logger_.info("Loaded " + std::to_string(file_.bindings.size()) + " bindings from " +
                 url_.string());
    for (const std::string& problem : file_.problems) {
        logger_.warning("bindings.json: " + problem);
    }
}

void BindingsStore::startWatching() {
    const std::filesystem::path directory = url_.parent_path();
    std::error_code ignored;
    std::filesystem::create_directories(directory, ignored);
    if (watcher_ == nullptr || !watcher_->start(directory, [this] { scheduleReload(); })) {
        logger_.warning("Can't watch " + directory.string() + " for changes");
    }
}

void BindingsStore::scheduleReload() {
    // Each event restarts the delay, so a burst of events ends in one reload.
    pendingReload_.start();
}

void BindingsStore::edit() {
    std::error_code error;
    if (!std::filesystem::exists(url_, error)) {
        std::filesystem::create_directories(url_.parent_path(), error);
        QSaveFile out(QString::fromStdString(url_.string()));
        const std::string_view text = starterBindings::text();
        const bool written = out.open(QIODevice::WriteOnly) &&
                             out.write(text.data(), static_cast<qint64>(text.size())) ==
                                 static_cast<qint64>(text.size()) &&
                             out.commit();
        if (!written) {
            logger_.warning("Couldn't write " + url_.string() + ": " +
                            out.errorString().toStdString());
            return;
        }
        logger_.info("Wrote a starter " + url_.string());
    }
    if (desktop_ != nullptr) {
        desktop_->openInEditor(url_);
    }
}

} // namespace ruvola
