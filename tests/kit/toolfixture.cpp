// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/toolfixture.h"

#include "common/measurementtypeutils.h"
#include "tests/kit/screenshots.h"
#include "tests/kit/uicoveragerecorder.h"
#include "ui/configurationloader.h"

namespace {

constexpr int failedTestCheckMs = 200;

/// If a check fails in the answer to a dialog, the dialog stays open and would block the test.
void closeDialogOfFailedTest()
{
    auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (dialog != nullptr && QTest::currentTestFailed()) {
        dialog->reject();
    }
}

} // namespace

void ToolFixture::prepareApplication()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setQuitOnLastWindowClosed(false);
    UiCoverageRecorder::reset();
    new UiCoverageRecorder(qApp);
    QFile::remove(text("settings.xml"));
    QVERIFY(QFile::copy(TestPaths::sourceFile("settings.xml"), text("settings.xml")));
}

void ToolFixture::beginTestFunction(const QString &folder)
{
    m_journalRead = 0;
    m_folder = folder.isEmpty() ? std::make_unique<QTemporaryDir>() : nullptr;
    m_path = folder;
    m_device = std::make_unique<SimulatorProcess>();
    m_dialogs = std::make_unique<DialogDriver>();
    m_dialogs->onDialogShown = takeScreenshot;
    m_failedTestDialogCloser = std::make_unique<QTimer>();
    connect(m_failedTestDialogCloser.get(), &QTimer::timeout, closeDialogOfFailedTest);
    m_failedTestDialogCloser->start(failedTestCheckMs);
    QSettings settings(text("Orvanta"), text("Kv tool"));
    settings.clear();
    settings.setValue(text("local storage path"), this->folder());
}

void ToolFixture::endTestFunction()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        takeScreenshot(widget);
    }
    deleteTool();
    const QString unmetExpectations = m_dialogs->unmetExpectations();
    m_failedTestDialogCloser.reset();
    m_dialogs.reset();
    m_device.reset();
    m_folder.reset();
    QCOMPARE(unmetExpectations, QString());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

bool ToolFixture::startDevice(const QStringList &options)
{
    const QStringList fast{text("--rate"),      text("0"),  text("--write-ms"),  text("20"),
                           text("--reboot-ms"), text("20"), text("--boot-wait"), text("300"),
                           text("--log-rows"),  text("5"),  text("--journal"),   journalPath()};
    return m_device->start(fast + options);
}

bool ToolFixture::startExistingTool()
{
    if (!m_tool->controller.start()) {
        return false;
    }
    addAndSelectPort(m_device->port());
    window().show();
    window().activateWindow();
    return QTest::qWaitForWindowActive(&window());
}

bool ToolFixture::startPolling(const QStringList &options, int intervalMs)
{
    if (!startDevice(options) || !startTool()) {
        return false;
    }
    m_tool->controller.setMeasurementInterval(intervalMs);
    return connectByClick();
}

void ToolFixture::deleteTool()
{
    m_tool.reset();
    // The program keeps the connection until its process ends.
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
}

void ToolFixture::addAndSelectPort(const QString &path)
{
    if (!path.isEmpty()) {
        m_tool->addAndSelectPort(path, path);
    }
}

int ToolFixture::runEventLoop(const std::function<void()> &steps)
{
    QApplication::setQuitOnLastWindowClosed(true);
    QTimer::singleShot(0, &window(), [=] {
        steps();
        if (QTest::currentTestFailed()) {
            QCoreApplication::exit(1);
        }
    });
    const int code = QApplication::exec();
    QApplication::setQuitOnLastWindowClosed(false);
    return code;
}

bool ToolFixture::connectByClick()
{
    QCoreApplication::processEvents(); // so that the reading of an earlier poll is stored
    const int readings = storedReadings();
    return click("connectButton") && waitFor([this] { return isConnected(); })
        && waitFor([=] { return storedReadings() > readings; });
}

QMetaObject::Connection ToolFixture::atProgress(int percentage, const std::function<void()> &action)
{
    const auto isDone = std::make_shared<bool>(false);
    const auto runOnce = [=](int value) {
        if (value >= percentage && !*isDone) {
            *isDone = true;
            action();
        }
    };
    // Queued, because the action may press Cancel, which must not happen inside valueChanged().
    return connect(progressBar(), &QProgressBar::valueChanged, progressBar(), runOnce,
                   Qt::QueuedConnection);
}

bool ToolFixture::waitUntilIdle()
{
    return waitFor([this] {
        const bool wasIdle = isIdle();
        QCoreApplication::processEvents();
        return wasIdle && isIdle();
    });
}

void ToolFixture::prepareAnswers(const QByteArray &button)
{
    const QMap<QByteArray, QString> questions{
        {"writeToEepromButton", text("Are you sure you want to write settings to EEPROM?")},
        {"updateFirmwareButton", text("Are you sure you wish to continue?")}};
    const QMap<QByteArray, QString> captions{
        {"backupEepromButton", text("Select where to write eeprom backup")},
        {"restoreEepromButton", text("Select eeprom backup file")},
        {"updateFirmwareButton", text("Select firmware file")}};
    const QMap<QByteArray, int> bytesToRead{{"restoreEepromButton", 65536},
                                            {"updateFirmwareButton", 16 * 2000}};
    if (questions.contains(button)) {
        dialogs().answerMessageBox(questions.value(button), text("Yes"));
    }
    if (captions.contains(button)) {
        dialogs().answerFileDialog(captions.value(button), chosenFile());
    }
    if (bytesToRead.contains(button)) {
        QVERIFY(write(chosenFile(), QByteArray(bytesToRead.value(button), 'j')));
    }
}

