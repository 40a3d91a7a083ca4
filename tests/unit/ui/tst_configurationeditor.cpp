// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/configurationeditor.h"
#include "ui/configurationitemdelegate.h"

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
    return {text("Group"), QString::fromUtf8(name), QString::fromUtf8(alias), min, max, type};
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
    explicit FormEditor(const DeviceConfiguration &configuration = unsortedSettings())
        : ConfigurationEditor(nullptr)
    {
        setEditTriggers(formTriggers);
        setAlternatingRowColors(true);
        setSortingEnabled(true);
        horizontalHeader()->setStretchLastSection(true);
        verticalHeader()->setVisible(false);
        resize(500, 400);
        setConfiguration(configuration);
    }

    bool showActive()
    {
        show();
        return QTest::qWaitForWindowActive(this);
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

QStringList headers(const ConfigurationEditor &editor)
{
    QStringList labels;
    for (int column = 0; column < editor.columnCount(); ++column) {
        labels.append(editor.horizontalHeaderItem(column)->text());
    }
    return labels;
}

int rowOf(const ConfigurationEditor &editor, const char *alias)
{
    return columnTexts(editor, Alias).indexOf(QString::fromUtf8(alias));
}

// The first key opens the cell's editor, the others are typed into it, Return closes it.
void typeInto(FormEditor &editor, int row, const QString &typed)
{
    editor.setCurrentCell(row, Value);
    QTest::keyClick(&editor, typed.front().toLatin1());
    auto *lineEdit = editor.viewport()->findChild<QLineEdit *>();
    QVERIFY(lineEdit);
    QTest::keyClicks(lineEdit, typed.mid(1));
    QTest::keyClick(lineEdit, Qt::Key_Return);
    QTRY_VERIFY(!editor.isEditing());
}

} // namespace

class TestConfigurationEditor : public QObject
{
    Q_OBJECT

private slots:
    void showsThreeUntranslatedHeadersAlsoWithoutRows()
    {
        const PrefixingTranslator translator("translated ");
        ConfigurationEditor editor(nullptr);
        for (const DeviceConfiguration &next : {unsortedSettings(), DeviceConfiguration()}) {
            QCOMPARE(headers(editor), texts("Name|Alias|Value"));
            QCOMPARE(editor.rowCount(), 0);
            QVERIFY(editor.configurationNames().isEmpty());
            editor.setConfiguration(next);
            QCOMPARE(headers(editor), texts("Name|Alias|Value"));
            QVERIFY(!editor.isSortingEnabled());
            editor.setConfiguration(DeviceConfiguration());
        }
    }

    void listsTheSettingsInTheOrderOfTheFile()
    {
        ConfigurationEditor editor(nullptr);
        editor.setConfiguration(unsortedSettings());
        QCOMPARE(columnTexts(editor, Name), texts("Location|Altitude|Zero offset|Heater|Baud"));
        const QStringList aliases{text("zone"), text("height"), text("balance"), text("warmth"),
                                  text("speed")};
        QCOMPARE(columnTexts(editor, Alias), aliases);
        QCOMPARE(editor.configurationNames(), aliases);
        QCOMPARE(columnTexts(editor, Value), QVector<QString>(5).toList());
    }

    void showsNeitherGroupNorMeasurements()
    {
        DeviceConfiguration configuration;
        configuration.configurationItems = {setting("Location", "zone")};
        configuration.measurementItems.resize(4);
        ConfigurationEditor editor(nullptr);
        editor.setConfiguration(configuration);
        QCOMPARE(editor.rowCount(), 1);
        QVERIFY(editor.findItems(text("Group"), Qt::MatchContains).isEmpty());
    }

    void namesAndAliasesCanOnlyBeSelected()
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

    void storesTypeAndRangeInTheValueItem()
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

    void installsANewDelegateAfterTheLastColumnEachTime()
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

    void replacesTheRowsOfAnEarlierConfiguration()
    {
        FormEditor editor;
        editor.setConfigurationValue(text("zone"), text("Roof"));
        DeviceConfiguration other;
        other.configurationItems = {setting("Room", "zone")};
        editor.setConfiguration(other);
        QCOMPARE(columnTexts(editor, Name), texts("Room"));
        QCOMPARE(columnTexts(editor, Value), QStringList(QString()));
    }

    void emitsNothingDuringARebuildButAfterIt()
    {
        FormEditor editor;
        QVERIFY(editor.isEnabled());
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        QSignalSpy cellChanged(&editor, &QTableWidget::cellChanged);
        for (int round = 0; round < 2; ++round) {
            editor.setConfiguration(unsortedSettings());
            QCOMPARE(valueChanged.size(), 0);
            QCOMPARE(cellChanged.size(), 0);
            editor.setConfigurationValue(text("zone"), text("Roof"));
            QCOMPARE(valueChanged.size(), 1);
            valueChanged.clear();
            cellChanged.clear();
        }
    }

    void keepsTheCellsOfARowTogetherUnderASort_data()
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

    void keepsTheCellsOfARowTogetherUnderASort()
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

