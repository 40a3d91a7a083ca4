// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the tour that a person meets first: connect, look, change a setting, disconnect.
#include "common/measurementtypeutils.h"
#include "demo/tour.h"
#include "ui/configurationeditor.h"
#include "ui/configurationloader.h"
#include "ui/measurementtable.h"

#include <QtCore/QTimer>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>

namespace {

constexpr int connectTimeoutMs = 15000;
constexpr int disconnectDelayMs = 100;

} // namespace

bool Tour::isConnected()
{
    return m_window.findChild<QPushButton *>(QStringLiteral("disconnectButton"))->isVisible();
}

QString Tour::fieldText(const char *name)
{
    return m_window.findChild<QLineEdit *>(QLatin1String(name))->text();
}

int Tour::settingRow(const QString &alias)
{
    const auto *const editor = m_window.findChild<ConfigurationEditor *>();
    for (int row = 0; row < editor->rowCount(); ++row) {
        if (editor->item(row, 1)->text() == alias) {
            return row;
        }
    }
    return -1;
}

QString Tour::settingText(const QString &alias)
{
    return m_window.findChild<ConfigurationEditor *>()->item(settingRow(alias), 2)->text();
}

void Tour::beginTyping(const QString &alias, const QString &value)
{
    auto *const editor = m_window.findChild<ConfigurationEditor *>();
    QTableWidgetItem *const item = editor->item(settingRow(alias), 2);
    editor->scrollToItem(item);
    const QPoint cell = editor->visualItemRect(item).center();
    QTest::mouseClick(editor->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    QTest::mouseDClick(editor->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    QWidget *const line = QApplication::focusWidget();
    QTest::keyClick(line, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(line, value);
}

void Tour::typeSetting(const QString &alias, const QString &value)
{
    beginTyping(alias, value);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
}

bool Tour::connectByClick()
{
    // A disconnect closes the port by a timer, which would close the one that is opened here. A
    // longer timer that starts behind it fires behind it, however slow the machine.
    QTimer disconnected;
    QSignalSpy fired(&disconnected, &QTimer::timeout);
    disconnected.start(2 * disconnectDelayMs);
    if (!fired.wait()) {
        return false;
    }
    click("connectButton");
    return waitUntil([this] { return isConnected(); }, connectTimeoutMs);
}

bool Tour::disconnectByClick()
{
    click("disconnectButton");
    return waitUntil([this] { return !isConnected(); });
}

bool Tour::tableShowsTheDevicesValues()
{
    QMap<QString, DeviceConfiguration> models;
    ConfigurationLoader loader;
    loader.load(models, QStringLiteral("settings.xml"));
    const QVector<MeasurementItem> items = models.value(fieldText("modelNumber")).measurementItems;
    const QMap<QString, QString> device = m_device.lastMeasurements();
    const MeasurementDisplayOptions options;
    const auto *const table = m_window.findChild<MeasurementTable *>();
    int matching = 0;
    for (int row = 0; row < table->rowCount(); ++row) {
        const QString name = table->item(row, 0)->data(Qt::UserRole + 4).toString();
        const double value = MeasurementTypeUtils::convertToDisplayUnit(
            device.value(name).toDouble(), name, options, items);
        const QString expected = QStringLiteral("%1 %2").arg(value).arg(
            MeasurementTypeUtils::displayUnitText(name, items, options));
        matching += table->item(row, 1)->text() == expected ? 1 : 0;
    }
    return matching > 0 && matching == table->rowCount();
}

bool Tour::storeHoldsTheDevicesValues()
{
    const QMap<QString, QString> device = m_device.lastMeasurements();
    const QStringList rows =
        sqlite(QStringLiteral("select t.name, v.value from measurement_value v join "
                              "measurement_type t on t.id = v.measurement_type_id where "
                              "v.measurement_id = (select max(id) from measurement_metadata)"));
    for (const QString &row : rows) {
        const QStringList cells = row.split(QLatin1Char('|'));
        if (device.value(cells.first()).toDouble() != cells.last().toDouble()) {
            return false;
        }
    }
    return !rows.isEmpty();
}

bool Tour::meetAPortThatDoesNotOpen()
{
    return step(QStringLiteral("Try a port that does not open; the tool says so"), [this] {
        auto *const ports = m_window.findChild<QComboBox *>(QStringLiteral("serialPorts"));
        const int device = ports->currentIndex();
        picture(QStringLiteral("start"));
        m_window.addPort(QStringLiteral("Unplugged adapter"), file(QStringLiteral("nowhere")));
        m_window.selectPortIndex(ports->count() - 1);
        m_dialogs.answerBox(QStringLiteral("Unable to open port!"), QStringLiteral("OK"));
        pictureDialogs({QStringLiteral("port-does-not-open")});
        click("connectButton");
        ports->removeItem(ports->count() - 1);
        m_window.selectPortIndex(device);
        return !isConnected();
    });
}

bool Tour::connectAndMeasure()
{
    return step(QStringLiteral("Press Connect"), [this] { return connectByClick(); })
        && step(QStringLiteral("The device tells who it is"),
                [this] {
                    return fieldText("serialNumber") == m_device.variable(QStringLiteral("serial"))
                        && fieldText("modelNumber") == m_device.variable(QStringLiteral("model"))
                        && fieldText("swVersion") == m_device.variable(QStringLiteral("swver"))
                        && fieldText("hwVersion") == m_device.variable(QStringLiteral("hwver"));
                })
        && step(QStringLiteral("The first reading arrives and the table shows it"),
                [this] { return waitUntil([this] { return tableShowsTheDevicesValues(); }); })
        && step(QStringLiteral("The store holds the same values"), [this] {
               picture(QStringLiteral("connected"));
               return storeHoldsTheDevicesValues();
           });
}

bool Tour::watchTheState()
{
    const auto says = [this](const QString &text) {
        return waitUntil([=] { return m_window.statusBar()->currentMessage() == text; });
    };
    return step(QStringLiteral("The device is no longer ready: the readings turn red"),
                [=] {
                    m_device.control("meas-state 3");
                    click("synchronizeButton");
                    const bool said = says(QStringLiteral("Device has not stabilized yet"));
                    picture(QStringLiteral("not-ready"));
                    return said;
                })
        && step(QStringLiteral("It is ready again"), [=] {
               m_device.control("meas-state 1");
               click("synchronizeButton");
               return says(QStringLiteral("Device is ready for measurements"));
           });
}

bool Tour::changeASetting()
{
    const QString alias = QStringLiteral("altitude");
    const QString value = QStringLiteral("321");
    return step(QStringLiteral("Type a new altitude; the device has it"),
                [=] {
                    beginTyping(alias, value);
                    picture(QStringLiteral("setting-typed"));
                    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
                    return waitUntil([=] { return m_device.variable(alias) == value; });
                })
        && step(QStringLiteral(
                    "Type one out of range; Synchronize shows what the device made of it"),
                [=] {
                    typeSetting(alias, QStringLiteral("99999"));
                    const QString limit = QStringLiteral("9000");
                    if (!waitUntil([=] { return m_device.variable(alias) == limit; })) {
                        return false;
                    }
                    click("synchronizeButton");
                    return waitUntil([=] { return settingText(alias) == limit; });
                })
        && step(QStringLiteral("Put it right again"), [=] {
               typeSetting(alias, value);
               const bool taken = waitUntil([=] { return m_device.variable(alias) == value; });
               picture(QStringLiteral("setting-changed"));
               return taken;
           });
}

bool Tour::disconnectAndCheckTheStore()
{
    return step(QStringLiteral("Press Disconnect"), [this] { return disconnectByClick(); })
        && step(QStringLiteral("The database is sound and holds a value for each reading"), [this] {
               picture(QStringLiteral("disconnected"));
               return sqlite(QStringLiteral("pragma integrity_check"))
                   == QStringList(QStringLiteral("ok"))
                   && sqlite(QStringLiteral(
                          "select count(*) from measurement_metadata m where not exists (select 1 "
                          "from measurement_value v where v.measurement_id = m.id)"))
                   == QStringList(QStringLiteral("0"));
           });
}
