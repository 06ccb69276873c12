#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ruvola {

/// One broken rule of an identity: the field's name and what it must look like.
struct ContractViolation {
    std::string field;
    std::string message;

    /// "field: message", as printed at launch and by doctor.
    std::string description() const;

    bool operator==(const ContractViolation&) const = default;
};

/// A marketing version x.y.z, each part a decimal integer of zero or more.
struct SemanticVersion {
    int major;
    int minor;
    int patch;

    /// Exactly three dot-separated parts, each an optional sign then digits worth 0 to INT_MAX.
    static std::optional<SemanticVersion> parse(std::string_view text);

    auto operator<=>(const SemanticVersion&) const = default;
};

/// An operating-system version such as 14.0 or 13.5.1.
struct OperatingSystemVersion {
    int major;
    int minor;
    int patch;

    /// Two or three parts like SemanticVersion's; a missing patch is 0.
    static std::optional<OperatingSystemVersion> parse(std::string_view text);

    auto operator<=>(const OperatingSystemVersion&) const = default;
};

/// Which product this build is. The defaults are the standard identity; the bundle may override
/// the name, version, build and minimum macOS version.
struct AppIdentity {
    std::string name = "Ruvola";
    std::string slug = "ruvola";
    std::string bundleIdentifier = "ltd.fennick.ruvola";
    std::string version = "0.4.0";
    std::string build = "1";
    std::string minimumMacOS = "14.0";
    std::string tagline = "Drive a Soomfon control pad from the menu bar, no vendor software.";
    std::optional<std::string> repositoryURL = std::nullopt;
    std::string bundleNamespace = "ltd.fennick";

    /// Every broken rule, in field order; empty for a valid identity.
    std::vector<ContractViolation> violations() const;

    bool operator==(const AppIdentity&) const = default;
};

} // namespace ruvola
