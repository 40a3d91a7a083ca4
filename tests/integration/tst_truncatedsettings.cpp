// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/mainwindowcontroller.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/fakemainwindow.h"
#include "tests/kit/fakeserialporthandler.h"
#include "tests/kit/fakesettings.h"
#include "tests/kit/fileio.h"
#include "tests/kit/reliabilitytable.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "ui/configurationloader.h"

#include <QtCore/QRegularExpression>

namespace {

const QLatin1String failureMessage("Critical Failed to load configuration from file settings.xml");

/// The result of a start: 1 if a message box reported a failure, otherwise 0; the numbers of
/// models, settings and measurements that were loaded.
using LoadResult = QVector<int>;

/// What must be loaded from @p beginning, by counting its complete start tags.
LoadResult expected(const QByteArray &beginning)
{
    QString text = QString::fromUtf8(beginning);
    text.remove(QRegularExpression(QStringLiteral("<!--.*?(-->|$)"),
                                   QRegularExpression::DotMatchesEverythingOption));
    LoadResult result{0};
    for (const char *element : {"Device", "ConfigurationItem", "Measurement"}) {
        const QString pattern = QStringLiteral("<%1\\s[^>]*>").arg(QLatin1String(element));
        result.append(text.count(QRegularExpression(pattern)));
    }
    result[0] = result.at(1) == 0 ? 1 : 0;
    return result;
}

} // namespace

/// Starts the controller with settings.xml truncated after each byte.
class TestTruncatedSettings : public QObject
{
    Q_OBJECT

private slots:
    void loadsTheCompletePartOfEveryTruncatedFile()
    {
        QVERIFY(m_sample.size() > 1000);
        const LoadResult complete = expected(m_sample);
        for (int size = 0; size <= m_sample.size(); ++size) {
            const LoadResult result = expected(m_sample.left(size));
            QVERIFY2(start(m_sample.left(size)) == result, QByteArray::number(size).constData());
            ++(result.first() == 1 ? m_reported : result == complete ? m_complete : m_partial);
        }
    }

    void cleanupTestCase()
    {
        const auto row = [](int count, const char *description) {
            // The table is saved only if all sizes have passed.
            return QByteArrayList{QByteArray::number(count), description, "as expected"};
        };
        const QVector<QByteArrayList> rows = {
            {"Files", "Expected", "Actual"},
            row(m_reported,
                "reports \"Failed to load configuration from file settings.xml\"; then starts"),
            row(m_partial, "starts with the models, settings and measurements before the cut"),
            row(m_complete, "starts with all of them")};
        const int sizes = m_sample.size() + 1;
        if (m_reported + m_partial + m_complete == sizes) {
            QVERIFY(saveReliabilityTable(QStringLiteral("truncated-settings"), rows));
        }
    }

private:
    static LoadResult start(const QByteArray &beginning)
    {
        const QString name = QStringLiteral("settings.xml");
        if (!FileIo::write(name, beginning)) {
            qFatal("Unable to write settings.xml");
        }
        FakeMainWindow window;
        FakeSerialPortHandler handler;
        FakeSettings userSettings;
        FakeLocalStorage storage;
        MainWindowController controller(&window, &handler, &userSettings, &storage, nullptr);
        if (!controller.start()) {
            qFatal("The controller did not start");
        }
        QMap<QString, DeviceConfiguration> models;
        ConfigurationLoader().load(models, name);
        int settings = 0;
        int measurements = 0;
        for (const DeviceConfiguration &model : qAsConst(models)) {
            settings += model.configurationItems.size();
            measurements += model.measurementItems.size();
        }
        // The window shows the settings of the first model, if there is one.
        const int shown = window.configuration.configurationItems.size();
        const bool showsFirstModel =
            shown == (models.isEmpty() ? 0 : models.first().configurationItems.size());
        return {window.calls.count(failureMessage), showsFirstModel ? models.size() : -1, settings,
                measurements};
    }

    const QByteArray m_sample = FileIo::contents(TestPaths::sourceFile("settings.xml"));
    int m_reported = 0; ///< number of truncated files with each outcome
    int m_partial = 0;
    int m_complete = 0;
};

KV_TEST_MAIN(TestTruncatedSettings)

#include "tst_truncatedsettings.moc"
