#include "AppIdentity.hpp"

#include "Unicode.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace ruvola {
namespace {

constexpr std::string_view nameMessage =
    "must begin uppercase and contain letters, digits, or spaces";
constexpr std::string_view slugMessage = "must match [a-z][a-z0-9-]*";
constexpr std::string_view bundleIdentifierMessage = "must be ";
constexpr std::string_view versionMessage = "must be semantic x.y.z";
constexpr std::string_view buildMessage = "must be a positive integer";
constexpr std::string_view minimumMacOSMessage = "must look like 12.0";
constexpr std::string_view taglineMessage = "must not be empty";

bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// ^[A-Z][A-Za-z0-9 ]*$ against the whole text; a trailing newline does not match.
bool isValidName(std::string_view text) {
    return !text.empty() && isUpper(text.front()) &&
           std::all_of(text.begin() + 1, text.end(),
                       [](char c) { return isUpper(c) || isLower(c) || isDigit(c) || c == ' '; });
}

// ^[a-z][a-z0-9-]*$ against the whole text.
bool isValidSlug(std::string_view text) {
    return !text.empty() && isLower(text.front()) &&
           std::all_of(text.begin() + 1, text.end(),
                       [](char c) { return isLower(c) || isDigit(c) || c == '-'; });
}

std::string_view withoutSign(std::string_view text) {
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        text.remove_prefix(1);
    }
    return text;
}

// An optional sign then ASCII digits, worth zero or more: "+0" and "-0" pass, "-1" does not.
bool isNonNegativeInteger(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    const std::string_view digits = withoutSign(text);
    return !digits.empty() && std::all_of(digits.begin(), digits.end(), isDigit) &&
           (!negative ||
            std::all_of(digits.begin(), digits.end(), [](char c) { return c == '0'; }));
}

// A part too large for an int is rejected rather than wrapped: no real version gets there.
std::optional<int> versionPart(std::string_view text) {
    if (!isNonNegativeInteger(text)) {
        return std::nullopt;
    }
    const std::string_view digits = withoutSign(text);
    int value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec != std::errc()) {
        return std::nullopt;
    }
    return value;
}

// Splits at every dot, keeping empty pieces, into at least `fewest` and at most three parts; the
// missing ones are 0.
std::optional<std::array<int, 3>> dottedParts(std::string_view text, std::size_t fewest) {
    std::array<int, 3> parts{};
    std::size_t count = 0;
    for (;;) {
        if (count == parts.size()) {
            return std::nullopt;
        }
        const std::size_t dot = text.find('.');
        const auto part = versionPart(text.substr(0, dot));
        if (!part) {
            return std::nullopt;
        }
        parts[count++] = *part;
        if (dot == std::string_view::npos) {
            break;
        }
        text.remove_prefix(dot + 1);
    }
    if (count < fewest) {
        return std::nullopt;
    }
    return parts;
}

} // namespace

std::string ContractViolation::description() const {
    return field + ": " + message;
}

std::optional<SemanticVersion> SemanticVersion::parse(std::string_view text) {
    const auto parts = dottedParts(text, 3);
    if (!parts) {
        return std::nullopt;
    }
    return SemanticVersion{(*parts)[0], (*parts)[1], (*parts)[2]};
}

std::optional<OperatingSystemVersion> OperatingSystemVersion::parse(std::string_view text) {
    const auto parts = dottedParts(text, 2);
    if (!parts) {
        return std::nullopt;
    }
    return OperatingSystemVersion{(*parts)[0], (*parts)[1], (*parts)[2]};
}

std::vector<ContractViolation> AppIdentity::violations() const {
    std::vector<ContractViolation> found;
    const auto check = [&found](bool valid, std::string_view field, std::string_view message,
                                std::string_view detail = {}) {
        if (!valid) {
            found.push_back({std::string(field), std::string(message) + std::string(detail)});
        }
    };
    const std::string expectedIdentifier = bundleNamespace + "." + slug;

    check(isValidName(name), "name", nameMessage);
    check(isValidSlug(slug), "slug", slugMessage);
    check(bundleIdentifier == expectedIdentifier, "bundleIdentifier", bundleIdentifierMessage,
          expectedIdentifier);
    check(SemanticVersion::parse(version).has_value(), "version", versionMessage);
    // Compared as text: "00" and "+0" pass although they are worth zero. No length limit.
    check(isNonNegativeInteger(build) && build != "0", "build", buildMessage);
    check(OperatingSystemVersion::parse(minimumMacOS).has_value(), "minimumMacOS",
          minimumMacOSMessage);
    check(!unicode::trimmedWhitespaceAndNewlines(tagline).empty(), "tagline", taglineMessage);
    return found;
}

} // namespace ruvola
