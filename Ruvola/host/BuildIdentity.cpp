#include "Ruvola/host/BuildIdentity.hpp"

#include "BuildInfo.hpp"
#include "Ruvola/platform/Installation.hpp"

namespace ruvola {

AppIdentity buildIdentity() {
    AppIdentity identity;
    identity.version = RUVOLA_VERSION;
    identity.build = RUVOLA_BUILD;
    return identity;
}

std::filesystem::path logURL(const AppIdentity& identity,
                             const platform::Installation& installation) {
    return installation.logDirectory() / (identity.name + ".log");
}

} // namespace ruvola
