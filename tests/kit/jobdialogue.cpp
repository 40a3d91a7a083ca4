// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/jobdialogue.h"

#include "serial/serialportjobconnect.h"
#include "serial/serialportjoberaselog.h"
#include "serial/serialportjobfactoryreset.h"
#include "serial/serialportjobreaddate.h"
#include "serial/serialportjobreadeepromblock.h"
#include "serial/serialportjobreadlog.h"
#include "serial/serialportjobreadlogvalue.h"
#include "serial/serialportjobreadmeasurements.h"
#include "serial/serialportjobreadmodel.h"
#include "serial/serialportjobreadvalue.h"
#include "serial/serialportjobreboot.h"
#include "serial/serialportjobsetdate.h"
#include "serial/serialportjobsetvalue.h"
#include "serial/serialportjobtransmitfirmwareblock.h"
#include "serial/serialportjobupdatefirmware.h"
#include "serial/serialportjobwriteeepromblock.h"
#include "serial/serialportjobwritetoeeprom.h"
#include "tests/kit/devicereplies.h"

namespace {

using Type = SerialPortJobType;

// The console echoes a command line, after a prompt if it begins with a line end. It does not echo
// blocks.
QByteArray echoOf(const QByteArray &command)
{
    if (!command.endsWith("\r\n")) {
        return QByteArray();
    }
    return command.startsWith("\r\n") ? "\r\n$ " + command.mid(2) : command;
}

// The dialogue of a job of the class Job; the reply is given without the echo.
template <typename Job, typename... Arguments>
JobDialogue dialogue(const char *name, Type type, int timeoutMs, const QByteArrayList &command,
                     const QByteArray &reply, const char *rest, const QByteArrayList &report,
                     const Arguments &...arguments)
{
    const auto make = [=](SerialPortInterface *port) {
        return JobPointer(new Job(port, arguments..., nullptr));
    };
    const QString wholeReply = QString::fromLatin1(echoOf(command.value(0)) + reply);
    const QStringList texts = QString::fromLatin1(report.join('\n')).split(QLatin1Char('\n'));
    return {name, type, timeoutMs, make, command, wholeReply, latin1(rest), texts};
}

QVector<JobDialogue> logDialogues()
{
    const char noLog[] = "No LOG option installed!\r\n$";
    const QString titles = logRecordLine(latin1("00000"), latin1("TIME,CO2,,T"));
    const QString row =
        logRecordLine(latin1("00012"), latin1("2017-11-13T10:20:30+02:00,400.5,-2"));
    return {
        dialogue<SerialPortJobReadLog>(
            "read log", Type::JobReadLog, 500, {"\r\nlog --count\r\n"}, "count=1234\r\n$", " ",
            {"valueRead ValueLogOption bool true", "valueRead ValueLogCount int 1234", "finished"}),
        dialogue<SerialPortJobReadLog>("read log, no log option", Type::JobReadLog, 500,
                                       {"\r\nlog --count\r\n"}, noLog, " ",
                                       {"valueRead ValueLogOption bool false", "finished"}),
        dialogue<SerialPortJobReadLogValue>("read log titles", Type::JobReadLogValue, 500,
                                            {"\r\nlog --read=0\r\n"}, titles.toLatin1(), "\r\n$ ",
                                            {"logTitlesRead TIME|CO2||T", "finished"}, 0),
        dialogue<SerialPortJobReadLogValue>(
            "read log row", Type::JobReadLogValue, 500, {"\r\nlog --read=12\r\n"}, row.toLatin1(),
            "\r\n$ ", {"logValueRead 12 400.5|-2 2017-11-13T10:20:30Z", "finished"}, 12),
        dialogue<SerialPortJobEraseLog>(
            "erase log", Type::JobEraseLog, 500, {"log --erase\r\n"}, "Log erased!\r\n$", " ",
            {"actionFinished ActionEraseLog (no value), running", "finished"}),
        dialogue<SerialPortJobEraseLog>(
            "erase log, no log option", Type::JobEraseLog, 500, {"log --erase\r\n"}, noLog, " ",
            {"valueRead ValueLogOption bool false, running", "finished"}),
    };
}

QVector<JobDialogue> eepromDialogues()
{
    const QByteArray block = consecutiveBytes(0); // contains 0x00, 0x0D, 0x11 and 0x13
    return {
        dialogue<SerialPortJobWriteToEeprom>(
            "write to eeprom", Type::JobWriteToEeprom, 180000, {"write --really\r\n"},
            "Writing current configuration to non-volatile memory... 512 bytes written!\r\n$", " ",
            {"actionFinished ActionWriteToEeprom (no value), running", "finished"}),
        dialogue<SerialPortJobFactoryReset>(
            "factory reset", Type::JobFactoryReset, 60000, {"\r\ninitconf --really\r\n"},
            "Loading default configuration... OK!\r\n"
            "Write the default configuration to non-volatile memory by using write command",
            ".\r\n$ ", {"finished"}),
        dialogue<SerialPortJobReadEepromBlock>(
            "read eeprom block", Type::JobReadEepromBlock, 500,
            {"\r\neeprom --read_block 1023\r\n"}, block.toHex() + "\r\nDone\r\n", "$ ",
            {"eepromBlockRead 1023 " + block.toHex(), "actionFinished ActionEepromBlockRead int 42",
             "finished"},
            quint16(1023), 42),
        dialogue<SerialPortJobWriteEepromBlock>("write eeprom block", Type::JobWriteEepromBlock,
                                                5000, {"\r\neeprom --write_block 1023\r\n", block},
                                                "Please input 64 bytes\r\n\r\nDone\r\n", "$ ",
                                                {"eepromBlockWritten 1023",
                                                 "actionFinished ActionEepromBlockWritten int 100",
                                                 "finished"},
                                                quint16(1023), block, 100),
    };
}

QVector<JobDialogue> firmwareDialogues()
{
    const QByteArray block("*!.\0\r\n\x11\x13\xff*!.BOOT", 16);
    JobDialogue bootloader = dialogue<SerialPortJobUpdateFirmware>(
        "enter bootloader", Type::JobUpdateFirmware, 900000, {}, "...\r\nloader 1.0\r\nBoot", "",
        {"actionFinished ActionBootloaderEntered (no value)", "finished"});
    bootloader.sentAfterReply = QByteArrayList{"b"};
    return {
        dialogue<SerialPortJobReboot>(
            "restart", Type::JobReboot, 30000, {"reboot --really\r\n"},
            "Reseting device in 5 seconds\r\n\r\nPerforming selftest...\r\nRAM OK\r\n"
            "All tests passed.\r\n\r\nOrvanta KVT 3\r\nCompiled on Nov 13 2017\r\nCopyright ",
            "2017\r\n$ ", {"actionFinished ActionReboot (no value)", "finished"},
            RebootMode::RebootAndWaitForSelftest),
        dialogue<SerialPortJobReboot>(
            "restart for firmware", Type::JobReboot, 30000, {"reboot --really\r\n"},
            "Reseting device in 5 seconds", "...\r\n",
            {"actionFinished ActionRebootForFirmware (no value)", "finished"},
            RebootMode::RebootForFirmwareUpdate),
        bootloader,
        dialogue<SerialPortJobTransmitFirmwareBlock>(
            "block accepted", Type::JobTransmitFirmwareBlock, 2000, {block}, "*", "",
            {"actionFinished ActionFirmwareBlockTransmitted double 94.125", "finished"}, block,
            94.125),
        dialogue<SerialPortJobTransmitFirmwareBlock>(
            "block rejected", Type::JobTransmitFirmwareBlock, 2000, {block}, "!", "",
            {"failed JobTransmitFirmwareBlock"}, block, 94.125),
        dialogue<SerialPortJobTransmitFirmwareBlock>(
            "image complete", Type::JobTransmitFirmwareBlock, 2000, {block}, ".", "\r\ndone *",
            {"actionFinished ActionFirmwareTransmitted int 100", "finished"}, block, 94.125),
    };
}

} // namespace

