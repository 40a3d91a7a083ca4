// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/mainwindowcontroller.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/fakemainwindow.h"
#include "tests/kit/fakeserialporthandler.h"
#include "tests/kit/fakesettings.h"
#include "tests/kit/reliabilitytable.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "ui/configurationloader.h"

#include <QtCore/QRegularExpression>

namespace {

const QLatin1String failure("Critical Failed to load configuration from file settings.xml");

/// What the program has loaded after a start.
struct LoadResult
{
    bool isReported = false; ///< as a failure, by a message box
    int models = 0;
    int settings = 0;
    int measurements = 0;

    bool operator==(const LoadResult &other) const
    {
        return isReported == other.isReported && models == other.models
            && settings == other.settings && measurements == other.measurements;
    }
};

/// What must be loaded from @p beginning, by counting its complete start tags.
LoadResult expected(const QByteArray &beginning)
{
    QString text = QString::fromUtf8(beginning);
    text.remove(QRegularExpression(QStringLiteral("<!--.*?(-->|$)"),
                                   QRegularExpression::DotMatchesEverythingOption));
    const auto count = [&text](const char *element) {
        const QString pattern = QStringLiteral("<%1\\s[^>]*>").arg(QLatin1String(element));
        return text.count(QRegularExpression(pattern));
    };
    LoadResult result;
    result.models = count("Device");
    result.settings = count("ConfigurationItem");
    result.measurements = count("Measurement");
    result.isReported = result.models == 0;
    return result;
}

} // namespace

/// Starts with settings.xml cut off after each of its bytes.
class TestTruncatedSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile sample(testpaths::sourceFile("settings.xml"));
        QVERIFY(sample.open(QIODevice::ReadOnly));
        m_sample = sample.readAll();
        QVERIFY(m_sample.size() > 1000);
    }

    void loadsTheCompletePartOfEveryTruncatedFile()
    {
        const LoadResult complete = expected(m_sample);
        for (int size = 0; size <= m_sample.size(); ++size) {
            const QByteArray beginning = m_sample.left(size);
            const LoadResult result = expected(beginning);
            QVERIFY2(start(beginning) == result, QByteArray::number(size).constData());
            ++(result.isReported ? m_reported : result == complete ? m_complete : m_partial);
        }
    }

    void cleanupTestCase()
    {
        const auto row = [](int count, const char *words) {
            return "| " + QByteArray::number(count) + " | " + words + " | the same |\n";
        };
        const QByteArray markdown = "| Beginnings | Expected | Seen |\n|---|---|---|\n"
            + row(m_reported,
                  "reports \"Failed to load configuration from file settings.xml\"; then starts")
            + row(m_partial, "starts with the models, settings and measurements before the cut")
            + row(m_complete, "starts with all of them");
        QVERIFY(m_reported + m_partial + m_complete != m_sample.size() + 1
                || ReliabilityTable::save(QStringLiteral("truncated-settings"), markdown));
    }

private:
    static LoadResult start(const QByteArray &beginning)
    {
        const QString name = QStringLiteral("settings.xml");
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(beginning) != beginning.size()) {
            qFatal("Unable to write the test's file");
        }
        file.close();

        FakeMainWindow window;
        FakeSerialPortHandler handler;
        FakeSettings settings;
        FakeLocalStorage storage;
        MainWindowController controller(&window, &handler, &settings, &storage, nullptr);
        LoadResult seen;
        if (!controller.start()) {
            qFatal("The program did not start");
        }
        seen.isReported = window.calls.count(failure) == 1;
        QMap<QString, DeviceConfiguration> models;
        ConfigurationLoader().load(models, name);
        seen.models = models.size();
        for (const DeviceConfiguration &model : qAsConst(models)) {
            seen.settings += model.configurationItems.size();
            seen.measurements += model.measurementItems.size();
        }
        // The window has the first model, if there is one.
        const int shown = window.configuration.configurationItems.size();
        if (shown != (models.isEmpty() ? 0 : models.first().configurationItems.size())) {
            seen.models = -1;
        }
        return seen;
    }

    QByteArray m_sample;
    int m_reported = 0; ///< beginnings of each kind
    int m_partial = 0;
    int m_complete = 0;
};

KV_TEST_MAIN(TestTruncatedSettings)

#include "tst_truncatedsettings.moc"
