// The probe list with 256 devices of 16 probes shown in the window (offscreen
// platform): how long a refresh takes after a walk changed every probe's
// reading and every device's contact time, and after a walk that changed
// nothing.
#include "bench/BenchSupport.h"
#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeTableModel.h"
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
    bench::FolderStore folder(kMaxDevices);
    DeviceStore &state = folder.store;
    MessageBoxPrompter prompter;
    DeviceListPage page(state, prompter);
    page.resize(1200, 800);
    page.show();
    QApplication::processEvents();

    std::vector<double> changed, unchanged;
    for (int run = 0; run < 21; ++run) {
        for (int slot = 0; slot < state.deviceCount(); ++slot) {
            DeviceRecord &d = *state.deviceForUpdate(slot);
            d.LastContactTimeVal += 5;
            d.markChanged("LastContactTimeVal");
            for (int i = 0; i < d.ProbeCount; ++i) {
                ProbeRecord &p = *d.probe(i);
                p.CurrentTemp = 70 + run % 3;
                p.CurrentValueText = QByteArray::number(p.CurrentTemp, 'f', 1);
                p.markChanged("CurrentTemp");
            }
        }
        QElapsedTimer timer;
        timer.start();
        page.refresh();
        QApplication::processEvents(); // the repaint it caused
        changed.push_back(double(timer.nsecsElapsed()) / 1e6);
        timer.restart();
        page.refresh();
        QApplication::processEvents();
        unchanged.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::printf("probe list, %d rows x %d columns shown\n", page.model().rowCount(), page.model().columnCount());
    std::printf("  refresh after a walk that changed every reading, with the repaint: %.2f ms median (target under 10 ms)\n",
                bench::median(changed));
    std::printf("  refresh after a walk that changed nothing: %.2f ms median\n", bench::median(unchanged));
    return 0;
}
