// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "control/mainwindowcontroller.h"
#include "tests/kit/dialogdriver.h"
#include "serial/serialporthandler.h"
#include "serial/serialportqueue.h"
#include "storage/localstoragesqlite.h"
#include "tests/kit/uicoveragerecorder.h"
#include "tests/kit/screenshots.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/testpaths.h"
#include "ui/configurationeditor.h"
#include "ui/mainwindow.h"
#include "ui/measurementtable.h"
#include "ui/settings.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtGui/QCloseEvent>
#include <QtGui/QWindow>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>
#include <QtTest/QtTest>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>
#include <functional>
#include <memory>

inline QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

/// The program's own objects, in the program's order.
struct Tool
{
    Settings settings;
    QSharedPointer<SerialPortQueueInterface> queue{new SerialPortQueue(nullptr)};
    SerialPortHandler handler{queue, nullptr};
    LocalStorageSqlite storage;
    MainWindow window{nullptr};
    MainWindowController controller{&window, &handler, &settings, &storage, nullptr};
};

/// The whole tool on a real pseudo-terminal, with the simulated transmitter as a process of its own
/// behind it and a person's hands and eyes in front. Each test case has settings, a store and files
/// of its own.
///
/// The steps that wait return whether what they wait for came.
class ToolFixture : public QObject
{
protected:
    static constexpr int waitMs = 20000;
    static constexpr int rescueMs = 200;

    /// For initTestCase().
    static void prepareApplication()
    {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication::setQuitOnLastWindowClosed(false);
        Eyewitness::forget();
        new Eyewitness(qApp);
        QFile::remove(text("settings.xml"));
        QVERIFY(QFile::copy(testpaths::sourceFile("settings.xml"), text("settings.xml")));
    }

    /// For init().
    void beginCase()
    {
        m_journalRead = 0;
        m_folder = std::make_unique<QTemporaryDir>();
        m_device = std::make_unique<SimulatorProcess>();
        m_dialogs = std::make_unique<DialogDriver>();
        m_dialogs->onDialogShown = takePicture;
        m_rescue = std::make_unique<QTimer>();
        connect(m_rescue.get(), &QTimer::timeout, &ToolFixture::closeWhatAFailureLeft);
        m_rescue->start(rescueMs);
        QSettings settings(text("Orvanta"), text("Kv tool"));
        settings.clear();
        settings.setValue(text("local storage path"), m_folder->path());
    }

    /// For cleanup(): the tool goes as the program's end takes it, and no dialog was left over.
    void endCase()
    {
        const auto widgets = QApplication::topLevelWidgets();
        for (QWidget *widget : widgets) {
            takePicture(widget);
        }
        m_tool.reset();
        // In the program it ends with the process.
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
        const QString complaint = m_dialogs->complaint();
        m_rescue.reset();
        m_dialogs.reset();
        m_device.reset();
        m_folder.reset();
        QCOMPARE(complaint, QString());
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    }

    bool startDevice(const QStringList &options = QStringList())
    {
        return m_device->start(QStringList{text("--rate"), text("0"), text("--write-ms"),
                                           text("20"), text("--reboot-ms"), text("20"),
                                           text("--boot-wait"), text("300"), text("--log-rows"),
                                           text("5"), text("--journal"), file(text("journal"))}
                               + options);
    }

    /// The program up to its event loop, with the device chosen in the port list.
    bool startTool()
    {
        m_tool = std::make_unique<Tool>();
        return launchTool();
    }

    bool launchTool()
    {
        if (!m_tool->controller.start()) {
            return false;
        }
        choosePort(m_device->port());
        window().show();
        window().activateWindow();
        return QTest::qWaitForWindowActive(&window());
    }

    /// Device and tool, connected, with the first reading in the store.
    bool startConnected(const QStringList &options = QStringList())
    {
        return startDevice(options) && startTool() && connectByClick();
    }

    void choosePort(const QString &path)
    {
        if (!path.isEmpty()) {
            window().addPort(path, path);
            window().selectPortIndex(child<QComboBox>("serialPorts")->count() - 1);
        }
    }

