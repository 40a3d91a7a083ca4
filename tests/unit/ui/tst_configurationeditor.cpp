// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/testmain.h"
#include "ui/configurationeditor.h"
#include "ui/configurationitemdelegate.h"

#include <QtCore/QMetaMethod>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLineEdit>
#include <algorithm>

namespace {

enum Column { Name, Alias, Value };

constexpr int typeRole = Qt::UserRole + 1;
constexpr int minRole = Qt::UserRole + 2;
constexpr int maxRole = Qt::UserRole + 3;

const QAbstractItemView::EditTriggers formTriggers(0x1E);

ConfigurationItem setting(const char *name, const char *alias,
                          ConfigurationItemType type = ConfigurationItemType::Text,
                          float min = 0.0F, float max = 0.0F)
{
    return {
        QStringLiteral("Group"), QString::fromUtf8(name), QString::fromUtf8(alias), min, max, type};
}

// Out of order by name, by alias and by type.
DeviceConfiguration unsortedSettings()
{
    DeviceConfiguration configuration;
    configuration.configurationItems = {
        setting("Location", "zone", ConfigurationItemType::Text, 0.0F, 32.0F),
        setting("Altitude", "height", ConfigurationItemType::Int, -400.0F, 9000.0F),
        setting("Zero offset", "balance", ConfigurationItemType::Float, -1.5F, 1.5F),
        setting("Heater", "warmth", ConfigurationItemType::Float, 5.0F, 60.0F),
        setting("Baud", "speed", ConfigurationItemType::Int, 1.0F, 9.0F),
    };
    return configuration;
}

// The editor with the properties that the main window's form gives it.
struct FormEditor : ConfigurationEditor
{
    FormEditor()
        : ConfigurationEditor(nullptr)
    {
        setEditTriggers(formTriggers);
        setAlternatingRowColors(true);
        setSortingEnabled(true);
        horizontalHeader()->setStretchLastSection(true);
        verticalHeader()->setVisible(false);
        resize(500, 400);
    }

    bool isEditing() const { return state() == EditingState; }
};

QStringList columnTexts(const ConfigurationEditor &editor, int column)
{
    QStringList texts;
    for (int row = 0; row < editor.rowCount(); ++row) {
        texts.append(editor.item(row, column)->text());
    }
    return texts;
}

int rowOf(const ConfigurationEditor &editor, const char *alias)
{
    return columnTexts(editor, Alias).indexOf(QString::fromUtf8(alias));
}

// The first key opens the cell's editor, the others go into it, Return ends it.
void typeInto(FormEditor &editor, int row, const QString &text)
{
    editor.setCurrentCell(row, Value);
    QTest::keyClick(&editor, text.front().toLatin1());
    auto *lineEdit = editor.viewport()->findChild<QLineEdit *>();
    QVERIFY(lineEdit);
    QTest::keyClicks(lineEdit, text.mid(1));
    QTest::keyClick(lineEdit, Qt::Key_Return);
    QTRY_VERIFY(!editor.isEditing());
}

} // namespace

class TestConfigurationEditor : public QObject
{
    Q_OBJECT

private slots:
    void startsWithThreeHeadersAndNoRows();
    void headersStayAsTheyAreInAnyLanguage();
    void hasNoRowsForAnEmptyConfiguration();
    void listsTheSettingsInTheOrderOfTheFile();
    void showsNeitherGroupNorMeasurements();
    void letsNamesAndAliasesOnlyBeSelected();
    void keepsTypeAndRangeOnTheValue();
    void installsANewDelegateBehindTheLastColumnEachTime();
    void replacesTheRowsOfAnEarlierConfiguration();
    void reportsNothingDuringARebuild();
    void reportsAgainAfterARebuild();
    void keepsTheCellsOfARowTogetherUnderASort_data();
    void keepsTheCellsOfARowTogetherUnderASort();
    void staysUnsortedWhereItWasUnsorted();
    void setsTheValueOfAnAlias();
    void ignoresANameThatIsNoAlias();
    void comparesAliasesExactly();
    void echoesAValueWrittenWhileEnabled();
    void setsAValueInSilenceWhileDisabled();
    void staysSilentOnAValueThatIsThereAlready();
    void setsEveryRowOfAnAlias();
    void setsEveryRowOfAnAliasWhereTheWriteMovesTheRow_data();
    void setsEveryRowOfAnAliasWhereTheWriteMovesTheRow();
    void reportsTheAliasOfAMovedRow();
    void bearsAListenerThatRebuildsTheTable();
    void bearsMissingItems();
    void ignoresAChangeWithoutAnItem();
    void reportsAnItemOutsideTheTableWithoutAName();
    void startsAnEditOnAKeyAndReportsIt();
    void startsAnEditOnOtherTriggers_data();
    void startsAnEditOnOtherTriggers();
    void refusesAnEditOfNamesAndAliases_data();
    void refusesAnEditOfNamesAndAliases();
    void staysSilentOnAnEditThatChangesNothing();
    void acceptsAnyTextWhateverTypeAndRange_data();
    void acceptsAnyTextWhateverTypeAndRange();
    void escapeDropsAnEdit();
    void declaresItsSignalAndItsPrivateSlot();
};

