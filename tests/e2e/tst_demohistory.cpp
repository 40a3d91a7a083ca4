// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/startdemo.h"
#include "tests/kit/fakemainwindow.h"
#include "tests/kit/fakeserialporthandler.h"
#include "tests/kit/fakesettings.h"
#include "tests/kit/fileio.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"

#include <QtWidgets/QPushButton>

namespace {

double valueOf(const StoredMeasurement &measurement, const QString &name)
{
    for (const MeasurementValue &value : measurement.values) {
        if (value.name == name) {
            return value.value;
        }
    }
    return qQNaN();
}

} // namespace

/// The day of history that the demo stores, followed by a reading of the simulated device.
class TestDemoHistory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const auto storedMeasurements = [this] {
            const QDateTime now = QDateTime::currentDateTimeUtc();
            return m_tool.storage.measurements(now.addDays(-2), now, 1);
        };
        QVERIFY(QFile::copy(TestPaths::sourceFile("settings.xml"), text("settings.xml")));
        QVERIFY(startDemo(m_tool, m_device, m_folder.path()));
        const int history = storedMeasurements().size();
        QCOMPARE(history, 23 * 60);
        m_tool.window.findChild<QPushButton *>(text("connectButton"))->click();
        QTRY_COMPARE_WITH_TIMEOUT((m_measurements = storedMeasurements()).size(), history + 1,
                                  60000);
        m_device.stop();
    }

    void everyValueIsExportedInItsColumn()
    {
        FakeMainWindow window;
        FakeSerialPortHandler handler;
        FakeSettings settings;
        MainWindowController controller(&window, &handler, &settings, &m_tool.storage, nullptr);
        window.dialogResult = true;
        window.saveFile = m_folder.filePath(text("day.csv"));
        const QDateTime now = QDateTime::currentDateTimeUtc();
        window.exportSelection = {now.addDays(-2), now, 1, m_tool.storage.measurementTypes(1)};
        emit window.exportLocalMeasurementsToCsvClicked();

        const QStringList lines = QString::fromUtf8(FileIo::contents(window.saveFile))
                                      .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        const QStringList headings = lines.first().split(QLatin1Char(','));
        QCOMPARE(headings.size(), 7);
        QCOMPARE(lines.size(), m_measurements.size() + 1);
        for (int row = 1; row < lines.size(); ++row) {
            const QStringList cells = lines.at(row).split(QLatin1Char(','));
            QCOMPARE(cells.size(), 1 + m_measurements.at(row - 1).values.size());
            for (int column = 1; column < cells.size(); ++column) {
                QCOMPARE(cells.at(column).toDouble(),
                         valueOf(m_measurements.at(row - 1), headings.at(column)));
            }
        }
    }

    void firstLiveReadingContinuesTheHistory()
    {
        const int liveIndex = m_measurements.size() - 1;
        for (const MeasurementValue &value : m_measurements.at(liveIndex).values) {
            const auto stepTo = [&](int index) {
                return qAbs(valueOf(m_measurements.at(index), value.name)
                            - valueOf(m_measurements.at(index - 1), value.name));
            };
            double largestStep = 0.0;
            for (int index = 1; index < liveIndex; ++index) {
                // Steps within consecutive minutes only. With a missing value (NaN) the comparison
                // is false.
                const QDateTime before = m_measurements.at(index - 1).timestamp;
                if (before.secsTo(m_measurements.at(index).timestamp) == 60
                    && stepTo(index) > largestStep) {
                    largestStep = stepTo(index);
                }
            }
            QVERIFY2(stepTo(liveIndex) <= 1.5 * largestStep, qPrintable(value.name));
        }
    }

private:
    QTemporaryDir m_folder;
    ToolObjects m_tool;
    SimulatorProcess m_device;
    QVector<StoredMeasurement> m_measurements; ///< the last one was read from the device
};

KV_TEST_MAIN(TestDemoHistory)
#include "tst_demohistory.moc"
