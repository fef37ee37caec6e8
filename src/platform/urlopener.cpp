// Opening a web address in the user's browser.
#include "platform/urlopener.h"

#include "logging.h"

#include <QDesktopServices>
#include <QProcess>

namespace orvella::platform::urlOpener {

bool open(const QUrl &url)
{
    // A feed or a setting decides the address: never let it name a local program or file.
    if (!url.isValid() || (url.scheme() != QLatin1String("https") && url.scheme() != QLatin1String("http"))) {
        qCWarning(lcPlatform).noquote()
            << "[OV] Not opening an address that is not a web page:" << url.toString();
        return false;
    }
    if (QDesktopServices::openUrl(url))
        return true;
    qCWarning(lcPlatform).noquote() << "[OV] The desktop could not open" << url.toString();
    return false;
}

bool openMail(const QUrl &mailto)
{
    if (!mailto.isValid() || mailto.scheme() != QLatin1String("mailto")) {
        qCWarning(lcPlatform).noquote() << "[OV] Not a mail address:" << mailto.toString();
        return false;
    }
    if (QProcess::startDetached(QStringLiteral("xdg-open"), {mailto.toString(QUrl::FullyEncoded)}))
        return true;
    qCWarning(lcPlatform) << "[OV] xdg-open could not be started for the mail program";
    return false;
}

} // namespace orvella::platform::urlOpener