void TestConfigurationEditor::startsWithThreeHeadersAndNoRows()
{
    ConfigurationEditor editor(nullptr);
    QCOMPARE(editor.rowCount(), 0);
    QCOMPARE(editor.columnCount(), 3);
    QCOMPARE(editor.horizontalHeaderItem(Name)->text(), QStringLiteral("Name"));
    QCOMPARE(editor.horizontalHeaderItem(Alias)->text(), QStringLiteral("Alias"));
    QCOMPARE(editor.horizontalHeaderItem(Value)->text(), QStringLiteral("Value"));
    QVERIFY(editor.configurationNames().isEmpty());
}

void TestConfigurationEditor::headersStayAsTheyAreInAnyLanguage()
{
    const PrefixingTranslator language("translated ");
    ConfigurationEditor editor(nullptr);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(editor.horizontalHeaderItem(Name)->text(), QStringLiteral("Name"));
        QCOMPARE(editor.horizontalHeaderItem(Alias)->text(), QStringLiteral("Alias"));
        QCOMPARE(editor.horizontalHeaderItem(Value)->text(), QStringLiteral("Value"));
        editor.setConfiguration(unsortedSettings());
    }
}

void TestConfigurationEditor::hasNoRowsForAnEmptyConfiguration()
{
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(unsortedSettings());
    editor.setConfiguration(DeviceConfiguration());
    QCOMPARE(editor.rowCount(), 0);
    QCOMPARE(editor.columnCount(), 3);
    QCOMPARE(editor.horizontalHeaderItem(Name)->text(), QStringLiteral("Name"));
    QCOMPARE(editor.horizontalHeaderItem(Alias)->text(), QStringLiteral("Alias"));
    QCOMPARE(editor.horizontalHeaderItem(Value)->text(), QStringLiteral("Value"));
    QVERIFY(editor.configurationNames().isEmpty());
}

void TestConfigurationEditor::listsTheSettingsInTheOrderOfTheFile()
{
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(unsortedSettings());
    QCOMPARE(columnTexts(editor, Name),
             QStringList({QStringLiteral("Location"), QStringLiteral("Altitude"),
                          QStringLiteral("Zero offset"), QStringLiteral("Heater"),
                          QStringLiteral("Baud")}));
    const QStringList aliases{QStringLiteral("zone"), QStringLiteral("height"),
                              QStringLiteral("balance"), QStringLiteral("warmth"),
                              QStringLiteral("speed")};
    QCOMPARE(columnTexts(editor, Alias), aliases);
    QCOMPARE(editor.configurationNames(), aliases);
    QCOMPARE(columnTexts(editor, Value), QVector<QString>(5).toList());
}

void TestConfigurationEditor::showsNeitherGroupNorMeasurements()
{
    DeviceConfiguration configuration;
    configuration.configurationItems = {setting("Location", "zone")};
    configuration.measurementItems.resize(4);
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(configuration);
    QCOMPARE(editor.rowCount(), 1);
    QVERIFY(editor.findItems(QStringLiteral("Group"), Qt::MatchContains).isEmpty());
}

