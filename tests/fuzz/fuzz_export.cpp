// SPDX-License-Identifier: GPL-3.0-or-later
// The CSV files of an export, with arbitrary names of measurements in the database, and of a log,
// with arbitrary titles from the device. The expected contents are computed independently.
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/fileio.h"
#include "tests/unit/control/controllerfixture.h"

#include <QtCore/QTemporaryDir>
#include <fuzzer/FuzzedDataProvider.h>

namespace {

constexpr int maxNames = 6;
constexpr int maxRows = 4;
constexpr size_t maxNameLength = 40;

QString consumeName(FuzzedDataProvider &input, const QStringList &names)
{
    return names.at(input.ConsumeIntegralInRange<int>(0, names.size() - 1));
}

// Names of measurements in a database: those of the model and others.
QStringList consumeNames(FuzzedDataProvider &input)
{
    QStringList names{QStringLiteral("O3"), QStringLiteral("T"), QStringLiteral("Timestamp")};
    for (int i = input.ConsumeIntegralInRange(0, maxNames); i > 0; --i) {
        names << QString::fromStdString(input.ConsumeRandomLengthString(maxNameLength));
    }
    return names;
}

QDateTime consumeTime(FuzzedDataProvider &input)
{
    return QDateTime::fromMSecsSinceEpoch(input.ConsumeIntegral<qint64>(), Qt::UTC);
}

double consumeNumber(FuzzedDataProvider &input)
{
    double number = 0.0;
    const auto bytes = input.ConsumeIntegral<quint64>();
    static_assert(sizeof number == sizeof bytes, "a number is made of its bytes");
    std::memcpy(&number, &bytes, sizeof number);
    return number;
}

QVector<StoredMeasurement> consumeMeasurements(FuzzedDataProvider &input, const QStringList &names)
{
    QVector<StoredMeasurement> result(input.ConsumeIntegralInRange(0, maxRows));
    for (StoredMeasurement &measurement : result) {
        measurement.timestamp = consumeTime(input);
        for (int i = input.ConsumeIntegralInRange(0, maxNames); i > 0; --i) {
            measurement.values.append(
                {consumeName(input, names), input.ConsumeBool(), consumeNumber(input)});
        }
    }
    return result;
}

QString line(const QStringList &cells) { return cells.join(QLatin1Char(',')) + QLatin1Char('\n'); }

QString rowText(const QDateTime &time, const QVector<double> &numbers)
{
    QStringList cells;
    for (const double number : numbers) {
        cells << QString::number(number, 'g', 6);
    }
    return time.toLocalTime().toString(Qt::ISODate) + QLatin1Char(',') + line(cells);
}

// The device's values are in ppb for ozone and in degrees Celsius for the temperature.
double displayValue(const MeasurementValue &value, bool celsius)
{
    if (value.name == QLatin1String("O3")) {
        return value.value * 0.5;
    }
    const bool isConverted = value.name == QLatin1String("T") && !celsius;
    return isConverted ? value.value * static_cast<double>(1.8F) + 32.0 : value.value;
}

QString exportText(const QVector<StoredMeasurement> &measurements, const QStringList &chosen,
                   bool celsius)
{
    const QMap<QString, QString> displayNames{{QStringLiteral("O3"), QStringLiteral("Ozone")},
                                              {QStringLiteral("T"), QStringLiteral("Temperature")}};
    QStringList titles{QStringLiteral("Timestamp")};
    QString rows;
    for (const StoredMeasurement &measurement : measurements) {
        QVector<double> numbers;
        for (const MeasurementValue &value : measurement.values) {
            if (chosen.contains(value.name)) {
                numbers << displayValue(value, celsius);
                if (&measurement == measurements.constData()) {
                    titles << displayNames.value(value.name, value.name);
                }
            }
        }
        rows += rowText(measurement.timestamp, numbers);
    }
    return line(titles) + rows;
}

// The controller with a model, and the file that its file dialog chooses.
struct Exporter
{
    Exporter()
    {
        FUZZ_ASSERT(QDir::setCurrent(folder.path()));
        fixture = new ControllerFixture;
        FUZZ_ASSERT(fixture->controller.start());
        emit fixture->handler.valueRead(SerialPortValueType::ValueDeviceModel,
                                        QStringLiteral("KVT-1"));
        fixture->window.saveFile = path;
        fixture->window.dialogResult = true;
    }

    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("values.csv"));
    ControllerFixture *fixture = nullptr; ///< constructed with folder as the working directory
};

void checkExport(FuzzedDataProvider &input, const Exporter &exporter)
{
    ControllerFixture &fixture = *exporter.fixture;
    const bool celsius = input.ConsumeBool();
    emit fixture.window.temperatureUnitIndexChanged(celsius ? 0 : 1);
    emit fixture.window.pollutantUnitIndexChanged(input.ConsumeBool() ? 0 : 1);
    const QStringList names = consumeNames(input);
    QStringList chosen;
    fixture.window.exportSelection.measurementTypes.clear();
    for (int i = input.ConsumeIntegralInRange(0, maxNames); i > 0; --i) {
        chosen << consumeName(input, names);
        fixture.window.exportSelection.measurementTypes.insert(static_cast<unsigned>(i),
                                                               chosen.last());
    }
    fixture.storage.measurementsResult = consumeMeasurements(input, names);
    fixture.takeCalls();

    emit fixture.window.exportLocalMeasurementsToCsvClicked();

    const bool isEmpty = chosen.isEmpty() || fixture.storage.measurementsResult.isEmpty();
    FUZZ_ASSERT(fixture.calls.contains(
                    QStringLiteral("Information No measurements found from given time period"))
                == isEmpty);
    FUZZ_ASSERT(isEmpty
                || FileIo::contents(exporter.path)
                    == exportText(fixture.storage.measurementsResult, chosen, celsius).toUtf8());
}

void checkLog(FuzzedDataProvider &input, const Exporter &exporter)
{
    const QStringList titles = consumeNames(input);
    QVector<LogValue> rows(input.ConsumeIntegralInRange(1, maxRows));
    QString expected = line(titles);
    for (LogValue &row : rows) {
        row.time = consumeTime(input);
        for (int i = input.ConsumeIntegralInRange(0, maxNames); i > 0; --i) {
            row.values << consumeNumber(input);
        }
        expected += rowText(row.time, row.values);
    }
    exporter.fixture->takeCalls();
    emit exporter.fixture->handler.logRead(titles, rows);
    FUZZ_ASSERT(FileIo::contents(exporter.path) == expected.toUtf8());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const Exporter exporter;
    FuzzedDataProvider input(data, size);
    FUZZ_ASSERT(FileIo::write(exporter.path, QByteArray()));
    if (input.ConsumeBool()) {
        checkLog(input, exporter);
    } else {
        checkExport(input, exporter);
    }
    return 0;
}
