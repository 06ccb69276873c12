#pragma once

#include "Ruvola/RuvolaApplication.hpp"
#include "Ruvola/bindings/BindingsStore.hpp"
#include "fakes/TestPlatform.hpp"
#include "fakes/VirtualPad.hpp"
#include "support/EventLoop.hpp"
#include "support/RecordingLogger.hpp"

#include <QSettings>
#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace ruvola::testing {

/// The driver in a temporary home, against the virtual pad, with the desktop's applications,
/// input access and system keys replaced by doubles a test controls.
struct DriverRig {
    DriverRig() {
        setenv("HOME", home.path().toLocal8Bit().constData(), 1);
        platform.hidManagers = [this] { return pad.manager(); };
        platform.windowsOverride = &applications;
        platform.inputAccessOverride = &access;
        platform.systemKeysOverride = &keys;
    }
    ~DriverRig() { application.stop(); }

    // Replaced in one step, as an editor saves, so the store never reads half a file.
    void save(const std::string& text) const {
        const std::filesystem::path file = BindingsStore::url(home.path().toStdString());
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file.string() + ".new") << text;
        std::filesystem::rename(file.string() + ".new", file);
    }

    // Starts the driver and waits until the pad shows its first key.
    bool start() {
        application.start(logger);
        return waitUntil([&] { return pad.key(1).has_value(); });
    }

    // What the pad received, images without their byte counts.
    std::vector<std::string> reports() const {
        std::vector<std::string> received;
        for (const std::string& report : pad.received) {
            received.push_back(report.starts_with("BAT") ? report.substr(0, 5) : report);
        }
        return received;
    }

    QTemporaryDir home;
    QSettings settings{home.filePath("settings.ini"), QSettings::IniFormat};
    VirtualPad pad;
    FakeWindows applications;
    FakeInputAccess access;
    RecordingSystemKeys keys;
    RecordingLogger logger;
    TestPlatform platform;
    RuvolaApplication application{platform, settings};
};

} // namespace ruvola::testing
