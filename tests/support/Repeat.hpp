#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace ruvola::testing {

/// How many descriptors this process has open.
inline long openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// Runs `cycle(n)` for n from 0 to `count`, stopping at the first failure, and expects the last
/// nine tenths to leave no descriptor open and resident memory within a megabyte: repeating
/// anything the program does again and again must not leak.
inline void repeatWithoutGrowth(int count, const std::function<void(int)>& cycle) {
    const auto kilobytes = [] {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmRSS:")) {
                return std::stol(line.substr(6));
            }
        }
        return -1L;
    };
    long openBefore = 0;
    [[maybe_unused]] long residentBefore = 0;
    for (int n = 0; n < count && !::testing::Test::HasFailure(); ++n) {
        if (n == count / 10) {
            openBefore = openDescriptors();
            residentBefore = kilobytes();
        }
        cycle(n);
    }
    EXPECT_EQ(openDescriptors() - openBefore, 0) << "descriptors left open";
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers hold freed blocks back, so memory grows without a leak; they check leaks.
    EXPECT_LE(kilobytes() - residentBefore, 1024) << "kB of resident memory grown";
#endif
}

} // namespace ruvola::testing