    /// Runs @p steps in the program's event loop until the main window is closed, or a step has
    /// failed; the exit code.
    int runProgram(const std::function<void()> &steps)
    {
        QApplication::setQuitOnLastWindowClosed(true);
        QTimer::singleShot(0, &window(), [=] {
            steps();
            if (QTest::currentTestFailed()) {
                QCoreApplication::exit(1);
            }
        });
        const int code = QApplication::exec();
        QApplication::setQuitOnLastWindowClosed(false);
        return code;
    }

    Tool &tool() { return *m_tool; }
    MainWindow &window() { return m_tool->window; }
    SerialPortQueue &queue() { return static_cast<SerialPortQueue &>(*m_tool->queue); }
    SimulatorProcess &device() { return *m_device; }
    DialogDriver &dialogs() { return *m_dialogs; }

    // Hands.

    /// Presses a button as a person can: one that is shown, enabled and not behind a modal dialog.
    bool press(QPushButton *button)
    {
        QWidget *const modal = QApplication::activeModalWidget();
        const bool blocked = modal != nullptr && modal != button->window();
        if (blocked || !button->isVisible() || !button->isEnabled()) {
            return false;
        }
        QTest::mouseClick(button, Qt::LeftButton);
        return true;
    }
    bool click(const char *buttonName) { return press(child<QPushButton>(buttonName)); }

    /// Opens the list of @p combo with the mouse and takes the entry @p index by keys.
    static bool choose(QComboBox *combo, int index)
    {
        QTest::mouseClick(combo, Qt::LeftButton);
        if (!waitFor([=] { return combo->view()->isVisible(); })) {
            return false;
        }
        QTest::keyClick(combo->view(), Qt::Key_Home);
        for (int row = 0; row < index; ++row) {
            QTest::keyClick(combo->view(), Qt::Key_Down);
        }
        QTest::keyClick(combo->view(), Qt::Key_Return);
        return waitFor([=] { return !combo->view()->isVisible(); })
            && combo->currentIndex() == index;
    }

    /// Closes @p window by its frame, as the window system does: not at all behind a modal dialog.
    static bool closeByFrame(QWidget *window)
    {
        QWidget *const modal = QApplication::activeModalWidget();
        if (!window->isVisible() || (modal != nullptr && modal != window)) {
            return false;
        }
        QCloseEvent event;
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(window->windowHandle(), &event);
        return true;
    }

    bool connectByClick()
    {
        QCoreApplication::processEvents(); // what an earlier poll has brought
        const int readings = storedReadings();
        return click("connectButton") && waitFor([this] { return isConnected(); })
            && waitFor([=] { return storedReadings() > readings; });
    }

    bool disconnectByClick()
    {
        return click("disconnectButton")
            && waitFor([this] { return !queue().serialPort()->isOpen(); });
    }