void TestConfigurationEditor::letsNamesAndAliasesOnlyBeSelected()
{
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(unsortedSettings());
    for (int row = 0; row < editor.rowCount(); ++row) {
        QCOMPARE(editor.item(row, Name)->flags(), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        QCOMPARE(editor.item(row, Alias)->flags(), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        QCOMPARE(editor.item(row, Value)->flags(), QTableWidgetItem().flags());
        QVERIFY(editor.item(row, Value)->flags() & Qt::ItemIsEditable);
    }
}

void TestConfigurationEditor::keepsTypeAndRangeOnTheValue()
{
    const DeviceConfiguration configuration = unsortedSettings();
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(configuration);
    for (int row = 0; row < editor.rowCount(); ++row) {
        const ConfigurationItem &expected = configuration.configurationItems.at(row);
        const QTableWidgetItem *item = editor.item(row, Value);
        QCOMPARE(item->data(typeRole).userType(), int(QMetaType::Int));
        QCOMPARE(item->data(typeRole).toInt(), static_cast<int>(expected.type));
        QCOMPARE(item->data(minRole).userType(), int(QMetaType::Float));
        QCOMPARE(item->data(minRole).toFloat(), expected.min);
        QCOMPARE(item->data(maxRole).userType(), int(QMetaType::Float));
        QCOMPARE(item->data(maxRole).toFloat(), expected.max);
    }
    QCOMPARE(editor.item(0, Value)->data(typeRole).toInt(), 0);
    QCOMPARE(editor.item(1, Value)->data(typeRole).toInt(), 1);
    QCOMPARE(editor.item(2, Value)->data(typeRole).toInt(), 2);
}

void TestConfigurationEditor::installsANewDelegateBehindTheLastColumnEachTime()
{
    ConfigurationEditor editor(nullptr);
    QVERIFY(!editor.itemDelegateForColumn(Value));
    const QPointer<QAbstractItemDelegate> first = editor.itemDelegateForColumn(3);
    QVERIFY(qobject_cast<ConfigurationItemDelegate *>(first.data()));
    QVERIFY(!first->parent());

    editor.setConfiguration(unsortedSettings());
    QVERIFY(!editor.itemDelegateForColumn(Value));
    const QPointer<QAbstractItemDelegate> second = editor.itemDelegateForColumn(3);
    QVERIFY(qobject_cast<ConfigurationItemDelegate *>(second.data()));
    QVERIFY(first);
    QVERIFY(first != second);
}

void TestConfigurationEditor::replacesTheRowsOfAnEarlierConfiguration()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.setConfigurationValue(QStringLiteral("zone"), QStringLiteral("Roof"));
    DeviceConfiguration other;
    other.configurationItems = {setting("Room", "zone")};
    editor.setConfiguration(other);
    QCOMPARE(columnTexts(editor, Name), QStringList(QStringLiteral("Room")));
    QCOMPARE(columnTexts(editor, Value), QStringList(QString()));
}

void TestConfigurationEditor::reportsNothingDuringARebuild()
{
    FormEditor editor;
    QVERIFY(editor.isEnabled());
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    QSignalSpy cellChanged(&editor, &QTableWidget::cellChanged);
    editor.setConfiguration(unsortedSettings());
    QCOMPARE(valueChanged.size(), 0);
    QCOMPARE(cellChanged.size(), 0);

    editor.setConfigurationValue(QStringLiteral("zone"), QStringLiteral("Roof"));
    valueChanged.clear();
    cellChanged.clear();
    editor.setConfiguration(unsortedSettings());
    QCOMPARE(valueChanged.size(), 0);
    QCOMPARE(cellChanged.size(), 0);
}

void TestConfigurationEditor::reportsAgainAfterARebuild()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.item(rowOf(editor, "height"), Value)->setText(QStringLiteral("12"));
    QCOMPARE(valueChanged.size(), 1);
}

void TestConfigurationEditor::keepsTheCellsOfARowTogetherUnderASort_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<Qt::SortOrder>("order");
    QTest::addRow("name, up") << int(Name) << Qt::AscendingOrder;
    QTest::addRow("name, down") << int(Name) << Qt::DescendingOrder;
    QTest::addRow("alias, up") << int(Alias) << Qt::AscendingOrder;
    QTest::addRow("alias, down") << int(Alias) << Qt::DescendingOrder;
    QTest::addRow("value, up") << int(Value) << Qt::AscendingOrder;
    QTest::addRow("value, down") << int(Value) << Qt::DescendingOrder;
}

