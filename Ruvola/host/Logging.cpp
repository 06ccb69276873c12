#include "Ruvola/host/Logging.hpp"

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QSaveFile>

#include <cstdint>
#include <system_error>
#include <utility>

namespace ruvola {

std::string_view name(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return "DEBUG";
    case LogLevel::info:
        return "INFO";
    case LogLevel::warning:
        return "WARNING";
    case LogLevel::error:
        return "ERROR";
    }
    return "INFO";
}

FileLogger::FileLogger(std::filesystem::path file, std::size_t maximumBytes)
    : file_(std::move(file)), maximumBytes_(maximumBytes) {}

void FileLogger::prepareFile() {
    try {
        std::error_code ignored;
        std::filesystem::create_directories(file_.parent_path(), ignored);
        // NewOnly leaves an existing file, and whatever is at the path, untouched.
        QFile file(file_);
        file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
    } catch (...) {
        // Launch goes on without a log rather than failing over it.
    }
}

void FileLogger::log(LogLevel level, std::string_view message) {
    try {
        const std::lock_guard guard(lock_);
        rotateIfNeeded();

        const std::string_view levelName = name(level);
        QByteArray line = QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toUtf8();
        line += " [";
        line.append(levelName.data(), static_cast<qsizetype>(levelName.size()));
        line += "] ";
        line.append(message.data(), static_cast<qsizetype>(message.size()));
        line += '\n';

        // ExistingOnly: a file deleted or moved away stays so until the next launch prepares one.
        // Unbuffered hands the line to the kernel in one append.
        QFile file(file_);
        if (file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::ExistingOnly |
                      QIODevice::Unbuffered)) {
            file.write(line);
        }
    } catch (...) {
        // A lost line is better than a caller that fails because of its log.
    }
}

void FileLogger::rotateIfNeeded() {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file_, error);
    if (error || size <= maximumBytes_) {
        return;
    }
    QFile current(file_);
    if (!current.open(QIODevice::ReadOnly)) {
        return;
    }
    const QByteArray contents = current.readAll();
    const auto keep = static_cast<qsizetype>(maximumBytes_ / 2);
    if (current.error() != QFileDevice::NoError || contents.size() <= keep) {
        return;
    }
    current.close();
    // Written beside the log and renamed over it, so a crash leaves either the old or the new half.
    QSaveFile cut(current.fileName());
    if (cut.open(QIODevice::WriteOnly)) {
        cut.write(contents.right(keep));
        cut.commit();
    }
}

} // namespace ruvola
