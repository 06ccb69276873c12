#pragma once

#include "Ruvola/RuvolaApplication.hpp"
#include "fakes/TestPlatform.hpp"
#include "fakes/VirtualPad.hpp"
#include "support/RecordingLogger.hpp"

#include <QSettings>
#include <QTemporaryDir>

#include <cstdlib>

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