    /// Types @p value into the cell of the setting @p alias.
    void typeSetting(const char *alias, const QString &value)
    {
        QTableWidgetItem *const item = setting(alias);
        editor()->scrollToItem(item);
        const QPoint cell = editor()->visualItemRect(item).center();
        QTest::mouseClick(editor()->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
        QTest::mouseDClick(editor()->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
        QWidget *const line = QApplication::focusWidget();
        if (line != nullptr) {
            QTest::keyClick(line, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(line, value);
            QTest::keyClick(line, Qt::Key_Return);
        }
    }

    /// Waits until all that was asked of the device has been answered and has arrived.
    bool waitUntilQuiet()
    {
        const auto isIdle = [this] { return !queue().currentJob() && queue().jobs().isEmpty(); };
        return waitFor([=] {
            const bool wasIdle = isIdle();
            QCoreApplication::processEvents();
            return wasIdle && isIdle();
        });
    }

    static bool waitFor(const std::function<bool()> &condition)
    {
        return QTest::qWaitFor(condition, waitMs);
    }

    // Eyes.

    template <typename T>
    T *child(const char *name)
    {
        return window().findChild<T *>(QLatin1String(name));
    }
    QString field(const char *name) { return child<QLineEdit>(name)->text(); }
    bool isEnabled(const char *name) { return child<QWidget>(name)->isEnabled(); }
    bool isVisible(const char *name) { return child<QWidget>(name)->isVisible(); }
    bool isConnected() { return isVisible("disconnectButton"); }

    ConfigurationEditor *editor() { return child<ConfigurationEditor>("configuration"); }
    MeasurementTable *table() { return child<MeasurementTable>("measurements"); }

    QTableWidgetItem *setting(const char *alias)
    {
        for (int row = 0; row < editor()->rowCount(); ++row) {
            if (editor()->item(row, 1)->text() == QLatin1String(alias)) {
                return editor()->item(row, 2);
            }
        }
        return nullptr;
    }

    /// What the measurement table shows, text by raw name.
    QMap<QString, QString> shownValues()
    {
        QMap<QString, QString> values;
        for (int row = 0; row < table()->rowCount(); ++row) {
            values.insert(table()->item(row, 0)->data(Qt::UserRole + 4).toString(),
                          table()->item(row, 1)->text());
        }
        return values;
    }

    static QWidget *topLevel(const char *name)
    {
        const auto widgets = QApplication::topLevelWidgets();
        for (QWidget *widget : widgets) {
            if (widget->objectName() == QLatin1String(name)) {
                return widget;
            }
        }
        return nullptr;
    }
    static QDialog *waitDialog() { return qobject_cast<QDialog *>(topLevel("WaitDialog")); }
    static QPushButton *cancelButton() { return waitDialog()->findChild<QPushButton *>(); }
    static QProgressBar *bar() { return waitDialog()->findChild<QProgressBar *>(); }

    // Witnesses.

    QString file(const QString &name) const { return m_folder->filePath(name); }
    QString storePath() const { return file(text("measurements.db")); }

    static QByteArray contents(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static bool write(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    /// What SQLite's own client answers, line by line.
    QStringList sqlite(const QString &query) const
    {
        QProcess client;
        client.start(text("sqlite3"), {text("-readonly"), storePath(), query});
        client.waitForFinished();
        return QString::fromUtf8(client.readAllStandardOutput())
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    int storedReadings() const
    {
        const QString connection = text("witness");
        int count = 0;
        if (QFile::exists(storePath())) {
            QSqlDatabase store = QSqlDatabase::addDatabase(text("QSQLITE"), connection);
            store.setDatabaseName(storePath());
            store.setConnectOptions(text("QSQLITE_OPEN_READONLY"));
            store.open();
            QSqlQuery query(text("select count(*) from measurement_metadata"), store);
            count = query.next() ? query.value(0).toInt() : 0;
        }
        QSqlDatabase::removeDatabase(connection);
        return count;
    }

    /// The console commands that the device has had since the last forgetCommands().
    QStringList commands() const
    {
        QStringList found;
        const QList<QByteArray> lines =
            contents(file(text("journal"))).mid(m_journalRead).split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith("command ")) {
                found.append(QString::fromLatin1(line.mid(int(qstrlen("command ")))));
            }
        }
        return found;
    }
    int commandCount(const char *beginning) const
    {
        return commands().filter(QRegularExpression(QLatin1Char('^') + text(beginning))).size();
    }
    void forgetCommands() { m_journalRead = contents(file(text("journal"))).size(); }

    /// The user's choice as the settings file has it.
    static QVariant rememberedValue(const char *key)
    {
        return QSettings(text("Orvanta"), text("Kv tool")).value(QLatin1String(key));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<SimulatorProcess> m_device;
    std::unique_ptr<DialogDriver> m_dialogs;
    std::unique_ptr<Tool> m_tool;

private:
    /// A dialog whose answer broke off at a failed check would hold up the test for ever.
    static void closeWhatAFailureLeft()
    {
        auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (dialog != nullptr && QTest::currentTestFailed()) {
            dialog->reject();
        }
    }

    std::unique_ptr<QTimer> m_rescue;
    int m_journalRead = 0;
};
