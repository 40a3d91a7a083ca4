// SPDX-License-Identifier: GPL-3.0-or-later
// CSV: rows per second of the tool's writer, compared with the bare conversions by std::to_chars
// and localtime_r, and with Python's csv module (csvreference.py).
#include "benchmarks/benchmarkarguments.h"
#include "benchmarks/benchmarkoutput.h"
#include "benchmarks/readingtimes.h"
#include "common/utils.h"
#include "tests/kit/fileio.h"
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
constexpr int maximumRowBytes = 256; // more than any row has

QStringList headings()
{
    QStringList names{QStringLiteral("Timestamp")};
    for (int type = 0; type < typeCount; ++type) {
        names << QStringLiteral("type%1").arg(type);
    }
    return names;
}

/// @p count rows like those of an export from the store, one a minute.
QVector<LogValue> exportRows(int count)
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

char *writeTwoDigits(char *pos, int number, char separator)
{
    *pos++ = static_cast<char>('0' + number / 10);
    *pos++ = static_cast<char>('0' + number % 10);
    *pos++ = separator;
    return pos;
}

/// Writes @p rows at @p pos, without a file, a stream or a string object; returns the end of
/// the text.
char *writeWithToChars(char *pos, const QVector<LogValue> &rows)
{
    for (const LogValue &row : rows) {
        const auto seconds = static_cast<std::time_t>(row.time.toMSecsSinceEpoch() / 1000);
        std::tm local{};
        localtime_r(&seconds, &local);
        pos = std::to_chars(pos, pos + maximumRowBytes, local.tm_year + 1900).ptr;
        *pos++ = '-';
        pos = writeTwoDigits(pos, local.tm_mon + 1, '-');
        pos = writeTwoDigits(pos, local.tm_mday, 'T');
        pos = writeTwoDigits(pos, local.tm_hour, ':');
        pos = writeTwoDigits(pos, local.tm_min, ':');
        pos = writeTwoDigits(pos, local.tm_sec, ',');
        for (const double value : row.values) {
            pos =
                std::to_chars(pos, pos + maximumRowBytes, value, std::chars_format::general, 6).ptr;
            *pos++ = ',';
        }
        pos[-1] = '\n';
    }
    return pos;
}

/// The file from which csvreference.py reads the times in seconds and the values, and the CSV file
/// that it writes.
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

    /// Runs csvreference.py, which measures the time of writing itself; in seconds.
    double seconds() const
    {
        QProcess python;
        python.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        python.start(QStringLiteral("python3"),
                     {TestPaths::sourceFile("benchmarks/csvreference.py"), input, output,
                      headings().join(QLatin1Char(','))});
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

void checkEqual(const QByteArray &written, const QByteArray &expected, const char *failure)
{
    if (written.isEmpty() || written != expected) {
        fail(failure);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const BenchmarkArguments arguments(argc, argv);
    if (!arguments.isRequested("CSV")) {
        return 0;
    }
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("tool.csv"));
    const int count = arguments.size(100000, 500);
    const QVector<LogValue> rows = exportRows(count);
    const PythonFiles python(folder);
    python.write(rows);
    const QByteArray headingLine = headings().join(QLatin1Char(',')).toLatin1() + '\n';
    QByteArray buffer(count * maximumRowBytes, '\0');
    char *end = nullptr;

    const std::vector<Samples> seconds = runAlternately(
        arguments.size(9, 1),
        {[&] {
             QString error;
             return secondsOf([&] { saveToCsv(path, headings(), rows, error); });
         },
         [&] { return secondsOf([&] { end = writeWithToChars(buffer.data(), rows); }); },
         [&] { return python.seconds(); }});

    const QByteArray written = FileIo::contents(path);
    checkEqual(written, headingLine + QByteArray(buffer.constData(), int(end - buffer.constData())),
               "The tool's file and the one of std::to_chars differ.");
    checkEqual(written, FileIo::contents(python.output), "The tool's file and Python's differ.");
    const auto rate = [&](std::size_t writer) { return count / median(seconds[writer]); };
    const std::string measured = withUnit(rate(0) / 1e3, 0, "k rows/s");
    printRow("CSV", measured,
             withUnit(rate(1) / 1e3, 0, "k rows/s") + ", std::to_chars and localtime_r",
             ratiosOf(seconds[1], seconds[0]), ">= 0.33");
    printRow("CSV and Python", measured, withUnit(rate(2) / 1e3, 0, "k rows/s") + ", Python's csv",
             ratiosOf(seconds[2], seconds[0]), ">= 1");
    return 0;
}
