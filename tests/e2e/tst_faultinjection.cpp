// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/e2e/useractionfixture.h"
#include "tests/kit/environmentfaults.h"
#include "tests/kit/eventlooplatencymonitor.h"
#include "tests/kit/testmain.h"

#include <QtCore/QThread>
#include <QtWidgets/QMessageBox>

namespace {

constexpr int unacceptableGapMs = 1000; // longer than this, a window appears to hang

// A warning is part of the outcome, not a failure.
QStringList warnings;
QtMessageHandler previousHandler = nullptr;

void recordWarning(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && !message.startsWith(text("This plugin does not support"))) {
        warnings.append(message);
    } else if (type != QtDebugMsg) {
        previousHandler(type, context, message);
    }
}

QString homeStore() { return QDir::homePath() + text("/measurements.db"); }

} // namespace

/// Runs user actions under faults, with the whole tool and its real window, and compares the
/// outcomes that the user sees with the expected ones.
class TestFaultInjection : public UserActionFixture
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        constexpr int intervalMs = 5;
        prepareApplication();
        m_watchTimer.setInterval(intervalMs);
        connect(&m_watchTimer, &QTimer::timeout, this, [this] {
            if (m_tool) {
                shortenTimeouts();
                cancelDialogIfQueueStopped();
            }
        });
    }

    void init()
    {
        beginTestFunction();
        dialogs().onDialogShown = [this](QDialog *dialog) {
            const auto *const box = qobject_cast<QMessageBox *>(dialog);
            if (box != nullptr && box->icon() != QMessageBox::Question) {
                m_boxes.append(box->text());
            }
        };
        m_shortensTimeouts = false;
        m_cancelled = false;
        m_boxes.clear();
        m_firstValues.clear();
        warnings.clear();
        previousHandler = qInstallMessageHandler(recordWarning);
    }

    void cleanup()
    {
        m_watchTimer.stop();
        removeFault();
        // Unexpected and missing message boxes are part of the outcome, not failures of the test.
        dialogs().reset();
        endTestFunction();
        m_terminal.reset();
        qInstallMessageHandler(previousHandler);
    }

    void everydayWorkEndsAsExpected_data() { m_matrix.addRows(FaultParts::everydayWork); }
    void everydayWorkEndsAsExpected() { runPair(); }
    void longOperationsEndAsExpected_data() { m_matrix.addRows(FaultParts::longOperations); }
    void longOperationsEndAsExpected() { runPair(); }
    void firmwareUpdatesEndAsExpected_data() { m_matrix.addRows(FaultParts::firmwareUpdates); }
    void firmwareUpdatesEndAsExpected() { runPair(); }
    void actionsWithoutADeviceEndAsExpected_data() { m_matrix.addRows(FaultParts::withoutDevice); }
    void actionsWithoutADeviceEndAsExpected() { runPair(); }
    void everyPairHasAnExpectation() { m_matrix.verify(23 * 16); }
    void cleanupTestCase() { QVERIFY(m_matrix.saveTables()); }