void TestConfigurationEditor::keepsTheCellsOfARowTogetherUnderASort()
{
    QFETCH(int, column);
    QFETCH(Qt::SortOrder, order);

    FormEditor editor;
    editor.sortByColumn(column, order);
    const DeviceConfiguration configuration = unsortedSettings();
    for (int round = 0; round < 2; ++round) {
        editor.setConfiguration(configuration);
        QVERIFY(editor.isSortingEnabled());
        QCOMPARE(editor.rowCount(), configuration.configurationItems.size());
        for (const ConfigurationItem &expected : configuration.configurationItems) {
            const int row = columnTexts(editor, Name).indexOf(expected.name);
            QVERIFY(row >= 0);
            QCOMPARE(editor.item(row, Alias)->text(), expected.alias);
            QCOMPARE(editor.item(row, Value)->data(typeRole).toInt(),
                     static_cast<int>(expected.type));
            QCOMPARE(editor.item(row, Value)->data(maxRole).toFloat(), expected.max);
        }
        QStringList sorted = columnTexts(editor, column);
        std::stable_sort(sorted.begin(), sorted.end());
        if (order == Qt::DescendingOrder) {
            std::reverse(sorted.begin(), sorted.end());
        }
        QCOMPARE(columnTexts(editor, column), sorted);
        QCOMPARE(editor.configurationNames(), columnTexts(editor, Alias));
    }
}

void TestConfigurationEditor::staysUnsortedWhereItWasUnsorted()
{
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(unsortedSettings());
    QVERIFY(!editor.isSortingEnabled());
}

void TestConfigurationEditor::setsTheValueOfAnAlias()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("120"));
    QStringList expected = QVector<QString>(5).toList();
    expected[rowOf(editor, "height")] = QStringLiteral("120");
    QCOMPARE(columnTexts(editor, Value), expected);
}

void TestConfigurationEditor::ignoresANameThatIsNoAlias()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.setConfigurationValue(QStringLiteral("Altitude"), QStringLiteral("120"));
    editor.setConfigurationValue(QString(), QStringLiteral("120"));
    QCOMPARE(columnTexts(editor, Value), QVector<QString>(5).toList());
    QCOMPARE(valueChanged.size(), 0);
}

void TestConfigurationEditor::comparesAliasesExactly()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.setConfigurationValue(QStringLiteral("Height"), QStringLiteral("120"));
    editor.setConfigurationValue(QStringLiteral("heigh"), QStringLiteral("120"));
    QCOMPARE(columnTexts(editor, Value), QVector<QString>(5).toList());
}

void TestConfigurationEditor::echoesAValueWrittenWhileEnabled()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    QStringList reported;
    connect(&editor, &ConfigurationEditor::valueChanged, &editor,
            [&](const QString &name, const QString &newValue) { reported << name << newValue; });
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("120"));
    QCOMPARE(reported, QStringList({QStringLiteral("height"), QStringLiteral("120")}));
}

void TestConfigurationEditor::setsAValueInSilenceWhileDisabled()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.setEnabled(false);
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("120"));
    QCOMPARE(editor.item(rowOf(editor, "height"), Value)->text(), QStringLiteral("120"));
    QCOMPARE(valueChanged.size(), 0);
}

void TestConfigurationEditor::staysSilentOnAValueThatIsThereAlready()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("120"));
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("120"));
    QCOMPARE(valueChanged.size(), 0);
}

void TestConfigurationEditor::setsEveryRowOfAnAlias()
{
    DeviceConfiguration configuration;
    configuration.configurationItems = {setting("B", "twice"), setting("C", "once"),
                                        setting("A", "twice")};
    FormEditor editor;
    editor.setConfiguration(configuration);
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.setConfigurationValue(QStringLiteral("twice"), QStringLiteral("5"));

    QCOMPARE(columnTexts(editor, Value).count(QStringLiteral("5")), 2);
    QCOMPARE(editor.item(rowOf(editor, "once"), Value)->text(), QString());
    const QVariantList report{QStringLiteral("twice"), QStringLiteral("5")};
    QCOMPARE(valueChanged.size(), 2);
    QCOMPARE(valueChanged.at(0), report);
    QCOMPARE(valueChanged.at(1), report);
}

void TestConfigurationEditor::setsEveryRowOfAnAliasWhereTheWriteMovesTheRow_data()
{
    QTest::addColumn<Qt::SortOrder>("order");
    QTest::addRow("up") << Qt::AscendingOrder;
    QTest::addRow("down") << Qt::DescendingOrder;
}

