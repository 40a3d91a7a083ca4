// SPDX-License-Identifier: GPL-3.0-or-later
// The tour's steps that work on the device: log, clock, stored settings, firmware.
#include "tests/e2e/tour/tour.h"

bool Tour::readLog()
{
    const QString path = file(text("log.csv"));
    QList<int> progress;
    const auto recording = connect(bar(), &QProgressBar::valueChanged, bar(),
                                   [&](int value) { progress.append(value); });
    dialogs().answerFileDialog(text("Select where to save log to"), path);
    const bool saved = click("readLogButton") && waitFor([=] { return QFile::exists(path); });
    disconnect(recording);
    return saved && progress.size() > 10;
}

bool Tour::compareLog()
{
    const QStringList lines = QString::fromUtf8(contents(file(text("log.csv"))))
                                  .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return lines.size() > 1 && lines == device().logAsCsv();
}

bool Tour::cancelLog()
{
    bool cancelled = false;
    const auto waiting = atProgress(50, [&] {
        picture(text("log-half-read"), waitDialog());
        cancelled = press(cancelButton());
    });
    const bool clicked = click("readLogButton");
    disconnect(waiting);
    return clicked && cancelled && !waitDialog()->isVisible();
}

bool Tour::continueAfterCancel()
{
    device().control("health 77%");
    return click("synchronizeButton")
        && waitFor([this] { return field("deviceHealth") == text("77%"); })
        && isEnabled("readLogButton");
}

bool Tour::clearLog()
{
    dialogs().answerBox(text("clear the log"), text("Yes"));
    pictureDialogs({text("log-clear")});
    return click("eraseLogButton") && waitFor([this] { return device().state("log") == "0"; });
}

bool Tour::setClock()
{
    const auto isRight = [this] {
        return qAbs(device().clock().secsTo(QDateTime::currentDateTimeUtc())) <= 2;
    };
    const bool wasWrong = !isRight();
    return wasWrong && click("syncClockButton") && waitFor(isRight);
}

bool Tour::writeSettings()
{
    dialogs().answerBox(text("write settings to EEPROM"), text("Yes"));
    pictureDialogs({text("write-question"), text("write-wait")});
    return click("writeToEepromButton") && !waitDialog()->isVisible();
}

bool Tour::restartDevice()
{
    if (!disconnectByClick()) {
        return false;
    }
    device().control("restart");
    return connectAfterUpdate();
}

bool Tour::updateFirmware()
{
    constexpr int size = 64 * 1024 + 5; // not a multiple of a block
    const QString path = file(text("firmware.bin"));
    m_image = files::pseudoRandomBytes(size);
    dialogs().answerBox(text("aborting firmware"), text("Yes"));
    dialogs().answerFileDialog(text("Select firmware file"), path);
    dialogs().answerBox(text("Firmware updated"), text("OK"));
    pictureDialogs({text("firmware-warning"), QString(), text("firmware-start")});
    const auto waiting = atProgress(40, [this] { picture(text("firmware"), waitDialog()); });
    const bool clicked = write(path, m_image) && click("updateFirmwareButton");
    disconnect(waiting);
    return clicked && waitFor([this] { return !queue().serialPort()->isOpen(); }) && !isConnected();
}

bool Tour::compareImage()
{
    return waitFor([this] { return contents(file(text("received.bin"))) == m_image; });
}

bool Tour::connectAfterUpdate()
{
    return waitFor([this] { return device().state("mode") == "console"; }) && connectByClick()
        && setting("altitude")->text() == text("321");
}
