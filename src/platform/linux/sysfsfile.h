// Reading the small text files of /proc and /sys.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <optional>

namespace orvella::platform::sysfs {

/// The whole file, absent when it cannot be opened. /proc files report size 0, so this
/// reads to the end instead of trusting the size.
inline std::optional<QByteArray> readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

/// The file's first line without surrounding white space; empty when absent.
inline QString readLine(const QString &path)
{
    const std::optional<QByteArray> text = readFile(path);
    if (!text)
        return QString();
    const qsizetype newline = text->indexOf('\n');
    return QString::fromUtf8(newline < 0 ? *text : text->left(newline)).trimmed();
}

} // namespace orvella::platform::sysfs