QVector<JobDialogue> valueDialogues()
{
    const QDateTime utc(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);
    return {
        dialogue<SerialPortJobConnect>("connect", Type::JobConnect, 500, {"\r\nshow swver\r\n"},
                                       "show: swver=1.2.3\r\n$", " ", {"finished"}),
        dialogue<SerialPortJobReadModel>(
            "read model", Type::JobReadModel, 500, {"\r\nshow unit\r\n"},
            "Unit\r\nModel: KVT 301\r\nSerial:", " 1234\r\n$ ",
            {"valueRead ValueDeviceModel QString KVT 301", "finished"}),
        dialogue<SerialPortJobReadValue>("read value", Type::JobReadValue, 500, {"\r\nshow p\r\n"},
                                         "show: p=990 hPa\r\n$", " ",
                                         {"dataRead p=990 hPa", "finished"}, latin1("p")),
        dialogue<SerialPortJobReadValue>("read value, unknown", Type::JobReadValue, 500,
                                         {"\r\nshow nope\r\n"}, "show: Unknown parameter!",
                                         "\r\n$ ", {"dataRead nope=null", "finished"},
                                         latin1("nope")),
        dialogue<SerialPortJobSetValue>("set value", Type::JobSetValue, 500, {"\r\nset p=2000\r\n"},
                                        "set: p=1300\r\n$", " ", {"dataWritten p=1300", "finished"},
                                        latin1("p"), latin1("2000")),
        dialogue<SerialPortJobReadMeasurements>(
            "read measurements", Type::JobReadMeasurements, 500, {"\r\nshow meas\r\n"},
            "show: meas=\"co2=400.5;t=N\"\r\n$", " ",
            {"measurementsRead co2=400.5|t=N, running", "finished, running"}),
        dialogue<SerialPortJobReadDate>(
            "read date", Type::JobReadDate, 500, {"\r\ndate\r\n"}, "2017-11-13T10:20:30\r\n$", " ",
            {"valueRead ValueDeviceDate QDateTime 2017-11-13T10:20:30Z", "finished"}),
        dialogue<SerialPortJobSetDate>(
            "set date", Type::JobSetDate, 500, {"\r\ndate 2017-11-13T10:20:30\r\n"},
            "Date updated to 2017-11-13T10:20:31\r\n", "$ ",
            {"actionFinished ActionSetDate QDateTime 2017-11-13T10:20:31Z", "finished"}, utc),
    };
}

QVector<JobDialogue> allDialogues()
{
    return valueDialogues() + logDialogues() + eepromDialogues() + firmwareDialogues();
}

QByteArray consecutiveBytes(int first)
{
    QByteArray bytes;
    for (int value = first; value < first + 64; ++value) {
        bytes.append(static_cast<char>(value));
    }
    return bytes;
}
