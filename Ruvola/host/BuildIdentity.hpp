#pragma once

#include "RuvolaCore/AppIdentity.hpp"

#include <filesystem>

namespace ruvola {

/// The identity of this build: the standard identity with the version and build number the
/// build system compiled in.
AppIdentity buildIdentity();

namespace platform {
class Installation;
}

/// The log file: the platform's log folder, and the identity's name with ".log".
std::filesystem::path logURL(const AppIdentity& identity,
                             const platform::Installation& installation);

} // namespace ruvola
