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
#include <cstdio>

namespace {

const QLatin1String failure("Critical Failed to load configuration from file settings.xml");

/// What a start makes of the file.
struct Start
{
    bool told = false; ///< the message box came
    int models = 0;
    int settings = 0;
    int measurements = 0;
};

/// What is to be expected of @p beginning, by counting its whole start tags.
Start expected(const QByteArray &beginning)
{
    QString text = QString::fromUtf8(beginning);
    text.remove(QRegularExpression(QStringLiteral("<!--.*?(-->|$)"),
                                   QRegularExpression::DotMatchesEverythingOption));
    const auto count = [&text](const char *element) {
        const QString pattern = QStringLiteral("<%1\\s[^>]*>").arg(QLatin1String(element));
        return text.count(QRegularExpression(pattern));
    };
    Start start;
    start.models = count("Device");
    start.settings = count("ConfigurationItem");
    start.measurements = count("Measurement");
    start.told = start.models == 0;
    return start;
}

} // namespace

/// settings.xml, cut off behind each of its bytes.
class TestTruncatedSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void startsWithEveryBeginning();
    void cleanupTestCase();

private:
    Start start(const QByteArray &beginning);

    QByteArray m_sample;
    int m_told = 0; ///< beginnings of each kind
    int m_partial = 0;
    int m_whole = 0;
};

void TestTruncatedSettings::initTestCase()
{
    QFile sample(testpaths::sourceFile("settings.xml"));
    QVERIFY(sample.open(QIODevice::ReadOnly));
    m_sample = sample.readAll();
    QVERIFY(m_sample.size() > 1000);
}

Start TestTruncatedSettings::start(const QByteArray &beginning)
{
    const QString name = QStringLiteral("settings.xml");
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(beginning) != beginning.size()) {
        qFatal("The test's own file can't be written");
    }
    file.close();

    FakeMainWindow window;
    FakeSerialPortHandler handler;
    FakeSettings settings;
    FakeLocalStorage storage;
    MainWindowController controller(&window, &handler, &settings, &storage, nullptr);
    Start seen;
    if (!controller.start()) {
        qFatal("The program would have ended");
    }
    seen.told = window.calls.count(failure) == 1;
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

void TestTruncatedSettings::startsWithEveryBeginning()
{
    for (int size = 0; size <= m_sample.size(); ++size) {
        const QByteArray beginning = m_sample.left(size);
        const Start demanded = expected(beginning);
        const Start seen = start(beginning);
        const QByteArray where = QByteArray::number(size) + " bytes";
        QVERIFY2(seen.told == demanded.told, where.constData());
        QVERIFY2(seen.models == demanded.models, where.constData());
        QVERIFY2(seen.settings == demanded.settings, where.constData());
        QVERIFY2(seen.measurements == demanded.measurements, where.constData());
        const bool whole = demanded.models == expected(m_sample).models
            && demanded.settings == expected(m_sample).settings
            && demanded.measurements == expected(m_sample).measurements;
        ++(demanded.told ? m_told : whole ? m_whole : m_partial);
    }
}

void TestTruncatedSettings::cleanupTestCase()
{
    const auto row = [](int count, const char *words) {
        return "| " + QByteArray::number(count) + " | " + words + " | the same |\n";
    };
    const QByteArray markdown = "| Beginnings | Demanded | Seen |\n|---|---|---|\n"
        + row(m_told, "told \"Failed to load configuration from file settings.xml\"; then starts")
        + row(m_partial, "starts with the models, settings and measurements up to the cut")
        + row(m_whole, "starts with all of them");
    std::printf("\n%s", markdown.constData());
    std::fflush(stdout);
    QVERIFY(m_told + m_partial + m_whole != m_sample.size() + 1
            || ReliabilityTable::keep(QStringLiteral("truncated-settings"), markdown));
}

KV_TEST_MAIN(TestTruncatedSettings)

#include "tst_truncatedsettings.moc"
