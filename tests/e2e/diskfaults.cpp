// SPDX-License-Identifier: GPL-3.0-or-later
// Runs user actions under faults of files and folders.
#include "tests/e2e/faultinjectiontest.h"

namespace {

constexpr auto writable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
constexpr auto readOnly = QFile::ReadOwner | QFile::ExeOwner;

QString homeStore()
{
    return QDir::homePath() + text("/measurements.db");
}

} // namespace

QByteArray FaultInjectionTest::runDiskFault()
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

/// Three measurements of two types, in the last hours.
bool FaultInjectionTest::writeHistory()
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

/// Overwrites, truncates or replaces the store's file while it is open.
bool FaultInjectionTest::damageStore()
{
    constexpr int headerBytes = 24; // followed by the counter of changes
    const QString path = storePath();
    switch (m_fault) {
    case FaultKind::CorruptDatabase: {
        QFile store(path);
        if (!store.open(QIODevice::ReadWrite) || !store.seek(headerBytes)) {
            return false;
        }
        const QByteArray noise(static_cast<int>(store.size()) - headerBytes, '\xa5');
        return store.write(noise) == noise.size();
    }
    case FaultKind::TruncatedDatabase:
        return QFile::resize(path, QFileInfo(path).size() / 2);
    case FaultKind::UnexpectedSchema: {
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

bool FaultInjectionTest::injectDiskFault()
{
    const QString folder = m_folder->path();
    switch (m_fault) {
    case FaultKind::ReadOnlyFolder:
        m_dropPrivileges = std::make_unique<DropPrivilegesScope>();
        return QFile::setPermissions(folder, readOnly);
    case FaultKind::FullDisk:
        m_fullDisk = std::make_unique<FullDiskScope>();
        return true;
    case FaultKind::LockedDatabase:
        m_lockedDatabase = std::make_unique<LockedDatabaseScope>(storePath());
        return m_lockedDatabase->isActive();
    case FaultKind::FolderInPlaceOfStore:
        return QDir().mkpath(storePath());
    default:
        return damageStore();
    }
}

void FaultInjectionTest::removeDiskFault()
{
    m_fullDisk.reset();
    m_lockedDatabase.reset();
    if (m_folder) {
        QFile::setPermissions(m_folder->path(), writable);
    }
    m_dropPrivileges.reset();
}

QByteArray FaultInjectionTest::logSuffix() const
{
    return m_warnings.isEmpty() ? "" : "; warning logged";
}

/// The message boxes, and whether the log had a warning.
QByteArray FaultInjectionTest::reports()
{
    QByteArrayList words;
    for (QString box : qAsConst(m_boxes)) {
        words.append("reports \"" + box.replace(m_folder->path(), text("FOLDER")).toUtf8() + '"');
    }
    return words.join("; ") + logSuffix();
}

QByteArray FaultInjectionTest::fileOutcome(const QString &path)
{
    if (!m_boxes.isEmpty()) {
        return reports();
    }
    return !QFile::exists(path)    ? "nothing reported, no file"
        : contents(path).isEmpty() ? "nothing reported, an empty file"
                                   : "nothing reported, a file";
}

QByteArray FaultInjectionTest::startUnderDiskFault()
{
    QFile::remove(homeStore());
    const bool needsStore =
        m_fault >= FaultKind::LockedDatabase && m_fault <= FaultKind::UnexpectedSchema;
    if (needsStore) {
        if (!startTools() || !writeHistory()) {
            return "not prepared";
        }
        m_tool.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    }
    const QByteArray sample = contents(text("settings.xml"));
    if (m_fault == FaultKind::TruncatedSettings) {
        if (!write(text("settings.xml"), sample.left(sample.indexOf("<Device ")))) {
            return "not prepared";
        }
    } else if (!injectDiskFault()) {
        return "not prepared";
    }
    bool asked = false;
    const QString chosen = file(text("chosen"));
    if (m_fault == FaultKind::FullDisk) {
        dialogs().answerDialog(text("Choose where to store measurements"), [&](QDialog *dialog) {
            asked = true;
            m_fullDisk.reset(); // the chosen disk has space
            QDir().mkpath(chosen);
            dialog->findChild<QLineEdit *>(text("fileNameEdit"))->setText(chosen);
            dialog->done(QDialog::Accepted);
        });
    }
    const bool started = startTools() && window().isVisible();
    write(text("settings.xml"), sample);
    if (!started) {
        return "not started; " + reports();
    }
    const QString used = QSqlDatabase::database().databaseName();
    if (asked) {
        const bool isChosen = used == chosen + text("/measurements.db") && m_boxes.size() == 1
            && m_boxes.first().contains(text("Please select a directory"));
        return (isChosen ? "asks for a folder, the chosen one is used" : "asks for a folder")
            + logSuffix();
    }
    if (used == homeStore()) {
        return "the next folder is used, "
            + (m_boxes.isEmpty() ? "nothing reported" + logSuffix() : reports());
    }
    const QByteArray words = reports();
    return words.isEmpty() ? "used as it is" : words + "; then starts";
}

QByteArray FaultInjectionTest::useHistoryUnderDiskFault()
{
    if (!startTools() || !writeHistory() || !injectDiskFault()) {
        return "not prepared";
    }
    if (m_action == CloseProgram) {
        const QByteArray words = closeProgram();
        return words + logSuffix();
    }
    perform();
    if (m_action == ShowGraph) {
        const bool shown = graphShowsHistory();
        return (shown ? "done" : "opens empty") + logSuffix();
    }
    return fileOutcome(file(text("measurements.csv")));
}

/// Saves a file with data from the device: its log or its memory.
QByteArray FaultInjectionTest::saveUnderDiskFault()
{
    if (!startDevice() || !startTools() || !connectByClick() || !waitUntilQuiet()
        || !injectDiskFault()) {
        return "not prepared";
    }
    perform();
    if (!waitFor([this] { return isQuiet(); })) {
        return "no end within 20 s; " + reports();
    }
    removeDiskFault();
    return fileOutcome(file(m_action == ReadLog ? text("log.csv") : text("backup.dat")));
}

/// Causes a reading that the store can't accept, by a connect or by a poll.
QByteArray FaultInjectionTest::storeUnderDiskFault()
{
    const bool connected = m_action == Poll;
    if (!startDevice() || !startTools() || (connected && !(connectByClick() && waitUntilQuiet()))) {
        return "not prepared";
    }
    const int before = storedReadings();
    if (m_fault == FaultKind::FullDisk) {
        // Only once the port has its lock file, which is usually on another disk.
        connect(&tool().handler, &SerialPortHandlerInterface::connected, this,
                [this] { injectDiskFault(); });
    }
    if ((connected || m_fault != FaultKind::FullDisk) && !injectDiskFault()) {
        return "not prepared";
    }
    perform();
    if (!waitFor([this] { return isQuiet() && isConnected(); })) {
        return "no end within 20 s; " + reports();
    }
    const bool shown = table()->rowCount() > 0 && !table()->item(0, 1)->text().isEmpty();
    const QByteArray logged = logSuffix();
    tool().handler.disconnect(this);
    removeDiskFault();
    const auto isStored = [=] { return storedReadings() > before; };
    const QByteArray words = QByteArray(shown ? "shown" : "not shown")
        + (isStored() ? ", stored" : ", not stored") + logged;
    if (isStored()) {
        return words;
    }
    poll();
    if (!waitFor([this] { return isQuiet(); })) {
        return "no end within 20 s; " + reports();
    }
    if (isStored()) {
        return words + "; the next is stored";
    }
    const bool isRemovable = m_fault == FaultKind::ReadOnlyFolder || m_fault == FaultKind::FullDisk
        || m_fault == FaultKind::LockedDatabase;
    if (!isRemovable) {
        return words + "; the next is not stored either";
    }
    return words + (reconnect() ? "; stored again after a new Connect" : "; never stored again");
}
