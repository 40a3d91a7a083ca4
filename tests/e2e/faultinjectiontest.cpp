// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/e2e/faultinjectiontest.h"

#include <QtCore/QThread>
#include <QtWidgets/QMessageBox>

namespace {

// A warning is part of the outcome, not a failure.
QStringList *loggedWarnings = nullptr;
QtMessageHandler testLog = nullptr;

void recordWarning(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && loggedWarnings != nullptr
        && !message.startsWith(text("This plugin does not support"))) {
        loggedWarnings->append(message);
    } else if (type != QtDebugMsg) {
        testLog(type, context, message);
    }
}

} // namespace

FaultInjectionTest::FaultInjectionTest()
{
    constexpr int intervalMs = 5;
    m_watch.setInterval(intervalMs);
    connect(&m_watch, &QTimer::timeout, this, [this] {
        if (m_tool) {
            shortenTimeouts();
            cancelStalledDialog();
        }
    });
}

void FaultInjectionTest::init()
{
    beginCase();
    dialogs().onDialogShown = [this](QDialog *dialog) {
        const auto *const box = qobject_cast<QMessageBox *>(dialog);
        if (box != nullptr && box->icon() != QMessageBox::Question) {
            m_boxes.append(box->text());
        }
    };
    m_shortensTimeouts = false;
    m_cancelled = false;
    m_waiting.invalidate();
    m_boxes.clear();
    m_warnings.clear();
    m_firstValues.clear();
    loggedWarnings = &m_warnings;
    testLog = qInstallMessageHandler(recordWarning);
}

void FaultInjectionTest::cleanup()
{
    m_watch.stop();
    removeDiskFault();
    m_portInUse.reset();
    // The boxes that came, or did not, are part of the outcome.
    dialogs().reset();
    endCase();
    m_terminal.reset();
    loggedWarnings = nullptr;
    qInstallMessageHandler(testLog);
}

void FaultInjectionTest::everydayWorkEndsAsExpected_data()
{
    m_matrix.addRows(FaultParts::everydayWork);
}

void FaultInjectionTest::longJobsEndAsExpected_data()
{
    m_matrix.addRows(FaultParts::longJobs);
}

void FaultInjectionTest::firmwareUpdatesEndAsExpected_data()
{
    m_matrix.addRows(FaultParts::firmwareUpdates);
}

void FaultInjectionTest::actionsWithoutADeviceEndAsExpected_data()
{
    m_matrix.addRows(FaultParts::withoutDevice);
}

void FaultInjectionTest::runRow()
{
    QFETCH(int, fault);
    QFETCH(int, operation);
    m_fault = static_cast<FaultKind>(fault);
    m_action = static_cast<UserAction>(operation);
    m_expected = m_matrix.expected(m_fault, m_action);
    m_watch.start();
    const QByteArray seen = isDiskFault(m_fault) ? runDiskFault() : runLineFault();
    m_matrix.record(m_fault, m_action, seen);
    QCOMPARE(seen, QByteArray(m_expected.text));
}

QByteArray FaultInjectionTest::runLineFault()
{
    if (!prepareDevice() || !injectLineFault()) {
        return "not prepared";
    }
    m_shortensTimeouts = true;
    if (m_action == CloseProgram) {
        return closeProgram();
    }
    m_readingsBefore = storedReadings();
    perform();
    if (!waitFor([this] { return isStalled() || isQuiet(); })) {
        return "no end within 20 s; " + reports();
    }
    const QByteArray seen = lineOutcome();
    if (m_fault != FaultKind::HangUpAfter) {
        return seen + recovery();
    }
    device().hangUp();
    if (isFirmwareUpdate(m_action) || !usesDevice(m_action)) {
        return seen;
    }
    // Nothing reports the hang-up: the next command gets no answer and the queue stops.
    m_shortensTimeouts = false;
    if (!isConnected() || !click("synchronizeButton") || !waitFor([this] { return isStalled(); })
        || !isConnected()) {
        return seen + "; later hang-up noticed";
    }
    return seen + "; later hang-up not reported" + recovery();
}

