#include "Ruvola/platform/Desktop.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "tests/support/EventLoop.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

QTemporaryDir root;

// A private desktop, in place before GIO first reads it: an editor for JSON and the default one
// for plain text, each writing the file it is asked to open to BASE/record.json or record.plain.
const fs::path base = [] {
    const fs::path folder = root.path().toStdString();
    fs::create_directories(folder / "applications");
    fs::create_directories(folder / "system");
    // The MIME database without the machine's own desktop entries.
    fs::create_directory_symlink("/usr/share/mime", folder / "system/mime");
    std::ofstream(folder / "record") << "#!/bin/sh\necho \"$2\" >\"$0.$1\"\n";
    fs::permissions(folder / "record", fs::perms::owner_all);
    std::ofstream list(folder / "mimeapps.list");
    list << "[Default Applications]\n";
    for (const std::string type : {"application/json", "text/plain"}) {
        const std::string name = type.substr(type.find('/') + 1);
        list << type << "=" << name << ".desktop\n";
        std::ofstream(folder / "applications" / (name + ".desktop"))
            << "[Desktop Entry]\nType=Application\nName=" << name << "\nExec=" << folder.string()
            << "/record " << name << " %f\nMimeType=" << type << ";\n";
    }
    setenv("XDG_DATA_HOME", folder.c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    setenv("XDG_DATA_DIRS", (folder / "system").c_str(), 1);
    setenv("XDG_CONFIG_DIRS", (folder / "system").c_str(), 1);
    // No session bus: GIO's launch notice must fail at once instead of starting one.
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (folder / "no-bus").string()).c_str(), 1);
    unsetenv("XDG_CURRENT_DESKTOP");
    return folder;
}();

TEST(Desktop, OpensAFileWithTheApplicationForItsTypeElseThePlainTextOne) {
    for (const std::string editor : {"plain", "json"}) {
        if (editor == "json" && !fs::exists("/usr/share/mime/mime.cache")) {
            GTEST_SKIP() << "no MIME database to tell a file's type by its name (shared-mime-info)";
        }
        // Binary, so that only the editor fallback, not a look at the contents, finds plain text.
        const fs::path file = base / (editor == "json" ? "bindings.json" : "layout.ruvola-layout");
        std::ofstream(file) << "\1\2";
        ruvola::platform::makePlatform()->desktop().openInEditor(file);
        EXPECT_TRUE(ruvola::testing::waitUntil(
            [&] {
                std::ifstream record(base / ("record." + editor));
                std::string opened;
                return std::getline(record, opened) && opened == file.string();
            },
            10s))
            << editor;
    }
}

} // namespace
