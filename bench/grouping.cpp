// How long one regrouping takes: 500 windows of 25 applications over 20 shelves, with
// stored orders, manual choices and removal marks in place. Prints a table.
#include "tracking/categorybuilder.h"
#include "tracking/identity.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace orvella::tracking;

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    constexpr int kRuns = 300;
    std::printf("%-8s | %-7s | %-10s | %-10s | %-10s\n", "windows", "shelves", "p50 ms", "p95 ms", "max ms");
    std::printf("---------+---------+------------+------------+-----------\n");
    for (const auto &[windowCount, shelfCount] :
         {std::pair{100, 5}, std::pair{500, 20}, std::pair{2000, 40}}) {
        QList<WindowItem> windows;
        TrackingState state;
        for (int s = 1; s <= shelfCount; ++s)
            state.shelfIDs.append(QStringLiteral("shelf-%1").arg(s));
        for (int i = 0; i < windowCount; ++i) {
            WindowItem w;
            w.pid = 1000 + i % 25;
            w.axIndex = i / 25;
            w.appName = QStringLiteral("App %1").arg(i % 25);
            w.bundleIdentifier = QStringLiteral("org.example.app%1").arg(i % 25);
            w.windowTitle = QStringLiteral("Document %1 — project").arg(i);
            w.windowNumber = 0x400000 + i;
            w.id = identity::baseSignature(w.owner(), w.windowNumber, w.windowTitle);
            w.bounds = QRectF(i % 40, i % 30, 800, 600);
            windows.append(w);
            // Half the windows are shelved, by id or by the user's choice; a few were removed.
            const QString shelf = state.shelfIDs[i % shelfCount];
            if (i % 4 == 0)
                state.windowCategoryAssignment.insert(w.id, shelf);
            else if (i % 4 == 1)
                state.manualShelfAssignmentByDescriptor.insert(*identity::manualShelfDescriptor(w, true),
                                                               shelf);
            else if (i % 20 == 2)
                state.explicitlyRemovedSigs.insert(w.id);
            if (i % 4 < 2)
                state.categoryWindowOrder[shelf].prepend(identity::encodeOrderEntry(w));
        }
        categoryBuilder::Options options;
        options.defaultShelfName = [](const QString &n) { return QStringLiteral("Shelf ") + n; };
        std::vector<double> ms;
        for (int run = 0; run < kRuns; ++run) {
            QElapsedTimer t;
            t.start();
            const categoryBuilder::Result result = categoryBuilder::build(windows, state, options);
            ms.push_back(double(t.nsecsElapsed()) / 1e6);
            if (result.categories.isEmpty())
                return 1;
        }
        std::sort(ms.begin(), ms.end());
        std::printf("%-8d | %-7d | %10.3f | %10.3f | %10.3f\n", windowCount, shelfCount, ms[ms.size() / 2],
                    ms[size_t(double(ms.size() - 1) * 0.95)], ms.back());
    }
    return 0;
}
