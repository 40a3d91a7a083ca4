// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/userfaulttest.h"

#include <QtCore/QThread>
#include <QtWidgets/QMessageBox>
#include <cstdio>

namespace {

const QLatin1String updated("Firmware updated");

// Warnings are a part of what is seen, and so no failure.
QStringList *warnings = nullptr;
QtMessageHandler testLog = nullptr;

void noteWarning(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && warnings != nullptr
        && !message.startsWith(text("This plugin does not support"))) {
        warnings->append(message);
    } else if (type != QtDebugMsg) {
        testLog(type, context, message);
    }
}

} // namespace

UserFaultTest::UserFaultTest(ActGroup group, const QString &part)
    : m_group(group)
    , m_part(part)
{
    constexpr int lookMs = 5;
    m_watch.setInterval(lookMs);
    connect(&m_watch, &QTimer::timeout, this, [this] { watch(); });
}

void UserFaultTest::init()
{
    beginCase();
    dialogs().onDialogShown = [this](QDialog *dialog) {
        const auto *const box = qobject_cast<QMessageBox *>(dialog);
        if (box != nullptr && box->icon() != QMessageBox::Question) {
            m_boxes.append(box->text());
        }
    };
    m_fault = {};
    m_act = {};
    m_hurrying = false;
    m_cancelled = false;
    m_waiting.invalidate();
    m_boxes.clear();
    m_warnings.clear();
    m_exportIsEmpty = false;
    m_firstValues.clear();
    m_image = QByteArray(40, 'i'); // three blocks, the last one short
    warnings = &m_warnings;
    testLog = qInstallMessageHandler(noteWarning);
}

void UserFaultTest::cleanup()
{
    m_watch.stop();
    healDisk();
    m_portUser.reset();
    // Boxes that came, or did not, are a part of what was seen.
    dialogs().reset();
    endCase();
    m_line.reset();
    warnings = nullptr;
    qInstallMessageHandler(testLog);
}

void UserFaultTest::seesWhatIsDemanded_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<int>("act");
    for (const FaultInfo &fault : faults()) {
        for (const ActInfo &act : acts()) {
            if (act.group == m_group && !demanded(fault.fault, act.act).startsWith("- ")) {
                QTest::addRow("%s, %s", act.name, fault.name)
                    << static_cast<int>(fault.fault) << static_cast<int>(act.act);
            }
        }
    }
}

void UserFaultTest::seesWhatIsDemanded()
{
    QFETCH(int, fault);
    QFETCH(int, act);
    const FaultInfo &faultInfo = faults().at(fault);
    const ActInfo &actInfo = acts().at(act);
    const QByteArray seen = run(faultInfo, actInfo);
    const QByteArray words = demanded(faultInfo.fault, actInfo.act);
    m_table.add(faultInfo.name, actInfo.name, words, seen);
    ++m_seen;
    QCOMPARE(seen, words);
}

void UserFaultTest::leavesNoPairOut()
{
    for (int fault = 0; fault < faults().size(); ++fault) {
        QCOMPARE(static_cast<int>(faults().at(fault).fault), fault);
        for (int act = 0; act < acts().size(); ++act) {
            QCOMPARE(static_cast<int>(acts().at(act).act), act);
            const QByteArray words = demanded(faults().at(fault).fault, acts().at(act).act);
            QVERIFY2(words.size() > 3, faults().at(fault).name);
        }
    }
    QCOMPARE(faults().size() * acts().size(), 23 * 16);
}

void UserFaultTest::cleanupTestCase()
{
    int possible = 0;
    for (const FaultInfo &fault : faults()) {
        for (const ActInfo &act : acts()) {
            const QByteArray words = demanded(fault.fault, act.act);
            if (act.group == m_group && words.startsWith("- ")) {
                m_table.addImpossible(fault.name, act.name, words.mid(2));
            } else {
                possible += act.group == m_group ? 1 : 0;
            }
        }
    }
    const QByteArray markdown = m_table.markdown();
    std::printf("\n%s", markdown.constData());
    std::fflush(stdout);
    // A run of single pairs leaves the part as it was.
    QVERIFY(m_seen < possible || ReliabilityTable::keep(m_part, markdown));
}

QByteArray UserFaultTest::run(const FaultInfo &fault, const ActInfo &act)
{
    m_fault = fault;
    m_act = act;
    m_watch.start();
    return isOnDisk(fault.fault) ? runOnTheDisk() : runOnTheLine();
}

QByteArray UserFaultTest::runOnTheLine()
{
    if (!prepareLine() || !strikeLine()) {
        return "not prepared";
    }
    m_hurrying = true;
    if (m_act.act == Act::Close) {
        return closeWindow();
    }
    m_readings = storedReadings();
    carryOut();
    const bool settled = waitFor([this] { return isStalled() || isQuiet(); });
    if (!settled) {
        return "nothing within 20 s; " + told();
    }
    const bool update = m_act.group == ActGroup::FirmwareUpdates;
    const QByteArray seen = wordsOfTheLine();
    if (m_fault.fault == Fault::HangUpAfter) {
        device().hangUp();
        if (update || m_act.group == ActGroup::WithoutADevice) {
            return seen;
        }
        // Nothing tells of it until something is asked of the device, and then nothing comes.
        m_hurrying = false;
        if (!isConnected() || !click("synchronizeButton")
            || !waitFor([this] { return isStalled(); }) || !isConnected()) {
            return seen + "; then a dead line noticed";
        }
        return seen + "; then a dead line unnoticed" + recovery();
    }
    return seen + recovery();
}

