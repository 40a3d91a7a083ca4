// SPDX-License-Identifier: GPL-3.0-or-later
// The user actions, and the checks of what they have done.
#include "tests/e2e/faultinjectiontest.h"

#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QListWidget>

namespace {

constexpr int memoryBytes = 65536;
constexpr int blockBytes = 64;
constexpr int imageBytes = 65535;

QByteArray restoreImage()
{
    QByteArray all(memoryBytes, '\0');
    quint32 state = 12345;
    for (char &byte : all) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return all;
}

} // namespace

QByteArray FaultInjectionTest::firmwareImage()
{
    return QByteArray(40, 'i'); // three blocks, the last one short
}

void FaultInjectionTest::perform()
{
    switch (m_action) {
    case Connect:
        click("connectButton");
        break;
    case Poll:
        poll();
        if (m_fault == FaultKind::GluedReplies
            && waitFor([this] { return commandCount("show meas$") == 1; })) {
            m_firstValues = deviceValues();
        }
        break;
    case SetValue:
        typeSetting("altitude", text("321"));
        break;
    case Synchronize:
        click("synchronizeButton");
        break;
    case WriteSettings:
        dialogs().answerBox(text("write settings to EEPROM"), text("Yes"));
        click("writeToEepromButton");
        break;
    case SetClock:
        click("syncClockButton");
        break;
    case ReadLog:
        answerFileDialog("Select where to save log to", "log.csv");
        click("readLogButton");
        break;
    case ClearLog:
        dialogs().answerBox(text("want to clear the log"), text("Yes"));
        click("eraseLogButton");
        break;
    case Backup:
        // The button is disabled for users; its connection is tested all the same.
        answerFileDialog("Select where to write eeprom backup", "backup.dat");
        child<QPushButton>("backupEepromButton")->click();
        break;
    case Restore:
        write(file(text("backup.dat")), restoreImage());
        answerFileDialog("Select eeprom backup file", "backup.dat");
        child<QPushButton>("restoreEepromButton")->click();
        break;
    case UpdateConnected:
    case UpdateUnconnected:
        updateFirmware();
        break;
    case ShowGraph:
        openGraph();
        break;
    case ExportMeasurements:
        exportMeasurements();
        break;
    case StartProgram:
    case CloseProgram:
        break;
    }
}

void FaultInjectionTest::answerFileDialog(const char *caption, const char *name)
{
    dialogs().answerFileDialog(text(caption), file(text(name)));
}

/// One time-out of the measurement timer.
void FaultInjectionTest::poll()
{
    constexpr int minuteMs = 60000;
    table()->item(0, 1)->setText(QString());
    MainWindowController &controller = tool().controller;
    QSignalSpy polls(&controller, &MainWindowController::measurementPollStarted);
    connect(&controller, &MainWindowController::measurementPollStarted, this,
            [&controller] { controller.setMeasurementInterval(minuteMs); });
    controller.setMeasurementInterval(1);
    if (polls.isEmpty()) {
        polls.wait(waitMs);
    }
    controller.disconnect(this);
}

void FaultInjectionTest::updateFirmware()
{
    write(file(text("image.bin")), firmwareImage());
    dialogs().answerBox(text("Are you sure you wish to continue?"), text("Yes"));
    answerFileDialog("Select firmware file", "image.bin");
    if (m_action == UpdateUnconnected) {
        dialogs().answerDialog(text("Please reboot the device manually"),
                               [this](QDialog *) { restartForUpdate(); });
    }
    click("updateFirmwareButton");
}

/// Switches the device off and on, as the dialog asks the user to.
void FaultInjectionTest::restartForUpdate()
{
    constexpr int longerThanATimeoutMs = 500;
    switch (m_fault) {
    case FaultKind::Silence: // the user doesn't
    case FaultKind::HangUpBefore:
    case FaultKind::PortMissing:
    case FaultKind::PortInUse:
        break;
    case FaultKind::LateAnswer:
        QTimer::singleShot(longerThanATimeoutMs, this, [this] { device().control("restart"); });
        break;
    case FaultKind::LostByte:
        m_terminal->write("\r\nOrvanta KVT BOT");
        break;
    case FaultKind::FlippedBit:
        m_terminal->write("\r\nOrvanta KVT BNOT");
        break;
    case FaultKind::NulByte:
        m_terminal->write(QByteArrayLiteral("\r\nOrvanta KVT BO\0OT"));
        break;
    default:
        device().control("restart");
    }
}

