// SPDX-License-Identifier: GPL-3.0-or-later
// CSV: rows per second of the tool's writer, compared with the bare conversions and with
// Python's csv module, which csv_peer.py uses.
#include "benchmarks/history.h"
#include "benchmarks/rows.h"
#include "common/utils.h"
#include "tests/kit/files.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <charconv>
#include <cmath>
#include <ctime>

namespace {

constexpr int typeCount = 12;
constexpr int bytesOfRow = 256; // more than any row has

QStringList titles()
{
    QStringList names{QStringLiteral("Timestamp")};
    for (int type = 0; type < typeCount; ++type) {
        names << QStringLiteral("type%1").arg(type);
    }
    return names;
}

/// Rows as an export of the store has them.
QVector<LogValue> measurements(int count)
{
    QVector<LogValue> rows(count);
    for (int minute = 0; minute < count; ++minute) {
        LogValue &row = rows[minute];
        row.time = timeOf(minute);
        row.values.reserve(typeCount);
        for (int type = 0; type < typeCount; ++type) {
            row.values.append(20.0 + std::sin(minute / 200.0 + type) * (type + 1));
        }
    }
    return rows;
}

char *writeTwoDigits(char *to, int number, char separator)
{
    *to++ = static_cast<char>('0' + number / 10);
    *to++ = static_cast<char>('0' + number % 10);
    *to++ = separator;
    return to;
}

/// Writes the same rows with nothing but the conversions, into a buffer; returns the end of the
/// text.
char *writeWithToChars(char *to, const QVector<LogValue> &rows)
{
    for (const LogValue &row : rows) {
        const auto seconds = static_cast<std::time_t>(row.time.toMSecsSinceEpoch() / 1000);
        std::tm local{};
        localtime_r(&seconds, &local);
        to = std::to_chars(to, to + bytesOfRow, local.tm_year + 1900).ptr;
        *to++ = '-';
        to = writeTwoDigits(to, local.tm_mon + 1, '-');
        to = writeTwoDigits(to, local.tm_mday, 'T');
        to = writeTwoDigits(to, local.tm_hour, ':');
        to = writeTwoDigits(to, local.tm_min, ':');
        to = writeTwoDigits(to, local.tm_sec, ',');
        for (const double value : row.values) {
            to = std::to_chars(to, to + bytesOfRow, value, std::chars_format::general, 6).ptr;
            *to++ = ',';
        }
        to[-1] = '\n';
    }
    return to;
}

/// The file from which Python reads the times in seconds and the values, and the one that it
/// writes.
struct PythonFiles
{
    explicit PythonFiles(const QTemporaryDir &folder)
        : input(folder.filePath(QStringLiteral("rows")))
        , output(folder.filePath(QStringLiteral("python.csv")))
    { }

    void write(const QVector<LogValue> &rows) const
    {
        QFile file(input);
        if (!file.open(QIODevice::WriteOnly)) {
            fail("The rows could not be written for Python.");
        }
        for (const LogValue &row : rows) {
            const auto seconds = static_cast<double>(row.time.toMSecsSinceEpoch() / 1000);
            file.write(reinterpret_cast<const char *>(&seconds), sizeof seconds);
            file.write(reinterpret_cast<const char *>(row.values.constData()),
                       typeCount * qint64(sizeof(double)));
        }
    }

    /// Seconds of the writing alone, which Python measures itself.
    double seconds() const
    {
        QProcess python;
        python.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        python.start(QStringLiteral("python3"),
                     {testpaths::sourceFile("benchmarks/csv_peer.py"), input, output,
                      titles().join(QLatin1Char(','))});
        python.waitForFinished(-1);
        const double seconds = python.readAllStandardOutput().trimmed().toDouble();
        if (seconds <= 0) {
            fail("Python did not write its file.");
        }
        return seconds;
    }

    QString input;
    QString output;
};

void compare(const QByteArray &written, const QByteArray &expected, const char *what)
{
    if (written.isEmpty() || written != expected) {
        fail(what);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const Rows asked(argc, argv);
    if (!asked.wants("CSV")) {
        return 0;
    }
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("tool.csv"));
    const int count = asked.size(100000, 500);
    const QVector<LogValue> rows = measurements(count);
    const PythonFiles python(folder);
    python.write(rows);
    const QByteArray heading = titles().join(QLatin1Char(',')).toLatin1() + '\n';
    QByteArray buffer(count * bytesOfRow, '\0');
    char *end = nullptr;

    const std::vector<Samples> seconds = interleaved(
        asked.size(9, 1),
        {[&] {
             QString error;
             return secondsOf([&] { saveToCsv(path, titles(), rows, error); });
         },
         [&] { return secondsOf([&] { end = writeWithToChars(buffer.data(), rows); }); },
         [&] { return python.seconds(); }});

    const QByteArray written = files::contents(path);
    compare(written, heading + QByteArray(buffer.constData(), int(end - buffer.constData())),
            "The tool's file and the one of std::to_chars differ.");
    compare(written, files::contents(python.output), "The tool's file and Python's differ.");
    const auto rate = [&](std::size_t number) { return count / median(seconds[number]); };
    const std::string measured = withUnit(rate(0) / 1e3, 0, "k rows/s");
    Rows::print("CSV", measured,
                withUnit(rate(1) / 1e3, 0, "k rows/s") + ", std::to_chars and localtime_r",
                ratiosOf(seconds[1], seconds[0]), ">= 0.33");
    Rows::print("CSV and Python", measured,
                withUnit(rate(2) / 1e3, 0, "k rows/s") + ", Python's csv",
                ratiosOf(seconds[2], seconds[0]), ">= 1");
    return 0;
}
