// SPDX-License-Identifier: GPL-3.0-or-later
// The tour's steps from the first connect to the settings, and the last ones.
#include "tests/e2e/tour/tour.h"

bool Tour::refusePort()
{
    auto *const ports = child<QComboBox>("serialPorts");
    const int simulated = ports->currentIndex();
    picture(text("start"));
    tool().choosePort(text("Unplugged adapter"), file(text("nowhere")));
    dialogs().answerBox(text("Unable to open port!"), text("OK"));
    pictureDialogs({text("port-does-not-open")});
    const bool clicked = click("connectButton");
    ports->removeItem(ports->count() - 1);
    window().selectPortIndex(simulated);
    return clicked && !isConnected();
}

bool Tour::connectToDevice()
{
    return connectByClick();
}

bool Tour::compareIdentity()
{
    return field("serialNumber").toLatin1() == device().setting("serial")
        && field("modelNumber").toLatin1() == device().setting("model")
        && field("swVersion").toLatin1() == device().setting("swver")
        && field("hwVersion").toLatin1() == device().setting("hwver");
}

bool Tour::compareTable()
{
    return waitFor(
        [this] { return !shownValues().isEmpty() && shownValues() == expectedValues(); });
}

bool Tour::compareStore()
{
    picture(text("connected"));
    return !deviceValues().isEmpty() && lastStoredValues() == deviceValues();
}

bool Tour::saysState(const char *state)
{
    return click("synchronizeButton")
        && waitFor([=] { return window().statusBar()->currentMessage() == text(state); });
}

bool Tour::loseReadiness()
{
    device().control("meas-state 3");
    const bool said = saysState("Device has not stabilized yet");
    picture(text("not-ready"));
    return said;
}

bool Tour::regainReadiness()
{
    device().control("meas-state 1");
    return saysState("Device is ready for measurements");
}

bool Tour::deviceHasAltitude(const char *value)
{
    return waitFor([=] { return device().setting("altitude") == value; });
}

bool Tour::typeAltitude()
{
    const QTableWidgetItem *const item = setting("altitude");
    QLineEdit *const cell = editCell(editor(), item->row(), item->column());
    if (cell == nullptr) {
        return false;
    }
    QTest::keyClick(cell, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(cell, text("321"));
    picture(text("setting-typed"));
    QTest::keyClick(cell, Qt::Key_Return);
    return deviceHasAltitude("321");
}

bool Tour::typeAltitudeOutOfRange()
{
    return typeSetting("altitude", text("99999")) && deviceHasAltitude("9000")
        && click("synchronizeButton")
        && waitFor([this] { return setting("altitude")->text() == text("9000"); });
}

bool Tour::correctAltitude()
{
    const bool taken = typeSetting("altitude", text("321")) && deviceHasAltitude("321");
    picture(text("setting-changed"));
    return taken;
}

bool Tour::disconnectFromDevice()
{
    return disconnectByClick() && !isConnected();
}

bool Tour::checkDatabase()
{
    picture(text("disconnected"));
    return sqlite(text("pragma integrity_check")) == QStringList(text("ok"))
        && sqlite(text("select count(*) from measurement_metadata m where not exists (select 1 "
                       "from measurement_value v where v.measurement_id = m.id)"))
        == QStringList(text("0"));
}
