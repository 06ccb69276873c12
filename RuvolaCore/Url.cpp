#include "Url.hpp"

#include <uriparser/Uri.h>

namespace ruvola::url {
namespace {

// Owns the parser's result for the lifetime of one check.
class ParsedUri {
public:
    explicit ParsedUri(std::string_view text) {
        const char* errorPosition = nullptr;
        valid_ =
            !text.empty() && uriParseSingleUriExA(&uri_, text.data(), text.data() + text.size(),
                                                  &errorPosition) == URI_SUCCESS;
    }
    ~ParsedUri() {
        if (valid_) {
            uriFreeUriMembersA(&uri_);
        }
    }
    ParsedUri(const ParsedUri&) = delete;
    ParsedUri& operator=(const ParsedUri&) = delete;

    bool valid() const { return valid_; }
    const UriUriA& uri() const { return uri_; }

private:
    UriUriA uri_{};
    bool valid_ = false;
};

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The characters RFC 3986 lets a URL hold as they are: unreserved and reserved ones.
bool mayStand(char c) {
    const bool alphanumeric =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return alphanumeric ||
           std::string_view("-._~:/?#[]@!$&'()*+,;=").find(c) != std::string_view::npos;
}

std::string percentEncoded(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    bool fragment = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool startsEscape =
            c == '%' && i + 2 < text.size() && isHexDigit(text[i + 1]) && isHexDigit(text[i + 2]);
        const bool secondHash = c == '#' && fragment;
        fragment = fragment || c == '#';
        if (startsEscape || (mayStand(c) && !secondHash)) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += '%';
            encoded += digits[byte >> 4];
            encoded += digits[byte & 0x0F];
        }
    }
    return encoded;
}

} // namespace

std::optional<std::string> permissive(std::string_view text) {
    std::string encoded = percentEncoded(text);
    if (!ParsedUri(encoded).valid()) {
        return std::nullopt;
    }
    return encoded;
}

std::optional<std::string> scheme(std::string_view text) {
    const ParsedUri parsed(text);
    const UriTextRangeA& range = parsed.uri().scheme;
    if (!parsed.valid() || range.first == nullptr || range.afterLast == range.first) {
        return std::nullopt;
    }
    return std::string(range.first, range.afterLast);
}

} // namespace ruvola::url