    void setsTheValueOfAnAlias()
    {
        FormEditor editor;
        editor.setConfigurationValue(text("height"), text("120"));
        QStringList expected = QVector<QString>(5).toList();
        expected[rowOf(editor, "height")] = text("120");
        QCOMPARE(columnTexts(editor, Value), expected);
    }

    void ignoresANameThatIsNotExactlyAnAlias()
    {
        FormEditor editor;
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        for (const QString &name : texts("Altitude|Height|heigh|")) {
            editor.setConfigurationValue(name, text("120"));
        }
        QCOMPARE(columnTexts(editor, Value), QVector<QString>(5).toList());
        QCOMPARE(valueChanged.size(), 0);
    }

    void emitsAValueWrittenWhileEnabled()
    {
        FormEditor editor;
        QStringList reported;
        connect(
            &editor, &ConfigurationEditor::valueChanged, &editor,
            [&](const QString &name, const QString &newValue) { reported << name << newValue; });
        editor.setConfigurationValue(text("height"), text("120"));
        QCOMPARE(reported, texts("height|120"));
    }

    void setsAValueWithoutASignalWhileDisabled()
    {
        FormEditor editor;
        editor.setEnabled(false);
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        editor.setConfigurationValue(text("height"), text("120"));
        QCOMPARE(editor.item(rowOf(editor, "height"), Value)->text(), text("120"));
        QCOMPARE(valueChanged.size(), 0);
    }

    void emitsNothingForAnUnchangedValue()
    {
        FormEditor editor;
        editor.setConfigurationValue(text("height"), text("120"));
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        editor.setConfigurationValue(text("height"), text("120"));
        QCOMPARE(valueChanged.size(), 0);
    }

    void setsEveryRowOfAnAlias()
    {
        DeviceConfiguration configuration;
        configuration.configurationItems = {setting("B", "twice"), setting("C", "once"),
                                            setting("A", "twice")};
        FormEditor editor(configuration);
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        editor.setConfigurationValue(text("twice"), text("5"));

        QCOMPARE(columnTexts(editor, Value).count(text("5")), 2);
        QCOMPARE(editor.item(rowOf(editor, "once"), Value)->text(), QString());
        const QVariantList report{text("twice"), text("5")};
        QCOMPARE(valueChanged.size(), 2);
        QCOMPARE(valueChanged.at(0), report);
        QCOMPARE(valueChanged.at(1), report);
    }

    void setsEveryRowOfAnAliasWhereTheWriteMovesTheRow_data()
    {
        QTest::addColumn<Qt::SortOrder>("order");
        QTest::addRow("up") << Qt::AscendingOrder;
        QTest::addRow("down") << Qt::DescendingOrder;
    }

    void setsEveryRowOfAnAliasWhereTheWriteMovesTheRow()
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
        editor.setConfigurationValue(text("once"), text("3"));
        valueChanged.clear();
        editor.setConfigurationValue(text("twice"), text("5"));

