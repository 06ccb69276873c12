#include "Ruvola/actions/NetworkActions.hpp"

#include "Ruvola/host/Logging.hpp"
#include "RuvolaCore/PadAction.hpp"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

namespace ruvola {

NetworkActions::NetworkActions(Logging& logger, std::chrono::milliseconds timeout)
    : logger_(logger), timeout_(timeout) {}

void NetworkActions::send(const HTTPRequest& request, const std::string& name) {
    const QUrl url(QString::fromStdString(request.url));
    QNetworkRequest outgoing(url);
    outgoing.setTransferTimeout(static_cast<int>(timeout_.count()));
    // No cookies kept or sent: a request carries only the headers its binding gives.
    outgoing.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    outgoing.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    for (const auto& [field, value] : request.headers) {
        outgoing.setRawHeader(QByteArray::fromStdString(field), QByteArray::fromStdString(value));
    }
    // Some servers answer 411 to a POST that doesn't say its body is empty.
    if (!request.body && request.method != "GET" && request.method != "HEAD") {
        outgoing.setHeader(QNetworkRequest::ContentLengthHeader, 0);
    }

    // A custom verb keeps Qt from adding a default Content-Type to a POST.
    const QByteArray verb = QByteArray::fromStdString(request.method);
    QNetworkReply* reply =
        request.body
            ? manager_.sendCustomRequest(outgoing, verb, QByteArray::fromStdString(*request.body))
            : manager_.sendCustomRequest(outgoing, verb);

    const std::string prefix =
        name + ": " + request.method + " " + url.host(QUrl::FullyEncoded).toStdString();
    // Captures the logger, not `this`: replies still pending die with the manager.
    Logging& logger = logger_;
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply, prefix, &logger] {
        reply->deleteLater();
        const QNetworkReply::NetworkError error = reply->error();
        const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        // Qt also reports 4xx and 5xx as errors; codes below 200 are network and proxy failures.
        const bool transportFailure =
            error != QNetworkReply::NoError &&
            (error < QNetworkReply::ContentAccessDenied || !status.isValid());
        if (transportFailure) {
            // Nothing here aborts a reply, so a cancelled one ran into the transfer time-out.
            const std::string description = error == QNetworkReply::OperationCanceledError
                                                ? "The request timed out."
                                                : reply->errorString().toStdString();
            logger.warning(prefix + " failed \u2014 " + description);
        } else if (status.isValid()) {
            logger.info(prefix + " \u2192 " + std::to_string(status.toInt()));
        }
    });
}

} // namespace ruvola
