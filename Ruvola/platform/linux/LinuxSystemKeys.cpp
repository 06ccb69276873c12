#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"

namespace ruvola::platform {

void LinuxSystemKeys::press(Key, bool, Tap) {}

} // namespace ruvola::platform
