// SPDX-License-Identifier: GPL-3.0-or-later
// Faults of files and folders.
#include "tests/faults/userfaulttest.h"

namespace {

constexpr auto writable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
constexpr auto readOnly = QFile::ReadOwner | QFile::ExeOwner;

QString homeStore()
{
    return QDir::homePath() + text("/measurements.db");
}

} // namespace

QByteArray UserFaultTest::runOnTheDisk()
{
    switch (m_act.act) {
    case Act::Start:
        return startOnTheDisk();
    case Act::Graph:
    case Act::Export:
    case Act::Close:
        return lookBackOnTheDisk();
    case Act::Connect:
    case Act::Poll:
        return storeOnTheDisk();
    default:
        return saveOnTheDisk();
    }
}

/// Three measurements of two types, in the last hours.
bool UserFaultTest::writeHistory()
{
    LocalStorageSqlite &storage = tool().storage;
    unsigned device = 0;
    // The graph opens with the device that is connected.
    const QString own = field("serialNumber");
    bool written = storage.addDevice(
        {text("2"), text("B"), own.isEmpty() ? text("S-1") : own, text("KVT-100")}, device);
    for (int hour = 1; hour <= 3; ++hour) {
        unsigned id = 0;
        const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(-hour * 3600);
        written = written && storage.addMeasurement(device, {MeasurementState::Ready, time}, id);
        storage.addMeasurementValues(
            id, {{text("W0"), true, 60.0 + hour}, {text("W1"), true, 40.0 + hour}});
    }
    return written;
}

/// Overwrites, cuts or replaces the store's file under whoever has it open.
bool UserFaultTest::spoilStore(Fault fault)
{
    constexpr int headerBytes = 24; // behind it stands the counter that tells of a change
    const QString path = storePath();
    switch (fault) {
    case Fault::CorruptDatabase: {
        QFile store(path);
        if (!store.open(QIODevice::ReadWrite) || !store.seek(headerBytes)) {
            return false;
        }
        const QByteArray noise(static_cast<int>(store.size()) - headerBytes, '\xa5');
        return store.write(noise) == noise.size();
    }
    case Fault::TruncatedDatabase:
        return QFile::resize(path, QFileInfo(path).size() / 2);
    case Fault::OtherShape: {
        QProcess client;
        client.start(text("sqlite3"),
                     {path,
                      text("drop table device; create table device(name text); drop table "
                           "measurement_metadata; create table measurement_metadata(day text);")});
        return client.waitForFinished() && client.exitCode() == 0;
    }
    default:
        return false;
    }
}

bool UserFaultTest::strikeDisk()
{
    const QString folder = m_folder->path();
    switch (m_fault.fault) {
    case Fault::ReadOnlyFolder:
        m_ordinary = std::make_unique<OrdinaryUser>();
        return QFile::setPermissions(folder, readOnly);
    case Fault::FullDisk:
        m_fullDisk = std::make_unique<FullDisk>();
        return true;
    case Fault::LockedDatabase:
        m_databaseUser = std::make_unique<DatabaseUser>(storePath());
        return m_databaseUser->has();
    case Fault::FolderInPlace:
        return QDir().mkpath(storePath());
    default:
        return spoilStore(m_fault.fault);
    }
}

void UserFaultTest::healDisk()
{
    m_fullDisk.reset();
    m_databaseUser.reset();
    if (m_folder) {
        QFile::setPermissions(m_folder->path(), writable);
    }
    m_ordinary.reset();
}

bool UserFaultTest::canHeal() const
{
    return m_fault.fault == Fault::ReadOnlyFolder || m_fault.fault == Fault::FullDisk
        || m_fault.fault == Fault::LockedDatabase;
}

/// The message boxes, and whether the log had a warning.
QByteArray UserFaultTest::told()
{
    QByteArrayList words;
    for (QString box : qAsConst(m_boxes)) {
        words.append("told \"" + box.replace(m_folder->path(), text("FOLDER")).toUtf8() + '"');
    }
    if (!m_warnings.isEmpty()) {
        words.append("logged");
    }
    return words.join("; ");
}