QString ToolFixture::chooseFileInRemovedFolder(const QString &caption)
{
    const QString folder = file(text("no-folder"));
    const QString path = folder + text("/file.csv");
    dialogs().answerDialog(caption, [=](QDialog *dialog) {
        QVERIFY(QDir().mkdir(folder));
        dialog->findChild<QLineEdit *>(text("fileNameEdit"))->setText(path);
        QVERIFY(QDir().rmdir(folder));
        dialog->done(QDialog::Accepted);
    });
    return path;
}

bool ToolFixture::waitForReadings()
{
    table()->item(0, 1)->setText(QString());
    const int readings = storedReadings();
    return waitFor([=] { return storedReadings() >= readings + 2; })
        && !table()->item(0, 1)->text().isEmpty();
}

QTableWidgetItem *ToolFixture::setting(const char *alias)
{
    constexpr int aliasColumn = 1;
    constexpr int valueColumn = 2;
    for (int row = 0; row < editor()->rowCount(); ++row) {
        if (editor()->item(row, aliasColumn)->text() == QLatin1String(alias)) {
            return editor()->item(row, valueColumn);
        }
    }
    return nullptr;
}

QMap<QString, QString> ToolFixture::shownValues()
{
    constexpr int rawNameRole = Qt::UserRole + 4;
    QMap<QString, QString> values;
    for (int row = 0; row < table()->rowCount(); ++row) {
        values.insert(table()->item(row, 0)->data(rawNameRole).toString(),
                      table()->item(row, 1)->text());
    }
    return values;
}

QMap<QString, QString> ToolFixture::expectedValues()
{
    QMap<QString, DeviceConfiguration> models;
    ConfigurationLoader().load(models, text("settings.xml"));
    const auto items = models.value(fieldText("modelNumber")).measurementItems;
    const MeasurementDisplayOptions options;
    QMap<QString, QString> values = device().measurementValues();
    for (auto value = values.begin(); value != values.end(); ++value) {
        const double number = MeasurementTypeUtils::convertToDisplayUnit(
            value->toDouble(), value.key(), options, items);
        const QString unit = MeasurementTypeUtils::displayUnitText(value.key(), items, options);
        *value = text("%1 %2").arg(number).arg(unit);
    }
    return values;
}

QStringList ToolFixture::deviceValues()
{
    QStringList texts;
    const QMap<QString, QString> values = device().measurementValues();
    for (auto value = values.begin(); value != values.end(); ++value) {
        texts.append(text("%1|%2").arg(value.key()).arg(value->toDouble(), 0, 'f', 2));
    }
    return texts;
}

QStringList ToolFixture::lastStoredValues() const
{
    return sqliteOutput(
        text("select t.name, printf('%.2f', v.value) from measurement_value v join "
             "measurement_type t on t.id = v.measurement_type_id where v.measurement_id "
             "= (select max(id) from measurement_metadata) order by t.name"));
}

bool ToolFixture::csvMatchesDatabase(const QString &csv, const QString &type, const QDateTime &from,
                                     const QDateTime &to, double factor, double offset) const
{
    constexpr int allDigits = 17;
    QProcess python;
    python.start(text("python3"),
                 {TestPaths::sourceFile("tests/kit/comparecsvwithdatabase.py"), csv, storePath(),
                  type, QString::number(factor, 'g', allDigits), QString::number(offset),
                  QString::number(from.toMSecsSinceEpoch()),
                  QString::number(to.toMSecsSinceEpoch())});
    const bool isEqual = python.waitForFinished(waitMs) && python.exitCode() == 0;
    if (!isEqual) {
        qWarning() << python.readAllStandardOutput() << python.readAllStandardError();
    }
    return isEqual;
}

QStringList ToolFixture::sqliteOutput(const QString &query) const
{
    QProcess client;
    client.start(text("sqlite3"), {text("-readonly"), storePath(), query});
    client.waitForFinished();
    return QString::fromUtf8(client.readAllStandardOutput())
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

int ToolFixture::storedReadings() const
{
    const QString connection = text("observer");
    int count = 0;
    if (QFile::exists(storePath())) {
        QSqlDatabase store = QSqlDatabase::addDatabase(text("QSQLITE"), connection);
        store.setDatabaseName(storePath());
        store.setConnectOptions(text("QSQLITE_OPEN_READONLY"));
        store.open();
        QSqlQuery query(text("select count(*) from measurement_metadata"), store);
        count = query.next() ? query.value(0).toInt() : 0;
    }
    QSqlDatabase::removeDatabase(connection);
    return count;
}

QStringList ToolFixture::commands() const
{
    const QByteArray command = "command ";
    QStringList found;
    for (const QByteArray &line : contents(journalPath()).mid(m_journalRead).split('\n')) {
        if (line.startsWith(command)) {
            found.append(QString::fromLatin1(line.mid(command.size())));
        }
    }
    return found;
}
