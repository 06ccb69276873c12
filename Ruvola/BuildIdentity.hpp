#pragma once

#include "RuvolaCore/AppIdentity.hpp"

namespace ruvola {

/// The identity of this build: the standard identity with the version and build number the
/// build system compiled in.
AppIdentity buildIdentity();

} // namespace ruvola
