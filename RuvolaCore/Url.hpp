#pragma once

#include <optional>
#include <string>
#include <string_view>

// URL checks on top of uriparser (RFC 3986), kept behind this header so the rest of the core
// never sees the parser's C types.
namespace ruvola::url {

/// True when the text is a URL or a relative URL reference; an empty text is not.
bool parses(std::string_view text);

/// The scheme as written when the text is an absolute URL, or nothing.
std::optional<std::string> scheme(std::string_view text);

} // namespace ruvola::url
