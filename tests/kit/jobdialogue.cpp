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
#include "tests/kit/replysamples.h"

namespace {

using Type = SerialPortJobType;

template <typename Job, typename... Arguments>
JobDialogue::Maker makerOf(const Arguments &...arguments)
{
    return
        [=](SerialPortInterface *port) { return JobPointer(new Job(port, arguments..., nullptr)); };
}

} // namespace

QVector<JobDialogue> valueDialogues()
{
    const QDateTime utc(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);
    return {
        {"connect",
         Type::JobConnect,
         500,
         makerOf<SerialPortJobConnect>(),
         {"\r\nshow swver\r\n"},
         latin1("\r\n$ show swver\r\nshow: swver=1.2.3\r\n$"),
         latin1(" "),
         {latin1("finished")}},
        {"read model",
         Type::JobReadModel,
         500,
         makerOf<SerialPortJobReadModel>(),
         {"\r\nshow unit\r\n"},
         latin1("\r\n$ show unit\r\nUnit\r\nModel: KVT 301\r\nSerial:"),
         latin1(" 1234\r\n$ "),
         {latin1("valueRead 3 QString KVT 301"), latin1("finished")}},
        {"read value",
         Type::JobReadValue,
         500,
         makerOf<SerialPortJobReadValue>(latin1("p")),
         {"\r\nshow p\r\n"},
         latin1("\r\n$ show p\r\nshow: p=990 hPa\r\n$"),
         latin1(" "),
         {latin1("dataRead p=990 hPa"), latin1("finished")}},
        {"read value, unknown",
         Type::JobReadValue,
         500,
         makerOf<SerialPortJobReadValue>(latin1("nope")),
         {"\r\nshow nope\r\n"},
         latin1("\r\n$ show nope\r\nshow: Unknown parameter!"),
         latin1("\r\n$ "),
         {latin1("dataRead nope=null"), latin1("finished")}},
        {"set value",
         Type::JobSetValue,
         500,
         makerOf<SerialPortJobSetValue>(latin1("p"), latin1("2000")),
         {"\r\nset p=2000\r\n"},
         latin1("\r\n$ set p=2000\r\nset: p=1300\r\n$"),
         latin1(" "),
         {latin1("dataWritten p=1300"), latin1("finished")}},
        {"read measurements",
         Type::JobReadMeasurements,
         500,
         makerOf<SerialPortJobReadMeasurements>(),
         {"\r\nshow meas\r\n"},
         latin1("\r\n$ show meas\r\nshow: meas=\"co2=400.5;t=N\"\r\n$"),
         latin1(" "),
         {latin1("measurementsRead co2=400.5|t=N, running"), latin1("finished, running")},
         {},
         0,
         true,
         false},
        {"read date",
         Type::JobReadDate,
         500,
         makerOf<SerialPortJobReadDate>(),
         {"\r\ndate\r\n"},
         latin1("\r\n$ date\r\n2017-11-13T10:20:30\r\n$"),
         latin1(" "),
         {latin1("valueRead 0 QDateTime 2017-11-13T10:20:30Z"), latin1("finished")}},
        {"set date",
         Type::JobSetDate,
         500,
         makerOf<SerialPortJobSetDate>(utc),
         {"\r\ndate 2017-11-13T10:20:30\r\n"},
         latin1("\r\n$ date 2017-11-13T10:20:30\r\nDate updated to 2017-11-13T10:20:31\r\n"),
         latin1("$ "),
         {latin1("actionFinished 1 QDateTime 2017-11-13T10:20:31Z"), latin1("finished")}},
    };
}

QVector<JobDialogue> logDialogues()
{
    const QString noLog = latin1("No LOG option installed!\r\n$");
    return {
        {"read log",
         Type::JobReadLog,
         500,
         makerOf<SerialPortJobReadLog>(),
         {"\r\nlog --count\r\n"},
         latin1("\r\n$ log --count\r\ncount=1234\r\n$"),
         latin1(" "),
         {latin1("valueRead 1 bool true"), latin1("valueRead 2 int 1234"), latin1("finished")}},
        {"read log, none",
         Type::JobReadLog,
         500,
         makerOf<SerialPortJobReadLog>(),
         {"\r\nlog --count\r\n"},
         latin1("\r\n$ log --count\r\n") + noLog,
         latin1(" "),
         {latin1("valueRead 1 bool false"), latin1("finished")}},
        {"read log titles",
         Type::JobReadLogValue,
         500,
         makerOf<SerialPortJobReadLogValue>(0),
         {"\r\nlog --read=0\r\n"},
         titlesReply(latin1("TIME,CO2,,T")),
         latin1("\r\n$ "),
         {latin1("logTitlesRead TIME|CO2||T"), latin1("finished")}},
        {"read log row",
         Type::JobReadLogValue,
         500,
         makerOf<SerialPortJobReadLogValue>(12),
         {"\r\nlog --read=12\r\n"},
         rowReply(12, latin1("00012"), latin1("2017-11-13T10:20:30+02:00,400.5,-2")),
         latin1("\r\n$ "),
         {latin1("logValueRead 12 400.5|-2 2017-11-13T10:20:30Z"), latin1("finished")}},
        {"erase log",
         Type::JobEraseLog,
         500,
         makerOf<SerialPortJobEraseLog>(),
         {"log --erase\r\n"},
         latin1("log --erase\r\nLog erased!\r\n$"),
         latin1(" "),
         {latin1("actionFinished 2 nothing, running"), latin1("finished")}},
        {"erase log, none",
         Type::JobEraseLog,
         500,
         makerOf<SerialPortJobEraseLog>(),
         {"log --erase\r\n"},
         latin1("log --erase\r\n") + noLog,
         latin1(" "),
         {latin1("valueRead 1 bool false, running"), latin1("finished")}},
    };
}

