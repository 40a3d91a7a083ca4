// SPDX-License-Identifier: GPL-3.0-or-later
// The two CSV files, with arbitrary names from a database and titles from a device. The expected
// contents are computed independently.
#include "tests/fuzz/fuzzing.h"
#include "tests/unit/control/controllerfixture.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextCodec>
#include <fuzzer/FuzzedDataProvider.h>

namespace {

constexpr size_t maxNames = 6;
constexpr size_t maxRows = 4;
constexpr size_t maxNameLength = 40;
constexpr double factor = 0.5; // of O3 in the fixture's settings.xml

QString anyText(FuzzedDataProvider &input)
{
    const std::string text = input.ConsumeRandomLengthString(maxNameLength);
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

QString anyName(FuzzedDataProvider &input, const QStringList &names)
{
    return names.at(input.ConsumeIntegralInRange<int>(0, names.size() - 1));
}

// Names in a store: those of the model and others.
QStringList anyNames(FuzzedDataProvider &input)
{
    QStringList names{QStringLiteral("O3"), QStringLiteral("T"), QStringLiteral("Timestamp")};
    const auto count = input.ConsumeIntegralInRange<size_t>(0, maxNames);
    for (size_t i = 0; i < count; ++i) {
        names << anyText(input);
    }
    return names;
}

QDateTime anyTime(FuzzedDataProvider &input)
{
    return QDateTime::fromMSecsSinceEpoch(input.ConsumeIntegral<qint64>(), Qt::UTC);
}

double anyNumber(FuzzedDataProvider &input)
{
    double number = 0.0;
    const auto bytes = input.ConsumeIntegral<quint64>();
    static_assert(sizeof number == sizeof bytes, "a number is made of its bytes");
    std::memcpy(&number, &bytes, sizeof number);
    return number;
}

QVector<StoredMeasurement> anyMeasurements(FuzzedDataProvider &input, const QStringList &names)
{
    QVector<StoredMeasurement> result;
    const auto count = input.ConsumeIntegralInRange<size_t>(0, maxRows);
    for (size_t i = 0; i < count; ++i) {
        StoredMeasurement measurement;
        measurement.timestamp = anyTime(input);
        const auto values = input.ConsumeIntegralInRange<size_t>(0, maxNames);
        for (size_t j = 0; j < values; ++j) {
            measurement.values.append(
                {anyName(input, names), input.ConsumeBool(), anyNumber(input)});
        }
        result.append(measurement);
    }
    return result;
}

QString line(QStringList cells)
{
    return cells.join(QLatin1Char(',')) + QLatin1Char('\n');
}

QString rowText(const QDateTime &time, const QVector<double> &numbers)
{
    QStringList cells;
    for (const double number : numbers) {
        cells << QString::number(number, 'g', 6);
    }
    return time.toLocalTime().toString(Qt::ISODate) + QLatin1Char(',') + line(cells);
}

QString displayName(const QString &name)
{
    return name == QLatin1String("O3") ? QStringLiteral("Ozone")
        : name == QLatin1String("T")   ? QStringLiteral("Temperature")
                                       : name;
}

// The model's ozone comes in ppb and its temperature in Celsius.
double displayValue(const MeasurementValue &value, bool celsius)
{
    if (value.name == QLatin1String("O3")) {
        return value.value * factor;
    }
    if (value.name == QLatin1String("T") && !celsius) {
        return value.value * static_cast<double>(1.8F) + 32.0;
    }
    return value.value;
}

QString exportText(const QVector<StoredMeasurement> &measurements, const QStringList &chosen,
                   bool celsius)
{
    QStringList titles{QStringLiteral("Timestamp")};
    for (const MeasurementValue &value : measurements.first().values) {
        if (chosen.contains(value.name)) {
            titles << displayName(value.name);
        }
    }
    QString text = line(titles);
    for (const StoredMeasurement &measurement : measurements) {
        QVector<double> numbers;
        for (const MeasurementValue &value : measurement.values) {
            if (chosen.contains(value.name)) {
                numbers << displayValue(value, celsius);
            }
        }
        text += rowText(measurement.timestamp, numbers);
    }
    return text;
}

// A working folder with settings.xml, for the files.
struct Desk
{
    Desk()
    {
        FUZZ_ASSERT(QDir::setCurrent(folder.path()));
        fixture = new ControllerFixture;
        fixture->start();
        emit fixture->handler.valueRead(SerialPortValueType::ValueDeviceModel,
                                        QStringLiteral("KVT-1"));
        fixture->window.saveFile = file.path();
        fixture->window.answer = true;
    }
    ~Desk() { delete fixture; }
    Q_DISABLE_COPY(Desk)

    QTemporaryDir folder;
    Fuzzing::MemoryFile file;
    ControllerFixture *fixture = nullptr;
};

void checkExport(FuzzedDataProvider &input, Desk &desk)
{
    ControllerFixture &fixture = *desk.fixture;
    const bool celsius = input.ConsumeBool();
    emit fixture.window.temperatureUnitIndexChanged(celsius ? 0 : 1);
    emit fixture.window.pollutantUnitIndexChanged(input.ConsumeBool() ? 0 : 1);
    const QStringList names = anyNames(input);
    QStringList chosen;
    fixture.window.exportSelection.measurementTypes.clear();
    const auto count = input.ConsumeIntegralInRange<unsigned>(0, maxNames);
    for (unsigned i = 0; i < count; ++i) {
        chosen << anyName(input, names);
        fixture.window.exportSelection.measurementTypes.insert(i, chosen.last());
    }
    fixture.storage.measurementsResult = anyMeasurements(input, names);
    fixture.forget();

    emit fixture.window.exportLocalMeasurementsToCsvClicked();

    const bool nothing = chosen.isEmpty() || fixture.storage.measurementsResult.isEmpty();
    FUZZ_ASSERT(fixture.window.calls.contains(
                    QStringLiteral("Information No measurements found from given time period"))
                == nothing);
    if (!nothing) {
        FUZZ_ASSERT(desk.file.contents()
                    == exportText(fixture.storage.measurementsResult, chosen, celsius).toUtf8());
    }
}

void checkLog(FuzzedDataProvider &input, Desk &desk)
{
    const QStringList titles = anyNames(input);
    QVector<LogValue> rows;
    QString expected = line(titles);
    const auto count = input.ConsumeIntegralInRange<size_t>(1, maxRows);
    for (size_t i = 0; i < count; ++i) {
        LogValue row;
        row.time = anyTime(input);
        const auto values = input.ConsumeIntegralInRange<size_t>(0, maxNames);
        for (size_t j = 0; j < values; ++j) {
            row.values << anyNumber(input);
        }
        rows << row;
        expected += rowText(row.time, row.values);
    }
    desk.fixture->forget();
    emit desk.fixture->handler.logRead(titles, rows);
    FUZZ_ASSERT(desk.file.contents() == expected.toUtf8());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    Fuzzing::disableLog();
    static QCoreApplication application(*argc, *argv);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static Desk desk;
    FuzzedDataProvider input(data, size);
    desk.file.fill(QByteArray());
    if (input.ConsumeBool()) {
        checkLog(input, desk);
    } else {
        checkExport(input, desk);
    }
    return 0;
}
