// SPDX-License-Identifier: GPL-3.0-or-later
// Text from a device, the database or settings.xml that the windows show: in a message box, in the
// fields of the device, and in the graph's combo box, list and legend. It has to be shown as plain
// text, without delay.
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/fakelocalstorage.h"
#include "ui/mainwindow.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLegend>
#include <QtCharts/QLegendMarker>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListWidget>

namespace {

void checkBox(MainWindow &window, const QString &text)
{
    QTimer::singleShot(0, &window, [&text] {
        auto *const box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        FUZZ_ASSERT(box);
        FUZZ_ASSERT(box->textFormat() == Qt::PlainText);
        FUZZ_ASSERT(box->text() == text || box->detailedText() == text);
        box->grab();
        box->reject();
    });
    window.showMessageBox(QMessageBox::Warning, text);
}

void checkGraph(MainWindow &window, const QString &text)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(60000, Qt::UTC);
    static FakeLocalStorage storage; // the graph keeps it
    storage.calls.clear();
    DeviceDetails device;
    device.modelNumber = device.serialNumber = text;
    storage.devicesResult = {{device, 1, time, time}};
    StoredMeasurement reading;
    reading.timestamp = time;
    reading.values = {{text, true, 1.0}, {QStringLiteral("W0"), true, 2.0}};
    storage.measurementsResult = {reading, reading};
    GraphSettings settings;
    settings.from = time.addSecs(-60);
    settings.to = time.addSecs(60);
    settings.showLatest = false;
    settings.measurementTypes = QStringList{text};
    window.showGraph(device, &storage, {}, MeasurementDisplayOptions(), settings);

    for (QWidget *graph : QApplication::topLevelWidgets()) {
        const auto *const view = graph->findChild<QtCharts::QChartView *>();
        if (view && graph->isVisible()) {
            FUZZ_ASSERT(graph->findChild<QListWidget *>()->item(0)->text().startsWith(text));
            const auto markers = view->chart()->legend()->markers();
            FUZZ_ASSERT(!markers.isEmpty());
            FUZZ_ASSERT(!markers.constFirst()->label().contains(QLatin1Char('<')));
            graph->grab();
            graph->close();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static auto *const window = new MainWindow(nullptr); // never deleted, like the application
    const QString text = Fuzzing::asReceived(Fuzzing::bytesOf(data, size));
    window->setModelNumber(text);
    window->setSerialNumber(text);
    checkBox(*window, text);
    checkGraph(*window, text);
    return 0;
}