/// The words of what came of the act, recovery left out.
QByteArray UserFaultTest::wordsOfTheLine()
{
    QByteArrayList words;
    if (m_act.group == ActGroup::FirmwareUpdates && m_boxes.removeAll(updated) > 0) {
        words.append(outcome());
    }
    for (const QString &box : qAsConst(m_boxes)) {
        words.append("told \"" + box.toUtf8() + '"');
    }
    if (m_cancelled) {
        words.append("waits until cancelled");
    } else if (isStalled()) {
        words.append("stands still");
    } else if (words.isEmpty()) {
        words.append(outcome());
    }
    if (!m_warnings.isEmpty()) {
        words.append("logged");
    }
    return words.join("; ");
}

/// Whether, and how, the tool works again with a device that does.
QByteArray UserFaultTest::recovery()
{
    const bool wellEnded = !m_cancelled && !isStalled() && m_boxes.isEmpty();
    const bool dead = m_fault.fault >= Fault::HangUpBefore && m_fault.fault <= Fault::HangUpAfter;
    m_hurrying = false;
    m_portUser.reset();
    m_ordinary.reset();
    m_line.reset();
    if (device().isRunning()) {
        device().control("fault clear");
        if (dead) {
            device().resume();
        }
        if (device().state("mode") == "bootloader") {
            device().control("restart");
        }
        if (!waitFor([this] { return device().state("mode") == "console"; })) {
            return "; the device is away";
        }
    } else if (!startDevice()) {
        return "; no device";
    }
    choosePort(device().port());
    const bool wasStalled = isStalled();
    if (!isConnected()) {
        const QByteArray words = wasStalled ? "; Connect frees it" : "; Connect connects";
        return connectByClick() ? wellEnded ? QByteArray() : words : "; Connect is in vain";
    }
    if (m_act.act == Act::UpdateUnconnected) {
        // The end of the jobs counts as that of a connect.
        return disconnectAndConnect() ? "; shows connected; Disconnect and Connect connect"
                                      : "; shows connected; not free";
    }
    if (wasStalled || dead) {
        return disconnectAndConnect() ? "; Disconnect and Connect free it" : "; not free";
    }
    const bool free = click("synchronizeButton") && waitUntilQuiet();
    if (wellEnded && free) {
        return QByteArray();
    }
    const QByteArray link = m_cancelled ? ", " : "; ";
    return link + (free ? "then free" : "then not free");
}

bool UserFaultTest::disconnectAndConnect()
{
    // The port is closed a moment later, which also enables the button.
    auto *const button = child<QPushButton>("connectButton");
    button->setEnabled(false);
    return click("disconnectButton") && waitFor([=] { return button->isEnabled(); })
        && connectByClick();
}

/// The tool up to its event loop, with statements that wait for a lock only shortly.
bool UserFaultTest::openTool()
{
    m_tool = std::make_unique<Tool>();
    QSqlDatabase store =
        QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false);
    store.setConnectOptions(text("QSQLITE_BUSY_TIMEOUT=20"));
    return launchTool();
}

bool UserFaultTest::prepareLine()
{
    const bool byHand = m_act.act == Act::UpdateUnconnected && m_fault.fault >= Fault::LostByte
        && m_fault.fault <= Fault::Nul;
    if (byHand) {
        m_line = std::make_unique<PseudoTerminal>();
        if (!openTool()) {
            return false;
        }
        choosePort(m_line->path());
        return true;
    }
    if (!startDevice({text("--image"), file(text("received.bin")), text("--image-size"),
                      QString::number(m_image.size()), text("--clock-offset"), text("-86400"),
                      text("--reboot-ms"), text("300"), text("--boot-wait"), text("1000")})
        || !openTool()) {
        return false;
    }
    const bool unconnected = m_act.act == Act::Connect || m_act.act == Act::UpdateUnconnected;
    if (!unconnected && !(connectByClick() && waitUntilQuiet())) {
        return false;
    }
    if (m_act.act == Act::Synchronize) {
        device().control("set altitude=777");
    } else if (m_act.act == Act::WriteSettings) {
        device().control("set altitude=321");
    } else if (m_act.act == Act::Graph || m_act.act == Act::Export) {
        return writeHistory();
    }
    m_memoryBefore = device().control("memory").join();
    return true;
}

