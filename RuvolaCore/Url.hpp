#pragma once

#include <optional>
#include <string>
#include <string_view>

// URL checks on top of uriparser (RFC 3986), kept behind this header so the rest of the core
// never sees the parser's C types.
namespace ruvola::url {

/// The text as a URL, read permissively: characters a URL may not hold as they stand (a space, a
/// letter beyond ASCII, `|`, `{}`, a `%` that starts no escape, a second `#`, …) are
/// percent-encoded first. Nothing when even then it is no URL or relative URL reference, or
/// when it is empty.
std::optional<std::string> permissive(std::string_view text);

/// The scheme as written when the text is an absolute URL, or nothing.
std::optional<std::string> scheme(std::string_view text);

} // namespace ruvola::url
