#pragma once

#include "Ruvola/tray/MenubarHost.hpp"
#include "fakes/DriverRig.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace ruvola::testing {

/// The whole application under its tray host, on the desktop's own windows and input access,
/// with its settings and state in the rig's temporary home.
class HostTest : public ::testing::Test, protected DriverRig {
protected:
    HostTest() {
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_STATE_HOME"}) {
            setenv(name, home.path().toLocal8Bit().constData(), 1);
        }
        platform.windowsOverride = nullptr;
        platform.inputAccessOverride = nullptr;
    }

    void TearDown() override {
        if (host_) {
            host_->terminate();
        }
    }

    void launch() {
        host_ = std::make_unique<MenubarHost>(application, logger, AppIdentity{}, platform,
                                              settings, false);
        host_->launch();
    }

    std::unique_ptr<MenubarHost> host_;
};

/// Whether the run only lists the tests, which needs none of the servers a scenario starts.
inline bool onlyListing(int argc, char** argv) {
    return std::any_of(argv + 1, argv + argc, [](std::string_view argument) {
        return argument.starts_with("--gtest_list_tests");
    });
}

} // namespace ruvola::testing