void TestConfigurationEditor::setsEveryRowOfAnAliasWhereTheWriteMovesTheRow()
{
    QFETCH(Qt::SortOrder, order);
    DeviceConfiguration configuration;
    configuration.configurationItems = {setting("A", "twice"), setting("B", "twice"),
                                        setting("C", "once"), setting("D", "twice"),
                                        setting("E", "other")};
    FormEditor editor;
    editor.sortByColumn(Value, order);
    editor.setConfiguration(configuration);
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.setConfigurationValue(QStringLiteral("once"), QStringLiteral("3"));
    valueChanged.clear();
    editor.setConfigurationValue(QStringLiteral("twice"), QStringLiteral("5"));

    QCOMPARE(valueChanged.size(), 3);
    for (int row = 0; row < editor.rowCount(); ++row) {
        const QString alias = editor.item(row, Alias)->text();
        const QString expected = alias == QLatin1String("twice") ? QStringLiteral("5")
            : alias == QLatin1String("once")                     ? QStringLiteral("3")
                                                                 : QString();
        QCOMPARE(editor.item(row, Value)->text(), expected);
    }
}

void TestConfigurationEditor::reportsTheAliasOfAMovedRow()
{
    FormEditor editor;
    editor.sortByColumn(Value, Qt::AscendingOrder);
    editor.setConfiguration(unsortedSettings());
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    const QStringList aliases = editor.configurationNames();
    for (const QString &alias : aliases) {
        editor.setConfigurationValue(alias, QStringLiteral("of ") + alias);
    }
    QCOMPARE(valueChanged.size(), aliases.size());
    for (int index = 0; index < aliases.size(); ++index) {
        QCOMPARE(valueChanged.at(index).at(0).toString(), aliases.at(index));
        QCOMPARE(valueChanged.at(index).at(1).toString(),
                 QStringLiteral("of ") + aliases.at(index));
    }
    for (int row = 0; row < editor.rowCount(); ++row) {
        QCOMPARE(editor.item(row, Value)->text(),
                 QStringLiteral("of ") + editor.item(row, Alias)->text());
    }
}

void TestConfigurationEditor::bearsAListenerThatRebuildsTheTable()
{
    DeviceConfiguration configuration;
    configuration.configurationItems = {setting("A", "twice"), setting("B", "twice")};
    FormEditor editor;
    editor.setConfiguration(configuration);
    int reports = 0;
    connect(&editor, &ConfigurationEditor::valueChanged, &editor, [&] {
        ++reports;
        editor.setConfiguration(unsortedSettings());
    });
    editor.setConfigurationValue(QStringLiteral("twice"), QStringLiteral("5"));
    QCOMPARE(reports, 1);
    QCOMPARE(editor.rowCount(), 5);
    QCOMPARE(columnTexts(editor, Value), QVector<QString>(5).toList());
}

void TestConfigurationEditor::bearsMissingItems()
{
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(unsortedSettings());
    delete editor.takeItem(0, Alias);
    delete editor.takeItem(1, Value);
    editor.setConfigurationValue(QStringLiteral("zone"), QStringLiteral("1"));
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("2"));
    QCOMPARE(editor.item(0, Value)->text(), QString());
    QVERIFY(!editor.item(1, Value));

    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.item(0, Value)->setText(QStringLiteral("3"));
    QCOMPARE(valueChanged.size(), 1);
    QCOMPARE(valueChanged.first(), QVariantList({QString(), QStringLiteral("3")}));
}

void TestConfigurationEditor::ignoresAChangeWithoutAnItem()
{
    ConfigurationEditor editor(nullptr);
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    QTableWidgetItem *none = nullptr;
    emit editor.itemChanged(none);
    QCOMPARE(valueChanged.size(), 0);
}

void TestConfigurationEditor::reportsAnItemOutsideTheTableWithoutAName()
{
    ConfigurationEditor editor(nullptr);
    editor.setConfiguration(unsortedSettings());
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    QTableWidgetItem stray(QStringLiteral("7"));
    emit editor.itemChanged(&stray);
    QCOMPARE(valueChanged.size(), 1);
    QCOMPARE(valueChanged.first(), QVariantList({QString(), QStringLiteral("7")}));
}

void TestConfigurationEditor::startsAnEditOnAKeyAndReportsIt()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("120"));
    editor.show();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);

    typeInto(editor, rowOf(editor, "height"), QStringLiteral("355"));
    QCOMPARE(valueChanged.size(), 1);
    QCOMPARE(valueChanged.first(), QVariantList({QStringLiteral("height"), QStringLiteral("355")}));
    QCOMPARE(editor.item(rowOf(editor, "height"), Value)->text(), QStringLiteral("355"));
}

void TestConfigurationEditor::startsAnEditOnOtherTriggers_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::addRow("edit key") << true;
    QTest::addRow("double click") << false;
}

