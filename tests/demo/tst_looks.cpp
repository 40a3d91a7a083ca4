// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/cuttexts.h"
#include "tests/kit/forms.h"
#include "tests/kit/testmain.h"
#include "ui/exportmeasurementstocsvdialog.h"
#include "ui/mainwindow.h"
#include "ui/measurementgraph.h"
#include "ui/waitdialog.h"

#include <QtGui/QAccessible>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStyleFactory>
#include <QtWidgets/QTableWidget>
#include <functional>
#include <memory>

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

using Maker = std::function<std::unique_ptr<QWidget>()>;

const QMap<QString, Maker> forms{
    {QStringLiteral("main window"), [] { return std::make_unique<MainWindow>(nullptr); }},
    {QStringLiteral("graph"), [] { return std::make_unique<MeasurementGraph>(nullptr); }},
    {QStringLiteral("export"),
     [] { return std::make_unique<ExportMeasurementsToCsvDialog>(nullptr, nullptr); }},
    {QStringLiteral("wait dialog"), [] { return std::make_unique<WaitDialog>(nullptr); }},
};

bool isField(const QWidget *widget)
{
    const bool isPart = qobject_cast<const QAbstractSpinBox *>(widget->parentWidget())
        || qobject_cast<const QComboBox *>(widget->parentWidget());
    return !isPart && !qobject_cast<const QHeaderView *>(widget)
        && !widget->objectName().startsWith(QLatin1String("qt_"))
        && (qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QComboBox *>(widget)
            || qobject_cast<const QAbstractSpinBox *>(widget)
            || qobject_cast<const QAbstractItemView *>(widget)
            || qobject_cast<const QProgressBar *>(widget)
            || widget->objectName() == QLatin1String("chart"));
}

QList<QWidget *> fieldsOf(const QWidget *form)
{
    QList<QWidget *> fields;
    const QList<QWidget *> widgets = form->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        // The parts of a combo box have their list as a window.
        if (widget->window() == form && isField(widget)) {
            fields.append(widget);
        }
    }
    return fields;
}

/// The text of the label that leads to @p field, or the name it has of its own.
QString spokenName(const QWidget *form, const QWidget *field)
{
    const QList<QLabel *> labels = form->findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (label->buddy() == field) {
            return label->text();
        }
    }
    return field->accessibleName();
}

/// Widgets that the Tab key stops at, in its order from the first.
QList<QWidget *> tabStops(QWidget *form)
{
    QList<QWidget *> stops;
    for (QWidget *widget = form->nextInFocusChain(); widget != form;
         widget = widget->nextInFocusChain()) {
        if ((widget->focusPolicy() & Qt::TabFocus) && widget->focusProxy() == nullptr
            && widget->window() == form
            && (isField(widget) || qobject_cast<QAbstractButton *>(widget))) {
            stops.append(widget);
        }
    }
    return stops;
}

} // namespace

Q_DECLARE_METATYPE(Maker)

/// Each form, seen and heard.
class TestLooks : public QObject
{
    Q_OBJECT

private slots:
    void everyFieldHasANameOfItsOwn_data() { addForms(); }
    void everyFieldHasANameOfItsOwn();
    void tabGoesDownAColumnBeforeTheNext_data() { addForms(); }
    void tabGoesDownAColumnBeforeTheNext();
    void nothingIsCutAtAnySize_data();
    void nothingIsCutAtAnySize();
    void aCutTextIsFound_data();
    void aCutTextIsFound();

private:
    static void addForms();
};

void TestLooks::addForms()
{
    QTest::addColumn<QString>("form");
    for (auto form = forms.begin(); form != forms.end(); ++form) {
        QTest::addRow("%s", qPrintable(form.key())) << form.key();
    }
}

void TestLooks::everyFieldHasANameOfItsOwn()
{
    QFETCH(QString, form);
    const std::unique_ptr<QWidget> window = forms.value(form)();
    const QList<QWidget *> fields = fieldsOf(window.get());
    QVERIFY(!fields.isEmpty());
    QStringList names;
    for (QWidget *field : fields) {
        const QString name = spokenName(window.get(), field);
        QVERIFY2(!name.isEmpty(), qPrintable(field->objectName()));
        QVERIFY2(!names.contains(name), qPrintable(field->objectName() + text(": ") + name));
        names.append(name);
        // A label is told to the listener as a relation of its field, but not of a list or table.
        if (qobject_cast<QAbstractItemView *>(field)) {
            QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(field);
            QVERIFY2(spoken, qPrintable(field->objectName()));
            QCOMPARE(spoken->text(QAccessible::Name), name);
        }
    }
}

