// Prints what the installation reports about the running executable, one value per line.
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Platform.hpp"

#include <iostream>

int main() {
    const auto platform = ruvola::platform::makePlatform();
    const auto& installation = platform->installation();
    std::cout << installation.bundleIdentifier().value_or("none") << '\n'
              << installation.executableName() << '\n';
    return 0;
}