QByteArray consecutiveBytes(int first)
{
    QByteArray bytes;
    for (int value = first; value < first + 64; ++value) {
        bytes.append(static_cast<char>(value));
    }
    return bytes;
}

QVector<JobDialogue> eepromDialogues()
{
    const QByteArray block = consecutiveBytes(0); // 0x00, 0x0D, 0x11 and 0x13 among them
    return {
        {"write to eeprom",
         Type::JobWriteToEeprom,
         180000,
         makerOf<SerialPortJobWriteToEeprom>(),
         {"write --really\r\n"},
         latin1("write --really\r\nWriting current configuration to non-volatile memory... "
                "512 bytes written!\r\n$"),
         latin1(" "),
         {latin1("actionFinished 0 nothing, running"), latin1("finished")}},
        {"factory reset",
         Type::JobFactoryReset,
         60000,
         makerOf<SerialPortJobFactoryReset>(),
         {"\r\ninitconf --really\r\n"},
         latin1("\r\n$ initconf --really\r\nLoading default configuration... OK!\r\n"
                "Write the default configuration to non-volatile memory by using write command"),
         latin1(".\r\n$ "),
         {latin1("finished")}},
        {"read eeprom block",
         Type::JobReadEepromBlock,
         500,
         makerOf<SerialPortJobReadEepromBlock>(quint16(7), 42),
         {"\r\neeprom --read_block 7\r\n"},
         eepromReply(7, latin1(block.toHex().constData())),
         latin1("$ "),
         {latin1("eepromBlockRead 7 ") + latin1(block.toHex().constData()),
          latin1("actionFinished 10 int 42"), latin1("finished")}},
        {"write eeprom block",
         Type::JobWriteEepromBlock,
         5000,
         makerOf<SerialPortJobWriteEepromBlock>(quint16(1023), block, 100),
         {"\r\neeprom --write_block 1023\r\n", block},
         latin1("\r\n$ eeprom --write_block 1023\r\nPlease input 64 bytes\r\n\r\nDone\r\n"),
         latin1("$ "),
         {latin1("eepromBlockWritten 1023"), latin1("actionFinished 11 int 100"),
          latin1("finished")},
         {},
         1},
    };
}

QVector<JobDialogue> firmwareDialogues()
{
    const QByteArray block = QByteArray("*!.\0\r\n\x11\x13\xff*!.BOOT", 16);
    const auto blockMaker = makerOf<SerialPortJobTransmitFirmwareBlock>(block, 94.125);
    return {
        {"restart",
         Type::JobReboot,
         30000,
         makerOf<SerialPortJobReboot>(RebootMode::RebootAndWaitForSelftest),
         {"reboot --really\r\n"},
         latin1("reboot --really\r\nReseting device in 5 seconds\r\n\r\nPerforming selftest...\r\n"
                "RAM OK\r\nAll tests passed.\r\n\r\nOrvanta KVT 3\r\nCompiled on Nov 13 2017\r\n"
                "Copyright "),
         latin1("2017\r\n$ "),
         {latin1("actionFinished 3 nothing"), latin1("finished")}},
        {"restart for firmware",
         Type::JobReboot,
         30000,
         makerOf<SerialPortJobReboot>(RebootMode::RebootForFirmwareUpdate),
         {"reboot --really\r\n"},
         latin1("reboot --really\r\nReseting device in 5 seconds"),
         latin1("...\r\n"),
         {latin1("actionFinished 4 nothing"), latin1("finished")}},
        {"enter bootloader",
         Type::JobUpdateFirmware,
         900000,
         makerOf<SerialPortJobUpdateFirmware>(),
         {},
         latin1("...\r\nloader 1.0\r\nBoot"),
         QString(),
         {latin1("actionFinished 6 nothing"), latin1("finished")},
         {"b"}},
        {"block accepted",
         Type::JobTransmitFirmwareBlock,
         2000,
         blockMaker,
         {block},
         latin1("*"),
         QString(),
         {latin1("actionFinished 5 double 94.125"), latin1("finished")},
         {},
         1,
         false},
        {"block refused",
         Type::JobTransmitFirmwareBlock,
         2000,
         blockMaker,
         {block},
         latin1("!"),
         QString(),
         {latin1("failed 14")},
         {},
         1,
         false},
        {"image taken",
         Type::JobTransmitFirmwareBlock,
         2000,
         blockMaker,
         {block},
         latin1("."),
         latin1("\r\ndone *"),
         {latin1("actionFinished 7 int 100"), latin1("finished")},
         {},
         1,
         false},
    };
}

QVector<JobDialogue> allDialogues()
{
    return valueDialogues() + logDialogues() + eepromDialogues() + firmwareDialogues();
}
