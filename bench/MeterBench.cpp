// 128 probe status meters open (offscreen platform): what redrawing them
// after a cycle costs the event loop, when every reading changed and when
// none did.
#include "bench/BenchSupport.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeStatusWindows.h"
#include "ui/MessageBoxPrompter.h"
#include "ui/Prompter.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace cz;

int main(int argc, char **argv)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    bench::FolderStore folder(8);
    DeviceStore &store = folder.store;
    MessageBoxPrompter prompter;
    DeviceListPage page(store, prompter);
    page.show();
    for (int slot = 0; slot < store.deviceCount(); ++slot)
        for (int i = 0; i < 16; ++i)
            page.statusWindows().open(*store.device(slot)->probe(i));
    QApplication::processEvents();
    std::printf("meters open: %d\n", page.statusWindows().openCount());

    auto cycle = [&](bool change, int run) {
        if (change)
            for (int slot = 0; slot < store.deviceCount(); ++slot)
                for (int i = 0; i < 16; ++i)
                    store.deviceForUpdate(slot)->probe(i)->CurrentTemp = 45 + (run + i) % 30;
        QElapsedTimer t;
        t.start();
        page.statusWindows().refresh();
        QApplication::processEvents();  // the repaints
        return double(t.nsecsElapsed()) / 1e6;
    };
    std::vector<double> changed, unchanged;
    for (int run = 0; run < 21; ++run) {
        changed.push_back(cycle(true, run));
        unchanged.push_back(cycle(false, run));
    }
    std::printf("128 meters after a cycle that changed every reading: median %.2f ms (target < 10); "
                "nothing changed: median %.2f ms\n",
                bench::median(changed), bench::median(unchanged));
    return 0;
}
