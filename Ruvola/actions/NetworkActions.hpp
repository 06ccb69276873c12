#pragma once

#include <QNetworkAccessManager>

#include <chrono>
#include <string>

namespace ruvola {

class Logging;
struct HTTPRequest;

/// Sends the web requests of network actions, fire-and-forget, and logs each outcome. Lives on
/// the main thread; replies are handled by its event loop.
///
/// Only the request's own headers are set. Qt itself still adds Host, Connection, Accept-Encoding,
/// Accept-Language, User-Agent ("Mozilla/5.0") when the request has none of them, and
/// Content-Length with a body: it treats an empty value as missing, so these can't be suppressed.
/// Redirects follow Qt's default policy (no https-to-http downgrade), as a system URL session
/// would.
class NetworkActions final {
public:
    /// `timeout` is how long a transfer may stay idle before it is abandoned.
    explicit NetworkActions(Logging& logger,
                            std::chrono::milliseconds timeout = std::chrono::seconds(15));

    NetworkActions(const NetworkActions&) = delete;
    NetworkActions& operator=(const NetworkActions&) = delete;

    /// Starts the request and returns at once. The reply is logged under `name` as
    /// "NAME: METHOD HOST → STATUS" (info, any status) or "NAME: METHOD HOST failed — WHY"
    /// (warning, transport failure); its body is ignored.
    void send(const HTTPRequest& request, const std::string& name);

private:
    Logging& logger_;
    const std::chrono::milliseconds timeout_;
    QNetworkAccessManager manager_;
};

} // namespace ruvola
