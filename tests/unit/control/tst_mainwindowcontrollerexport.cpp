// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

namespace {

QDateTime minute(int number)
{
    return QDateTime(QDate(2026, 1, 2), QTime(10, 0), Qt::LocalTime).addSecs(60 * number).toUTC();
}

StoredMeasurement stored(int number, const QVector<MeasurementValue> &values)
{
    StoredMeasurement measurement;
    measurement.timestamp = minute(number);
    measurement.state = MeasurementState::Ready;
    measurement.values = values;
    return measurement;
}

MeasurementValue value(const char *name, double number, bool valid = true)
{
    MeasurementValue result;
    result.name = text(name);
    result.value = number;
    result.valid = valid;
    return result;
}

QVector<LogValue> logRows()
{
    LogValue first;
    first.time = minute(0);
    first.values = {0.1, 1234567.0};
    LogValue second;
    second.time = minute(1);
    return {first, second};
}

} // namespace

/// The log and the export of measurements.
class TestMainWindowControllerExport : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_path = m_folder.filePath(text("out.csv"));
        QFile::remove(m_path);
    }

    void logReadingKeepsItsOrder()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.interleaved = &f.handler.calls;
        emit f.window.startReadingLogClicked();
        QCOMPARE(f.handler.calls,
                 texts({"setReadLogEnabled 0", "readLog",
                        "showProgressWaitDialog 0 | Reading log, please wait"}));
    }

    void logProgressMovesTheBar()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.logReadProgress(37);
        QCOMPARE(f.window.calls, texts({"setWaitDialogProgress 37"}));
    }

    void emptyLogShowsAMessage()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.logRead(texts({"Time"}), QVector<LogValue>());
        QCOMPARE(f.window.calls,
                 texts({"closeWaitDialog", "setReadLogEnabled 1", "Information Log is empty"}));
    }

    void logIsWrittenToTheChosenFile()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.window.pollutantUnitIndexChanged(1);
        f.forget();
        f.window.saveFile = m_path;
        QTest::ignoreMessage(QtDebugMsg, qPrintable(text("Saving log to \"%1\"").arg(m_path)));
        emit f.handler.logRead({text("Time"), text("O3"), text("a,b")}, logRows());
        QCOMPARE(f.window.calls,
                 texts({"closeWaitDialog", "setReadLogEnabled 1",
                        "selectSaveFile Select where to save log to | log.csv | CSV files "
                        "(*.csv)"}));
        // Titles unquoted, six significant digits, local time, and a row without values.
        QCOMPARE(f.readFile(m_path),
                 QByteArray("Time,O3,a,b\n2026-01-02T10:00:00,0.1,1.23457e+06\n"
                            "2026-01-02T10:01:00,\n"));
    }

    void logFileNameIsProposedAndRemembered()
    {
        ControllerFixture f;
        f.connectDevice();
        f.settings.values[text("log filename")] = text("/old/log.csv");
        f.window.saveFile = text("/no/such/folder/log.csv");
        emit f.handler.logRead(texts({"Time"}), logRows());
        QCOMPARE(
            f.window.calls.at(2),
            text("selectSaveFile Select where to save log to | /old/log.csv | CSV files (*.csv)"));
        // Remembered before the file is written, which fails here.
        QCOMPARE(f.settings.values[text("log filename")].toString(), f.window.saveFile);
    }

    void cancelledLogDialogKeepsTheFileName()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.logRead(texts({"Time"}), logRows());
        QCOMPARE(f.window.calls.size(), 3);
        QVERIFY(f.settings.writes.isEmpty());
    }

    void logIsClearedAfterAYesOnly()
    {
        ControllerFixture f;
        f.connectDevice();
        const QString question =
            text("askQuestion Clear log | Are you sure you want to clear the log?");
        emit f.window.eraseLogClicked();
        QCOMPARE(f.window.calls, QStringList(question));
        QVERIFY(f.handler.calls.isEmpty());
        f.window.answer = true;
        emit f.window.eraseLogClicked();
        QCOMPARE(f.window.calls, QStringList({question, question}));
        QCOMPARE(f.handler.calls, texts({"eraseLog"}));
    }

    void cancelledExportDialogEndsTheExport()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.window.calls, texts({"showExportDialog"}));
        QVERIFY(f.storage.calls.isEmpty());
        QCOMPARE(f.window.device.serialNumber, text("S-1"));
        QCOMPARE(f.window.storage, static_cast<LocalStorage *>(&f.storage));
        QCOMPARE(f.window.items.size(), 2);
        QVERIFY(f.window.blankSelection.measurementTypes.isEmpty());
        QCOMPARE(f.window.blankSelection.deviceId, 0U);
    }

    void exportWithoutRowsOrTypesShowsAMessage_data()
    {
        QTest::addColumn<bool>("hasRows");
        QTest::addRow("no rows") << false;
        QTest::addRow("no types") << true;
    }

    void exportWithoutRowsOrTypesShowsAMessage()
    {
        QFETCH(bool, hasRows);
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        if (hasRows) {
            f.storage.measurementsResult = {stored(0, {value("T", 1)})};
        } else {
            f.window.exportSelection.measurementTypes = {{1, text("T")}};
        }
        QTest::ignoreMessage(QtDebugMsg, "No measurements found from given time period");
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.window.calls,
                 texts({"showExportDialog",
                        "Information No measurements found from given time period"}));
    }

    void exportAsksForThePeriodOfTheChosenDevice()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.exportSelection.from = minute(1);
        f.window.exportSelection.to = minute(9);
        f.window.exportSelection.deviceId = 42;
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.storage.measurementsAsks.size(), 1);
        QCOMPARE(f.storage.measurementsAsks.first().from, minute(1));
        QCOMPARE(f.storage.measurementsAsks.first().to, minute(9));
        QCOMPARE(f.storage.measurementsAsks.first().deviceId, 42U);
    }

    void exportConvertsAndNamesItsColumns()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.window.temperatureUnitIndexChanged(1);
        f.window.answer = true;
        f.window.saveFile = m_path;
        f.window.exportSelection.measurementTypes = {
            {1, text("T")}, {2, text("O3")}, {3, text("other")}};
        f.storage.measurementsResult = {
            stored(0, {value("T", 100), value("skipped", 5), value("O3", 4), value("other", 7)}),
            stored(1, {value("T", 0), value("skipped", 6), value("O3", 8), value("other", 9)})};
        emit f.window.exportLocalMeasurementsToCsvClicked();
        // An O3 in ppb is multiplied in ppm too; another model's measurement keeps its raw name.
        QCOMPARE(f.readFile(m_path),
                 QByteArray("Timestamp,Temperature,Ozone,other\n2026-01-02T10:00:00,212,2,7\n"
                            "2026-01-02T10:01:00,32,4,9\n"));
    }

    void exportTakesItsColumnsFromTheFirstRow()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.saveFile = m_path;
        f.window.exportSelection.measurementTypes = {{1, text("T")}, {2, text("P")}};
        f.storage.measurementsResult = {stored(0, {value("T", 1)}),
                                        stored(1, {value("T", 2), value("P", 3)}), stored(2, {}),
                                        stored(3, {value("P", 4)})};
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.readFile(m_path),
                 QByteArray("Timestamp,Temperature\n2026-01-02T10:00:00,1\n"
                            "2026-01-02T10:01:00,2,3\n2026-01-02T10:02:00,\n"
                            "2026-01-02T10:03:00,4\n"));
    }

    void exportOfTypesMissingInTheFirstRowHasTheirValuesWithoutTitles()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.saveFile = m_path;
        f.window.exportSelection.measurementTypes = {{2, text("P")}};
        f.storage.measurementsResult = {stored(0, {value("T", 1)}), stored(1, {value("P", 3)})};
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.readFile(m_path),
                 QByteArray("Timestamp\n2026-01-02T10:00:00,\n2026-01-02T10:01:00,3\n"));
    }

    void everyTitleGoesThroughTheDisplayNames()
    {
        ControllerFixture f;
        f.writeFile(
            text("settings.xml"),
            "<KVTConfig><Devices><Device name='A'><Measurements><Measurement name='Timestamp' "
            "displayName='Moment' type='extra' unit='extra'/></Measurements></Device>"
            "</Devices></KVTConfig>");
        f.start();
        f.window.answer = true;
        f.window.saveFile = m_path;
        f.window.exportSelection.measurementTypes = {{2, text("P")}};
        f.storage.measurementsResult = {stored(0, {value("P", 1)})};
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.readFile(m_path), QByteArray("Moment,P\n2026-01-02T10:00:00,1\n"));
    }

    void exportKeepsValuesStoredAsNotValid()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.saveFile = m_path;
        f.window.exportSelection.measurementTypes = {{1, text("T")}};
        f.storage.measurementsResult = {stored(0, {value("T", 5, false)})};
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.readFile(m_path), QByteArray("Timestamp,Temperature\n2026-01-02T10:00:00,5\n"));
    }

    void exportFileNameIsProposedAndRemembered()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.exportSelection.measurementTypes = {{1, text("T")}};
        f.storage.measurementsResult = {stored(0, {value("T", 5)})};
        emit f.window.exportLocalMeasurementsToCsvClicked();
        const QString caption =
            text("selectSaveFile Select where to save measurements to | %1 | CSV "
                 "files (*.csv)");
        QCOMPARE(f.window.calls,
                 QStringList({text("showExportDialog"), caption.arg(text("measurements.csv"))}));
        QVERIFY(f.settings.writes.isEmpty());

        f.window.saveFile = m_path;
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.settings.values[text("measurement export filename")].toString(), m_path);
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.window.calls.last(), caption.arg(m_path));
    }

    void exportThatCantBeSavedShowsAMessage()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.saveFile = text("/no/such/folder/m.csv");
        f.window.exportSelection.measurementTypes = {{1, text("T")}};
        f.storage.measurementsResult = {stored(0, {value("T", 5)})};
        const QString message =
            text("Unable to save measurements to file /no/such/folder/m.csv: No "
                 "such file or directory");
        QTest::ignoreMessage(QtDebugMsg, qPrintable(QLatin1Char('"') + message + QLatin1Char('"')));
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.window.calls.last(), text("Critical ") + message);
    }

    void fileNamesWithPlaceholdersAreShownUnchanged()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.saveFile = text("/no/%2/log.csv");
        emit f.handler.logRead(texts({"Time"}), logRows());
        QCOMPARE(
            f.window.calls.last(),
            text("Critical Unable to save log to file /no/%2/log.csv: No such file or directory"));
    }

private:
    QTemporaryDir m_folder;
    QString m_path;
};

KV_TEST_MAIN(TestMainWindowControllerExport)
#include "tst_mainwindowcontrollerexport.moc"
