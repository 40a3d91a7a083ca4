// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/windowdriver.h"
#include "ui/configurationeditor.h"
#include "ui/configurationitemdelegate.h"

#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QSpinBox>
#include <algorithm>
#include <limits>

namespace {

enum Column { Name, Alias, Value };

constexpr int typeRole = Qt::UserRole + 1;
constexpr int minRole = Qt::UserRole + 2;
constexpr int maxRole = Qt::UserRole + 3;

constexpr int textType = 0;
constexpr int intType = 1;
constexpr int floatType = 2;

ConfigurationItem setting(const char *name, const char *alias,
                          ConfigurationItemType type = ConfigurationItemType::Text,
                          float min = 0.0F, float max = 0.0F)
{
    return {text("Group"), text(name), text(alias), min, max, type};
}

// Sorted neither by name, nor by alias, nor by type; with measurements, which the editor doesn't
// show.
DeviceConfiguration unsortedSettings()
{
    return {{setting("Location", "zone", ConfigurationItemType::Text, 0.0F, 32.0F),
             setting("Altitude", "height", ConfigurationItemType::Int, -400.0F, 9000.0F),
             setting("Zero offset", "balance", ConfigurationItemType::Float, -1.5F, 1.5F),
             setting("Heater", "warmth", ConfigurationItemType::Float, 5.0F, 60.0F),
             setting("Baud", "speed", ConfigurationItemType::Int, 1.0F, 9.0F)},
            QVector<MeasurementItem>(4)};
}

// Records the arguments of valueChanged() as "alias=value".
struct Editor : ConfigurationEditor
{
    explicit Editor(const DeviceConfiguration &configuration = unsortedSettings())
        : ConfigurationEditor(nullptr)
    {
        setConfiguration(configuration);
        connect(this, &ConfigurationEditor::valueChanged, this,
                [this](const QString &name, const QString &newValue) {
                    changes << name + QLatin1Char('=') + newValue;
                });
    }

    QStringList columnTexts(int column) const
    {
        QStringList texts;
        for (int row = 0; row < rowCount(); ++row) {
            texts.append(item(row, column)->text());
        }
        return texts;
    }

    QTableWidgetItem *valueOf(const char *alias) const
    {
        return item(columnTexts(Alias).indexOf(text(alias)), Value);
    }

    QStringList changes;
};

// The editor with the edit triggers and the sorting of the main window's form.
struct FormEditor : Editor
{
    explicit FormEditor(const DeviceConfiguration &configuration = unsortedSettings())
        : Editor(configuration)
    {
        setEditTriggers(EditTriggers(0x1E));
        setSortingEnabled(true);
        resize(500, 400);
    }

    bool showActive()
    {
        show();
        return QTest::qWaitForWindowActive(this);
    }

    bool isEditing() const { return state() == EditingState; }

    QLineEdit *cellEditor() const { return viewport()->findChild<QLineEdit *>(); }

    // The first character of @p input opens the cell's editor, the others are typed into it, and
    // @p closingKey closes it.
    void type(const char *alias, const QString &input, Qt::Key closingKey = Qt::Key_Return)
    {
        setCurrentItem(valueOf(alias));
        QTest::keyClick(this, input.front().toLatin1());
        QLineEdit *lineEdit = cellEditor();
        QVERIFY(lineEdit);
        QTest::keyClicks(lineEdit, input.mid(1));
        QTest::keyClick(lineEdit, closingKey);
        QTRY_VERIFY(!isEditing());
    }
};

const QStringList noValues = texts("||||");

} // namespace

