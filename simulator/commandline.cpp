// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/commandline.h"

#include "simulator/devicemodel.h"
#include "simulator/faults.h"

#include <QtCore/QCommandLineParser>
#include <climits>

namespace Simulator {

namespace {

struct NumberOption
{
    const char *name;
    const char *meaning;
    int *target;
    int minimum;
    int maximum;
};

QString text(const char *latin1) { return QString::fromLatin1(latin1); }

QString description()
{
    QString result =
        text("A simulated transmitter on a pseudo-terminal. Prints \"port PATH\" when it "
             "is ready.\n\nFaults, written as KIND[@PLACE][:ARG] (\"+\" after PLACE: from that "
             "place on;\n\"-always\" after KIND: each time that the place is reached, not "
             "only once):\n");
    for (const DeviceFaultInfo &info : deviceFaultKinds()) {
        result += text("  %1 %2\n").arg(text(info.name), -26).arg(text(info.meaning));
    }
    return result
        + text("PLACE is the number of a command that the device has received (from 1), of a log\n"
               "row for log faults (0: the column headings), of a block for firmware faults (from\n"
               "1), or of an EEPROM block for malformed-block. It can also be the beginning of a\n"
               "command, or \"next\" for the next command. Without a place, a fault applies to\n"
               "every command, row or block.\n\n"
               "Defaults are in parentheses.");
}

bool parseNumbers(const QCommandLineParser &parser, const QList<NumberOption> &options,
                  QString &error)
{
    for (const NumberOption &option : options) {
        const QString name = text(option.name);
        if (!parser.isSet(name)) {
            continue;
        }
        bool ok = false;
        const int value = parser.value(name).toInt(&ok);
        if (!ok || value < option.minimum || value > option.maximum) {
            error = text("--%1 needs a number from %2 to %3")
                        .arg(name)
                        .arg(option.minimum)
                        .arg(option.maximum);
            return false;
        }
        *option.target = value;
    }
    return true;
}

QString modelNames()
{
    QStringList names;
    for (const DeviceModel &model : deviceModels()) {
        names += text(model.name);
    }
    return names.join(text(", "));
}

} // namespace

bool parseCommandLine(const QStringList &arguments, CommandLine &commandLine, QString &error)
{
    DeviceOptions &device = commandLine.transmitter.device;
    constexpr int maximumMs = 3600000; // one hour
    int seed = static_cast<int>(device.seed);
    int clockOffsetS = 0;
    const QList<NumberOption> numbers = {
        {"seed", "seed of the measurements and the serial number (1)", &seed, 0, INT_MAX},
        {"log-rows", "rows of the log (25)", &device.logRows, 0, 99999},
        {"rate", "bits per second (115200); 0: no delay", &commandLine.transmitter.rate, 0,
         INT_MAX},
        {"meas-state", "meas_state after warm-up (1)", &device.measurementState, 0, INT_MAX},
        {"warmup", "ms of warm-up (0)", &device.warmUpMs, 0, maximumMs},
        {"clock-offset", "seconds by which the device's clock is ahead of UTC (0)", &clockOffsetS,
         INT_MIN, INT_MAX},
        {"write-ms", "ms for storing the settings (2000)", &device.writeMs, 0, maximumMs},
        {"block-idle-ms", "ms of pause that end an incomplete EEPROM block (1000)",
         &device.blockIdleMs, 1, maximumMs},
        {"reboot-ms", "ms from the command reboot to the restart (5000)", &device.rebootMs, 0,
         maximumMs},
        {"boot-wait", "ms that the bootloader waits for a byte (3000)", &device.bootWaitMs, 1,
         maximumMs},
        {"image-size", "bytes of a firmware image (0); 0: a pause ends it", &device.imageSize, 0,
         INT_MAX},
        {"image-idle-ms", "ms of pause that end an image (300)", &device.imageIdleMs, 1, maximumMs},
    };

    QCommandLineParser parser;
    parser.setApplicationDescription(description());
    const QCommandLineOption help = parser.addHelpOption();
    for (const NumberOption &option : numbers) {
        parser.addOption({text(option.name), text(option.meaning), text("N")});
    }
    parser.addOptions({
        {text("model"), text("one of ") + modelNames(), text("NAME")},
        {text("serial"), text("serial number"), text("TEXT")},
        {text("health"), text("value of health (98%)"), text("TEXT")},
        {text("unavailable"),
         text("a measurement whose value is always \"N\", not available; repeatable"),
         text("NAME")},
        {text("no-log-option"), text("the device has no log option")},
        {text("debug"), text("the device's debug output is on at the start")},
        {text("fault"), text("a fault, see above; repeatable"), text("FAULT")},
        {text("state"), text("file that stores EEPROM, log and clock between runs"), text("FILE")},
        {text("image"), text("file for a received firmware image"), text("FILE")},
        {text("journal"), text("file for the simulator's event log: commands, faults, restarts"),
         text("FILE")},
        {text("link"), text("symbolic link to the port"), text("PATH")},
        {text("control"), text("read control commands from standard input")},
        {text("exit-with-stdin"), text("exit when standard input closes")},
    });
    if (!parser.parse(arguments)) {
        error = parser.errorText();
        return false;
    }
    commandLine.help = parser.helpText();
    commandLine.helpWanted = parser.isSet(help);
    if (!parser.positionalArguments().isEmpty()) {
        error = text("unexpected argument ") + parser.positionalArguments().constFirst();
        return false;
    }
    if (!parseNumbers(parser, numbers, error)) {
        return false;
    }
    device.seed = static_cast<quint32>(seed);
    device.clockOffsetMs = qint64(clockOffsetS) * 1000;
    if (parser.isSet(text("model"))) {
        device.model = parser.value(text("model")).toLatin1();
    }
    if (findDeviceModel(device.model) == nullptr) {
        error = text("--model must be one of ") + modelNames();
        return false;
    }
    device.serial = parser.value(text("serial")).toLatin1();
    if (parser.isSet(text("health"))) {
        device.health = parser.value(text("health")).toLatin1();
    }
    const QStringList unavailable = parser.values(text("unavailable"));
    for (const QString &name : unavailable) {
        device.unavailable += name.toLatin1();
    }
    const QStringList faults = parser.values(text("fault"));
    for (const QString &fault : faults) {
        commandLine.faults += fault.toLatin1();
    }
    device.logOption = !parser.isSet(text("no-log-option"));
    device.debug = parser.isSet(text("debug"));
    device.stateFile = parser.value(text("state"));
    device.imageFile = parser.value(text("image"));
    commandLine.transmitter.eventLog = parser.value(text("journal"));
    commandLine.transmitter.link = parser.value(text("link"));
    commandLine.control = parser.isSet(text("control"));
    commandLine.exitWithInput = parser.isSet(text("exit-with-stdin"));
    return true;
}

} // namespace Simulator
