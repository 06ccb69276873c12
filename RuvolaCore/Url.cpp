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

} // namespace

bool parses(std::string_view text) {
    return ParsedUri(text).valid();
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