QByteArray UserFaultTest::strikeText() const
{
    QByteArray strike = m_fault.strike;
    if (m_act.group == ActGroup::FirmwareUpdates) {
        const bool connected = m_act.act == Act::UpdateConnected;
        switch (m_fault.fault) {
        case Fault::Late:
            // Later than the device takes for its restart.
            return connected ? QByteArray("delay@reboot:2000") : QByteArray();
        case Fault::Split:
            return "single-bytes:1";
        case Fault::GluedReplies:
            return "glued-answers";
        case Fault::HangUpDuring:
            return "hangup-input:20";
        default:
            break;
        }
    }
    const QByteArray command = struckCommand();
    if (command.isEmpty() && strike.contains('@')) {
        return QByteArray();
    }
    return strike.replace("%c", command).replace("%p", m_act.byte);
}

/// A late value of a setting comes with the second one, in one piece or in two, and so is not the
/// same each time; the clock is.
const char *UserFaultTest::struckCommand() const
{
    const bool aside = m_act.act == Act::Synchronize && m_fault.fault == Fault::Late;
    return aside ? "date" : m_act.command;
}

bool UserFaultTest::strikeLine()
{
    forgetCommands();
    if (m_line) {
        return true;
    }
    switch (m_fault.fault) {
    case Fault::HangUpBefore:
        device().hangUp();
        return true;
    case Fault::NoSuchPort:
        choosePort(text("/dev/pts/there-is-none"));
        return true;
    case Fault::PortInUse:
        m_portUser = std::make_unique<PortUser>(device().port());
        m_ordinary = std::make_unique<OrdinaryUser>();
        return m_portUser->has();
    case Fault::WrongChecksumInPieces:
        if (!device().fault("single-bytes@" + QByteArray(m_act.command) + ":12")) {
            return false;
        }
        break;
    case Fault::WrongChecksum:
    case Fault::LostByte:
    case Fault::FlippedBit:
        if (m_act.act == Act::ReadLog) {
            gatherChunks();
        }
        break;
    default:
        break;
    }
    const QByteArray strike = strikeText();
    return strike.isEmpty() || device().fault(strike);
}

/// Lets the pieces of an answer arrive before the tool looks at them: behind a wrong checksum each
/// piece would cost a send.
void UserFaultTest::gatherChunks()
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

/// For a job of @p type. Short where the time-out decides what comes; long where it doesn't, so
/// that a busy machine is not taken for a silent device.
int UserFaultTest::timeoutMs(SerialPortJobType type) const
{
    constexpr int silent = 200;
    constexpr int oneBadAnswer = 500;
    constexpr int afterRestart = 2000; // the device is there again by then
    constexpr int lateByHalf = 1500; // far from the answer's moment, and so is the second time-out
    constexpr int roomy = 5000;
    const QByteArray words = demanded(m_fault.fault, m_act.act);
    const bool refused = words.startsWith("told \"Firmware");
    if (type == SerialPortJobType::JobTransmitFirmwareBlock) {
        return refused ? oneBadAnswer : roomy;
    }
    if (m_act.act == Act::UpdateUnconnected && m_fault.fault == Fault::Late) {
        return silent;
    }
    if (m_fault.fault == Fault::Late) {
        return lateByHalf;
    }
    if (m_fault.fault == Fault::WrongChecksumInPieces) {
        return 6 * oneBadAnswer; // an answer in pieces takes its time
    }
    if (words.contains("stands still") || words.contains("waits until cancelled")) {
        return silent;
    }
    if (m_act.act == Act::UpdateConnected && m_fault.fault != Fault::Split) {
        return afterRestart;
    }
    return words.contains("asked again") ? oneBadAnswer : roomy;
}

/// Looks after time-outs and wait dialogs every few milliseconds, in whatever event loop runs.
void UserFaultTest::watch()
{
    if (!m_tool) {
        return;
    }
    hurry();
    if (!waitDialog()->isVisible()) {
        m_waiting.invalidate();
        return;
    }
    if (!m_waiting.isValid()) {
        m_waiting.start();
    }
    // Longer than any of these takes.
    constexpr int patienceMs = 100000;
    if (isStalled() || m_waiting.elapsed() > patienceMs) {
        m_cancelled = true;
        press(cancelButton());
    }
}

void UserFaultTest::hurry()
{
    if (!m_hurrying) {
        return;
    }
    const auto shorten = [this](SerialPortJobInterface &job) {
        const int ms = timeoutMs(job.type());
        if (job.timeout() != ms) {
            job.setTimeout(ms);
        }
    };
    if (const auto job = queue().currentJob()) {
        shorten(*job);
    }
    const auto jobs = queue().jobs();
    for (const auto &job : jobs) {
        shorten(*job);
    }
}

bool UserFaultTest::isStalled()
{
    const auto job = queue().currentJob();
    return job && !job->isRunning();
}

/// Whether all that was asked of the device has been answered and has arrived.
bool UserFaultTest::isQuiet()
{
    const auto isIdle = [this] { return !queue().currentJob() && queue().jobs().isEmpty(); };
    for (int look = 0; look < 3; ++look) {
        if (!isIdle()) {
            return false;
        }
        QCoreApplication::processEvents();
    }
    return isIdle() && QApplication::activeModalWidget() == nullptr;
}
