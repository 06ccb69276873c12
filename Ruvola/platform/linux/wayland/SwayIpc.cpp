#include "Ruvola/platform/linux/wayland/SwayIpc.hpp"

#include "Ruvola/platform/linux/FileDescriptor.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace ruvola::platform {

namespace {

constexpr std::string_view magic = "i3-ipc";
constexpr std::uint32_t runCommand = 0;
constexpr std::uint32_t getTree = 4;
// sway answers at once; a sway that hangs must not hang the caller with it.
constexpr timeval patience{2, 0};

bool writeAll(int socket, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

bool readAll(int socket, char* into, std::size_t size) {
    std::size_t got = 0;
    while (got < size) {
        const ssize_t count = ::recv(socket, into + got, size - got, 0);
        if (count <= 0) {
            return false;
        }
        got += static_cast<std::size_t>(count);
    }
    return true;
}

void collectViews(const QJsonObject& node, bool inScratchpad, std::vector<SwayIpc::View>& views) {
    // Hidden scratchpad windows sit on a workspace of their own, "__i3_scratch".
    inScratchpad = inScratchpad || (node["type"].toString() == "workspace" &&
                                    node["name"].toString() == "__i3_scratch");
    if (node.contains("shell")) {
        const QJsonValue appId = node["app_id"];
        views.push_back({
            .id = node["id"].toInteger(),
            .appId = (appId.isString() ? appId.toString()
                                       : node["window_properties"]["class"].toString())
                         .toStdString(),
            .hidden = inScratchpad,
            .floating = node["type"].toString() == "floating_con",
        });
    }
    for (const char* children : {"nodes", "floating_nodes"}) {
        for (const QJsonValue child : node[children].toArray()) {
            collectViews(child.toObject(), inScratchpad, views);
        }
    }
}

} // namespace

std::optional<SwayIpc> SwayIpc::fromEnvironment() {
    const char* path = std::getenv("SWAYSOCK");
    if (path == nullptr || *path == '\0') {
        return std::nullopt;
    }
    return SwayIpc(path);
}

std::optional<std::string> SwayIpc::request(std::uint32_t type, std::string_view payload) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socketPath_.size() >= sizeof(address.sun_path)) {
        return std::nullopt;
    }
    std::memcpy(address.sun_path, socketPath_.data(), socketPath_.size());
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0 ||
        ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0 ||
        ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) != 0 ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return std::nullopt;
    }
    // Header: the magic, then the payload's length and the message type in native byte order.
    const auto length = static_cast<std::uint32_t>(payload.size());
    std::string message(magic);
    message.append(reinterpret_cast<const char*>(&length), sizeof length);
    message.append(reinterpret_cast<const char*>(&type), sizeof type);
    message.append(payload);
    std::array<char, magic.size() + 2 * sizeof(std::uint32_t)> header{};
    if (!writeAll(socket.get(), message) || !readAll(socket.get(), header.data(), header.size()) ||
        std::string_view(header.data(), magic.size()) != magic) {
        return std::nullopt;
    }
    std::uint32_t replyLength = 0;
    std::memcpy(&replyLength, header.data() + magic.size(), sizeof replyLength);
    std::string reply(replyLength, '\0');
    if (!readAll(socket.get(), reply.data(), reply.size())) {
        return std::nullopt;
    }
    return reply;
}

bool SwayIpc::run(const std::string& commands) const {
    const auto reply = request(runCommand, commands);
    if (!reply) {
        return false;
    }
    // One result per command: {"success": bool, ...}.
    const QJsonArray results = QJsonDocument::fromJson(QByteArray::fromStdString(*reply)).array();
    bool succeeded = !results.isEmpty();
    for (const QJsonValue result : results) {
        succeeded = succeeded && result["success"].toBool();
    }
    return succeeded;
}

std::optional<std::vector<SwayIpc::View>> SwayIpc::views() const {
    const auto reply = request(getTree, {});
    if (!reply) {
        return std::nullopt;
    }
    const QJsonDocument tree = QJsonDocument::fromJson(QByteArray::fromStdString(*reply));
    if (!tree.isObject()) {
        return std::nullopt;
    }
    std::vector<View> views;
    collectViews(tree.object(), false, views);
    return views;
}

} // namespace ruvola::platform
