#pragma once

#include <optional>
#include <span>
#include <string>

namespace ruvola {

/// One hardware model the program drives.
struct PadModel {
    std::string name;
    int vendorID;
    int productID;

    bool operator==(const PadModel&) const = default;

    /// The models the program drives: the Soomfon Stream Controller SE alone.
    static std::span<const PadModel> supported();
    /// The supported model with both identifiers, or nothing.
    static std::optional<PadModel> matching(int vendorID, int productID);
};

} // namespace ruvola
