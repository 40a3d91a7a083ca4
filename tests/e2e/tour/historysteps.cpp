// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the tour that looks back: the graph and the export of measurements.
#include "demo/tour.h"

#include <QtCore/QProcess>
#include <QtTest/QTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>

namespace {

constexpr int nameRole = Qt::UserRole + 2;
constexpr qint64 secondsOfAnHour = 3600;

void tick(QListWidget *list, QListWidgetItem *item)
{
    list->scrollToItem(item);
    const QRect row = list->visualItemRect(item);
    // The check box stands at the left end of its row.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(row.left() + 10, row.center().y()));
}

} // namespace

void Tour::tickTypes(const QStringList &names)
{
    auto *const list = dialog("MeasurementGraph")->findChild<QListWidget *>();
    for (int row = 0; row < list->count(); ++row) {
        QListWidgetItem *const item = list->item(row);
        if (names.contains(item->data(nameRole).toString())
            && item->checkState() == Qt::Unchecked) {
            tick(list, item);
        }
    }
}

QStringList Tour::tickedTypes()
{
    const auto *const list = dialog("MeasurementGraph")->findChild<QListWidget *>();
    QStringList ticked;
    for (int row = 0; row < list->count(); ++row) {
        if (list->item(row)->checkState() == Qt::Checked) {
            ticked.append(list->item(row)->data(nameRole).toString());
        }
    }
    return ticked;
}

bool Tour::lookBack()
{
    const QStringList types{QStringLiteral("W0"), QStringLiteral("W1")};
    const auto field = [this](const char *name) {
        return dialog("MeasurementGraph")->findChild<QDateTimeEdit *>(QLatin1String(name));
    };
    const QDateTime from = QDateTime::currentDateTime().addSecs(-22 * secondsOfAnHour);
    return step(QStringLiteral("Open the graph on the last day and tick two measurements"),
                [=] {
                    click("buttonShowGraph");
                    QWidget *const graph = dialog("MeasurementGraph");
                    if (!waitUntil([=] { return graph->isVisible(); })) {
                        return false;
                    }
                    field("fromDateTimeEdit")->setDateTime(from);
                    tickTypes(types);
                    picture(QStringLiteral("graph"), graph);
                    return tickedTypes().size() == types.size();
                })
        && step(QStringLiteral("Change the unit; the list says °F or °C accordingly"),
                [=] {
                    auto *const unit =
                        m_window.findChild<QComboBox *>(QStringLiteral("unitTemperature"));
                    QTest::keyClick(unit, Qt::Key_Down);
                    const auto *const list = dialog("MeasurementGraph")->findChild<QListWidget *>();
                    const bool said =
                        !list->findItems(QStringLiteral("°F"), Qt::MatchContains).isEmpty();
                    picture(QStringLiteral("graph-fahrenheit"), dialog("MeasurementGraph"));
                    QTest::keyClick(unit, Qt::Key_Up);
                    return said;
                })
        && step(QStringLiteral("Look at a shorter period that ends in the past"),
                [=] {
                    auto *const latest =
                        dialog("MeasurementGraph")
                            ->findChild<QCheckBox *>(QStringLiteral("showLatestCheckBox"));
                    QTest::mouseClick(latest, Qt::LeftButton, Qt::NoModifier,
                                      QPoint(10, latest->height() / 2));
                    field("toDateTimeEdit")->setDateTime(from.addSecs(12 * secondsOfAnHour));
                    // As wide as the screen, so that the dates below the chart stand in full.
                    dialog("MeasurementGraph")->showMaximized();
                    picture(QStringLiteral("graph-period"), dialog("MeasurementGraph"));
                    dialog("MeasurementGraph")->showNormal();
                    return !latest->isChecked() && field("toDateTimeEdit")->isEnabled();
                })
        && step(QStringLiteral("Close it, open it again, and find it as it was"), [=] {
               const QDateTime to = field("toDateTimeEdit")->dateTime();
               dialog("MeasurementGraph")->close();
               click("buttonShowGraph");
               const bool same = waitUntil([=] { return dialog("MeasurementGraph")->isVisible(); })
                   && tickedTypes() == types && field("toDateTimeEdit")->dateTime() == to;
               dialog("MeasurementGraph")->close();
               return same;
           });
}

bool Tour::csvEqualsStore(const QString &csv, const QString &query)
{
    // Another language's reader and SQLite's own client are the witnesses.
    const QString script =
        QStringLiteral("import csv, subprocess, sys, datetime\n"
                       "rows = list(csv.reader(open(sys.argv[1], newline='')))[1:]\n"
                       "out = subprocess.run(['sqlite3', '-readonly', sys.argv[2], sys.argv[3]],"
                       " capture_output=True, text=True, check=True).stdout\n"
                       "want = {}\n"
                       "for line in out.splitlines():\n"
                       "    identity, stamp, value = line.split('|')\n"
                       "    want.setdefault((int(identity), int(stamp)), []).append(float('%.6g' % "
                       "float(value)))\n"
                       "got = [(r[0], [float(x) for x in r[1:] if x]) for r in rows]\n"
                       "need = [(datetime.datetime.fromtimestamp(k[1] // 1000).isoformat(), v)"
                       " for k, v in sorted(want.items())]\n"
                       "sys.exit(0 if got == need and len(got) > 1 else 1)\n");
    QProcess python;
    python.start(QStringLiteral("python3"),
                 {QStringLiteral("-c"), script, csv, m_tool.storePath(), query});
    return python.waitForFinished() && python.exitStatus() == QProcess::NormalExit
        && python.exitCode() == 0;
}

bool Tour::exportAPeriod()
{
    const QString path = file(QStringLiteral("measurements.csv"));
    const QDateTime from = QDateTime::currentDateTime().addSecs(-6 * secondsOfAnHour);
    const QDateTime to = from.addSecs(2 * secondsOfAnHour);
    return step(QStringLiteral("Export two hours of one measurement to CSV"),
                [=] {
                    m_dialogs.answerDialog(
                        QStringLiteral("Select measurements to export"), [=](QDialog *dialog) {
                            dialog->findChild<QDateTimeEdit *>(QStringLiteral("exportDateTimeFrom"))
                                ->setDateTime(from);
                            dialog->findChild<QDateTimeEdit *>(QStringLiteral("exportDateTimeTo"))
                                ->setDateTime(to);
                            auto *const list = dialog->findChild<QListWidget *>();
                            for (int row = 0; row < list->count(); ++row) {
                                if (list->item(row)->data(Qt::UserRole + 4).toString()
                                    != QLatin1String("W2")) {
                                    tick(list, list->item(row));
                                }
                            }
                            picture(QStringLiteral("export"), dialog);
                            QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(
                                                  QDialogButtonBox::Ok),
                                              Qt::LeftButton);
                        });
                    m_dialogs.answerFileDialog(
                        QStringLiteral("Select where to save measurements to"), path);
                    click("exportLocalMeasurementsButton");
                    return QFile::exists(path);
                })
        && step(QStringLiteral("Each line of it stands in the database, and no other"), [=] {
               const QString query =
                   QStringLiteral(
                       "select m.id, m.timestamp, v.value from measurement_metadata m join "
                       "measurement_value v on v.measurement_id = m.id join measurement_type t on "
                       "t.id = v.measurement_type_id where t.name = 'W2' and m.timestamp between "
                       "%1 and %2 order by m.id")
                       .arg(from.toMSecsSinceEpoch())
                       .arg(to.toMSecsSinceEpoch());
               return csvEqualsStore(path, query);
           });
}