void TestLooks::tabGoesDownAColumnBeforeTheNext()
{
    QFETCH(QString, form);
    const std::unique_ptr<QWidget> window = forms.value(form)();
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    const QList<QWidget *> stops = tabStops(window.get());
    QVERIFY(!stops.isEmpty());
    for (int i = 1; i < stops.size(); ++i) {
        const QRect before(stops.at(i - 1)->mapTo(window.get(), QPoint()), stops.at(i - 1)->size());
        const QRect after(stops.at(i)->mapTo(window.get(), QPoint()), stops.at(i)->size());
        const bool isVisible = stops.at(i - 1)->isVisible() && stops.at(i)->isVisible();
        // Back to the left only where the next row of groups begins below.
        QVERIFY2(
            !isVisible || after.top() > before.top() || after.left() > before.left(),
            qPrintable(stops.at(i - 1)->objectName() + text(" then ") + stops.at(i)->objectName()));
    }
}

void TestLooks::nothingIsCutAtAnySize_data()
{
    QTest::addColumn<QString>("style");
    QTest::addColumn<QString>("form");
    const QStringList styles = QStyleFactory::keys();
    for (const QString &style : styles) {
        for (auto form = forms.begin(); form != forms.end(); ++form) {
            QTest::addRow("%s, %s", qPrintable(style), qPrintable(form.key()))
                << style << form.key();
        }
    }
}

void TestLooks::nothingIsCutAtAnySize()
{
    QFETCH(QString, style);
    QFETCH(QString, form);
    const QString before = QApplication::style()->objectName();
    QApplication::setStyle(style);
    const std::unique_ptr<QWidget> window = forms.value(form)();
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    const QStringList own = cutTexts(window.get());
    window->resize(window->minimumSizeHint());
    QTRY_COMPARE(window->size(), window->minimumSizeHint().expandedTo(window->minimumSize()));
    const QStringList small = cutTexts(window.get());
    QApplication::setStyle(before);
    QCOMPARE(own, QStringList());
    QCOMPARE(small, QStringList());
}

void TestLooks::aCutTextIsFound_data()
{
    QTest::addColumn<Maker>("make");
    const QString longText(40, QLatin1Char('w'));
    const auto row = [](const char *name, const Maker &make) { QTest::addRow("%s", name) << make; };
    row("line", [longText] { return std::make_unique<QLineEdit>(longText); });
    row("button", [longText] { return std::make_unique<QPushButton>(longText); });
    row("label", [longText] { return std::make_unique<QLabel>(longText); });
    row("combo box", [longText] {
        auto box = std::make_unique<QComboBox>();
        box->addItem(longText);
        return box;
    });
    row("column", [longText] {
        auto table = std::make_unique<QTableWidget>(1, 1);
        table->setItem(0, 0, new QTableWidgetItem(longText));
        return table;
    });
    row("header", [longText] {
        auto table = std::make_unique<QTableWidget>(1, 1);
        table->setHorizontalHeaderLabels({longText});
        return table;
    });
    row("list", [longText] {
        auto list = std::make_unique<QListWidget>();
        list->addItem(longText);
        return list;
    });
    row("spin box", [] {
        auto box = std::make_unique<QDoubleSpinBox>();
        box->setMaximum(1e300);
        box->setValue(1e300);
        return box;
    });
}

void TestLooks::aCutTextIsFound()
{
    QFETCH(Maker, make);
    QWidget window;
    QWidget *const widget = make().release(); // the window's
    widget->setParent(&window);
    widget->setObjectName(text("narrow"));
    widget->setGeometry(0, 0, 60, 60);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QStringList cut = cutTexts(&window);
    QCOMPARE(cut.size(), 1);
    QVERIFY2(cut.first().startsWith(text("narrow: ")), qPrintable(cut.first()));
    widget->resize(100000, 60);
    if (auto *const table = qobject_cast<QTableWidget *>(widget)) {
        table->resizeColumnsToContents();
    }
    QTRY_COMPARE(cutTexts(&window), QStringList());
}

KV_TEST_MAIN(TestLooks)
#include "tst_looks.moc"