void FaultInjectionTest::openGraph()
{
    if (m_fault == FaultKind::HangUpDuring) {
        QTimer::singleShot(0, &window(), [this] { device().hangUp(); });
    }
    click("buttonShowGraph");
    QWidget *const graph = topLevel("MeasurementGraph");
    waitFor([=] { return graph->isVisible(); });
    graph->findChild<QDateTimeEdit *>(text("fromDateTimeEdit"))
        ->setDateTime(QDateTime::currentDateTime().addSecs(-6 * 3600));
}

bool FaultInjectionTest::graphShowsHistory()
{
    QWidget *const graph = topLevel("MeasurementGraph");
    const bool shown = graph->findChild<QListWidget *>(text("list"))->count() >= 2;
    graph->close();
    return shown;
}

void FaultInjectionTest::exportMeasurements()
{
    dialogs().answerDialog(text("Select measurements to export"), [=](QDialog *dialog) {
        if (m_fault == FaultKind::HangUpDuring) {
            device().hangUp();
        }
        dialog->findChild<QDateTimeEdit *>(text("exportDateTimeFrom"))
            ->setDateTime(QDateTime::currentDateTime().addSecs(-6 * 3600));
        dialog->findChild<QDateTimeEdit *>(text("exportDateTimeTo"))
            ->setDateTime(QDateTime::currentDateTime().addSecs(-60));
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    });
    answerFileDialog("Select where to save measurements to", "measurements.csv");
    click("exportLocalMeasurementsButton");
}

/// Closes the main window; under a fault of the line in the middle of an exchange.
QByteArray FaultInjectionTest::closeProgram()
{
    const int code = runProgram([=] {
        if (!isDiskFault(m_fault)) {
            click("synchronizeButton");
        }
        if (m_fault == FaultKind::HangUpDuring) {
            device().hangUp();
        }
        window().close();
    });
    m_tool.reset();
    return "exit code " + QByteArray::number(code);
}

/// The outcome of an action that has ended.
QByteArray FaultInjectionTest::outcome()
{
    const int sends = m_action == Connect ? 2
        : qstrlen(affectedCommand()) == 0 ? 0
        : m_action == CloseProgram        ? 0
                                          : 1;
    // The whole command: block 5 is not block 50.
    const QString command = QRegularExpression::escape(text(affectedCommand()))
        + (m_action == SetClock ? QString() : text("(?![0-9])"));
    const auto isSentAgain = [&] {
        return sends > 0 && commandCount(command.toUtf8().constData()) > sends;
    };
    // A late device takes the second command up only after its answer to the first.
    const bool again =
        QByteArray(m_expected.text).contains("sent again") ? waitFor(isSentAgain) : isSentAgain();
    const auto withSends = [&](const QByteArray &words) {
        return again && words == "done" ? QByteArray("done, command sent again") : words;
    };
    switch (m_action) {
    case Connect:
        return withSends(isConnectedCorrectly() ? "done" : "not connected");
    case Poll:
        return withSends(readingOutcome());
    case Synchronize:
        return withSends(synchronizeOutcome());
    case Backup:
        return withSends(isDevicesMemory() ? "done" : "damaged block in the file");
    default:
        return withSends(hasTakenEffect() ? "done" : "reported as done, but without effect");
    }
}

QStringList FaultInjectionTest::storedValues()
{
    return sqlite(text("select t.name, printf('%.2f', v.value) from measurement_value v join "
                       "measurement_type t on t.id = v.measurement_type_id where v.measurement_id "
                       "= (select max(id) from measurement_metadata) order by t.name"));
}

QStringList FaultInjectionTest::deviceValues()
{
    QStringList values;
    for (const QByteArray &pair : device().measurements()) {
        const int end = pair.indexOf('=');
        values.append(text("%1|%2")
                          .arg(QString::fromLatin1(pair.left(end)))
                          .arg(pair.mid(end + 1).toDouble(), 0, 'f', 2));
    }
    values.sort();
    return values;
}