void TestConfigurationEditor::startsAnEditOnOtherTriggers()
{
    QFETCH(bool, byKey);
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.show();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    editor.setCurrentCell(0, Value);
    if (byKey) {
        QTest::keyClick(&editor, Qt::Key_F2);
    } else {
        const QPoint middle = editor.visualItemRect(editor.item(0, Value)).center();
        QTest::mouseClick(editor.viewport(), Qt::LeftButton, Qt::NoModifier, middle);
        QTest::mouseDClick(editor.viewport(), Qt::LeftButton, Qt::NoModifier, middle);
    }
    QVERIFY(editor.viewport()->findChild<QLineEdit *>());
}

void TestConfigurationEditor::refusesAnEditOfNamesAndAliases_data()
{
    QTest::addColumn<int>("column");
    QTest::addRow("name") << int(Name);
    QTest::addRow("alias") << int(Alias);
}

void TestConfigurationEditor::refusesAnEditOfNamesAndAliases()
{
    QFETCH(int, column);
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.show();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    editor.setCurrentCell(0, column);
    const QString text = editor.item(0, column)->text();

    QTest::keyClick(&editor, Qt::Key_F2);
    QTest::keyClick(&editor, 'x');
    editor.setCurrentCell(0, column);
    const QPoint middle = editor.visualItemRect(editor.item(0, column)).center();
    QTest::mouseClick(editor.viewport(), Qt::LeftButton, Qt::NoModifier, middle);
    QTest::mouseDClick(editor.viewport(), Qt::LeftButton, Qt::NoModifier, middle);

    QVERIFY(!editor.viewport()->findChild<QLineEdit *>());
    QVERIFY(!editor.isEditing());
    QCOMPARE(editor.item(0, column)->text(), text);
}

void TestConfigurationEditor::staysSilentOnAnEditThatChangesNothing()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.setConfigurationValue(QStringLiteral("height"), QStringLiteral("120"));
    editor.show();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    QSignalSpy cellChanged(&editor, &QTableWidget::cellChanged);

    typeInto(editor, rowOf(editor, "height"), QStringLiteral("120"));
    QCOMPARE(cellChanged.size(), 0);
    QCOMPARE(valueChanged.size(), 0);
}

void TestConfigurationEditor::acceptsAnyTextWhateverTypeAndRange_data()
{
    QTest::addColumn<QByteArray>("alias");
    QTest::addColumn<QString>("text");
    QTest::addRow("integer above its maximum") << QByteArray("height") << QStringLiteral("99999");
    QTest::addRow("integer that is no number") << QByteArray("speed") << QStringLiteral("fast");
    QTest::addRow("real number below its minimum") << QByteArray("warmth") << QStringLiteral("-1");
    QTest::addRow("more decimals than a spin box has")
        << QByteArray("balance") << QStringLiteral("1.23456");
    QTest::addRow("text above its length")
        << QByteArray("zone") << QStringLiteral("a text of more than thirty-two letters");
}

void TestConfigurationEditor::acceptsAnyTextWhateverTypeAndRange()
{
    QFETCH(QByteArray, alias);
    QFETCH(QString, text);
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.show();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);

    typeInto(editor, rowOf(editor, alias.constData()), text);
    QCOMPARE(valueChanged.size(), 1);
    QCOMPARE(valueChanged.first(), QVariantList({QString::fromLatin1(alias), text}));
}

void TestConfigurationEditor::escapeDropsAnEdit()
{
    FormEditor editor;
    editor.setConfiguration(unsortedSettings());
    editor.show();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
    editor.setCurrentCell(0, Value);
    QTest::keyClick(&editor, '5');
    auto *lineEdit = editor.viewport()->findChild<QLineEdit *>();
    QVERIFY(lineEdit);
    QTest::keyClick(lineEdit, Qt::Key_Escape);
    QTRY_VERIFY(!editor.isEditing());
    QCOMPARE(editor.item(0, Value)->text(), QString());
    QCOMPARE(valueChanged.size(), 0);
}

void TestConfigurationEditor::declaresItsSignalAndItsPrivateSlot()
{
    const QMetaObject &meta = ConfigurationEditor::staticMetaObject;
    QVERIFY(meta.indexOfSignal("valueChanged(QString,QString)") >= 0);
    const int index = meta.indexOfSlot("onItemChanged(QTableWidgetItem*)");
    QVERIFY(index >= 0);
    QCOMPARE(meta.method(index).access(), QMetaMethod::Private);
}

KV_TEST_MAIN(TestConfigurationEditor)

#include "tst_configurationeditor.moc"
