#include "BuildIdentity.hpp"

#include "BuildInfo.hpp"

namespace ruvola {

AppIdentity buildIdentity() {
    AppIdentity identity;
    identity.version = RUVOLA_VERSION;
    identity.build = RUVOLA_BUILD;
    return identity;
}

} // namespace ruvola
