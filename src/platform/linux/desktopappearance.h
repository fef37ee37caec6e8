// The desktop's light/dark preference and its change broadcast.
#pragma once

#include <QObject>

#include <optional>

class QDBusVariant;

namespace orvella::platform {

/**
 * Reads `org.freedesktop.appearance color-scheme` from the XDG desktop portal (an
 * asynchronous call: start-up never waits on D-Bus) and follows its SettingChanged
 * signal. changed() also fires on application palette changes, the broadcast Qt
 * sends when the platform theme switches.
 */
class DesktopAppearance : public QObject
{
    Q_OBJECT
public:
    explicit DesktopAppearance(QObject *parent = nullptr);

    /// True: prefers dark; false: prefers light; absent: no portal or no preference.
    std::optional<bool> prefersDark() const { return m_prefersDark; }

    /// Interprets a color-scheme value (1 dark, 2 light, anything else no preference).
    static std::optional<bool> fromColorScheme(uint value);

signals:
    void changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void onSettingChanged(const QString &ns, const QString &key, const QDBusVariant &value);

private:
    void update(std::optional<bool> prefersDark);

    std::optional<bool> m_prefersDark;
};

} // namespace orvella::platform
