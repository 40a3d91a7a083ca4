// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/monkey.h"
#include "tests/kit/testmain.h"

#include <QtCore/QCommandLineParser>
#include <cstdio>

int main(int argc, char *argv[])
{
    TestHome home;
    // Without it each label of the graph's axis reads the zone's file anew.
    qputenv("TZ", "UTC");
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        text("A seeded random walk of a user through the whole tool.\nThe same seed draws the same "
             "actions; what they meet depends on time as well."));
    parser.addHelpOption();
    parser.addOptions({
        {text("actions"), text("how many actions (2000)"), text("N"), text("2000")},
        {text("seed"), text("seed of the walk (1)"), text("S"), text("1")},
        {text("hang-ms"), text("silence of the event loop that counts as a hang (20000)"),
         text("MS"), text("20000")},
    });
    parser.process(application);
    Monkey::Options options;
    options.actions = parser.value(text("actions")).toInt();
    options.seed = parser.value(text("seed")).toUInt();
    options.hangMs = parser.value(text("hang-ms")).toInt();

    const QByteArray line = "kv_monkey --actions " + QByteArray::number(options.actions)
        + " --seed " + QByteArray::number(options.seed);
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
    MonkeyTrail::begin(line);
    MonkeyTrail::watchLog();
    QElapsedTimer time;
    time.start();
    bool well = false;
    {
        Monkey monkey(options);
        well = monkey.walk() && monkey.report();
    }
    const double seconds = static_cast<double>(time.elapsed()) / 1000;
    std::printf("%.1f s, %.0f actions a second: %s\n", seconds, options.actions / seconds,
                well ? "all well" : "FAILED");
    return well ? 0 : 1;
}
