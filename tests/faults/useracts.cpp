// SPDX-License-Identifier: GPL-3.0-or-later
// What the person does, and how it is told whether it came out right.
#include "tests/faults/userfaulttest.h"

#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QListWidget>

namespace {

const QLatin1String manualTitle("Please reboot the device manually");
const QLatin1String logCaption("Select where to save log to");
const QLatin1String backupCaption("Select where to write eeprom backup");
const QLatin1String exportCaption("Select where to save measurements to");

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

void UserFaultTest::carryOut()
{
    switch (m_act.act) {
    case Act::Connect:
        click("connectButton");
        break;
    case Act::Poll:
        poll();
        if (m_fault.fault == Fault::GluedReplies
            && waitFor([this] { return commandCount("show meas$") == 1; })) {
            m_firstValues = deviceValues();
        }
        break;
    case Act::SetValue:
        typeSetting("altitude", text("321"));
        break;
    case Act::Synchronize:
        click("synchronizeButton");
        break;
    case Act::WriteSettings:
        dialogs().answerBox(text("write settings to EEPROM"), text("Yes"));
        click("writeToEepromButton");
        break;
    case Act::SetClock:
        click("syncClockButton");
        break;
    case Act::ReadLog:
        saveTo(logCaption.data(), file(text("log.csv")));
        click("readLogButton");
        break;
    case Act::ClearLog:
        dialogs().answerBox(text("want to clear the log"), text("Yes"));
        click("eraseLogButton");
        break;
    case Act::Backup:
        // Out of a person's reach for now, and wired all the same.
        saveTo(backupCaption.data(), file(text("backup.dat")));
        child<QPushButton>("backupEepromButton")->click();
        break;
    case Act::Restore:
        write(file(text("backup.dat")), restoreImage());
        saveTo("Select eeprom backup file", file(text("backup.dat")));
        child<QPushButton>("restoreEepromButton")->click();
        break;
    case Act::UpdateConnected:
    case Act::UpdateUnconnected:
        updateFirmware();
        break;
    case Act::Graph:
        openGraph();
        break;
    case Act::Export:
        exportMeasurements();
        break;
    case Act::Start:
    case Act::Close:
        break;
    }
}

void UserFaultTest::saveTo(const char *caption, const QString &path)
{
    dialogs().answerFileDialog(text(caption), path);
}

/// One tick of the timer that polls.
void UserFaultTest::poll()
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

void UserFaultTest::updateFirmware()
{
    const QString path = file(text("image.bin"));
    write(path, m_image);
    dialogs().answerBox(text("Are you sure you wish to continue?"), text("Yes"));
    saveTo("Select firmware file", path);
    if (m_act.act == Act::UpdateUnconnected) {
        dialogs().answerDialog(manualTitle, [this](QDialog *) { restartForUpdate(); });
    }
    click("updateFirmwareButton");
}

/// The person at the device takes its power away for a moment.
void UserFaultTest::restartForUpdate()
{
    constexpr int laterThanATimeoutMs = 500;
    const auto greet = [this](const char *bytes, int size) {
        m_line->write(QByteArray(bytes, size));
    };
    switch (m_fault.fault) {
    case Fault::Silence: // nobody comes
    case Fault::HangUpBefore:
    case Fault::NoSuchPort:
    case Fault::PortInUse:
        break;
    case Fault::Late:
        QTimer::singleShot(laterThanATimeoutMs, this, [this] { device().control("restart"); });
        break;
    case Fault::LostByte:
        greet("\r\nOrvanta KVT BOT", 17);
        break;
    case Fault::FlippedBit:
        greet("\r\nOrvanta KVT BNOT", 18);
        break;
    case Fault::Nul:
        greet("\r\nOrvanta KVT BO\0OT", 19);
        break;
    default:
        device().control("restart");
    }
}

void UserFaultTest::openGraph()
{
    if (m_fault.fault == Fault::HangUpDuring) {
        QTimer::singleShot(0, &window(), [this] { device().hangUp(); });
    }
    click("buttonShowGraph");
    QWidget *const graph = topLevel("MeasurementGraph");
    waitFor([=] { return graph->isVisible(); });
    graph->findChild<QDateTimeEdit *>(text("fromDateTimeEdit"))
        ->setDateTime(QDateTime::currentDateTime().addSecs(-6 * 3600));
}

bool UserFaultTest::graphShowsHistory()
{
    QWidget *const graph = topLevel("MeasurementGraph");
    const bool shown = graph->findChild<QListWidget *>(text("list"))->count() >= 2;
    graph->close();
    return shown;
}

void UserFaultTest::exportMeasurements()
{
    dialogs().answerDialog(text("Select measurements to export"), [=](QDialog *dialog) {
        if (m_fault.fault == Fault::HangUpDuring) {
            device().hangUp();
        }
        m_exportIsEmpty =
            dialog->findChild<QListWidget *>(text("measurementTypeList"))->count() == 0;
        dialog->findChild<QDateTimeEdit *>(text("exportDateTimeFrom"))
            ->setDateTime(QDateTime::currentDateTime().addSecs(-6 * 3600));
        dialog->findChild<QDateTimeEdit *>(text("exportDateTimeTo"))
            ->setDateTime(QDateTime::currentDateTime().addSecs(-60));
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    });
    saveTo(exportCaption.data(), file(text("measurements.csv")));
    click("exportLocalMeasurementsButton");
}

/// Closes the main window, in the middle of an exchange where the fault is one of the line.
QByteArray UserFaultTest::closeWindow()
{
    const bool onTheLine = !isOnDisk(m_fault.fault);
    const int code = runProgram([=] {
        if (onTheLine) {
            click("synchronizeButton");
        }
        if (m_fault.fault == Fault::HangUpDuring) {
            device().hangUp();
        }
        window().close();
    });
    m_tool.reset();
    return "exit code " + QByteArray::number(code);
}

/// The words for an act that has ended.
QByteArray UserFaultTest::outcome()
{
    // Whole: block 5 is not block 50.
    const QString command = QRegularExpression::escape(text(struckCommand()))
        + (m_act.act == Act::SetClock ? QString() : text("(?![0-9])"));
    const auto isAskedAgain = [&] {
        return m_act.sends > 0 && commandCount(command.toUtf8().constData()) > m_act.sends;
    };
    // A late device takes the second command up only behind its answer to the first.
    const bool again = demanded(m_fault.fault, m_act.act).contains("asked again")
        ? waitFor(isAskedAgain)
        : isAskedAgain();
    const QByteArray well = again ? "done, asked again" : "done";
    switch (m_act.act) {
    case Act::Connect:
        return isConnectedRightly() ? well : QByteArray("not connected");
    case Act::Poll: {
        const QByteArray reading = outcomeOfReading();
        return reading == "done" ? well : reading;
    }
    case Act::Synchronize: {
        const QByteArray synchronized = outcomeOfSynchronize();
        return synchronized == "done" ? well : synchronized;
    }
    case Act::Backup:
        return isOwnMemory() ? well : QByteArray("as it came, in the file");
    default:
        return isTrue() ? well : QByteArray("told as done, and is not");
    }
}

QStringList UserFaultTest::storedValues()
{
    return sqlite(text("select t.name, printf('%.2f', v.value) from measurement_value v join "
                       "measurement_type t on t.id = v.measurement_type_id where v.measurement_id "
                       "= (select max(id) from measurement_metadata) order by t.name"));
}

QStringList UserFaultTest::deviceValues()
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

/// What has become of the last reading, in table and store.
QByteArray UserFaultTest::outcomeOfReading()
{
    const bool shown = table()->rowCount() > 0 && !table()->item(0, 1)->text().isEmpty();
    const bool stored = storedReadings() > m_readings;
    if (!shown || !stored) {
        return shown ? "shown, not stored" : "nothing new";
    }
    // Of two in one piece the first one counts.
    const QStringList given = m_firstValues.isEmpty() ? deviceValues() : m_firstValues;
    return storedValues() == given ? "done" : "as it came, shown and stored";
}

QByteArray UserFaultTest::outcomeOfSynchronize()
{
    // A value that differs from the one in the cell goes back to the device, as one that is typed.
    const QString shown = setting("altitude")->text();
    const QByteArray own = device().setting("altitude");
    if (shown == text("777") && own == "777") {
        return "done";
    }
    const bool two = shown.contains(QLatin1Char('\n'));
    return "as it came: " + (two ? QByteArray("two answers in one") : shown.toUtf8())
        + ", shown and sent back; the device has " + own;
}

bool UserFaultTest::isConnectedRightly()
{
    for (const char *name : {"serialNumber", "modelNumber", "swVersion", "hwVersion"}) {
        const QByteArray own = device().setting(QByteArray(name) == "serialNumber"      ? "serial"
                                                    : QByteArray(name) == "modelNumber" ? "model"
                                                    : QByteArray(name) == "swVersion"   ? "swver"
                                                                                        : "hwver");
        if (field(name).toLatin1() != own) {
            return false;
        }
    }
    return isConnected() && setting("altitude")->text().toLatin1() == device().setting("altitude")
        && outcomeOfReading() == "done";
}

/// Whether the act has done what it is for, by the device's own word and the files.
bool UserFaultTest::isTrue()
{
    switch (m_act.act) {
    case Act::SetValue:
        return device().setting("altitude") == "321" && setting("altitude")->text() == text("321");
    case Act::WriteSettings:
        return device().control("memory").join() != m_memoryBefore;
    case Act::SetClock: {
        QDateTime clock = QDateTime::fromString(
            QString::fromLatin1(device().control("clock").value(0)), Qt::ISODate);
        clock.setTimeSpec(Qt::UTC);
        return qAbs(clock.secsTo(QDateTime::currentDateTimeUtc())) < 20
            && commandCount("write --really") > 0;
    }
    case Act::ReadLog:
        return isOwnLog() && isEnabled("readLogButton");
    case Act::ClearLog:
        return device().state("log") == "0";
    case Act::Restore:
        return device().control("memory").join() == restoreImage().toHex();
    case Act::UpdateConnected:
    case Act::UpdateUnconnected:
        return contents(file(text("received.bin"))) == m_image && !isConnected();
    case Act::Graph:
        return graphShowsHistory();
    case Act::Export:
        return contents(file(text("measurements.csv"))).count('\n') == 4;
    default:
        return false;
    }
}

bool UserFaultTest::isOwnLog()
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

bool UserFaultTest::isOwnMemory()
{
    // Each block goes where its number says, over all but the first byte of the one before.
    const QByteArray memory = QByteArray::fromHex(device().control("memory").join());
    QByteArray image(imageBytes, '\0');
    for (int block = 0; block < memoryBytes / blockBytes; ++block) {
        image.replace(block, blockBytes, memory.mid(block * blockBytes, blockBytes));
    }
    return contents(file(text("backup.dat"))).mid(4) == image;
}