/// The outcome of the action, without the recovery.
QByteArray FaultInjectionTest::lineOutcome()
{
    QByteArrayList words;
    if (isFirmwareUpdate(m_action) && m_boxes.removeAll(text("Firmware updated")) > 0) {
        words.append(outcome());
    }
    for (const QString &box : qAsConst(m_boxes)) {
        words.append("reports \"" + box.toUtf8() + '"');
    }
    if (m_cancelled) {
        words.append("dialog stays until cancelled");
    } else if (isStalled()) {
        words.append("queue stopped");
    } else if (words.isEmpty()) {
        words.append(outcome());
    }
    return words.join("; ") + logSuffix();
}

/// Removes the fault and returns the steps after which the tool works again; none when the action
/// succeeded and the tool works.
QByteArray FaultInjectionTest::recovery()
{
    const bool wasStalled = isStalled();
    const bool endedWell = !m_cancelled && !wasStalled && m_boxes.isEmpty();
    m_shortensTimeouts = false;
    m_portInUse.reset();
    m_dropPrivileges.reset();
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
            return "; the device doesn't come back";
        }
    } else if (!startDevice()) {
        return "; no device";
    }
    choosePort(device().port());
    if (!isConnected()) {
        return !connectByClick() ? "; Connect fails" : endedWell ? "" : "; works after Connect";
    }
    // The end of the jobs of an unconnected update counts as the end of a connect.
    const QByteArray shown = m_action == UpdateUnconnected ? "; shows connected" : "";
    if (wasStalled || isHangUp(m_fault) || m_action == UpdateUnconnected) {
        return shown
            + (reconnect() ? "; works after Disconnect and Connect" : "; doesn't work again");
    }
    const bool works = click("synchronizeButton") && waitUntilQuiet();
    return !works ? "; then doesn't work" : endedWell ? "" : "; then works";
}

bool FaultInjectionTest::reconnect()
{
    // The port is closed after a moment, which also enables the button.
    auto *const button = child<QPushButton>("connectButton");
    button->setEnabled(false);
    return click("disconnectButton") && waitFor([=] { return button->isEnabled(); })
        && connectByClick();
}

/// Starts the tool, with a short time-out for locks of the database.
bool FaultInjectionTest::startTools()
{
    m_tool = std::make_unique<Tool>();
    QSqlDatabase store =
        QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false);
    store.setConnectOptions(text("QSQLITE_BUSY_TIMEOUT=20"));
    return launchTool();
}

/// Starts the device and the tool and brings both to the state in which the action is possible.
bool FaultInjectionTest::prepareDevice()
{
    const bool damagedGreeting = m_action == UpdateUnconnected
        && (m_fault == FaultKind::LostByte || m_fault == FaultKind::FlippedBit
            || m_fault == FaultKind::NulByte);
    if (damagedGreeting) {
        // The simulator has no such fault, so the test answers in place of the device.
        m_terminal = std::make_unique<PseudoTerminal>();
        if (!startTools()) {
            return false;
        }
        choosePort(m_terminal->path());
        return true;
    }
    if (!startDevice({text("--image"), file(text("received.bin")), text("--image-size"),
                      QString::number(firmwareImage().size()), text("--clock-offset"),
                      text("-86400"), text("--reboot-ms"), text("300"), text("--boot-wait"),
                      text("1000")})
        || !startTools()) {
        return false;
    }
    const bool unconnected = m_action == Connect || m_action == UpdateUnconnected;
    if (!unconnected && !(connectByClick() && waitUntilQuiet())) {
        return false;
    }
    if (m_action == Synchronize) {
        device().control("set altitude=777");
    } else if (m_action == WriteSettings) {
        device().control("set altitude=321");
    } else if (m_action == ShowGraph || m_action == ExportMeasurements) {
        return writeHistory();
    }
    m_memoryBefore = device().control("memory").join();
    return true;
}