/// The outcome of the last reading, in table and store.
QByteArray FaultInjectionTest::readingOutcome()
{
    const bool shown = table()->rowCount() > 0 && !table()->item(0, 1)->text().isEmpty();
    const bool stored = storedReadings() > m_readingsBefore;
    if (!shown || !stored) {
        return shown ? "shown, not stored" : "nothing new";
    }
    // Of two answers in one chunk the first one is used.
    const QStringList given = m_firstValues.isEmpty() ? deviceValues() : m_firstValues;
    return storedValues() == given ? "done" : "damaged value shown and stored";
}

QByteArray FaultInjectionTest::synchronizeOutcome()
{
    // A value that differs from the one in the cell is sent to the device, as a typed one is.
    const QString shown = setting("altitude")->text();
    const QByteArray own = device().setting("altitude");
    if (shown == text("777") && own == "777") {
        return "done";
    }
    const QByteArray value = shown.contains(QLatin1Char('\n')) ? "of two answers" : shown.toUtf8();
    return "damaged value " + value + " shown and sent back; the device has " + own;
}

bool FaultInjectionTest::isConnectedCorrectly()
{
    const struct
    {
        const char *field;
        const char *variable;
    } identity[] = {{"serialNumber", "serial"},
                    {"modelNumber", "model"},
                    {"swVersion", "swver"},
                    {"hwVersion", "hwver"}};
    for (const auto &entry : identity) {
        if (field(entry.field).toLatin1() != device().setting(entry.variable)) {
            return false;
        }
    }
    return isConnected() && setting("altitude")->text().toLatin1() == device().setting("altitude")
        && readingOutcome() == "done";
}

/// Whether the action has had its effect, by the device's own state and the files.
bool FaultInjectionTest::hasTakenEffect()
{
    switch (m_action) {
    case SetValue:
        return device().setting("altitude") == "321" && setting("altitude")->text() == text("321");
    case WriteSettings:
        return device().control("memory").join() != m_memoryBefore;
    case SetClock: {
        QDateTime clock = QDateTime::fromString(
            QString::fromLatin1(device().control("clock").value(0)), Qt::ISODate);
        clock.setTimeSpec(Qt::UTC);
        return qAbs(clock.secsTo(QDateTime::currentDateTimeUtc())) < 20
            && commandCount("write --really") > 0;
    }
    case ReadLog:
        return isDevicesLog() && isEnabled("readLogButton");
    case ClearLog:
        return device().state("log") == "0";
    case Restore:
        return device().control("memory").join() == restoreImage().toHex();
    case UpdateConnected:
    case UpdateUnconnected:
        return contents(file(text("received.bin"))) == firmwareImage() && !isConnected();
    case ShowGraph:
        return graphShowsHistory();
    case ExportMeasurements:
        return contents(file(text("measurements.csv"))).count('\n') == 4;
    default:
        return false;
    }
}

bool FaultInjectionTest::isDevicesLog()
{
    QStringList own;
    for (const QByteArray &row : device().control("log")) {
        const int begin = row.indexOf('=') + 1;
        QStringList cells = QString::fromLatin1(row.mid(begin, row.lastIndexOf('#') - begin))
                                .split(QLatin1Char(','));
        if (!own.isEmpty()) {
            QDateTime time = QDateTime::fromString(cells.first(), Qt::ISODate);
            time.setTimeSpec(Qt::UTC);
            cells.first() = time.toLocalTime().toString(Qt::ISODate);
            for (int index = 1; index < cells.size(); ++index) {
                cells[index] = QString::number(cells.at(index).toDouble(), 'g', 6);
            }
        }
        own.append(cells.join(QLatin1Char(',')));
    }
    const QString saved = QString::fromUtf8(contents(file(text("log.csv"))));
    return saved.split(QLatin1Char('\n'), Qt::SkipEmptyParts) == own;
}

bool FaultInjectionTest::isDevicesMemory()
{
    // Each block is stored at the offset of its number, over all but the first byte of the previous
    // one.
    const QByteArray memory = QByteArray::fromHex(device().control("memory").join());
    QByteArray image(imageBytes, '\0');
    for (int block = 0; block < memoryBytes / blockBytes; ++block) {
        image.replace(block, blockBytes, memory.mid(block * blockBytes, blockBytes));
    }
    return contents(file(text("backup.dat"))).mid(4) == image;
}
