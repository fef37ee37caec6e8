// Finding a listed window again among its application's current windows.
#include "actions/axwindowmatch.h"

#include <cstdlib>

namespace orvella::actions {

std::optional<platform::AppWindow> findAXWindow(const tracking::WindowItem &window,
                                                const QList<platform::AppWindow> &elements)
{
    if (window.windowNumber) {
        bool numbersKnown = false;
        for (const platform::AppWindow &e : elements) {
            if (e.windowNumber == window.windowNumber)
                return e;
            numbersKnown = numbersKnown || e.windowNumber.has_value();
        }
        if (numbersKnown)
            return std::nullopt;
    }
    std::optional<platform::AppWindow> best;
    int bestDistance = 0;
    for (int i = 0; i < int(elements.size()); ++i) {
        if (elements[i].title != window.windowTitle)
            continue;
        const int distance = std::abs(i - window.axIndex);
        if (!best || distance < bestDistance) {
            best = elements[i];
            bestDistance = distance;
        }
    }
    return best;
}

std::optional<platform::AppWindow> findAXWindow(const tracking::WindowItem &window,
                                                const platform::DesktopSnapshot &snapshot)
{
    const auto elements = snapshot.windowsByPid.value(window.pid);
    if (!elements)
        return std::nullopt;
    return findAXWindow(window, *elements);
}

} // namespace orvella::actions