class TestConfigurationEditor : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_parent.reset(new QWidget); }

    void showsThreeUntranslatedHeadersEvenWithoutRows()
    {
        const PrefixingTranslator translator("translated ");
        ConfigurationEditor editor(nullptr);
        for (const DeviceConfiguration &next :
             {DeviceConfiguration(), unsortedSettings(), DeviceConfiguration()}) {
            QCOMPARE(editor.columnCount(), 3);
            QCOMPARE(editor.horizontalHeaderItem(Name)->text(), text("Name"));
            QCOMPARE(editor.horizontalHeaderItem(Alias)->text(), text("Alias"));
            QCOMPARE(editor.horizontalHeaderItem(Value)->text(), text("Value"));
            QVERIFY(!editor.isSortingEnabled());
            QCOMPARE(editor.configurationNames().size(), editor.rowCount());
            editor.setConfiguration(next);
            QCOMPARE(editor.rowCount(), next.configurationItems.size());
        }
        QVERIFY(editor.configurationNames().isEmpty());
    }

    void listsTheSettingsInTheGivenOrder()
    {
        Editor editor;
        QCOMPARE(editor.columnTexts(Name), texts("Location|Altitude|Zero offset|Heater|Baud"));
        QCOMPARE(editor.columnTexts(Alias), texts("zone|height|balance|warmth|speed"));
        QCOMPARE(editor.configurationNames(), texts("zone|height|balance|warmth|speed"));
        QCOMPARE(editor.columnTexts(Value), noValues);
        const auto items = unsortedSettings().configurationItems;
        for (int row = 0; row < editor.rowCount(); ++row) {
            QCOMPARE(editor.item(row, Name)->flags(), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
            QCOMPARE(editor.item(row, Alias)->flags(), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
            const QTableWidgetItem *value = editor.item(row, Value);
            QCOMPARE(value->flags(), QTableWidgetItem().flags());
            QCOMPARE(value->data(typeRole), QVariant(int(items[row].type)));
            QCOMPARE(value->data(typeRole).userType(), int(QMetaType::Int));
            QCOMPARE(value->data(minRole), QVariant(items[row].min));
            QCOMPARE(value->data(minRole).userType(), int(QMetaType::Float));
            QCOMPARE(value->data(maxRole), QVariant(items[row].max));
            QCOMPARE(value->data(maxRole).userType(), int(QMetaType::Float));
        }
    }

    void setConfigurationInstallsANewDelegateAfterTheLastColumn()
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

    void replacesTheRowsOfAnEarlierConfigurationWithoutASignal()
    {
        FormEditor editor;
        QSignalSpy cellChanged(&editor, &QTableWidget::cellChanged);
        for (int round = 1; round <= 2; ++round) {
            editor.setConfigurationValue(text("zone"), text("Roof"));
            QCOMPARE(editor.changes.size(), round);
            QCOMPARE(cellChanged.size(), round);
            editor.setConfiguration({{setting("Room", "zone")}, {}});
            QCOMPARE(editor.columnTexts(Name), texts("Room"));
            QCOMPARE(editor.columnTexts(Value), QStringList(QString()));
            QCOMPARE(editor.changes.size(), round);
            QCOMPARE(cellChanged.size(), round);
        }
    }

    void sortingKeepsTheCellsOfARowTogether()
    {
        const auto items = unsortedSettings().configurationItems;
        for (const int column : {Name, Alias, Value}) {
            for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
                FormEditor editor;
                editor.sortByColumn(column, order);
                editor.setConfiguration(unsortedSettings());
                QVERIFY(editor.isSortingEnabled());
                QCOMPARE(editor.rowCount(), items.size());
                for (const ConfigurationItem &expected : items) {
                    const int row = editor.columnTexts(Name).indexOf(expected.name);
                    QVERIFY(row >= 0);
                    QCOMPARE(editor.item(row, Alias)->text(), expected.alias);
                    const QTableWidgetItem *value = editor.item(row, Value);
                    QCOMPARE(value->data(typeRole).toInt(), int(expected.type));
                    QCOMPARE(value->data(maxRole).toFloat(), expected.max);
                }
                QStringList sorted = editor.columnTexts(column);
                std::stable_sort(sorted.begin(), sorted.end());
                if (order == Qt::DescendingOrder) {
                    std::reverse(sorted.begin(), sorted.end());
                }
                QCOMPARE(editor.columnTexts(column), sorted);
                QCOMPARE(editor.configurationNames(), editor.columnTexts(Alias));
            }
        }
    }

    void emitsValueChangedOnlyWhileEnabled()
    {
        for (const bool enabled : {true, false}) {
            FormEditor editor;
            editor.setEnabled(enabled);
            for (int round = 0; round < 2; ++round) {
                editor.setConfigurationValue(text("height"), text("120"));
                QCOMPARE(editor.valueOf("height")->text(), text("120"));
                QCOMPARE(editor.columnTexts(Value).count(QString()), 4);
                QCOMPARE(editor.changes, enabled ? texts("height=120") : QStringList());
            }
        }
    }

    void ignoresANameThatIsNotExactlyAnAlias()
    {
        FormEditor editor;
        for (const QString &name : texts("Altitude|Height|heigh|")) {
            editor.setConfigurationValue(name, text("120"));
        }
        QCOMPARE(editor.columnTexts(Value), noValues);
        QCOMPARE(editor.changes, QStringList());
    }

    void setsEveryRowOfAnAliasEvenIfSortingMovesTheRow()
    {
        for (const int column : {Name, Value}) {
            for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
                FormEditor editor(
                    {{setting("A", "twice"), setting("B", "twice"), setting("C", "once"),
                      setting("D", "twice"), setting("E", "other")},
                     {}});
                editor.sortByColumn(column, order);
                editor.setConfigurationValue(text("once"), text("3"));
                editor.setConfigurationValue(text("twice"), text("5"));
                QCOMPARE(editor.changes, texts("once=3|twice=5|twice=5|twice=5"));
                for (int row = 0; row < editor.rowCount(); ++row) {
                    const QMap<QString, QString> values{{text("twice"), text("5")},
                                                        {text("once"), text("3")}};
                    QCOMPARE(editor.item(row, Value)->text(),
                             values.value(editor.item(row, Alias)->text()));
                }
            }
        }
    }

    void emitsTheAliasOfAMovedRow()
    {
        FormEditor editor;
        editor.sortByColumn(Value, Qt::AscendingOrder);
        QStringList expected;
        const QStringList aliases = editor.configurationNames();
        for (const QString &alias : aliases) {
            editor.setConfigurationValue(alias, text("of ") + alias);
            expected << alias + text("=of ") + alias;
        }
        QCOMPARE(editor.changes, expected);
        for (int row = 0; row < editor.rowCount(); ++row) {
            QCOMPARE(editor.item(row, Value)->text(),
                     text("of ") + editor.item(row, Alias)->text());
        }
    }

    void allowsASlotToRebuildTheTable()
    {
        FormEditor editor({{setting("A", "twice"), setting("B", "twice")}, {}});
        connect(&editor, &ConfigurationEditor::valueChanged, &editor,
                [&] { editor.setConfiguration(unsortedSettings()); });
        editor.setConfigurationValue(text("twice"), text("5"));
        QCOMPARE(editor.changes, texts("twice=5"));
        QCOMPARE(editor.columnTexts(Value), noValues);
    }

    void toleratesMissingItems()
    {
        Editor editor;
        delete editor.takeItem(0, Alias);
        delete editor.takeItem(1, Value);
        editor.setConfigurationValue(text("zone"), text("1"));
        editor.setConfigurationValue(text("height"), text("2"));
        QCOMPARE(editor.item(0, Value)->text(), QString());
        QVERIFY(!editor.item(1, Value));
        editor.item(0, Value)->setText(text("3"));
        QCOMPARE(editor.changes, texts("=3"));
        QTableWidgetItem *none = nullptr;
        emit editor.itemChanged(none);
        QCOMPARE(editor.changes, texts("=3"));
        QTableWidgetItem stray(text("7"));
        emit editor.itemChanged(&stray);
        QCOMPARE(editor.changes, texts("=3|=7"));
    }

    void startsEditingOnF2OrADoubleClick()
    {
        FormEditor editor;
        QVERIFY(editor.showActive());
        editor.setCurrentCell(0, Value);
        QTest::keyClick(&editor, Qt::Key_F2);
        QVERIFY(editor.cellEditor());
        QTest::keyClick(editor.cellEditor(), Qt::Key_Escape);
        QTRY_VERIFY(!editor.cellEditor());
        QVERIFY(WindowDriver::editCell(&editor, 1, Value));
    }

    void namesAndAliasesCannotBeEdited()
    {
        FormEditor editor;
        QVERIFY(editor.showActive());
        for (const int column : {Name, Alias}) {
            const QStringList before = editor.columnTexts(column);
            editor.setCurrentCell(0, column);
            QTest::keyClick(&editor, Qt::Key_F2);
            QTest::keyClick(&editor, 'x');
            QVERIFY(!WindowDriver::editCell(&editor, 0, column));
            QVERIFY(!editor.cellEditor());
            QVERIFY(!editor.isEditing());
            QCOMPARE(editor.columnTexts(column), before);
        }
    }

    void acceptsAnyTextRegardlessOfTypeAndRange()
    {
        const QPair<const char *, QString> values[] = {
            {"height", text("99999")},
            {"speed", text("fast")},
            {"warmth", text("-1")},
            {"balance", text("1.23456")}, // more decimals than a spin box has
            {"zone", text("a text of more than thirty-two letters")}};
        FormEditor editor;
        QVERIFY(editor.showActive());
        for (const auto &value : values) {
            editor.setConfigurationValue(text(value.first), text("120"));
            editor.changes.clear();
            // Typing the same value again emits nothing.
            for (int round = 0; round < 2; ++round) {
                editor.type(value.first, value.second);
                QCOMPARE(editor.changes,
                         QStringList(text(value.first) + QLatin1Char('=') + value.second));
                QCOMPARE(editor.valueOf(value.first)->text(), value.second);
            }
        }
    }

    void escapeDiscardsAnEdit()
    {
        FormEditor editor;
        QVERIFY(editor.showActive());
        editor.type("zone", text("5"), Qt::Key_Escape);
        QCOMPARE(editor.columnTexts(Value), noValues);
        QCOMPARE(editor.changes, QStringList());
    }

    void delegateCreatesASpinBoxForAnInteger()
    {
        using Limits = std::numeric_limits<int>;
        const struct
        {
            float min;
            float max;
            int expectedMin;
            int expectedMax;
        } rows[] = {
            {-400.0F, 9000.0F, -400, 9000},
            {-10.9F, 20.9F, -10, 20}, // truncated toward zero
            {-1e20F, 1e20F, Limits::min(), Limits::max()},
            {std::numeric_limits<float>::quiet_NaN(), 5.0F, 0, 5},
        };
        for (const auto &row : rows) {
            const auto *editor = createEditor<QSpinBox>(intType, row.min, row.max);
            QVERIFY(editor);
            QCOMPARE(editor->parentWidget(), m_parent.data());
            QCOMPARE(editor->minimum(), row.expectedMin);
            QCOMPARE(editor->maximum(), row.expectedMax);
        }
    }

    void delegateCreatesADoubleSpinBoxForAFloat()
    {
        const auto *editor = createEditor<QDoubleSpinBox>(floatType, -1.5F, 60.25F);
        QVERIFY(editor);
        QCOMPARE(editor->parentWidget(), m_parent.data());
        QCOMPARE(editor->minimum(), -1.5);
        QCOMPARE(editor->maximum(), 60.25);
        QCOMPARE(editor->decimals(), QDoubleSpinBox().decimals());
    }

    void delegateCreatesALineEditForAText()
    {
        const int noLimit = QLineEdit().maxLength();
        const QMap<float, int> lengths{
            {16.0F, 16}, {16.9F, 16}, {0.5F, 0}, {0.0F, noLimit}, {-5.0F, noLimit}};
        for (auto length = lengths.begin(); length != lengths.end(); ++length) {
            const auto *editor = createEditor<QLineEdit>(textType, 100.0F, length.key());
            QVERIFY(editor);
            QCOMPARE(editor->parentWidget(), m_parent.data());
            QCOMPARE(editor->maxLength(), *length);
        }
    }

    void delegateCreatesNoEditorForATextSettingWithANumericValue()
    {
        QTest::ignoreMessage(QtDebugMsg, "Failed to cast editor");
        QVERIFY(!createEditor<QWidget>(textType, 0.0F, 10.0F, 7));
        QVERIFY(m_parent->children().isEmpty());
    }

    void delegateCreatesNoEditorForAnUnknownType()
    {
        for (const int type : {3, -1, 1000}) {
            QVERIFY(!createEditor<QWidget>(type, 0.0F, 10.0F));
            QVERIFY(m_parent->children().isEmpty());
        }
    }

    void delegateTreatsAMissingTypeAsText()
    {
        const Editor table;
        const auto *editor = qobject_cast<QLineEdit *>(m_delegate.createEditor(
            m_parent.data(), QStyleOptionViewItem(), table.model()->index(0, Name)));
        QVERIFY(editor);
        QCOMPARE(editor->maxLength(), QLineEdit().maxLength());
    }

private:
    /// The delegate's editor for a value cell; null if its class is not T.
    template <typename T>
    T *createEditor(int type, float min, float max, const QVariant &value = QString())
    {
        Editor table({{setting("A", "a", static_cast<ConfigurationItemType>(type), min, max)}, {}});
        table.item(0, Value)->setData(Qt::EditRole, value);
        return qobject_cast<T *>(m_delegate.createEditor(m_parent.data(), QStyleOptionViewItem(),
                                                         table.model()->index(0, Value)));
    }

    QScopedPointer<QWidget> m_parent;
    ConfigurationItemDelegate m_delegate{nullptr};
};

KV_TEST_MAIN(TestConfigurationEditor)
#include "tst_configurationeditor.moc"
