// SPDX-License-Identifier: GPL-3.0-or-later
// The tour's steps with stored measurements: the graph and the export.
#include "tests/e2e/tour/tour.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QListWidget>

namespace {

constexpr int graphNameRole = Qt::UserRole + 2;
constexpr int exportNameRole = Qt::UserRole + 4;
constexpr qint64 secondsPerMinute = 60;
constexpr qint64 secondsPerHour = 3600;

const QStringList shownTypes{QStringLiteral("W0"), QStringLiteral("W1")};

QDateTime hoursAgo(int hours)
{
    const qint64 minutes = QDateTime::currentSecsSinceEpoch() / secondsPerMinute;
    return QDateTime::fromSecsSinceEpoch(minutes * secondsPerMinute - hours * secondsPerHour);
}

} // namespace

QDateTimeEdit *Tour::graphDate(const char *name)
{
    return graph()->findChild<QDateTimeEdit *>(QLatin1String(name));
}

bool Tour::openGraph()
{
    if (!click("buttonShowGraph") || !waitFor([this] { return graph()->isVisible(); })) {
        return false;
    }
    m_graphFrom = hoursAgo(22);
    graphDate("fromDateTimeEdit")->setDateTime(m_graphFrom);
    auto *const list = graph()->findChild<QListWidget *>();
    toggle(list, graphNameRole, shownTypes);
    picture(text("graph"), graph());
    return checked(list, graphNameRole) == shownTypes;
}

bool Tour::changeUnit()
{
    auto *const unit = child<QComboBox>("unitTemperature");
    const auto *const list = graph()->findChild<QListWidget *>();
    QTest::keyClick(unit, Qt::Key_Down);
    const bool changed = !list->findItems(text("°F"), Qt::MatchContains).isEmpty();
    picture(text("graph-fahrenheit"), graph());
    QTest::keyClick(unit, Qt::Key_Up);
    return changed && list->findItems(text("°F"), Qt::MatchContains).isEmpty();
}

bool Tour::shortenPeriod()
{
    auto *const latest = graph()->findChild<QCheckBox *>(text("showLatestCheckBox"));
    toggle(latest);
    graphDate("toDateTimeEdit")->setDateTime(m_graphFrom.addSecs(12 * secondsPerHour));
    picture(text("graph-period"), graph());
    return !latest->isChecked() && graphDate("toDateTimeEdit")->isEnabled();
}

bool Tour::reopenGraph()
{
    const QDateTime to = graphDate("toDateTimeEdit")->dateTime();
    graph()->close();
    const bool isSame = click("buttonShowGraph") && waitFor([this] { return graph()->isVisible(); })
        && checked(graph()->findChild<QListWidget *>(), graphNameRole) == shownTypes
        && graphDate("toDateTimeEdit")->dateTime() == to;
    graph()->close();
    return isSame;
}

bool Tour::exportPeriod()
{
    const QString path = file(text("measurements.csv"));
    m_exportFrom = hoursAgo(6);
    dialogs().answerDialog(text("Select measurements to export"), [this](QDialog *dialog) {
        const auto date = [dialog](const char *name) {
            return dialog->findChild<QDateTimeEdit *>(QLatin1String(name));
        };
        date("exportDateTimeFrom")->setDateTime(m_exportFrom);
        date("exportDateTimeTo")->setDateTime(m_exportFrom.addSecs(2 * secondsPerHour));
        auto *const list = dialog->findChild<QListWidget *>();
        QStringList others = checked(list, exportNameRole);
        others.removeAll(text("W2"));
        toggle(list, exportNameRole, others);
        picture(text("export"), dialog);
        press(dialog, QDialogButtonBox::Ok);
    });
    dialogs().answerFileDialog(text("Select where to save measurements to"), path);
    return click("exportLocalMeasurementsButton") && QFile::exists(path);
}

bool Tour::compareExport()
{
    return csvEqualsStore(file(text("measurements.csv")), text("W2"), m_exportFrom,
                          m_exportFrom.addSecs(2 * secondsPerHour));
}