private:
    void runPair()
    {
        QFETCH(int, fault);
        QFETCH(int, operation);
        m_fault = static_cast<FaultKind>(fault);
        m_action = static_cast<UserAction>(operation);
        m_expected = m_matrix.expected(m_fault, m_action).text;
        m_watchTimer.start();
        const QByteArray outcomeSeen = isDiskFault(m_fault) ? runDiskFault() : runLineFault();
        m_matrix.record(m_fault, m_action, outcomeSeen);
        QCOMPARE(outcomeSeen, m_expected);
    }

    /// Starts the tool with a short time-out for waiting for a locked database.
    bool startToolWithShortLockTimeout()
    {
        m_tool = std::make_unique<ToolObjects>();
        QSqlDatabase store =
            QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false);
        store.setConnectOptions(text("QSQLITE_BUSY_TIMEOUT=20"));
        return startExistingTool();
    }

    bool startToolConnected()
    {
        return startToolWithShortLockTimeout() && connectByClick() && waitUntilIdle();
    }

    bool isQueueStopped()
    {
        const auto job = queue().currentJob();
        return job && !job->isRunning();
    }

    /// Whether each command has been answered, the results were delivered and no dialog is open.
    bool isDeviceQuiet()
    {
        for (int turn = 0; turn < 3 && isIdle(); ++turn) {
            QCoreApplication::processEvents();
        }
        return isIdle() && QApplication::activeModalWidget() == nullptr;
    }

    QByteArray logSuffix() const { return warnings.isEmpty() ? "" : "; warning logged"; }

    QByteArray reportedBoxes() const
    {
        const QString boxes = m_boxes.join(text("\"; reports \""));
        return m_boxes.isEmpty()
            ? QByteArray()
            : "reports \"" + boxes.toUtf8().replace(folder().toUtf8(), "FOLDER") + '"';
    }

    /// The message boxes, and whether the log had a warning.
    QByteArray reports() const { return reportedBoxes() + logSuffix(); }

    QByteArray timeoutOutcome() const { return "no end within 20 s; " + reports(); }

    // Faults of device, line and port.

    QByteArray runLineFault()
    {
        if (!prepareDevice() || !injectLineFault()) {
            return "not prepared";
        }
        m_shortensTimeouts = true;
        if (m_action == CloseProgram) {
            return closeProgram();
        }
        m_readingsBefore = storedReadings();
        const EventLoopLatencyMonitor monitor;
        perform();
        if (!waitFor([this] { return isQueueStopped() || isDeviceQuiet(); })) {
            return timeoutOutcome();
        }
        const bool windowHung = isHangUp(m_fault) && monitor.longestGap() >= unacceptableGapMs;
        const QByteArray outcomeSeen = lineOutcome() + (windowHung ? "; window hung" : "");
        if (m_fault != FaultKind::HangUpAfter) {
            return outcomeSeen + recovery();
        }
        device().hangUp();
        if (isFirmwareUpdate(m_action) || !usesDevice(m_action)) {
            return outcomeSeen;
        }
        // The hang-up isn't reported: the next command gets no reply, and the queue stops.
        m_shortensTimeouts = false;
        if (!isConnected() || !click("synchronizeButton")
            || !waitFor([this] { return isQueueStopped(); }) || !isConnected()) {
            return outcomeSeen + "; later hang-up noticed";
        }
        return outcomeSeen + "; later hang-up not reported" + recovery();
    }

    /// The outcome of the action, without the recovery.
    QByteArray lineOutcome()
    {
        QByteArrayList parts;
        if (isFirmwareUpdate(m_action) && m_boxes.removeAll(text("Firmware updated")) > 0) {
            parts.append(outcome());
        }
        if (!m_boxes.isEmpty()) {
            parts.append(reportedBoxes());
        }
        if (m_cancelled) {
            parts.append("dialog stays until cancelled");
        } else if (isQueueStopped()) {
            parts.append("queue stopped");
        } else if (parts.isEmpty()) {
            parts.append(outcome());
        }
        return parts.join("; ") + logSuffix();
    }

    /// Removes the fault and returns the steps after which the tool works again; empty if the
    /// action succeeded and the tool works without any.
    QByteArray recovery()
    {
        const bool queueWasStopped = isQueueStopped();
        const bool succeeded = !m_cancelled && !queueWasStopped && m_boxes.isEmpty();
        m_shortensTimeouts = false;
        removeFault();
        m_terminal.reset();
        if (device().isRunning()) {
            device().control("fault clear");
            if (isHangUp(m_fault)) {
                device().resume();
            }
            if (device().state("mode") == "bootloader") {
                device().control("restart");
            }
            if (!waitFor([this] { return device().state("mode") == "console"; })) {
                return "; the device doesn't start again";
            }
        } else if (!startDevice()) {
            return "; no device";
        }
        addAndSelectPort(device().port());
        if (!isConnected()) {
            return !connectByClick() ? "; Connect fails" : succeeded ? "" : "; works after Connect";
        }
        // A known quirk: the end of an update without a connection counts as a connection.
        const QByteArray shown = m_action == UpdateUnconnected ? "; shows connected" : "";
        if (queueWasStopped || isHangUp(m_fault) || m_action == UpdateUnconnected) {
            return shown
                + (reconnect() ? "; works after Disconnect and Connect" : "; doesn't work again");
        }
        const bool isWorking = click("synchronizeButton") && waitUntilIdle();
        return !isWorking ? "; then doesn't work" : succeeded ? "" : "; then works";
    }

    /// Starts the device and the tool and prepares what the action needs.
    bool prepareDevice()
    {
        const bool damagesBootMessage = m_action == UpdateUnconnected
            && (m_fault == FaultKind::LostByte || m_fault == FaultKind::FlippedBit
                || m_fault == FaultKind::NulByte);
        if (damagesBootMessage) {
            // The simulator has no such fault, so the test sends the boot message itself.
            m_terminal = std::make_unique<PseudoTerminal>();
            if (!startToolWithShortLockTimeout()) {
                return false;
            }
            addAndSelectPort(m_terminal->path());
            return true;
        }
        if (!startDevice({text("--image"), file(text("received.bin")), text("--image-size"),
                          QString::number(firmwareImage().size()), text("--clock-offset"),
                          text("-86400"), text("--reboot-ms"), text("300"), text("--boot-wait"),
                          text("1000")})) {
            return false;
        }
        const bool isUnconnected = m_action == Connect || m_action == UpdateUnconnected;
        if (isUnconnected ? !startToolWithShortLockTimeout() : !startToolConnected()) {
            return false;
        }
        if (m_action == Synchronize) {
            device().control("set altitude=777");
        } else if (m_action == WriteSettings) {
            device().control("set altitude=321");
        } else if (m_action == ShowGraph || m_action == ExportMeasurements) {
            return writeHistory();
        }
        m_eepromBefore = device().control("memory").join();
        return true;
    }

    bool injectLineFault()
    {
        clearCommands();
        if (m_terminal) {
            return true;
        }
        switch (m_fault) {
        case FaultKind::HangUpBefore:
            device().hangUp();
            return true;
        case FaultKind::PortMissing:
            addAndSelectPort(text("/dev/pts/there-is-none"));
            return true;
        case FaultKind::PortInUse:
            m_faultScopes.push_back(std::make_shared<PortInUseScope>(device().port()));
            m_faultScopes.push_back(std::make_shared<DropPrivilegesScope>());
            return std::static_pointer_cast<PortInUseScope>(m_faultScopes.front())->isActive();
        case FaultKind::WrongChecksumInPieces:
            if (!device().fault("single-bytes@" + QByteArray(affectedCommand()) + ":12")) {
                return false;
            }
            break;
        case FaultKind::WrongChecksum:
        case FaultKind::LostByte:
        case FaultKind::FlippedBit:
            if (m_action == ReadLog) {
                delayReading();
            }
            break;
        default:
            break;
        }
        const QByteArray fault = simulatorFault();
        return fault.isEmpty() || device().fault(fault);
    }

    QByteArray simulatorFault() const
    {
        if (isFirmwareUpdate(m_action)) {
            switch (m_fault) {
            case FaultKind::LateReply:
                // Longer than the device needs to restart.
                return m_action == UpdateConnected ? "delay@reboot:2000" : "";
            case FaultKind::SingleBytes:
                return "single-bytes:1";
            case FaultKind::RepliesInOneChunk:
                return "block-replies-in-one-chunk";
            case FaultKind::HangUpDuring:
                return "hangup-input:20";
            default:
                break;
            }
        }
        const FaultInfo &info = faultInfo(m_fault);
        const QByteArray command = affectedCommand();
        const bool needsCommand = QByteArray(info.simulatorFault).contains('%');
        return needsCommand && command.isEmpty()
            ? QByteArray()
            : info.simulatorFaultFor(command, m_matrix.operation(m_action).damagedByte);
    }

    /// Makes the tool read the rest of a reply in one chunk: after a wrong checksum each further
    /// chunk would use up one of the five sends.
    void delayReading()
    {
        constexpr unsigned long delayMs = 30;
        connect(
            queue().serialPort().data(), &SerialPortInterface::dataReady, this,
            [this] {
                queue().serialPort()->flush();
                QThread::msleep(delayMs);
            },
            Qt::QueuedConnection);
    }

    /// The time-out of a job of @p type: short if the expected outcome depends on time-outs,
    /// otherwise long, so that a slow machine doesn't change the outcome.
    int timeoutMs(SerialPortJobType type) const
    {
        constexpr int noReplyMs = 200;
        constexpr int oneBadReplyMs = 500;
        constexpr int afterRestartMs = 2000; // by then the device is back
        constexpr int manyChunksMs = 3000;
        constexpr int longMs = 5000;
        if (type == SerialPortJobType::JobTransmitFirmwareBlock) {
            return m_expected.startsWith("reports \"Firmware") ? oneBadReplyMs : longMs;
        }
        if (m_fault == FaultKind::LateReply) {
            return m_action == UpdateUnconnected ? noReplyMs : lateReplyTimeoutMs;
        }
        if (m_fault == FaultKind::WrongChecksumInPieces) {
            return manyChunksMs;
        }
        if (m_expected.contains("queue stopped") || m_expected.contains("dialog stays")) {
            return noReplyMs;
        }
        if (m_action == UpdateConnected && m_fault != FaultKind::SingleBytes) {
            return afterRestartMs;
        }
        return m_expected.contains("sent again") ? oneBadReplyMs : longMs;
    }

    void shortenTimeouts()
    {
        if (!m_shortensTimeouts) {
            return;
        }
        auto jobs = queue().jobs();
        jobs.append(queue().currentJob());
        for (const auto &job : qAsConst(jobs)) {
            if (job && job->timeout() != timeoutMs(job->type())) {
                job->setTimeout(timeoutMs(job->type()));
            }
        }
    }

    void cancelDialogIfQueueStopped()
    {
        if (waitDialog()->isVisible() && isQueueStopped()) {
            m_cancelled = true;
            press(cancelButton());
        }
    }

    // Faults of files and folders.

    QByteArray runDiskFault()
    {
        switch (m_action) {
        case StartProgram:
            return startUnderDiskFault();
        case ShowGraph:
        case ExportMeasurements:
        case CloseProgram:
            return useHistoryUnderDiskFault();
        case Connect:
        case Poll:
            return storeUnderDiskFault();
        default:
            return saveUnderDiskFault();
        }
    }

    QByteArray startUnderDiskFault()
    {
        QFile::remove(homeStore());
        const bool needsStore =
            m_fault >= FaultKind::LockedDatabase && m_fault <= FaultKind::UnexpectedSchema;
        if (needsStore) {
            if (!startToolWithShortLockTimeout() || !writeHistory()) {
                return "not prepared";
            }
            deleteTool();
        }
        const QByteArray sample = contents(text("settings.xml"));
        const bool isInjected = m_fault == FaultKind::TruncatedSettings
            ? write(text("settings.xml"), sample.left(sample.indexOf("<Device ")))
            : injectDiskFault();
        if (!isInjected) {
            return "not prepared";
        }
        const QString chosen = file(text("chosen"));
        if (m_fault == FaultKind::FullDisk) {
            dialogs().answerDialog(
                text("Choose where to store measurements"), [=](QDialog *dialog) {
                    removeFault(); // the chosen disk has space
                    QDir().mkpath(chosen);
                    childWidget<QLineEdit>(dialog, "fileNameEdit")->setText(chosen);
                    dialog->done(QDialog::Accepted);
                });
        }
        const bool started = startToolWithShortLockTimeout() && window().isVisible();
        write(text("settings.xml"), sample);
        if (!started) {
            return "not started; " + reports();
        }
        const QString openedPath = QSqlDatabase::database().databaseName();
        if (openedPath == chosen + text("/measurements.db") && m_boxes.size() == 1
            && m_boxes.first().contains(text("Please select a directory"))) {
            return "asks for a folder, the chosen one is used" + logSuffix();
        }
        if (openedPath == homeStore()) {
            return "the next folder is used, "
                + (m_boxes.isEmpty() ? "nothing reported" + logSuffix() : reports());
        }
        const QByteArray result = reports();
        return result.isEmpty() ? "used as it is" : result + "; then starts";
    }

    QByteArray useHistoryUnderDiskFault()
    {
        if (!startToolWithShortLockTimeout() || !writeHistory() || !injectDiskFault()) {
            return "not prepared";
        }
        if (m_action == CloseProgram) {
            return closeProgram() + logSuffix();
        }
        perform();
        if (m_action == ShowGraph) {
            const bool shown = graphShowsHistory();
            return (shown ? "done" : "opens empty") + logSuffix();
        }
        return fileOutcome("measurements.csv");
    }

    /// Saves a file with data from the device: its log or its memory.
    QByteArray saveUnderDiskFault()
    {
        if (!startDevice() || !startToolConnected() || !injectDiskFault()) {
            return "not prepared";
        }
        perform();
        if (!waitFor([this] { return isDeviceQuiet(); })) {
            return timeoutOutcome();
        }
        removeFault();
        return fileOutcome(m_action == ReadLog ? "log.csv" : "backup.dat");
    }

    /// Connects or polls, so that a reading arrives that can't be stored.
    QByteArray storeUnderDiskFault()
    {
        const bool isConnectedBefore = m_action == Poll;
        if (!startDevice()
            || !(isConnectedBefore ? startToolConnected() : startToolWithShortLockTimeout())) {
            return "not prepared";
        }
        const int readingsBefore = storedReadings();
        if (!isConnectedBefore && m_fault == FaultKind::FullDisk) {
            // Not before the port's lock file has been created: it is usually on another disk.
            connect(&tool().handler, &SerialPortHandlerInterface::connected, this,
                    [this] { injectDiskFault(); });
        } else if (!injectDiskFault()) {
            return "not prepared";
        }
        perform();
        if (!waitFor([this] { return isDeviceQuiet() && isConnected(); })) {
            return timeoutOutcome();
        }
        const QByteArray warningSuffix = logSuffix();
        tool().handler.disconnect(this);
        removeFault();
        const auto isStored = [=] { return storedReadings() > readingsBefore; };
        const QByteArray result = QByteArray(isReadingShown() ? "shown" : "not shown")
            + (isStored() ? ", stored" : ", not stored") + warningSuffix;
        if (isStored()) {
            return result;
        }
        poll();
        if (!waitFor([this] { return isDeviceQuiet(); })) {
            return timeoutOutcome();
        }
        if (isStored()) {
            return result + "; the next is stored";
        }
        const bool isRemovable = m_fault == FaultKind::ReadOnlyFolder
            || m_fault == FaultKind::FullDisk || m_fault == FaultKind::LockedDatabase;
        if (!isRemovable) {
            return result + "; the next is not stored either";
        }
        return result
            + (reconnect() ? "; stored again after a new Connect" : "; never stored again");
    }

    /// Three measurements of two types, in the last hours.
    bool writeHistory()
    {
        LocalStorageSqlite &storage = tool().storage;
        unsigned device = 0;
        // The graph opens on the connected device.
        const QString connectedSerial = fieldText("serialNumber");
        bool written = storage.addDevice({text("2"), text("B"),
                                          connectedSerial.isEmpty() ? text("S-1") : connectedSerial,
                                          text("KVT-100")},
                                         device);
        for (int hour = 1; hour <= 3; ++hour) {
            unsigned id = 0;
            const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(-hour * 3600);
            written =
                written && storage.addMeasurement(device, {MeasurementState::Ready, time}, id);
            storage.addMeasurementValues(
                id, {{text("W0"), true, 60.0 + hour}, {text("W1"), true, 40.0 + hour}});
        }
        return written;
    }

    bool injectDiskFault()
    {
        switch (m_fault) {
        case FaultKind::ReadOnlyFolder:
            m_faultScopes.push_back(std::make_shared<DropPrivilegesScope>());
            return QFile::setPermissions(folder(), QFile::ReadOwner | QFile::ExeOwner);
        case FaultKind::FullDisk:
            m_faultScopes.push_back(std::make_shared<FullDiskScope>());
            return true;
        case FaultKind::LockedDatabase:
            m_faultScopes.push_back(std::make_shared<LockedDatabaseScope>(storePath()));
            return std::static_pointer_cast<LockedDatabaseScope>(m_faultScopes.front())->isActive();
        case FaultKind::FolderInPlaceOfStore:
            return QDir().mkpath(storePath());
        default:
            return damageStore();
        }
    }

    /// Overwrites, truncates or replaces the store's file while it is open.
    bool damageStore()
    {
        constexpr int headerBytes = 24; // up to the file change counter
        QFile store(storePath());
        switch (m_fault) {
        case FaultKind::CorruptDatabase: {
            const QByteArray noise(static_cast<int>(store.size()) - headerBytes, '\xa5');
            return store.open(QIODevice::ReadWrite) && store.seek(headerBytes)
                && store.write(noise) == noise.size();
        }
        case FaultKind::TruncatedDatabase:
            return store.resize(store.size() / 2);
        case FaultKind::UnexpectedSchema:
            return QProcess::execute(
                       text("sqlite3"),
                       {storePath(),
                        text("drop table device; create table device(name text); drop table "
                             "measurement_metadata; create table measurement_metadata(day text);")})
                == 0;
        default:
            return false;
        }
    }

    void removeFault()
    {
        QFile::setPermissions(folder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_faultScopes.clear();
    }

    QByteArray fileOutcome(const char *name)
    {
        const QString path = file(text(name));
        if (!m_boxes.isEmpty()) {
            return reports();
        }
        return !QFile::exists(path)    ? "nothing reported, no file"
            : contents(path).isEmpty() ? "nothing reported, an empty file"
                                       : "nothing reported, a file";
    }

    QTimer m_watchTimer; ///< shortens time-outs and cancels dialogs, in nested event loops too
    bool m_shortensTimeouts = false; ///< jobs have the pair's time-outs instead of their own
    bool m_cancelled = false; ///< a wait dialog had to be cancelled
    QStringList m_boxes; ///< texts of the message boxes, except questions
    std::vector<std::shared_ptr<void>> m_faultScopes; ///< each causes a fault of port or disk
};

KV_TEST_MAIN(TestFaultInjection)
#include "tst_faultinjection.moc"
