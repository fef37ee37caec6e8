// What is remembered of a shelved window, so it can be shown after its application quits.
#pragma once

#include <QImage>
#include <QRectF>
#include <QString>

#include <optional>

namespace orvella::tracking {

struct ShelfWindowInfo
{
    std::optional<QString> bundleIdentifier;
    QString appName;
    QString windowTitle;
    QImage icon;
    QString shelfID;
    QRectF bounds;
};

} // namespace orvella::tracking