QByteArray UserFaultTest::startOnTheDisk()
{
    QFile::remove(homeStore());
    const bool needsStore =
        m_fault.fault >= Fault::LockedDatabase && m_fault.fault <= Fault::OtherShape;
    if (needsStore) {
        if (!openTool() || !writeHistory()) {
            return "not prepared";
        }
        m_tool.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    }
    const QByteArray sample = contents(text("settings.xml"));
    if (m_fault.fault == Fault::TruncatedSettings) {
        if (!write(text("settings.xml"), sample.left(sample.indexOf("<Device ")))) {
            return "not prepared";
        }
    } else if (!strikeDisk()) {
        return "not prepared";
    }
    bool asked = false;
    const QString chosen = file(text("chosen"));
    if (m_fault.fault == Fault::FullDisk) {
        dialogs().answerDialog(text("Choose where to store measurements"), [&](QDialog *dialog) {
            asked = true;
            m_fullDisk.reset(); // the chosen one has room
            QDir().mkpath(chosen);
            dialog->findChild<QLineEdit *>(text("fileNameEdit"))->setText(chosen);
            dialog->done(QDialog::Accepted);
        });
    }
    const bool started = openTool() && window().isVisible();
    write(text("settings.xml"), sample);
    if (!started) {
        return "not started; " + told();
    }
    const QString used = QSqlDatabase::database().databaseName();
    QByteArray words = told();
    if (asked) {
        const bool taken = used == chosen + text("/measurements.db") && m_boxes.size() == 1
            && m_boxes.first().contains(text("Please select a directory"));
        return (taken ? "asks for a folder, the chosen one is taken" : "asks for a folder")
            + QByteArray(m_warnings.isEmpty() ? "" : "; logged");
    }
    if (used == homeStore()) {
        words = "the next folder is taken without a word" + (words.isEmpty() ? "" : "; " + words);
    } else if (words.isEmpty()) {
        words = "taken as it is";
    } else {
        words += "; then starts";
    }
    return words;
}

QByteArray UserFaultTest::lookBackOnTheDisk()
{
    if (!openTool() || !writeHistory() || !strikeDisk()) {
        return "not prepared";
    }
    if (m_act.act == Act::Close) {
        const QByteArray words = closeWindow();
        return words + (m_warnings.isEmpty() ? "" : "; logged");
    }
    carryOut();
    if (m_act.act == Act::Graph) {
        const QByteArray words = graphShowsHistory() ? "done" : "opens empty";
        return words + (m_warnings.isEmpty() ? "" : "; logged");
    }
    const QString csv = file(text("measurements.csv"));
    if (m_boxes.isEmpty()) {
        return !QFile::exists(csv)    ? "nothing is told, no file"
            : contents(csv).isEmpty() ? "nothing is told, an empty file"
                                      : "nothing is told, a file";
    }
    return told();
}

/// A file from the device: the log, or the memory.
QByteArray UserFaultTest::saveOnTheDisk()
{
    if (!startDevice() || !openTool() || !connectByClick() || !waitUntilQuiet() || !strikeDisk()) {
        return "not prepared";
    }
    carryOut();
    if (!waitFor([this] { return isQuiet(); })) {
        return "nothing within 20 s; " + told();
    }
    const QString path = file(m_act.act == Act::ReadLog ? text("log.csv") : text("backup.dat"));
    const bool exists = QFile::exists(path);
    const QByteArray saved = contents(path);
    healDisk();
    if (!m_boxes.isEmpty()) {
        return told();
    }
    return !exists        ? "nothing is told, no file"
        : saved.isEmpty() ? "nothing is told, an empty file"
                          : "nothing is told, a file";
}

/// A reading that the store does not take, by a connect or by a poll.
QByteArray UserFaultTest::storeOnTheDisk()
{
    const bool connected = m_act.act == Act::Poll;
    if (!startDevice() || !openTool() || (connected && !(connectByClick() && waitUntilQuiet()))) {
        return "not prepared";
    }
    const int before = storedReadings();
    if (m_fault.fault == Fault::FullDisk) {
        // Not before the port has its lock file, which most often lies on another disk.
        connect(&tool().handler, &SerialPortHandlerInterface::connected, this,
                [this] { strikeDisk(); });
    }
    if ((connected || m_fault.fault != Fault::FullDisk) && !strikeDisk()) {
        return "not prepared";
    }
    carryOut();
    if (!waitFor([this] { return isQuiet() && isConnected(); })) {
        return "nothing within 20 s; " + told();
    }
    const bool shown = table()->rowCount() > 0 && !table()->item(0, 1)->text().isEmpty();
    const bool logged = !m_warnings.isEmpty();
    tool().handler.disconnect(this);
    healDisk();
    const auto stored = [=] { return storedReadings() > before; };
    QByteArray words = shown ? "shown" : "not shown";
    words += stored() ? ", stored" : ", not stored";
    words += logged ? "; logged" : "";
    if (stored()) {
        return words;
    }
    poll();
    if (!waitFor([this] { return isQuiet(); })) {
        return "nothing within 20 s; " + told();
    }
    if (stored()) {
        return words + "; the next is stored";
    }
    if (canHeal()) {
        return disconnectAndConnect() ? words + "; stored again after a new Connect"
                                      : words + "; never stored again";
    }
    return words + "; nor is the next";
}
