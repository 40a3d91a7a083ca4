// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the tour that works on the device: log, clock, stored settings, firmware.
#include "demo/tour.h"

#include <QtTest/QTest>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>

namespace {

constexpr int jobTimeoutMs = 60000;
constexpr int imageSize = 64 * 1024 + 5; // not a multiple of a block

/// Tells a listener the values of the wait dialog's bar as long as it lives.
class ProgressWatch
{
public:
    ProgressWatch(const QWidget *waitDialog, const std::function<void(int)> &listener)
        : ProgressWatch(waitDialog->findChild<QProgressBar *>(), listener)
    {
    }
    ~ProgressWatch() { QObject::disconnect(m_connection); }
    Q_DISABLE_COPY(ProgressWatch)

private:
    // By the event loop: a listener may press Cancel, which must not happen inside the report.
    ProgressWatch(QProgressBar *bar, const std::function<void(int)> &listener)
        : m_connection(
            QObject::connect(bar, &QProgressBar::valueChanged, bar, listener, Qt::QueuedConnection))
    {
    }

    QMetaObject::Connection m_connection;
};

QStringList lines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return QStringList();
    }
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/// The CSV line that a row of the device's log ("2026-01-02T03:04:05,1.5,7") becomes.
QString csvLine(const QString &record)
{
    QStringList fields = record.split(QLatin1Char(','));
    QDateTime time = QDateTime::fromString(fields.takeFirst(), Qt::ISODate);
    time.setTimeSpec(Qt::UTC);
    QStringList cells(time.toLocalTime().toString(Qt::ISODate));
    for (const QString &field : qAsConst(fields)) {
        cells.append(QString::number(field.toDouble(), 'g', 6));
    }
    return cells.join(QLatin1Char(','));
}

QByteArray firmwareImage()
{
    // Every byte value, the answers of the bootloader and line ends among them.
    QByteArray image(imageSize, '\0');
    quint32 state = 12345;
    for (char &byte : image) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return image;
}

} // namespace

bool Tour::readTheLog()
{
    const QString path = file(QStringLiteral("log.csv"));
    return step(QStringLiteral("Read the log into a CSV file; the bar moves"),
                [=] {
                    QList<int> progress;
                    const ProgressWatch watch(dialog("WaitDialog"),
                                              [&progress](int value) { progress.append(value); });
                    m_dialogs.answerFileDialog(QStringLiteral("Select where to save log to"), path);
                    click("readLogButton");
                    const bool saved = waitUntil([=] { return QFile::exists(path); }, jobTimeoutMs);
                    return saved && progress.size() > 10;
                })
        && step(QStringLiteral("Every row of the file is the device's"), [=] {
               const QStringList device = m_device.log();
               QStringList expected(device.value(0));
               for (int row = 1; row < device.size(); ++row) {
                   expected.append(csvLine(device.at(row)));
               }
               return device.size() > 1 && lines(path) == expected;
           });
}

bool Tour::clearTheLog()
{
    return step(QStringLiteral("Clear the log; the device's is empty"), [=] {
        m_dialogs.answerBox(QStringLiteral("clear the log"), QStringLiteral("Yes"));
        pictureDialogs({QStringLiteral("log-clear")});
        click("eraseLogButton");
        return waitUntil([=] { return m_device.log().size() == 1; });
    });
}

bool Tour::cancelALongJob()
{
    return step(QStringLiteral("Cancel the reading of a long log half-way"),
                [=] {
                    auto *const wait = dialog("WaitDialog");
                    QPushButton *const cancel =
                        wait->findChild<QPushButton *>(QStringLiteral("cancelButton"));
                    bool cancelled = false;
                    const ProgressWatch watch(wait, [&](int value) {
                        if (value >= 50 && !cancelled) {
                            cancelled = true;
                            picture(QStringLiteral("log-half-read"), wait);
                            QTest::mouseClick(cancel, Qt::LeftButton);
                        }
                    });
                    click("readLogButton");
                    return cancelled && !wait->isVisible();
                })
        && step(QStringLiteral("... and go on working"), [=] {
               m_device.control("health 77%");
               click("synchronizeButton");
               return waitUntil([=] { return fieldText("deviceHealth") == QLatin1String("77%"); })
                   && m_window.findChild<QPushButton *>(QStringLiteral("readLogButton"))
                          ->isEnabled();
           });
}

bool Tour::setTheClock()
{
    return step(QStringLiteral("Set the device's clock to UTC"), [=] {
        const auto isRight = [=] {
            return qAbs(m_device.clock().secsTo(QDateTime::currentDateTimeUtc())) <= 2;
        };
        const bool wasWrong = !isRight();
        click("syncClockButton");
        return wasWrong && waitUntil(isRight, jobTimeoutMs);
    });
}

bool Tour::keepTheSettings()
{
    return step(
               QStringLiteral("Write the settings to the device's memory"),
               [=] {
                   m_dialogs.answerBox(QStringLiteral("write settings to EEPROM"),
                                       QStringLiteral("Yes"));
                   pictureDialogs({QStringLiteral("write-question"), QStringLiteral("write-wait")});
                   click("writeToEepromButton");
                   return !dialog("WaitDialog")->isVisible();
               })
        && step(QStringLiteral("Restart the device and find the settings again"), [=] {
               if (!disconnectByClick()) {
                   return false;
               }
               m_device.control("restart");
               return waitUntil([=] { return m_device.isAtConsole(); }, jobTimeoutMs)
                   && connectByClick()
                   && settingText(QStringLiteral("altitude")) == QLatin1String("321");
           });
}

bool Tour::updateTheFirmware()
{
    const QString path = file(QStringLiteral("firmware.bin"));
    const QByteArray image = firmwareImage();
    return step(QStringLiteral("Update the firmware with an image of 64 KiB and 5 bytes"),
                [=] {
                    QFile out(path);
                    if (!out.open(QIODevice::WriteOnly) || out.write(image) != image.size()) {
                        return false;
                    }
                    out.close();
                    m_dialogs.answerBox(QStringLiteral("aborting firmware"), QStringLiteral("Yes"));
                    m_dialogs.answerFileDialog(QStringLiteral("Select firmware file"), path);
                    m_dialogs.answerBox(QStringLiteral("Firmware updated"), QStringLiteral("OK"));
                    pictureDialogs({QStringLiteral("firmware-warning"), QString(),
                                    QStringLiteral("firmware-start")});
                    auto *const wait = dialog("WaitDialog");
                    bool pictured = false;
                    const ProgressWatch watch(wait, [&](int value) {
                        if (value >= 40 && !pictured) {
                            pictured = true;
                            picture(QStringLiteral("firmware"), wait);
                        }
                    });
                    click("updateFirmwareButton");
                    const bool done = waitUntil([=] { return !isConnected(); }, jobTimeoutMs);
                    return done;
                })
        && step(QStringLiteral("The device received it byte for byte"),
                [=] {
                    return waitUntil([=] {
                        QFile received(file(QStringLiteral("received.bin")));
                        return received.open(QIODevice::ReadOnly) && received.readAll() == image;
                    });
                })
        && step(QStringLiteral("Connect again; the settings are still there"), [=] {
               return waitUntil([=] { return m_device.isAtConsole(); }, jobTimeoutMs)
                   && connectByClick()
                   && settingText(QStringLiteral("altitude")) == QLatin1String("321");
           });
}