        QCOMPARE(valueChanged.size(), 3);
        for (int row = 0; row < editor.rowCount(); ++row) {
            const QString alias = editor.item(row, Alias)->text();
            const QString expected = alias == QLatin1String("twice") ? text("5")
                : alias == QLatin1String("once")                     ? text("3")
                                                                     : QString();
            QCOMPARE(editor.item(row, Value)->text(), expected);
        }
    }

    void reportsTheAliasOfAMovedRow()
    {
        FormEditor editor;
        editor.sortByColumn(Value, Qt::AscendingOrder);
        editor.setConfiguration(unsortedSettings());
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        const QStringList aliases = editor.configurationNames();
        for (const QString &alias : aliases) {
            editor.setConfigurationValue(alias, text("of ") + alias);
        }
        QCOMPARE(valueChanged.size(), aliases.size());
        for (int index = 0; index < aliases.size(); ++index) {
            QCOMPARE(valueChanged.at(index).at(0).toString(), aliases.at(index));
            QCOMPARE(valueChanged.at(index).at(1).toString(), text("of ") + aliases.at(index));
        }
        for (int row = 0; row < editor.rowCount(); ++row) {
            QCOMPARE(editor.item(row, Value)->text(),
                     text("of ") + editor.item(row, Alias)->text());
        }
    }

    void allowsASlotToRebuildTheTable()
    {
        DeviceConfiguration configuration;
        configuration.configurationItems = {setting("A", "twice"), setting("B", "twice")};
        FormEditor editor(configuration);
        int reports = 0;
        connect(&editor, &ConfigurationEditor::valueChanged, &editor, [&] {
            ++reports;
            editor.setConfiguration(unsortedSettings());
        });
        editor.setConfigurationValue(text("twice"), text("5"));
        QCOMPARE(reports, 1);
        QCOMPARE(editor.rowCount(), 5);
        QCOMPARE(columnTexts(editor, Value), QVector<QString>(5).toList());
    }

    void toleratesMissingItems()
    {
        ConfigurationEditor editor(nullptr);
        editor.setConfiguration(unsortedSettings());
        delete editor.takeItem(0, Alias);
        delete editor.takeItem(1, Value);
        editor.setConfigurationValue(text("zone"), text("1"));
        editor.setConfigurationValue(text("height"), text("2"));
        QCOMPARE(editor.item(0, Value)->text(), QString());
        QVERIFY(!editor.item(1, Value));

        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        editor.item(0, Value)->setText(text("3"));
        QCOMPARE(valueChanged.size(), 1);
        QCOMPARE(valueChanged.first(), QVariantList({QString(), text("3")}));
    }

    void ignoresAChangeWithoutAnItem()
    {
        ConfigurationEditor editor(nullptr);
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        QTableWidgetItem *none = nullptr;
        emit editor.itemChanged(none);
        QCOMPARE(valueChanged.size(), 0);
    }

    void reportsAnItemOutsideTheTableWithoutAName()
    {
        ConfigurationEditor editor(nullptr);
        editor.setConfiguration(unsortedSettings());
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        QTableWidgetItem stray(text("7"));
        emit editor.itemChanged(&stray);
        QCOMPARE(valueChanged.size(), 1);
        QCOMPARE(valueChanged.first(), QVariantList({QString(), text("7")}));
    }

    void startsAnEditOnAKeyAndReportsIt()
    {
        FormEditor editor;
        editor.setConfigurationValue(text("height"), text("120"));
        QVERIFY(editor.showActive());
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);

        typeInto(editor, rowOf(editor, "height"), text("355"));
        QCOMPARE(valueChanged.size(), 1);
        QCOMPARE(valueChanged.first(), QVariantList({text("height"), text("355")}));
        QCOMPARE(editor.item(rowOf(editor, "height"), Value)->text(), text("355"));
    }

    void startsAnEditOnOtherTriggers_data()
    {
        QTest::addColumn<bool>("byKey");
        QTest::addRow("edit key") << true;
        QTest::addRow("double click") << false;
    }

    void startsAnEditOnOtherTriggers()
    {
        QFETCH(bool, byKey);
        FormEditor editor;
        QVERIFY(editor.showActive());
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

    void namesAndAliasesCannotBeEdited_data()
    {
        QTest::addColumn<int>("column");
        QTest::addRow("name") << int(Name);
        QTest::addRow("alias") << int(Alias);
    }

    void namesAndAliasesCannotBeEdited()
    {
        QFETCH(int, column);
        FormEditor editor;
        QVERIFY(editor.showActive());
        editor.setCurrentCell(0, column);
        const QString before = editor.item(0, column)->text();

        QTest::keyClick(&editor, Qt::Key_F2);
        QTest::keyClick(&editor, 'x');
        editor.setCurrentCell(0, column);
        const QPoint middle = editor.visualItemRect(editor.item(0, column)).center();
        QTest::mouseClick(editor.viewport(), Qt::LeftButton, Qt::NoModifier, middle);
        QTest::mouseDClick(editor.viewport(), Qt::LeftButton, Qt::NoModifier, middle);

        QVERIFY(!editor.viewport()->findChild<QLineEdit *>());
        QVERIFY(!editor.isEditing());
        QCOMPARE(editor.item(0, column)->text(), before);
    }

    void emitsNothingForAnEditThatChangesNothing()
    {
        FormEditor editor;
        editor.setConfigurationValue(text("height"), text("120"));
        QVERIFY(editor.showActive());
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);
        QSignalSpy cellChanged(&editor, &QTableWidget::cellChanged);

        typeInto(editor, rowOf(editor, "height"), text("120"));
        QCOMPARE(cellChanged.size(), 0);
        QCOMPARE(valueChanged.size(), 0);
    }

    void acceptsAnyTextRegardlessOfTypeAndRange_data()
    {
        QTest::addColumn<QByteArray>("alias");
        QTest::addColumn<QString>("typed");
        QTest::addRow("integer above its maximum") << QByteArray("height") << text("99999");
        QTest::addRow("integer that is no number") << QByteArray("speed") << text("fast");
        QTest::addRow("real number below its minimum") << QByteArray("warmth") << text("-1");
        QTest::addRow("more decimals than a spin box has")
            << QByteArray("balance") << text("1.23456");
        QTest::addRow("text above its length")
            << QByteArray("zone") << text("a text of more than thirty-two letters");
    }

    void acceptsAnyTextRegardlessOfTypeAndRange()
    {
        QFETCH(QByteArray, alias);
        QFETCH(QString, typed);
        FormEditor editor;
        QVERIFY(editor.showActive());
        QSignalSpy valueChanged(&editor, &ConfigurationEditor::valueChanged);

        typeInto(editor, rowOf(editor, alias.constData()), typed);
        QCOMPARE(valueChanged.size(), 1);
        QCOMPARE(valueChanged.first(), QVariantList({QString::fromLatin1(alias), typed}));
    }

    void escapeDiscardsAnEdit()
    {
        FormEditor editor;
        QVERIFY(editor.showActive());
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
};

KV_TEST_MAIN(TestConfigurationEditor)

#include "tst_configurationeditor.moc"