QByteArray FaultInjectionTest::simulatorFault() const
{
    if (isFirmwareUpdate(m_action)) {
        switch (m_fault) {
        case FaultKind::LateAnswer:
            // Longer than the restart of the device.
            return m_action == UpdateConnected ? "delay@reboot:2000" : "";
        case FaultKind::SingleBytes:
            return "single-bytes:1";
        case FaultKind::GluedReplies:
            return "glued-answers";
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

const char *FaultInjectionTest::affectedCommand() const
{
    // A late answer to "show" arrives with the second one, in one piece or in two, so that the
    // outcome would vary. That of the clock doesn't.
    return m_action == Synchronize && m_fault == FaultKind::LateAnswer
        ? "date"
        : m_matrix.operation(m_action).command;
}

bool FaultInjectionTest::injectLineFault()
{
    forgetCommands();
    if (m_terminal) {
        return true;
    }
    switch (m_fault) {
    case FaultKind::HangUpBefore:
        device().hangUp();
        return true;
    case FaultKind::PortMissing:
        choosePort(text("/dev/pts/there-is-none"));
        return true;
    case FaultKind::PortInUse:
        m_portInUse = std::make_unique<PortInUseScope>(device().port());
        m_dropPrivileges = std::make_unique<DropPrivilegesScope>();
        return m_portInUse->isActive();
    case FaultKind::WrongChecksumInPieces:
        if (!device().fault("single-bytes@" + QByteArray(affectedCommand()) + ":12")) {
            return false;
        }
        break;
    case FaultKind::WrongChecksum:
    case FaultKind::LostByte:
    case FaultKind::FlippedBit:
        if (m_action == ReadLog) {
            gatherChunks();
        }
        break;
    default:
        break;
    }
    const QByteArray fault = simulatorFault();
    return fault.isEmpty() || device().fault(fault);
}

/// Lets all pieces of an answer arrive before the tool continues to read: after a wrong checksum
/// each piece would use up a send.
void FaultInjectionTest::gatherChunks()
{
    constexpr unsigned long gatherMs = 30;
    connect(
        queue().serialPort().data(), &SerialPortInterface::dataReady, this,
        [this] {
            queue().serialPort()->flush();
            QThread::msleep(gatherMs);
        },
        Qt::QueuedConnection);
}

/// The time-out of a job of @p type: short where it decides the outcome, long where it doesn't, so
/// that a slow machine has no effect.
int FaultInjectionTest::timeoutMs(SerialPortJobType type) const
{
    constexpr int silentMs = 200;
    constexpr int oneBadAnswerMs = 500;
    constexpr int afterRestartMs = 2000; // by then the device is back
    constexpr int inPiecesMs = 3000;
    constexpr int longMs = 5000;
    const QByteArray expected = m_expected.text;
    if (type == SerialPortJobType::JobTransmitFirmwareBlock) {
        return expected.startsWith("reports \"Firmware") ? oneBadAnswerMs : longMs;
    }
    if (m_fault == FaultKind::LateAnswer) {
        return m_action == UpdateUnconnected ? silentMs : lateAnswerTimeoutMs;
    }
    if (m_fault == FaultKind::WrongChecksumInPieces) {
        return inPiecesMs;
    }
    if (expected.contains("queue stopped") || expected.contains("dialog stays")) {
        return silentMs;
    }
    if (m_action == UpdateConnected && m_fault != FaultKind::SingleBytes) {
        return afterRestartMs;
    }
    return expected.contains("sent again") ? oneBadAnswerMs : longMs;
}

void FaultInjectionTest::shortenTimeouts()
{
    if (!m_shortensTimeouts) {
        return;
    }
    auto jobs = queue().jobs();
    if (const auto current = queue().currentJob()) {
        jobs.append(current);
    }
    for (const auto &job : qAsConst(jobs)) {
        const int ms = timeoutMs(job->type());
        if (job->timeout() != ms) {
            job->setTimeout(ms);
        }
    }
}

void FaultInjectionTest::cancelStalledDialog()
{
    constexpr int longestJobMs = 100000;
    if (!waitDialog()->isVisible()) {
        m_waiting.invalidate();
        return;
    }
    if (!m_waiting.isValid()) {
        m_waiting.start();
    }
    if (isStalled() || m_waiting.elapsed() > longestJobMs) {
        m_cancelled = true;
        press(cancelButton());
    }
}

bool FaultInjectionTest::isStalled()
{
    const auto job = queue().currentJob();
    return job && !job->isRunning();
}

/// Whether all commands have been answered and the answers have arrived.
bool FaultInjectionTest::isQuiet()
{
    const auto isIdle = [this] { return !queue().currentJob() && queue().jobs().isEmpty(); };
    for (int turn = 0; turn < 3; ++turn) {
        if (!isIdle()) {
            return false;
        }
        QCoreApplication::processEvents();
    }
    return isIdle() && QApplication::activeModalWidget() == nullptr;
}
